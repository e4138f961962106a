#include "host/stream_census.h"

#include <algorithm>
#include <memory>

#include "host/decode_stream.h"
#include "host/record_router.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

constexpr std::array<std::string_view, 7> kCounted = {"nmea", "oem4",  "trimble", "cmc",
                                                      "csi",  "javad", "maker"};

std::size_t indexOf(std::string_view family) {
    return static_cast<std::size_t>(std::ranges::find(kCounted, family) - kCounted.begin());
}

bool isPosition(RecordUse use) { return use == RecordUse::kPosition || use == RecordUse::kNoFix; }

}  // namespace

StreamCensus::StreamCensus(ByteSpan beginning) {
    static_assert(kCounted.size() == kFamilies);
    countFrames(beginning);
    countJavad(beginning);
}

void StreamCensus::countFrames(ByteSpan beginning) {
    UnhurriedClock clock;
    CNOut decoder;
    decoder.vSetClock(clock);
    decoder.vSetDecodeMask(kCheckedFrames);
    RecordRouter router;
    const auto count = [&](const RoutedRecord& routed) {
        if (!routed.parser || routed.record.type == LOG_CSI_REPLY) return;  // which has no check
        Count& counted = m_counts[indexOf(router.familyOf(*routed.parser))];
        const bool carried = routed.record.source == RecordSource::kCarried;
        if (!carried) ++counted.records;
        if (isPosition(routed.use)) ++(carried ? counted.carriedPositions : counted.positions);
    };
    while (!beginning.empty()) {
        const ByteSpan piece = beginning.first(std::min<std::size_t>(beginning.size(), kLargestChunk));
        beginning = beginning.subspan(piece.size());
        decoder.Set(piece.data(), static_cast<int>(piece.size()));
        while (decoder.Read() == CNOut::RETURN_COMPLETE) {
            count(router.route(viewOf(decoder)));
            while (const auto carried = router.nextCarried())
                count(*carried);
        }
    }
}

void StreamCensus::countJavad(ByteSpan beginning) {
    JavadFramer framer;
    const auto parser = makeJavadParser();
    Count& counted = m_counts[indexOf("javad")];
    framer.feed(beginning);
    while (const auto message = framer.nextAtEnd()) {
        const RecordUse use = parser->process(viewOf(*message));
        if (use != RecordUse::kNone) ++counted.records;
        if (isPosition(use)) ++counted.positions;
    }
}

const ReceiverFamily* StreamCensus::guess() const {
    constexpr std::uint64_t kSentencesPerRecord = 10;
    std::size_t best = 0;
    std::uint64_t most = m_counts[best].records;
    for (std::size_t i = 1; i < kFamilies; ++i)
        if (const std::uint64_t weight = m_counts[i].records * kSentencesPerRecord; weight > most) {
            best = i;
            most = weight;
        }
    return most == 0 ? nullptr : findFamily(kCounted[best]);
}

bool StreamCensus::isProof() const {
    const ReceiverFamily* const family = guess();
    if (!family) return false;
    return family->name == "oem4" || m_counts[indexOf(family->name)].records >= 2;
}

std::string_view StreamCensus::positionsFrom(const ReceiverFamily& family) const {
    if (family.name == "maker") {
        const auto most = std::ranges::max_element(m_counts, {}, &Count::carriedPositions);
        if (most->carriedPositions > 0) return kCounted[static_cast<std::size_t>(most - m_counts.begin())];
    }
    const std::size_t own = indexOf(family.name);
    const bool ownPositions = own < kFamilies && m_counts[own].positions > 0;
    const bool sentencePositions = m_counts[indexOf("nmea")].positions > 0;
    return !ownPositions && sentencePositions ? "nmea" : family.name;
}

bool StreamCensus::hasPositions(std::string_view family) const {
    const std::size_t index = indexOf(family);
    return index < kFamilies && m_counts[index].positions + m_counts[index].carriedPositions > 0;
}

std::string StreamCensus::text() const {
    std::string text;
    for (std::size_t i = 0; i < kFamilies; ++i) {
        if (m_counts[i].records == 0) continue;
        if (!text.empty()) text += ", ";
        appendInteger(text, static_cast<long long>(m_counts[i].records));
        text += ' ';
        text += kCounted[i];
    }
    return text.empty() ? "none of a known family" : text;
}

}  // namespace vkcomm
