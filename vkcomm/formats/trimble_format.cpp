#include "vkcomm/formats/trimble_format.h"

#include <algorithm>
#include <string_view>

#include "vkcomm/datum/convert.h"
#include "vkcomm/formats/gga_writer.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

constexpr std::size_t kRecordHead = 2;
constexpr unsigned char kSatelliteRecord = 14;
constexpr std::size_t kSatelliteBytes = 8;
constexpr int kBeyondReport = 6;
constexpr std::size_t kSatelliteSetsBytes = 48;

// Flags 2, upper half cleared.
constexpr unsigned char kDifferential = 1;
constexpr unsigned char kFloat = 3;
constexpr unsigned char kFixed = 7;
constexpr unsigned char kFixedOmnistar = 15;

constexpr bool isFixed(unsigned char flags2) { return flags2 == kFixed || flags2 == kFixedOmnistar; }

constexpr int qualityOf(unsigned char flags2) {
    if (flags2 == kDifferential) return 2;
    if (flags2 == kFloat) return 5;
    return isFixed(flags2) ? 4 : 1;
}

bool isPageByte(ByteSpan report, std::size_t at) { return at <= 2 && report[at] <= 1; }

XYZ decodeThree(ByteSpan data) {
    ByteReader reader(data);
    XYZ three;
    three.x = reader.be<double>();
    three.y = reader.be<double>();
    three.z = reader.be<double>();
    return three;
}

TrimbleSigmas decodeSigmas(ByteSpan data) {
    ByteReader reader(data);
    TrimbleSigmas sigmas;
    for (float* field : {&sigmas.positionRms, &sigmas.east, &sigmas.north, &sigmas.covariance, &sigmas.up,
                         &sigmas.semiMajor, &sigmas.semiMinor, &sigmas.orientation, &sigmas.unitVariance})
        *field = reader.be<float>();
    sigmas.epochs = reader.be<std::uint16_t>();
    return sigmas;
}

// Deliberate: see TrimbleSigmas.
void scaleFixedSolution(TrimbleSigmas& sigmas) {
    sigmas.east = static_cast<float>(double{sigmas.east} / 5.0);
    sigmas.north = static_cast<float>(double{sigmas.north} / 5.0);
    sigmas.up = static_cast<float>(double{sigmas.up} / 4.5);
}

TrimbleSatellite decodeSatellite(ByteReader& reader) {
    TrimbleSatellite satellite;
    satellite.prn = reader.be<std::uint8_t>();
    satellite.flags1 = reader.be<std::uint8_t>();
    satellite.flags2 = reader.be<std::uint8_t>();
    satellite.elevation = reader.be<std::int8_t>();
    satellite.azimuth = reader.be<std::uint16_t>();
    satellite.snrL1 = reader.be<std::uint8_t>();
    satellite.snrL2 = reader.be<std::uint8_t>();
    return satellite;
}

}  // namespace

struct CTrimbleFormat::GsofRow {
    unsigned char type;
    std::size_t length;
    void (CTrimbleFormat::*store)(ByteSpan data);
};

constexpr CTrimbleFormat::GsofRow CTrimbleFormat::kGsofRows[] = {
    {1, 10, &CTrimbleFormat::storePositionTime}, {2, 24, &CTrimbleFormat::storeGeodetic},
    {3, 24, &CTrimbleFormat::storeCartesian},    {6, 24, &CTrimbleFormat::storeDelta},
    {9, 16, &CTrimbleFormat::storeDops},         {12, 38, &CTrimbleFormat::storeSigmas},
};

void CTrimbleFormat::vProcessGenout(const unsigned char* report, int length) {
    if (report && length >= kBeyondReport)
        vProcessGenout(ByteSpan(report, static_cast<std::size_t>(length - kBeyondReport)));
}

void CTrimbleFormat::vProcessGenout(ByteSpan report) {
    m_deltaSeen = false;
    for (std::size_t at = 1; at < report.size();) {
        if (isPageByte(report, at)) {
            ++at;
            continue;
        }
        const ByteSpan rest = report.subspan(at);
        if (rest.size() < kRecordHead || rest.size() - kRecordHead < rest[1]) break;
        const std::size_t end = kRecordHead + rest[1] + (rest[0] == kSatelliteRecord ? 1 : 0);
        storeRecord(rest[0], rest.first(std::min(end, rest.size())).subspan(kRecordHead));
        at += end;
    }
    m_basePosition = m_deltaSeen ? m_position - m_basePosition : XYZ{};
}

void CTrimbleFormat::storeRecord(unsigned char type, ByteSpan data) {
    if (type == kSatelliteRecord) return storeSatellites(data);
    const auto* row = std::ranges::find(kGsofRows, type, &GsofRow::type);
    if (row != std::end(kGsofRows) && row->length == data.size()) (this->*row->store)(data);
}

