// Binary messages and text replies of CSI and Hemisphere receivers, field by field: "$BIN", number, length,
// little-endian data, a 16-bit sum, CR LF; and lines that begin with "$>".
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "sim/framing.h"
#include "sim/piece.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm::sim {

inline constexpr std::size_t kBinChannels = 12;

struct BinPosition {                 // message 1
    std::uint8_t correctionAge = 0;  // seconds
    std::uint8_t satellites = 0;     // used
    std::uint16_t week = 0;
    double secondsOfWeek = 0.0;
    double latitude = 0.0;  // degrees
    double longitude = 0.0;
    float height = 0.0f;                         // metres above the ellipsoid
    float north = 0.0f, east = 0.0f, up = 0.0f;  // m/s
    float residualDeviation = 0.0f;              // metres
    std::uint16_t mode = 0;
    std::uint16_t extendedAge = 0;  // seconds
};

struct BinDops {                          // message 2
    std::uint32_t tracked = 0, used = 0;  // bit 0 is PRN 1
    std::uint16_t leapSeconds = 0;
    std::uint16_t hdop = 0, vdop = 0;  // tenths
    // Bits 0 and 1 the first and second SBAS satellite tracked, 2 and 3 used, then five bits each for their
    // PRN less 120.
    std::uint16_t sbas = 0;
};

struct BinRange {  // a channel of message 96; PRN 0 is an empty one
    std::uint8_t prn = 0;
    std::uint8_t level = 0;      // raw signal-to-noise ratio
    std::uint8_t trackTime = 0;  // tenths of a second, stops at 255
    std::uint8_t slips = 0;      // counts cycle slips
    std::uint8_t flags = 0;      // bit 0 phase valid, bit 1 tracked for more than 25.5 s
    std::int32_t rangeRate = 0;  // m/s / 4096, 28 bits
    double pseudorange = 0.0;    // metres
    double phase = 0.0;          // metres
};

struct BinRanges {  // message 96
    std::uint16_t week = 0;
    double secondsOfWeek = 0.0;
    std::array<BinRange, kBinChannels> channels{};
};

struct BinChannel {  // of message 99; PRN 0 is an empty one
    std::uint8_t channel = 0;
    std::uint8_t prn = 0;
    std::uint8_t status = 0;    // bits 0 to 4 code, carrier, bit, frame, new frame; 6 phase
    std::uint8_t subframe = 0;  // last one received
    std::uint8_t ephemeris = 0, ephemerisHealth = 0;
    std::uint8_t almanac = 0, almanacHealth = 0;
    std::int8_t elevation = 0;  // degrees
    std::uint8_t azimuth = 0;   // two degrees
    std::uint8_t accuracyIndex = 0;
};

struct BinTracking {        // message 99
    std::uint8_t mode = 0;  // bits 0 to 2: 1 no fix, 2 2-D, 3 3-D; bit 7 corrections
    std::uint8_t leapSeconds = 0;
    std::uint16_t week = 0;
    double secondsOfWeek = 0.0;
    std::array<BinChannel, kBinChannels> channels{};
};

// Each appends one message.
void addBinPosition(const BinPosition& position, Piece& piece);
void addBinDops(const BinDops& dops, Piece& piece);
void addBinRanges(const BinRanges& ranges, Piece& piece);
void addBinTracking(const BinTracking& tracking, Piece& piece);

// Appends one line of a JSHOW reply, such as "BAUD,9600"; the beginning and the end of the line are added.
void addJshow(std::string_view setting, Piece& piece);

extern const Framing kCsiFraming;

}  // namespace vkcomm::sim
