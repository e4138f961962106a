#include "host/record_router.h"

#include <algorithm>

namespace vkcomm {

namespace {

enum Family : std::size_t { kNmea, kOem4, kTrimble, kCmc, kCsi, kJavad, kMaker, kNobody };

constexpr std::array<std::string_view, kNobody> kNames = {"nmea", "oem4",  "trimble", "cmc",
                                                          "csi",  "javad", "maker"};

constexpr Family familyFor(LOG_TYPE type) {
    switch (type) {
    case LOG_NMEA: return kNmea;
    case LOG_OEM4_BINARY:
    case LOG_OEM4_ASCII: return kOem4;
    case LOG_TRIMBLE_PACKET: return kTrimble;
    case LOG_CMC_BINARY: return kCmc;
    case LOG_HEMISPHERE_BINARY:
    case LOG_CSI_REPLY: return kCsi;
    case LOG_VAREK_REPLY: return kMaker;
    default: return kNobody;
    }
}

// What a board inside may send.
constexpr std::uint32_t kCarriedMask =
    kDecodeTrimble | kDecodeCmc | kDecodeSentence | kDecodeOem4Ascii | kDecodeReply | kDecodePortBanner;

// Of positions: a receiver's own are better than those of its sentences.
int rankOf(std::string_view family) { return family == kNames[kNmea] ? 1 : 2; }

}  // namespace

RecordRouter::RecordRouter() {
    static_assert(kFamilies == kNobody);
    for (std::size_t family = 0; family < kFamilies; ++family)
        m_parsers[family] = makeFamilyParser(kNames[family]);
    m_receiver = m_parsers[kNmea].get();
    m_carried.vSetDecodeMask(kCarriedMask);
}

RoutedRecord RecordRouter::route(const RecordView& record) {
    FamilyParser* const parser = parserFor(record);
    if (!parser) return {record};
    const RecordUse use = parser->process(record);
    if (const auto time = parser->time()) m_time = time;
    if (carriesRecords(kindOf(record))) {
        const ByteSpan payload = makerPayload(record.bytes);
        m_carrierOffset = record.offset;
        m_carried.Set(payload.data(), static_cast<int>(payload.size()));
    }
    return {record, parser, use};
}

std::optional<RoutedRecord> RecordRouter::nextCarried() { return carriedIf(m_carried.Read()); }

std::optional<RoutedRecord> RecordRouter::nextCarriedAtEnd() { return carriedIf(m_carried.ReadRest()); }

std::optional<RoutedRecord> RecordRouter::carriedIf(CNOut::RETURN result) {
    if (result != CNOut::RETURN_COMPLETE) return std::nullopt;
    RecordView record = viewOf(m_carried);
    record.source = RecordSource::kCarried;
    record.offset = m_carrierOffset;
    return route(record);
}

void RecordRouter::keepPositionsOf(std::string_view family) {
    setReceiver(family);
    m_positionRank = rankOf(family);
}

bool RecordRouter::adoptPositions(const RoutedRecord& routed, const ReceiverFamily* asked) {
    if (!routed.parser || (routed.use != RecordUse::kPosition && routed.use != RecordUse::kNoFix))
        return false;
    const std::string_view name = familyOf(*routed.parser);
    const bool isSentence = name == kNames[kNmea];
    const bool isCarried = routed.record.source == RecordSource::kCarried;
    const bool mayCount = !asked || isSentence || isCarried || name == asked->name;
    if (!mayCount || rankOf(name) <= m_positionRank) return false;
    keepPositionsOf(name);
    return true;
}

std::string_view RecordRouter::familyOf(const FamilyParser& parser) const {
    const auto own = std::ranges::find(m_parsers, &parser, [](const auto& p) { return p.get(); });
    return own == m_parsers.end() ? std::string_view()
                                  : kNames[static_cast<std::size_t>(own - m_parsers.begin())];
}

FamilyParser* RecordRouter::parserOf(std::string_view family) const {
    const auto* name = std::ranges::find(kNames, family);
    return m_parsers[name == kNames.end() ? kNmea : static_cast<std::size_t>(name - kNames.begin())].get();
}

FamilyParser* RecordRouter::parserFor(const RecordView& record) const {
    if (record.source == RecordSource::kJavad) return m_parsers[kJavad].get();
    const Family family = familyFor(record.type);
    return family == kNobody ? nullptr : m_parsers[family].get();
}

bool carriesRecords(const MessageKind& kind) { return kind.type == LOG_VAREK_REPLY && kind.id == kMakerRz; }

ByteSpan makerPayload(ByteSpan frame) {
    constexpr std::size_t kLengthAt = 5;
    if (frame.size() <= kLengthAt) return {};
    const ByteSpan rest = frame.subspan(kLengthAt + 1);
    return rest.first(std::min<std::size_t>(rest.size(), frame[kLengthAt]));
}

}  // namespace vkcomm
