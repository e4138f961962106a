// The broadcast orbit and clock of one GPS satellite, from subframes 1 to 3 of its navigation message.
//
// Quantities that are broadcast in semicircles are in radians here; times are seconds of the GPS week. A
// record is plain data: no lock, no ownership, nothing fails.
#pragma once

#include <cstddef>
#include <cstdint>

#include "vkcomm/export.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm {

class VKCOMM_API CEphemeris {
public:
    std::uint32_t prn = 0;
    std::uint32_t week = 0;              // full GPS week of the reference time, from the receiver
    std::uint32_t referenceSeconds = 0;  // reference time, from the receiver
    std::uint32_t handoverSeconds = 0;   // start of the subframe after subframe 1

    // Subframe 1: clock.
    std::uint16_t weekModulo1024 = 0;
    std::uint8_t codesOnL2 = 0;
    std::uint8_t uraIndex = 0;  // 0 best, 15 no accuracy known
    std::uint8_t health = 0;    // 0: healthy
    std::uint16_t iodc = 0;     // issue of clock data
    bool l2PDataOff = false;
    double tgd = 0.0;  // group delay, s
    double toc = 0.0;  // clock reference time, s
    double af0 = 0.0;  // s
    double af1 = 0.0;  // s/s
    double af2 = 0.0;  // s/s^2

    // Subframes 2 and 3: orbit.
    std::uint8_t iodeSubframe2 = 0;  // issue of orbit data, as each subframe says
    std::uint8_t iodeSubframe3 = 0;
    double toe = 0.0;       // orbit reference time, s
    double sqrtA = 0.0;     // root of the semi-major axis, m^0.5
    double e = 0.0;         // eccentricity
    double m0 = 0.0;        // mean anomaly, rad
    double deltaN = 0.0;    // mean motion difference, rad/s
    double omega0 = 0.0;    // longitude of the ascending node, rad
    double omegaDot = 0.0;  // its rate, rad/s
    double omega = 0.0;     // argument of perigee, rad
    double i0 = 0.0;        // inclination, rad
    double idot = 0.0;      // its rate, rad/s
    double cuc = 0.0;       // corrections: argument of latitude, rad
    double cus = 0.0;
    double crc = 0.0;  // radius, m
    double crs = 0.0;
    double cic = 0.0;  // inclination, rad
    double cis = 0.0;
    bool fitBeyondFourHours = false;
    std::uint32_t aodo = 0;  // age of data offset, s

    // The subframes began with the preamble and were 1, 2 and 3. When not, the values above mean nothing.
    bool subframesInPlace = false;

    bool isHealthy() const { return health == 0; }

    // The three subframes are of one data set. Between two sets a receiver may hand over a mixture, which
    // must not be used.
    bool isConsistent() const { return iodeSubframe2 == iodeSubframe3 && iodeSubframe2 == (iodc & 0xFF); }

    // Bytes of a RAWEPHEM body.
    static constexpr std::size_t kNovatelBodySize = 102;

    // Replaces ephemeris by what the body of an OEM4 RAWEPHEM log holds: PRN, week and seconds (u32 each,
    // little-endian), then three subframes of 30 bytes, most significant bit first, without their parity bits
    // (IS-GPS-200, 20.3.3). Parity is therefore not checked; the log's CRC is what guards the bits. 1 when
    // done; 0 and no change when body is null or shorter than kNovatelBodySize. Bytes beyond are ignored.
    static int ConvertNovatelEphemeris(const unsigned char* body, CEphemeris& ephemeris);
    static int ConvertNovatelEphemeris(ByteSpan body, CEphemeris& ephemeris);
};

}  // namespace vkcomm
