#include "host/decode_summary.h"

#include <numeric>

#include "host/field_writer.h"
#include "vkcomm/decode/record_names.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

template <typename Counts>
std::uint64_t total(const Counts& counts) {
    return std::accumulate(counts.begin(), counts.end(), std::uint64_t{0});
}

}  // namespace

void DecodeSummary::count(const CNOut& record) { ++m_counts[{record.Type(), record.Id()}]; }

void DecodeSummary::appendText(std::string& out, std::string_view file,
                               const DecoderCounters& counters) const {
    if (!file.empty()) appendFormat(out, "%.*s\n", static_cast<int>(file.size()), file.data());
    for (const auto& [kind, count] : m_counts) {
        const RecordName name = recordName(kind.first, kind.second);
        const std::string_view shown = name.empty() ? std::string_view("-") : name.view();
        const std::string_view meaning = recordMeaning(kind.first, kind.second);
        appendFormat(out, "%10llu  %-13s %6u  %-16.*s %.*s\n", static_cast<unsigned long long>(count),
                     logTypeName(kind.first), kind.second, static_cast<int>(shown.size()), shown.data(),
                     static_cast<int>(meaning.size()), meaning.data());
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
    for (bool first = true; const auto& [kind, count] : m_counts) {
        out += first ? "{" : ",{";
        first = false;
        FieldWriter message(out, LineFormat::kJson);
        message.integer("type", kind.first);
        message.text("family", logTypeName(kind.first));
        message.integer("id", kind.second);
        const RecordName name = recordName(kind.first, kind.second);
        message.text("name", name.view());
        message.integer("count", static_cast<std::int64_t>(count));
        out += '}';
    }
    out += "]}\n";
}

}  // namespace vkcomm
