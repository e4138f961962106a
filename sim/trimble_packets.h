// Packets of Trimble receivers and the GSOF records that GENOUT packets carry, field by field; all numbers
// are big-endian.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "sim/byte_writer.h"
#include "sim/ephemeris.h"
#include "sim/framing.h"
#include "sim/geodesy.h"
#include "sim/piece.h"

namespace vkcomm::sim {

enum TrimblePacket : std::uint8_t {
    kRetserial = 0x07,
    kRecstat1 = 0x09,
    kGenout = 0x40,
    kRetopt = 0x4B,
    kRetsvdata = 0x55,
    kRawdata = 0x57,
    kAppfile = 0x64,
    kRetafdir = 0x67,
    kBreakret = 0x6E
};

// Appends a packet: 02h, status 0, type, length, data, sum, 03h. At most 252 bytes of data.
void addTrimblePacket(TrimblePacket type, ByteSpan data, Piece& piece);

// Appends records in GENOUT packets of one transmission, pageSize bytes of them in each; a record may run
// from one page into the next. At least one packet, at most 256.
void addGenout(std::uint8_t transmission, ByteSpan records, std::size_t pageSize, Piece& piece);

extern const Framing kTrimbleFraming;

struct GsofTime {                    // record 1
    std::uint32_t milliseconds = 0;  // of the GPS week
    std::uint16_t week = 0;
    std::uint8_t satellites = 0;
    std::uint8_t flags1 = 0;
    std::uint8_t flags2 = 0;
    std::uint8_t initialisations = 0;
};

struct GsofVelocity {       // record 8
    float speed = 0.0f;     // m/s
    float heading = 0.0f;   // radians
    float vertical = 0.0f;  // m/s
};

struct GsofSigmas {  // record 12; metres and square metres
    float rms = 0.0f, east = 0.0f, north = 0.0f, covariance = 0.0f, up = 0.0f;
    float semiMajor = 0.0f, semiMinor = 0.0f;
    float orientation = 0.0f;  // degrees
    float unitVariance = 0.0f;
    std::uint16_t epochs = 0;
};

struct GsofSatellite {  // of record 14
    std::uint8_t prn = 0;
    std::uint8_t flags1 = 0;
    std::uint8_t flags2 = 0;
    std::int8_t elevation = 0;  // degrees
    std::uint16_t azimuth = 0;  // degrees
    std::uint8_t snrL1 = 0;     // quarters of a dB
    std::uint8_t snrL2 = 0;
};

// Each appends one record.
void addGsofTime(const GsofTime& time, ByteWriter& records);
void addGsofGeodetic(double latitude, double longitude, double height,
                     ByteWriter& records);  // radians, metres
void addGsofPosition(const Ecef& position, ByteWriter& records);
void addGsofDelta(const Ecef& fromBase, ByteWriter& records);
void addGsofVelocity(const GsofVelocity& velocity, ByteWriter& records);
void addGsofDops(float pdop, float hdop, float vdop, float tdop, ByteWriter& records);
void addGsofSigmas(const GsofSigmas& sigmas, ByteWriter& records);
void addGsofSatellites(std::span<const GsofSatellite> satellites, ByteWriter& records);

// The data of a RETSVDATA packet: sets of satellites (bit k is PRN k + 1), or the ephemeris of one.
using SatelliteSets = std::array<std::uint32_t, 12>;
ByteWriter svFlags(const SatelliteSets& sets);
ByteWriter svEphemeris(int prn, std::int64_t secondsOfWeek, const Ephemeris& ephemeris);

}  // namespace vkcomm::sim
