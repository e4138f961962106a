// Observations and station of a correction server, carried in messages 912 and 913 of OEM4 framing.
//
// The caller owns the records; decoding replaces what the message holds and leaves the rest. All numbers are
// little-endian; no public document describes them. No state: any thread may call.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "vkcomm/export.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm {

inline constexpr std::size_t kPellSatellites = 28;

// One epoch. Satellites are stored from index 0; satelliteCount says how many.
struct tag_PellEpoch {
    template <typename T>
    using PerSatellite = std::array<T, kPellSatellites>;

    std::array<unsigned char, 5> head{};
    std::uint32_t word = 0;
    double clock = 0.0;  // the number sent times 1e-7; its unit is not known
    double zero = 0.0;   // always 0
    std::uint32_t satelliteCount = 0;
    std::uint16_t week = 0;  // GPS
    double seconds = 0.0;    // of the week
    PerSatellite<std::uint8_t> l1Present{};
    PerSatellite<std::uint8_t> l2Present{};
    PerSatellite<std::uint8_t> prn{};
    // Minus what was measured (deliberate: whoever uses them negates once more). Metres and cycles; plus or
    // minus 0 where absent.
    PerSatellite<double> l1Pseudorange{};
    PerSatellite<double> l2Pseudorange{};
    PerSatellite<double> l1Phase{};
    PerSatellite<double> l2Phase{};
    // Kept as sent and not interpreted; the number is the offset behind the PRN byte.
    PerSatellite<std::uint8_t> byte0{};
    PerSatellite<std::uint16_t> word1{};
    PerSatellite<std::uint8_t> byte4{};
    PerSatellite<std::uint8_t> byte12{};
    PerSatellite<std::uint8_t> byte14{};
    PerSatellite<std::uint8_t> byte20{};
};

// Earth-centred position in metres.
struct tag_PellStation {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    std::uint32_t station = 0;
};

// Message 912, from its first sync byte. The body: satellite count (byte 28), 5 head bytes (29), clock (i32
// at 34), the word (u32 at 40), and from 44 a PRN byte and 21 bytes for each satellite. A count of 29 or more
// stores week, seconds and a count of 0. A frame that ends too early changes nothing: false.
//
// A PRN byte of 0 or of 63 and more has no 21 bytes behind it: the next byte is a PRN again (deliberate), and
// it uses up one of the turns that the count gives. A satellite without L1 is dropped; the next takes its
// place.
VKCOMM_API bool decodePellEpoch(ByteSpan frame, tag_PellEpoch& epoch);

// The most bytes that decodePellEpoch reads for a frame that holds count satellites.
constexpr std::size_t pellEpochSize(std::size_t count) { return 44 + 22 * count; }

inline constexpr std::size_t kPellStationSize = 28;

// Message 913, from the first byte of its body (no header): station (u32), X, Y, Z (f64). False, and nothing
// changes, when there are fewer than kPellStationSize bytes.
VKCOMM_API bool decodePellStation(ByteSpan body, tag_PellStation& station);

}  // namespace vkcomm
