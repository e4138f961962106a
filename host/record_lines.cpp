#include "host/record_lines.h"

#include "host/field_writer.h"
#include "host/nmea_values.h"
#include "vkcomm/decode/record_names.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

void padTo(std::string& out, std::size_t column) {
    if (out.size() < column)
        out.append(column - out.size(), ' ');
    else
        out += ' ';
}

}  // namespace

void RecordLines::appendText(std::string& out, const CNOut& record) {
    const std::size_t start = out.size();
    appendInteger(out, static_cast<long long>(record.RecordOffset()));
    padTo(out, start + 10);
    out += logTypeName(record.Type());
    padTo(out, start + 24);
    appendInteger(out, record.Id());
    padTo(out, start + 32);
    const RecordName name = recordName(record.Type(), record.Id());
    out += name.empty() ? std::string_view("-") : name.view();
    padTo(out, start + 46);
    appendInteger(out, static_cast<long long>(record.RecordBytes().size()));
    FieldWriter fields(out, LineFormat::kText);
    appendValues(fields, record);
    out += '\n';
}

void RecordLines::appendJson(std::string& out, const CNOut& record) {
    const RecordName name = recordName(record.Type(), record.Id());
    out += '{';
    FieldWriter fields(out, LineFormat::kJson);
    if (!m_file.empty()) fields.text("file", m_file);
    fields.integer("offset", static_cast<std::int64_t>(record.RecordOffset()));
    fields.integer("type", record.Type());
    fields.text("family", logTypeName(record.Type()));
    fields.integer("id", record.Id());
    fields.text("name", name.view());
    fields.integer("size", static_cast<std::int64_t>(record.RecordBytes().size()));
    appendValues(fields, record);
    out += "}\n";
}

void RecordLines::appendBare(std::string& out, const CNOut& record) {
    out += "{\"offset\":";
    appendInteger(out, static_cast<long long>(record.RecordOffset()));
    out += ",\"type\":";
    appendInteger(out, record.Type());
    out += ",\"id\":";
    appendInteger(out, record.Id());
    out += ",\"size\":";
    appendInteger(out, static_cast<long long>(record.RecordBytes().size()));
    out += ",\"data\":\"";
    appendHex(out, record.RecordBytes());
    out += "\"}\n";
}

void RecordLines::appendValues(FieldWriter& fields, const CNOut& record) {
    if (record.Type() == LOG_NMEA) writeNmeaValues(fields, m_nmea, record.Id(), record.RecordBytes());
}

}  // namespace vkcomm