void CTrimbleFormat::storePositionTime(ByteSpan data) {
    ByteReader reader(data);
    m_positionTime.milliseconds = reader.be<std::uint32_t>();
    m_positionTime.week = reader.be<std::uint16_t>();
    m_positionTime.satellites = reader.be<std::uint8_t>();
    m_positionTime.flags1 = reader.be<std::uint8_t>();
    m_positionTime.flags2 = reader.be<std::uint8_t>();
    m_positionTime.initialisations = reader.be<std::uint8_t>();
}

void CTrimbleFormat::storeGeodetic(ByteSpan data) {
    const XYZ angles = decodeThree(data);
    m_position = CConvert::BLHtoXYZ({angles.x, angles.y, angles.z}, false);
}

void CTrimbleFormat::storeCartesian(ByteSpan data) { m_position = decodeThree(data); }

void CTrimbleFormat::storeDelta(ByteSpan data) {
    m_basePosition = decodeThree(data);
    m_deltaSeen = true;
}

void CTrimbleFormat::storeDops(ByteSpan data) {
    ByteReader reader(data);
    m_dops.pdop = reader.be<float>();
    m_dops.hdop = reader.be<float>();
    m_dops.vdop = reader.be<float>();
    m_dops.tdop = reader.be<float>();
}

void CTrimbleFormat::storeSigmas(ByteSpan data) {
    m_sigmas = decodeSigmas(data);
    m_positionTime.flags2 &= 0x0F;
    if (isFixed(m_positionTime.flags2)) scaleFixedSolution(m_sigmas);
}

// data reaches one byte beyond the record's length: with a length that leaves out the byte that holds the
// number of satellites, that byte belongs to the last one; else it is the one that is skipped.
void CTrimbleFormat::storeSatellites(ByteSpan data) {
    if (data.empty()) return;
    ByteReader reader(data);
    m_satellites.count = reader.be<std::int8_t>();
    m_satellites.list.clear();
    for (int i = 0; i < m_satellites.count && reader.remaining() >= kSatelliteBytes; ++i)
        m_satellites.list.push_back(decodeSatellite(reader));
}

void CTrimbleFormat::vProcessRawData(const unsigned char* /*record*/, int /*length*/) {}

void CTrimbleFormat::vProcessRawData(ByteSpan /*record*/) {}

void CTrimbleFormat::vProcessRetsvdata(const unsigned char* data) {
    if (data) vProcessRetsvdata(ByteSpan(data, kSatelliteSetsBytes));
}

void CTrimbleFormat::vProcessRecstat1(const unsigned char* data) {
    if (data) vProcessRecstat1(ByteSpan(data, m_status.size()));
}

void CTrimbleFormat::vProcessRetopt(const unsigned char* data) {
    if (data) vProcessRetopt(ByteSpan(data, m_options.bytes.size()));
}

void CTrimbleFormat::vProcessRetsvdata(ByteSpan data) {
    if (data.size() < kSatelliteSetsBytes) return;
    ByteReader reader(data);
    for (std::uint32_t& set : m_satelliteSets)
        set = reader.be<std::uint32_t>();
}

void CTrimbleFormat::vProcessRecstat1(ByteSpan data) {
    if (data.size() >= m_status.size()) std::copy_n(data.begin(), m_status.size(), m_status.begin());
}

void CTrimbleFormat::vProcessRetopt(ByteSpan data) {
    if (data.size() < m_options.bytes.size()) return;
    std::copy_n(data.begin(), m_options.bytes.size(), m_options.bytes.begin());
    m_options.syncTime = loadBe<std::uint16_t>(&data[2]);
    m_options.fastestRate = loadBe<std::uint16_t>(&data[4]);
    m_options.memoryInstalled = loadBe<std::uint16_t>(&data[29]);
}

std::wstring CTrimbleFormat::strGetGPGGA() const {
    constexpr double kUndulation = 1.0;
    const BLH position = CConvert::XYZtoBLH(m_position);
    GgaFix fix;
    fix.seconds = m_positionTime.milliseconds / 1000;
    fix.latitude = position.latitude;
    fix.longitude = position.longitude;
    fix.quality = qualityOf(m_positionTime.flags2);
    fix.satellites =
        static_cast<int>(parseInteger(std::string_view(reinterpret_cast<const char*>(&m_status[2]), 2)));
    fix.hdop = double{m_dops.hdop};
    fix.height = position.height;
    fix.undulation = kUndulation;
    return ggaSentence(fix);
}

}  // namespace vkcomm
