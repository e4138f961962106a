#include "host/decode_summary.h"

#include <cmath>
#include <numeric>

#include "host/field_writer.h"
#include "vkcomm/gpstime/gps_time.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

template <typename Counts>
std::uint64_t total(const Counts& counts) {
    return std::accumulate(counts.begin(), counts.end(), std::uint64_t{0});
}

// "2009-12-18 23:07:00.000", or the time of day alone.
std::string timeText(const std::optional<ReceiverTime>& time) {
    if (!time) return "-";
    long year = 0;
    long month = 0;
    long day = 0;
    long hour = 0;
    long minute = 0;
    double second = 0.0;
    const double milliseconds = std::round(time->seconds * 1000.0) / 1000.0;
    gps_to_ymdhms(time->week.value_or(0), milliseconds, &year, &month, &day, &hour, &minute, &second);
    std::string text;
    if (time->week) appendFormat(text, "%04ld-%02ld-%02ld ", year, month, day);
    appendFormat(text, "%02ld:%02ld:%06.3f", hour, minute, std::floor(second * 1000.0 + 0.5) / 1000.0);
    return text;
}

std::string rateText(std::optional<double> hertz) {
    if (!hertz) return "-";
    std::string text;
    appendFormat(text, "%.2f Hz", *hertz);
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
    for (const auto& [kind, message] : m_messages) {
        const RecordName name = nameOf(kind);
        const std::string_view shown = name.empty() ? std::string_view("-") : name.view();
        const std::string_view family = familyNameOf(kind);
        const std::string_view meaning = meaningOf(kind);
        const std::string first = timeText(message.first);
        const std::string last = timeText(message.last);
        const std::string rate = rateText(message.rate());
        appendFormat(out, "%10llu  %-13.*s %6u  %-16.*s %11s  %-23s  %-23s  %.*s%s\n",
                     static_cast<unsigned long long>(message.count), static_cast<int>(family.size()),
                     family.data(), kind.id, static_cast<int>(shown.size()), shown.data(), rate.c_str(),
                     first.c_str(), last.c_str(), static_cast<int>(meaning.size()), meaning.data(),
                     kind.source == RecordSource::kCarried ? " (carried)" : "");
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
    if (!file.empty()) fields.text("file", file);
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
            member.text("time_scale", message.last->scale == TimeScale::kGps ? "gps" : "utc");
            writeTime(member, "first_week", "first_seconds", *message.first);
            writeTime(member, "last_week", "last_seconds", *message.last);
        }
        out += '}';
    }
    out += "]}\n";
}

}  // namespace vkcomm
