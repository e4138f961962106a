#include "sim/trimble_encoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <string_view>
#include <vector>

#include "sim/trimble_packets.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm::sim {

namespace {

constexpr std::size_t kLongPage = 244;
constexpr std::size_t kShortPage = 100;

bool hasFix(const Epoch& epoch) { return epoch.quality != FixQuality::kNone; }

bool hasPhases(const Epoch& epoch) { return epoch.quality >= FixQuality::kRtkFloat; }

bool isGps(const Satellite& satellite) { return satellite.system == SatelliteSystem::kGps; }

// Corrections in bit 0, phases in bit 1, fixed integers in bit 2.
std::uint8_t solutionFlags(FixQuality quality) {
    constexpr std::array<std::uint8_t, 5> kFlags{0x00, 0x00, 0x01, 0x03, 0x07};
    return kFlags[static_cast<std::size_t>(quality)];
}

GsofTime timeOf(const Epoch& epoch) {
    constexpr std::uint8_t kComputed = 0x2F;  // new, with clock, horizontal and height, overdetermined
    return {.milliseconds = static_cast<std::uint32_t>(epoch.millisecondsOfWeek),
            .week = static_cast<std::uint16_t>(epoch.week),
            .satellites = static_cast<std::uint8_t>(epoch.satellitesUsed()),
            .flags1 = hasFix(epoch) ? kComputed : std::uint8_t{0},
            .flags2 = solutionFlags(epoch.quality),
            .initialisations = 1};
}

// The error ellipse lies along the meridian.
GsofSigmas sigmasOf(const Epoch& epoch) {
    const auto north = static_cast<float>(epoch.sigmaLatitude);
    const auto east = static_cast<float>(epoch.sigmaLongitude);
    return {.rms = static_cast<float>(positionSigma(epoch)),
            .east = east,
            .north = north,
            .up = static_cast<float>(epoch.sigmaHeight),
            .semiMajor = north,
            .semiMinor = east,
            .unitVariance = 1.0f,
            .epochs = 1};
}

std::uint8_t quarters(double decibels) {
    return static_cast<std::uint8_t>(std::clamp(std::lround(decibels * 4.0), 0L, 255L));
}

GsofSatellite satelliteOf(const Satellite& satellite, const Epoch& epoch) {
    // Above the horizon, with a channel, L1 and L2 tracked; the base tracks the same.
    constexpr unsigned kTracked = 0x0F, kAtBase = 0x30, kUsed = 0x40, kUsedInRtk = 0x80;
    constexpr std::uint8_t kPCodeL2 = 0x02;
    const unsigned flags = kTracked | (epoch.quality > FixQuality::kSingle ? kAtBase : 0) |
                           (satellite.used ? kUsed : 0) |
                           (satellite.used && hasPhases(epoch) ? kUsedInRtk : 0);
    return {.prn = static_cast<std::uint8_t>(satellite.number),
            .flags1 = static_cast<std::uint8_t>(flags),
            .flags2 = kPCodeL2,
            .elevation = static_cast<std::int8_t>(std::lround(satellite.elevation)),
            .azimuth = static_cast<std::uint16_t>(std::lround(satellite.azimuth) % 360),
            .snrL1 = quarters(satellite.l1.cn0),
            .snrL2 = quarters(satellite.l2.cn0)};
}

void addSatellites(const Epoch& epoch, ByteWriter& records) {
    std::vector<GsofSatellite> satellites;
    for (const Satellite& satellite : epoch.satellites)
        if (isGps(satellite)) satellites.push_back(satelliteOf(satellite, epoch));
    addGsofSatellites(satellites, records);
}

void addPosition(const Epoch& epoch, ByteWriter& records) {
    const Ecef rover = positionOf(epoch);
    const Ecef base = basePosition();
    addGsofGeodetic(radiansOf(epoch.latitude), radiansOf(epoch.longitude), ellipsoidalHeight(epoch), records);
    addGsofPosition(rover, records);
    addGsofDelta({rover.x - base.x, rover.y - base.y, rover.z - base.z}, records);
    addGsofDops(static_cast<float>(epoch.dops.pdop), static_cast<float>(epoch.dops.hdop),
                static_cast<float>(epoch.dops.vdop), static_cast<float>(epoch.dops.tdop), records);
    addGsofSigmas(sigmasOf(epoch), records);
}

void addVelocity(const Epoch& epoch, ByteWriter& records) {
    addGsofVelocity({.speed = static_cast<float>(epoch.speed),
                     .heading = static_cast<float>(radiansOf(epoch.course)),
                     .vertical = static_cast<float>(epoch.verticalSpeed)},
                    records);
}

void addReport(const Epoch& epoch, Piece& piece) {
    constexpr std::int64_t kTransmissions = 251;  // prime, so that the numbers of near epochs differ
    const bool inPages = isDue(epoch, 5'000);
    ByteWriter records;
    addGsofTime(timeOf(epoch), records);
    if (hasFix(epoch)) addPosition(epoch, records);
    addSatellites(epoch, records);
    if (hasFix(epoch) && inPages) addVelocity(epoch, records);
    addGenout(static_cast<std::uint8_t>(epoch.millisecondsOfWeek % kTransmissions), records.bytes(),
              inPages ? kShortPage : kLongPage, piece);
}

void addStatus(const Epoch& epoch, Piece& piece) {
    constexpr std::size_t kSize = 21;
    std::string data = "  ";
    appendInteger(data, epoch.satellitesUsed(), 2);
    data.resize(kSize, ' ');
    ByteWriter packet;
    packet.text(data, kSize);
    addTrimblePacket(kRecstat1, packet.bytes(), piece);
}

void addSatelliteFlags(const Epoch& epoch, Piece& piece) {
    std::uint32_t tracked = 0;
    for (const Satellite& satellite : epoch.satellites)
        if (isGps(satellite)) tracked |= std::uint32_t{1} << (satellite.number - 1);
    // Ephemeris, almanac; none disabled or unhealthy; tracked on L1, on L2; with Y code.
    const ByteWriter data = svFlags({tracked, 0xFFFF'FFFF, 0, 0, tracked, tracked, tracked});
    addTrimblePacket(kRetsvdata, data.bytes(), piece);
}

void addEphemerides(const Epoch& epoch, Piece& piece) {
    for (const Satellite& satellite : epoch.satellites) {
        if (!isGps(satellite)) continue;
        const Ephemeris ephemeris = ephemerisOf(satellite.number, epoch.week, epoch.millisecondsOfWeek);
        const ByteWriter data =
            svEphemeris(satellite.number, epoch.millisecondsOfWeek / 30'000 * 30, ephemeris);
        addTrimblePacket(kRetsvdata, data.bytes(), piece);
    }
}

void addBreakReply(Piece& piece) {
    constexpr std::string_view kText = "SERIAL,SIM00001;PORT,0,38400,N,8,1,N,0;VERSION,4.82,1.00,3.01,2.50;"
                                       "CHANNELS,24;NAME,SIMULATED ROVER;";
    ByteWriter data;
    data.text(kText, kText.size());
    addTrimblePacket(kBreakret, data.bytes(), piece);
}

void addSerial(Piece& piece) {
    ByteWriter data;
    for (const std::string_view text : {"SIM00001",  // serial number
                                        "SIM5800 ",  // receiver type
                                        "04.82",     // versions: navigation, signal processor, boot
                                        "01.00", "03.01",
                                        "ANT00001",        // antenna: serial number, type
                                        "77", "24", "12",  // channels, L1 channels
                                        "0000000001"})     // long serial number
        data.text(text, text.size());
    addTrimblePacket(kRetserial, data.bytes(), piece);
}

// The older form, of 49 bytes.
void addOptions(Piece& piece) {
    ByteWriter data;
    data.be<std::uint8_t>(10);    // elevation mask, degrees
    data.be<std::uint8_t>(7);     // PDOP mask
    data.be<std::uint16_t>(10);   // synchronisation, 0.1 s
    data.be<std::uint16_t>(100);  // fastest measurements, ms
    data.be<std::uint8_t>(1);     // this port
    data.be<std::uint8_t>(3);     // ports
    data.be<std::uint8_t>(1);     // L1 and L2
    data.zeros(20);
    data.be<std::uint16_t>(8192);  // memory, kB
    data.be<std::uint8_t>(5);      // percent of it used
    data.zeros(17);
    addTrimblePacket(kRetopt, data.bytes(), piece);
}

}  // namespace

void encodeTrimbleStart(const Epoch&, Piece& piece) {
    addBreakReply(piece);
    addSerial(piece);
    addOptions(piece);
}

void encodeTrimble(const Epoch& epoch, Piece& piece) {
    addStatus(epoch, piece);
    addReport(epoch, piece);
    if (isDue(epoch, 10'000)) addSatelliteFlags(epoch, piece);
    if (isDue(epoch, 120'000)) addEphemerides(epoch, piece);
}

}  // namespace vkcomm::sim
