// Broadcast orbits of the simulated GPS satellites, and the navigation message that carries them.
//
// The orbits are such as satellites have, but they are not where the simulated ranges come from.
#pragma once

#include <array>
#include <cstdint>

namespace vkcomm::sim {

// One satellite's orbit and clock in the units in which they are broadcast; sc is a semicircle (pi radians).
struct Ephemeris {
    std::int64_t week = 0;  // GPS week, not rolled over
    std::int64_t codesOnL2 = 0;
    std::int64_t accuracyIndex = 0;
    std::int64_t health = 0;
    std::int64_t iodc = 0;  // its lower eight bits also go out as IODE
    std::int64_t l2PDataOff = 0;
    std::int64_t groupDelay = 0;            // 2^-31 s
    std::int64_t clockReference = 0;        // toc, 16 s
    std::int64_t clockDriftRate = 0;        // af2, 2^-55 s/s^2
    std::int64_t clockDrift = 0;            // af1, 2^-43 s/s
    std::int64_t clockOffset = 0;           // af0, 2^-31 s
    std::int64_t crs = 0;                   // 2^-5 m
    std::int64_t meanMotionDifference = 0;  // 2^-43 sc/s
    std::int64_t meanAnomaly = 0;           // 2^-31 sc
    std::int64_t cuc = 0;                   // 2^-29 rad, as cus, cic and cis
    std::int64_t eccentricity = 0;          // 2^-33
    std::int64_t cus = 0;
    std::int64_t rootOfSemiMajorAxis = 0;  // 2^-19 m^0.5
    std::int64_t reference = 0;            // toe, 16 s
    std::int64_t longFit = 0;              // 1: fits for more than four hours
    std::int64_t correctionAge = 0;        // AODO, 900 s
    std::int64_t cic = 0;
    std::int64_t ascendingNode = 0;  // 2^-31 sc, at the start of the week
    std::int64_t cis = 0;
    std::int64_t inclination = 0;      // 2^-31 sc
    std::int64_t crc = 0;              // 2^-5 m
    std::int64_t perigee = 0;          // 2^-31 sc
    std::int64_t nodeRate = 0;         // 2^-43 sc/s
    std::int64_t inclinationRate = 0;  // 2^-43 sc/s
};

// What satellite prn (1 to 32) broadcasts at that time; a new set begins every two hours.
Ephemeris ephemerisOf(int prn, int week, std::int64_t millisecondsOfWeek);

// Subframes 1 to 3, thirty bytes each: ten words of 24 bits without their parity, most significant bit first.
// secondsOfWeek, a multiple of 6, is when subframe 1 begins; the following ones begin 6 seconds apart.
using Subframes = std::array<unsigned char, 90>;
Subframes subframesOf(const Ephemeris& ephemeris, std::int64_t secondsOfWeek);

}  // namespace vkcomm::sim
