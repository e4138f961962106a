#include "host/decode_summary.h"

#include <numeric>

#include "host/field_writer.h"
#include "host/time_text.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

template <typename Counts>
std::uint64_t total(const Counts& counts) {
    return std::accumulate(counts.begin(), counts.end(), std::uint64_t{0});
}

std::string rateText(std::optional<double> hertz) {
    if (!hertz) return "-";
    std::string text;
    appendFormat(text, "%.3f", *hertz);
    return text;
}

void writeTime(FieldWriter& fields, const char* weekName, const char* secondsName, const ReceiverTime& time) {
    if (time.week) fields.integer(weekName, *time.week);
    fields.real(secondsName, time.seconds, 3);
}

}  // namespace

void DecodeSummary::count(const RecordView& record, const std::optional<ReceiverTime>& time) {
    Message& message = m_messages[kindOf(record)];
    ++message.count;
    if (!time) return;
    // A time that gains its week during the stream begins anew: the two cannot be compared.
    if (message.first && message.first->week.has_value() != time->week.has_value()) {
        message.first.reset();
        message.timed = 0;
    }
    ++message.timed;
    if (!message.first) message.first = time;
    message.last = time;
}

std::optional<double> DecodeSummary::Message::rate() const {
    if (!first || timed < 2) return std::nullopt;
    const auto seconds = secondsBetween(*first, *last);
    if (!seconds || !(*seconds > 0.0)) return std::nullopt;
    return static_cast<double>(timed - 1) / *seconds;
}

void DecodeSummary::appendText(std::string& out, std::string_view file,
                               const DecoderCounters& counters) const {
    if (!file.empty()) appendFormat(out, "%.*s\n", static_cast<int>(file.size()), file.data());
    if (!m_messages.empty())
        appendFormat(out, "%10s  %-13s %6s  %-16s %9s  %-23s  %-23s %-3s  %s\n", "count", "family", "id",
                     "name", "rate (Hz)", "first", "last", "", "meaning");
    for (const auto& [kind, message] : m_messages) {
        const RecordName name = nameOf(kind);
        const std::string shown(name.empty() ? std::string_view("-") : name.view());
        const std::string family(familyNameOf(kind));
        const std::string meaning(meaningOf(kind));
        appendFormat(out, "%10llu  %-13s %6u  %-16s %9s  %-23s  %-23s %-3s  %s%s\n",
                     static_cast<unsigned long long>(message.count), family.c_str(), kind.id, shown.c_str(),
                     rateText(message.rate()).c_str(), timeText(message.first).c_str(),
                     timeText(message.last).c_str(), message.last ? scaleText(message.last->scale) : "",
                     meaning.c_str(), kind.source == RecordSource::kCarried ? " (carried)" : "");
    }
    appendFormat(out, "%10llu  records from %llu bytes, %llu bytes in no record\n",
                 static_cast<unsigned long long>(total(counters.records)),
                 static_cast<unsigned long long>(counters.received),
                 static_cast<unsigned long long>(counters.dropped));
    if (counters.unknownSentences > 0)
        appendFormat(out, "%10llu  '$' sentences with a good checksum and an unknown name (not records)\n",
                     static_cast<unsigned long long>(counters.unknownSentences));
}

void DecodeSummary::appendJson(std::string& out, std::string_view file,
                               const DecoderCounters& counters) const {
    out += '{';
    FieldWriter fields(out, LineFormat::kJson);
    if (!file.empty()) fields.fileName("file", file);
    fields.integer("bytes", static_cast<std::int64_t>(counters.received));
    fields.integer("dropped_bytes", static_cast<std::int64_t>(counters.dropped));
    fields.integer("records", static_cast<std::int64_t>(total(counters.records)));
    fields.integer("unknown_sentences", static_cast<std::int64_t>(counters.unknownSentences));
    out += ",\"rejected\":{";
    FieldWriter rejected(out, LineFormat::kJson);
    for (std::size_t type = 0; type < counters.rejected.size(); ++type)
        if (counters.rejected[type] > 0)
            rejected.integer(logTypeName(static_cast<LOG_TYPE>(type)),
                             static_cast<std::int64_t>(counters.rejected[type]));
    out += "},\"messages\":[";
    for (bool first = true; const auto& [kind, message] : m_messages) {
        out += first ? "{" : ",{";
        first = false;
        FieldWriter member(out, LineFormat::kJson);
        member.integer("type", kind.type);
        member.text("family", familyNameOf(kind));
        member.integer("id", kind.id);
        const RecordName name = nameOf(kind);
        member.text("name", name.view());
        member.integer("count", static_cast<std::int64_t>(message.count));
        if (kind.source == RecordSource::kCarried) member.boolean("carried", true);
        if (const auto rate = message.rate()) member.real("rate_hz", *rate, 3);
        if (message.first) {
            member.text("time_scale", scaleText(message.last->scale));
            writeTime(member, "first_week", "first_seconds", *message.first);
            writeTime(member, "last_week", "last_seconds", *message.last);
        }
        out += '}';
    }
    out += "]}\n";
}

}  // namespace vkcomm
