#include "sim/ephemeris.h"

#include <cstddef>

namespace vkcomm::sim {

namespace {

constexpr std::size_t kSubframeBits = 240;

// Writes the lowest count bits of value, two's complement, from bit first of the three subframes.
void setBits(Subframes& subframes, std::size_t first, std::size_t count, std::int64_t value) {
    const auto bits = static_cast<std::uint64_t>(value);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t at = first + i;
        const auto mask = static_cast<unsigned char>(0x80u >> at % 8);
        if (bits >> (count - 1 - i) & 1) subframes[at / 8] |= mask;
    }
}

// A field of the ephemeris and its place in a subframe.
struct Place {
    std::size_t subframe;
    std::size_t first;
    std::size_t count;
    std::int64_t Ephemeris::*field;
};

constexpr Place kPlaces[] = {
    {1, 48, 10, &Ephemeris::week},
    {1, 58, 2, &Ephemeris::codesOnL2},
    {1, 60, 4, &Ephemeris::accuracyIndex},
    {1, 64, 6, &Ephemeris::health},
    {1, 72, 1, &Ephemeris::l2PDataOff},
    {1, 160, 8, &Ephemeris::groupDelay},
    {1, 168, 8, &Ephemeris::iodc},
    {1, 176, 16, &Ephemeris::clockReference},
    {1, 192, 8, &Ephemeris::clockDriftRate},
    {1, 200, 16, &Ephemeris::clockDrift},
    {1, 216, 22, &Ephemeris::clockOffset},
    {2, 48, 8, &Ephemeris::iodc},
    {2, 56, 16, &Ephemeris::crs},
    {2, 72, 16, &Ephemeris::meanMotionDifference},
    {2, 88, 32, &Ephemeris::meanAnomaly},
    {2, 120, 16, &Ephemeris::cuc},
    {2, 136, 32, &Ephemeris::eccentricity},
    {2, 168, 16, &Ephemeris::cus},
    {2, 184, 32, &Ephemeris::rootOfSemiMajorAxis},
    {2, 216, 16, &Ephemeris::reference},
    {2, 232, 1, &Ephemeris::longFit},
    {2, 233, 5, &Ephemeris::correctionAge},
    {3, 48, 16, &Ephemeris::cic},
    {3, 64, 32, &Ephemeris::ascendingNode},
    {3, 96, 16, &Ephemeris::cis},
    {3, 112, 32, &Ephemeris::inclination},
    {3, 144, 16, &Ephemeris::crc},
    {3, 160, 32, &Ephemeris::perigee},
    {3, 192, 24, &Ephemeris::nodeRate},
    {3, 216, 8, &Ephemeris::iodc},
    {3, 224, 14, &Ephemeris::inclinationRate},
};

// The telemetry word and the handover word, which tells when the next subframe begins.
void setHead(Subframes& subframes, std::size_t subframe, std::int64_t secondsOfWeek) {
    constexpr std::int64_t kPreamble = 0x8B;
    constexpr std::int64_t kSubframesAWeek = 100'800;
    const std::size_t first = (subframe - 1) * kSubframeBits;
    const std::int64_t next = (secondsOfWeek / 6 + static_cast<std::int64_t>(subframe)) % kSubframesAWeek;
    setBits(subframes, first, 8, kPreamble);
    setBits(subframes, first + 24, 17, next);
    setBits(subframes, first + 43, 3, static_cast<std::int64_t>(subframe));
}

// The same angle from -1 to below 1 semicircle.
std::int64_t wrapped(std::int64_t angle) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(angle));
}

}  // namespace

Ephemeris ephemerisOf(int prn, int week, std::int64_t millisecondsOfWeek) {
    constexpr std::int64_t kSet = 7'200'000;              // milliseconds
    constexpr std::int64_t kSemicircle = 0x8000'0000;     // 2^-31 sc
    constexpr std::int64_t kSpace = 2 * kSemicircle / 6;  // between the six orbital planes
    const std::int64_t set = millisecondsOfWeek / kSet;
    const std::int64_t n = prn;
    const std::int64_t plane = n % 6;
    const std::int64_t slot = n / 6;

    Ephemeris e;
    e.week = week;
    e.codesOnL2 = 1;
    e.accuracyIndex = n % 3;
    e.iodc = (set * 7 + n) % 240;
    e.groupDelay = -n;
    e.clockReference = e.reference = set * (kSet / 16'000);
    e.clockDrift = n - 16;
    e.clockOffset = (n - 16) * 9'000;
    e.crs = 80 - n * 5;
    e.meanMotionDifference = 18'000 + n * 50;  // about 2e-9 sc/s
    e.meanAnomaly = wrapped(slot * kSpace + plane * (kSpace / 6) + set * (kSemicircle / 3));
    e.cuc = 150 - n;
    e.eccentricity = 40'000'000 + n * 1'500'000;  // 0.005 to 0.010
    e.cus = 2'400 - n;
    e.rootOfSemiMajorAxis = 2'702'051'738 + n * 7;  // about 5153.7
    e.cic = n - 8;
    e.ascendingNode = wrapped(plane * kSpace);
    e.cis = 40 - n;
    e.inclination = 656'600'000 + n * 10'000;  // about 55 degrees
    e.crc = 7'000 + n * 10;
    e.perigee = wrapped(n * 100'000'000);
    e.nodeRate = -25'000 - n * 10;  // about -3e-9 sc/s
    e.inclinationRate = n;
    return e;
}

Subframes subframesOf(const Ephemeris& ephemeris, std::int64_t secondsOfWeek) {
    Subframes subframes{};
    for (std::size_t subframe = 1; subframe <= 3; ++subframe)
        setHead(subframes, subframe, secondsOfWeek);
    for (const Place& place : kPlaces)
        setBits(subframes, (place.subframe - 1) * kSubframeBits + place.first, place.count,
                ephemeris.*place.field);
    setBits(subframes, 70, 2, ephemeris.iodc >> 8);
    return subframes;
}

}  // namespace vkcomm::sim
