#include "host/record_lines.h"

#include <algorithm>

#include "host/family_rows.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

void padTo(std::string& out, std::size_t column) {
    if (out.size() < column)
        out.append(column - out.size(), ' ');
    else
        out += ' ';
}

// Records without a parser whose bytes are a line for people.
constexpr LOG_TYPE kTexts[] = {LOG_NOVATEL_ASCII, LOG_REPLY_TEXT,  LOG_STATUS_TEXT, LOG_REPLY_ERROR,
                               LOG_REPLY_OK,      LOG_PORT_PROMPT, LOG_MODEM_REPLY, LOG_PERCENT};

void appendValues(FieldWriter& fields, const RoutedRecord& routed) {
    const RecordView& record = routed.record;
    if (record.source == RecordSource::kCarried) fields.boolean("carried", true);
    if (routed.parser)
        routed.parser->writeValues(fields, record);
    else if (std::ranges::find(kTexts, record.type) != std::end(kTexts))
        fields.text("text", lineOf(record.bytes));
}

}  // namespace

void RecordLines::appendText(std::string& out, const RoutedRecord& routed) const {
    const RecordView& record = routed.record;
    const std::size_t start = out.size();
    appendInteger(out, static_cast<long long>(record.offset));
    padTo(out, start + 10);
    out += familyNameOf(kindOf(record));
    padTo(out, start + 24);
    appendInteger(out, record.id);
    padTo(out, start + 32);
    const RecordName name = nameOf(kindOf(record));
    out += name.empty() ? std::string_view("-") : name.view();
    padTo(out, start + 46);
    appendInteger(out, static_cast<long long>(record.bytes.size()));
    FieldWriter fields(out, LineFormat::kText);
    appendValues(fields, routed);
    out += '\n';
}

// The members that tell the message, the same for all of its kind: kept, since they are half of a line.
const std::string& RecordLines::membersOf(const MessageKind& kind) {
    std::string& members = m_members[kind];
    if (!members.empty()) return members;
    FieldWriter fields(members, LineFormat::kJson);
    fields.integer("type", kind.type);
    fields.text("family", familyNameOf(kind));
    fields.integer("id", kind.id);
    const RecordName name = nameOf(kind);
    fields.text("name", name.view());
    return members;
}

void RecordLines::appendJson(std::string& out, const RoutedRecord& routed) {
    const RecordView& record = routed.record;
    out += '{';
    FieldWriter fields(out, LineFormat::kJson);
    if (!m_file.empty()) fields.fileName("file", m_file);
    fields.integer("offset", static_cast<std::int64_t>(record.offset));
    out += ',';
    out += membersOf(kindOf(record));
    fields.integer("size", static_cast<std::int64_t>(record.bytes.size()));
    appendValues(fields, routed);
    out += "}\n";
}

void RecordLines::appendBare(std::string& out, const RecordView& record) {
    out += "{\"offset\":";
    appendInteger(out, static_cast<long long>(record.offset));
    out += ",\"type\":";
    appendInteger(out, record.type);
    out += ",\"id\":";
    appendInteger(out, record.id);
    out += ",\"size\":";
    appendInteger(out, static_cast<long long>(record.bytes.size()));
    out += ",\"data\":\"";
    appendHex(out, record.bytes);
    out += "\"}\n";
}

}  // namespace vkcomm
