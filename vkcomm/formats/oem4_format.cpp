#include "vkcomm/formats/oem4_format.h"

#include <algorithm>

#include "vkcomm/datum/process_settings.h"
#include "vkcomm/formats/gga_writer.h"

namespace vkcomm {

namespace {

constexpr double kRadiansPerDegree = 0.017453292519943295;

constexpr std::size_t kBestposSize = kOem4HeaderSize + kBestposBodySize;
constexpr std::size_t kPsrdopSize = kOem4HeaderSize + kPsrdopBodySize;
constexpr std::size_t kComponentAt = kOem4HeaderSize + 4;
constexpr std::size_t kVersionSize = kComponentAt + kVersionComponentSize;
constexpr std::size_t kRawephemSize = kOem4HeaderSize + CEphemeris::kNovatelBodySize;
constexpr std::size_t kRangesAt = kOem4HeaderSize + 4;
constexpr std::size_t k915TailAt = kOem4HeaderSize + 24;

ByteSpan readable(const unsigned char* frame, std::size_t size) {
    return frame ? ByteSpan(frame, size) : ByteSpan{};
}

bool isResponse(const unsigned char* frame) { return frame[6] >= 0x80; }

std::size_t bestposSize(const unsigned char* frame) {
    return isResponse(frame) ? kOem4HeaderSize : kBestposSize;
}

std::uint32_t rangeCount(const unsigned char* frame) {
    return std::min(loadLe<std::uint32_t>(frame + kOem4HeaderSize), std::uint32_t{kOem4Slots});
}

std::size_t rangesSize(const unsigned char* frame) {
    return kRangesAt + rangeCount(frame) * kCompressedRangeSize;
}

std::size_t epochSize(const unsigned char* frame) {
    const std::size_t count = frame[28];
    return count <= kPellSatellites ? pellEpochSize(count) : 29;
}

std::size_t message915Size(const unsigned char* frame) {
    const std::size_t tail = frame[kOem4HeaderSize + 20];
    return k915TailAt + (tail == 12 || tail == 16 ? tail : 0);
}

template <std::size_t Size>
void copyRaw(ByteSpan frame, std::array<unsigned char, Size>& record) {
    if (frame.size() >= Size) std::copy_n(frame.begin(), Size, record.begin());
}

// Corrections that are this fresh make the solution better than the receiver believes (deliberate, whatever
// the type of the solution).
void sharpen(BestposBody& position) {
    constexpr double kFactor = 0.6;
    if (!(position.differentialAge < 5.0f && position.differentialAge > 0.0f)) return;
    for (float* sigma : {&position.latitudeSigma, &position.longitudeSigma, &position.heightSigma})
        *sigma = static_cast<float>(*sigma * kFactor);
}

int ggaQuality(std::uint32_t positionType) {
    struct Range {
        std::uint32_t first;
        std::uint32_t last;
        int quality;
    };

    // Code differential counts as float (deliberate: hosts rely on it).
    constexpr Range kRanges[] = {{17, 17, 5}, {32, 34, 5}, {48, 50, 4}};
    for (const Range& range : kRanges)
        if (positionType >= range.first && positionType <= range.last) return range.quality;
    return 1;
}

}  // namespace

void CNOEM4Format::vProcessBestposB(const unsigned char* frame) {
    if (frame)
        vProcessBestposB(ByteSpan(frame, bestposSize(frame)));
    else
        derivePosition();
}

void CNOEM4Format::vProcessBestposB(ByteSpan frame) {
    if (frame.size() < kOem4HeaderSize || frame.size() < bestposSize(frame.data())) return;
    m_logs.header = loadOem4Header(frame.data());
    if (!m_logs.header.isResponse()) m_logs.bestpos = loadBestposBody(frame.data() + kOem4HeaderSize);
    sharpen(m_logs.bestpos);
    m_logs.bestpos.height -= dGetHerror();
    derivePosition();
}

void CNOEM4Format::derivePosition() {
    const BestposBody& body = m_logs.bestpos;
    m_position.position = {body.latitude * kRadiansPerDegree, body.longitude * kRadiansPerDegree,
                           body.height};
    m_position.week = m_logs.header.week;
    m_position.seconds = m_logs.header.milliseconds / 1000.0;
    m_position.type = static_cast<std::uint8_t>(body.positionType & 0xFF);
    m_position.satellitesUsed = body.satellitesUsed;
    m_position.satellitesTracked = body.satellitesTracked;
}

void CNOEM4Format::vProcessPsrDOPB(const unsigned char* frame) {
    vProcessPsrDOPB(readable(frame, kPsrdopSize));
}

void CNOEM4Format::vProcessPsrDOPB(ByteSpan frame) {
    if (frame.size() < kPsrdopSize) return;
    m_logs.header = loadOem4Header(frame.data());
    m_logs.psrdop = loadPsrdopBody(frame.data() + kOem4HeaderSize);
}

void CNOEM4Format::vProcessRangeCMPB(const unsigned char* frame) {
    if (frame) vProcessRangeCMPB(ByteSpan(frame, rangesSize(frame)));
}

void CNOEM4Format::vProcessRangeCMPB(ByteSpan frame) {
    if (frame.size() < kRangesAt || frame.size() < rangesSize(frame.data())) return;
    m_logs.ranges.count = rangeCount(frame.data());
    const unsigned char* record = frame.data() + kRangesAt;
    for (std::uint32_t i = 0; i < m_logs.ranges.count; ++i, record += kCompressedRangeSize)
        expandRange(record, m_logs.ranges.slots[i]);
}

void CNOEM4Format::ProcessRangeCMPData(int slot, const unsigned char* record) {
    ProcessRangeCMPData(slot, readable(record, kCompressedRangeSize));
}

void CNOEM4Format::ProcessRangeCMPData(int slot, ByteSpan record) {
    if (slot < 0 || slot >= int{kOem4Slots} || record.size() < kCompressedRangeSize) return;
    expandRange(record.data(), m_logs.ranges.slots[static_cast<std::size_t>(slot)]);
}

void CNOEM4Format::vProcessSatMsgB(const unsigned char* frame) {
    if (frame) {
        const unsigned char* const body = frame + kOem4HeaderSize;
        loadSatelliteMessage(ByteSpan(body, satelliteMessageSize(body[0])), m_logs.satellites);
    } else {
        m_logs.satellites.count = 0;
        m_logs.satellites.table = {};
    }
}

void CNOEM4Format::vProcessSatMsgB(ByteSpan frame) {
    if (frame.size() >= kOem4HeaderSize)
        loadSatelliteMessage(frame.subspan(kOem4HeaderSize), m_logs.satellites);
}

void CNOEM4Format::vProcessVerDataB(const unsigned char* frame) {
    vProcessVerDataB(readable(frame, kVersionSize));
}

void CNOEM4Format::vProcessVerDataB(ByteSpan frame) {
    if (frame.size() < kVersionSize) return;
    m_logs.header = loadOem4Header(frame.data());
    m_logs.version = loadVersionComponent(frame.data() + kComponentAt);
}

void CNOEM4Format::vProcessRefStationB(const unsigned char* frame, REFSTATIONB_DATA& record) const {
    copyRaw(readable(frame, record.bytes.size()), record.bytes);
}

void CNOEM4Format::vProcessRefStationB(ByteSpan frame, REFSTATIONB_DATA& record) const {
    copyRaw(frame, record.bytes);
}

void CNOEM4Format::vProcessPasscom2B(const unsigned char* frame, PASSCOMB_LOG& record) const {
    copyRaw(readable(frame, record.bytes.size()), record.bytes);
}

void CNOEM4Format::vProcessPasscom2B(ByteSpan frame, PASSCOMB_LOG& record) const {
    copyRaw(frame, record.bytes);
}

void CNOEM4Format::vProcessRawEphemB(const unsigned char* frame) {
    vProcessRawEphemB(readable(frame, kRawephemSize));
}

void CNOEM4Format::vProcessRawEphemB(ByteSpan frame) {
    if (frame.size() < kRawephemSize) return;
    m_logs.header = loadOem4Header(frame.data());
    CEphemeris::ConvertNovatelEphemeris(frame.subspan(kOem4HeaderSize), m_logs.ephemeris);
}

void CNOEM4Format::vProcessMessage912(const unsigned char* frame, tag_PellEpoch& epoch) const {
    if (frame) decodePellEpoch(ByteSpan(frame, epochSize(frame)), epoch);
}

void CNOEM4Format::vProcessMessage912(ByteSpan frame, tag_PellEpoch& epoch) const {
    decodePellEpoch(frame, epoch);
}

void CNOEM4Format::vProcessMessage913(const unsigned char* body, tag_PellStation& station) const {
    decodePellStation(readable(body, kPellStationSize), station);
}

void CNOEM4Format::vProcessMessage913(ByteSpan body, tag_PellStation& station) const {
    decodePellStation(body, station);
}

void CNOEM4Format::vProcessMessage915(const unsigned char* frame) {
    if (frame) vProcessMessage915(ByteSpan(frame, message915Size(frame)));
}

void CNOEM4Format::vProcessMessage915(ByteSpan frame) {
    if (frame.size() < k915TailAt || frame.size() < message915Size(frame.data())) return;
    m_logs.header = loadOem4Header(frame.data());
    ServerMessage915& message = m_logs.message915;
    copyRaw(frame.subspan(kOem4HeaderSize), message.body);
    const std::size_t tail = message.body[20];
    if (tail == message.tail12.size()) copyRaw(frame.subspan(k915TailAt), message.tail12);
    if (tail == message.tail16.size()) copyRaw(frame.subspan(k915TailAt), message.tail16);
}

void CNOEM4Format::vSetZero() { m_logs = {}; }

std::wstring CNOEM4Format::strGetGPGGA() const {
    const BestposBody& body = m_logs.bestpos;
    const std::uint32_t wholeSeconds = m_logs.header.milliseconds / 1000;
    GgaFix fix;
    fix.seconds = wholeSeconds;
    fix.latitude = body.latitude * kRadiansPerDegree;
    fix.longitude = body.longitude * kRadiansPerDegree;
    fix.quality = ggaQuality(body.positionType);
    fix.satellites = m_position.satellitesUsed;
    fix.hdop = m_logs.psrdop.hdop;
    fix.height = body.height;
    fix.undulation = body.undulation;
    return ggaSentence(fix);
}

}  // namespace vkcomm
