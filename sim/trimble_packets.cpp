#include "sim/trimble_packets.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "vkcomm/util/checksums.h"

namespace vkcomm::sim {

namespace {

constexpr std::uint8_t kStx = 0x02;
constexpr std::uint8_t kEtx = 0x03;

// The rest of a record behind its type and its length.
void head(std::uint8_t type, std::size_t length, ByteWriter& records) {
    records.be(type);
    records.be(static_cast<std::uint8_t>(length));
}

template <typename... Fields>
void addRecord(std::uint8_t type, ByteWriter& records, Fields... fields) {
    head(type, (sizeof fields + ...), records);
    (records.be(fields), ...);
}

Match matchPacket(ByteSpan bytes) {
    if (bytes.empty() || bytes[0] != kStx) return Match::kNone;
    if (bytes.size() < 4) return Match::kUnfinished;
    const std::size_t size = bytes[3] + std::size_t{6};
    if (bytes.size() < size) return Match::kUnfinished;
    const bool right = bytes[size - 1] == kEtx && sum8(bytes.subspan(1, size - 3)) == bytes[size - 2];
    return right ? Match::kFrame : Match::kNone;
}

using namespace std::string_view_literals;

constexpr std::array kFalseHeads{
    "\x02\x28\x40\xF0"sv,  // promises 240 bytes
    "\x02\x00\x57\xFC"sv,  // the most that a packet holds, and then more
    "\x02\x00\x40\xFD"sv, "\x02\x00\x40\xFF"sv, "\x02\x00"sv, "\x02"sv,
};

// What the broadcast integers of an ephemeris are worth in the RETSVDATA packet, in its order. Angles and
// harmonic terms are in semicircles.
struct Scaled {
    std::int64_t Ephemeris::*field;
    int exponent;
    bool radians = false;
};

constexpr Scaled kScaled[] = {
    {&Ephemeris::groupDelay, -31},
    {&Ephemeris::clockDriftRate, -55},
    {&Ephemeris::clockDrift, -43},
    {&Ephemeris::clockOffset, -31},
    {&Ephemeris::crs, -5},
    {&Ephemeris::meanMotionDifference, -43},
    {&Ephemeris::meanAnomaly, -31},
    {&Ephemeris::cuc, -29, true},
    {&Ephemeris::eccentricity, -33},
    {&Ephemeris::cus, -29, true},
    {&Ephemeris::rootOfSemiMajorAxis, -19},
    {&Ephemeris::cic, -29, true},
    {&Ephemeris::ascendingNode, -31},
    {&Ephemeris::cis, -29, true},
    {&Ephemeris::inclination, -31},
    {&Ephemeris::crc, -5},
    {&Ephemeris::perigee, -31},
    {&Ephemeris::nodeRate, -43},
    {&Ephemeris::inclinationRate, -43},
};

}  // namespace

void addTrimblePacket(TrimblePacket type, ByteSpan data, Piece& piece) {
    ByteWriter packet;
    packet.be(kStx);
    packet.zeros(1);
    packet.be(static_cast<std::uint8_t>(type));
    packet.be(static_cast<std::uint8_t>(data.size()));
    packet.append(data);
    packet.be(sum8(packet.bytes().subspan(1)));
    packet.be(kEtx);
    piece.addFrame(packet.bytes());
}

void addGenout(std::uint8_t transmission, ByteSpan records, std::size_t pageSize, Piece& piece) {
    const std::size_t last = records.empty() ? 0 : (records.size() - 1) / pageSize;
    for (std::size_t page = 0; page <= last; ++page) {
        ByteWriter data;
        data.be(transmission);
        data.be(static_cast<std::uint8_t>(page));
        data.be(static_cast<std::uint8_t>(last));
        data.append(records.first(std::min(pageSize, records.size())));
        records = records.subspan(std::min(pageSize, records.size()));
        addTrimblePacket(kGenout, data.bytes(), piece);
    }
}

const Framing kTrimbleFraming{matchPacket, 0, kFalseHeads};

void addGsofTime(const GsofTime& t, ByteWriter& records) {
    addRecord(1, records, t.milliseconds, t.week, t.satellites, t.flags1, t.flags2, t.initialisations);
}

void addGsofGeodetic(double latitude, double longitude, double height, ByteWriter& records) {
    addRecord(2, records, latitude, longitude, height);
}

void addGsofPosition(const Ecef& position, ByteWriter& records) {
    addRecord(3, records, position.x, position.y, position.z);
}

void addGsofDelta(const Ecef& fromBase, ByteWriter& records) {
    addRecord(6, records, fromBase.x, fromBase.y, fromBase.z);
}

void addGsofVelocity(const GsofVelocity& v, ByteWriter& records) {
    constexpr std::uint8_t kValid = 0x01;
    addRecord(8, records, kValid, v.speed, v.heading, v.vertical);
}

void addGsofDops(float pdop, float hdop, float vdop, float tdop, ByteWriter& records) {
    addRecord(9, records, pdop, hdop, vdop, tdop);
}

void addGsofSigmas(const GsofSigmas& s, ByteWriter& records) {
    addRecord(12, records, s.rms, s.east, s.north, s.covariance, s.up, s.semiMajor, s.semiMinor,
              s.orientation, s.unitVariance, s.epochs);
}

void addGsofSatellites(std::span<const GsofSatellite> satellites, ByteWriter& records) {
    head(14, 1 + 8 * satellites.size(), records);
    records.be(static_cast<std::uint8_t>(satellites.size()));
    for (const GsofSatellite& satellite : satellites) {
        records.be(satellite.prn);
        records.be(satellite.flags1);
        records.be(satellite.flags2);
        records.be(satellite.elevation);
        records.be(satellite.azimuth);
        records.be(satellite.snrL1);
        records.be(satellite.snrL2);
    }
}

ByteWriter svFlags(const SatelliteSets& sets) {
    ByteWriter data;
    data.zeros(2);  // the kind of data; no satellite
    for (const std::uint32_t set : sets)
        data.be(set);
    return data;
}

ByteWriter svEphemeris(int prn, std::int64_t secondsOfWeek, const Ephemeris& e) {
    constexpr double kSemicirclesPerRadian = 1.0 / 3.1415926535898;
    ByteWriter data;
    data.be<std::uint8_t>(1);
    data.be(static_cast<std::uint8_t>(prn));
    data.be(static_cast<std::uint16_t>(e.week));
    data.be(static_cast<std::uint16_t>(e.iodc));
    data.zeros(1);
    data.be(static_cast<std::uint8_t>(e.iodc));
    data.be(static_cast<std::int32_t>(secondsOfWeek));
    data.be(static_cast<std::int32_t>(e.clockReference * 16));
    data.be(static_cast<std::uint32_t>(e.reference * 16));
    for (const Scaled& scaled : kScaled)
        data.be(std::ldexp(static_cast<double>(e.*scaled.field), scaled.exponent) *
                (scaled.radians ? kSemicirclesPerRadian : 1.0));
    data.be(static_cast<std::uint32_t>(e.l2PDataOff | e.codesOnL2 << 1 | e.health << 4 | e.longFit << 10 |
                                       e.accuracyIndex << 11));
    return data;
}

}  // namespace vkcomm::sim
