#include "sim/ephemeris.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/sim/checks.h"

namespace vkcomm::sim {
namespace {

constexpr std::int64_t kLastMillisecond = 604'799'999;

// What PRN 11 broadcast for 19 December 2009.
Ephemeris recordedEphemeris() {
    Ephemeris e;
    e.week = 1562;
    e.codesOnL2 = 1;
    e.iodc = 110;
    e.groupDelay = -25;
    e.clockReference = e.reference = 32400;
    e.clockDrift = -18;
    e.clockOffset = -75145;
    e.crs = 80;
    e.meanMotionDifference = 18743;
    e.meanAnomaly = -439702578;
    e.cuc = 150;
    e.eccentricity = 89121260;
    e.cus = 2377;
    e.rootOfSemiMajorAxis = 2702024316;
    e.correctionAge = 31;
    e.cic = 41;
    e.ascendingNode = 1384066016;
    e.cis = 89;
    e.inclination = 607246353;
    e.crc = 8138;
    e.perigee = 529912976;
    e.nodeRate = -25652;
    e.inclinationRate = 85;
    return e;
}

std::int64_t bitsAt(const Subframes& subframes, std::size_t subframe, std::size_t first, std::size_t count) {
    std::int64_t value = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t at = (subframe - 1) * 240 + first + i;
        value = value * 2 + (subframes[at / 8] >> (7 - at % 8) & 1);
    }
    return value;
}

std::string wordsOf(const Subframes& subframes, std::size_t subframe, std::size_t first, std::size_t count) {
    return hexOf(ByteSpan(subframes).subspan((subframe - 1) * 30 + 3 * (first - 1), 3 * count));
}

// Words 3 to 10 of subframes 2 and 3 as the satellite sent them; in subframe 1 words 4 to 7 are reserved.
TEST(EphemerisEncoder, WritesTheMessageOfASatellite) {
    const Subframes subframes = subframesOf(recordedEphemeris(), 515'220);
    EXPECT_EQ(wordsOf(subframes, 1, 3, 1), "869000");
    EXPECT_EQ(wordsOf(subframes, 1, 8, 3), "6e7e9000ffeefb69dc");
    EXPECT_EQ(bitsAt(subframes, 1, 160, 8), 256 - 25);
    EXPECT_EQ(wordsOf(subframes, 2, 3, 8), "6e00504937e5caabce0096054fe1ec0949a10d9e7c7e907c");
    EXPECT_EQ(wordsOf(subframes, 3, 3, 8), "0029527f2be000592431d8111fca1f95d490ff9bcc6e0154");
    for (std::size_t subframe = 1; subframe <= 3; ++subframe) {
        EXPECT_EQ(bitsAt(subframes, subframe, 0, 8), 0x8B);
        EXPECT_EQ(bitsAt(subframes, subframe, 24, 17) * 6, 515'220 + 6 * static_cast<int>(subframe));
        EXPECT_EQ(bitsAt(subframes, subframe, 43, 3), static_cast<int>(subframe));
    }
}

TEST(EphemerisEncoder, KeepsTheUpperBitsOfTheIssue) {
    Ephemeris ephemeris;
    ephemeris.iodc = 0x3A5;
    const Subframes subframes = subframesOf(ephemeris, 0);
    EXPECT_EQ(bitsAt(subframes, 1, 70, 2), 3);
    EXPECT_EQ(bitsAt(subframes, 1, 168, 8), 0xA5);
    EXPECT_EQ(bitsAt(subframes, 2, 48, 8), 0xA5);
    EXPECT_EQ(bitsAt(subframes, 3, 216, 8), 0xA5);
}

TEST(EphemerisEncoder, HandoverWordRollsOverWithTheWeek) {
    EXPECT_EQ(bitsAt(subframesOf({}, 604'794), 1, 24, 17), 0);
    EXPECT_EQ(bitsAt(subframesOf({}, 604'794), 2, 24, 17), 1);
}

// As GPS satellites go: near-circular, 26,560 km, 55 degrees, and of the last two hours.
TEST(EphemerisEncoder, OrbitsAreThoseOfGpsSatellites) {
    for (int prn = 1; prn <= 32; ++prn) {
        for (const std::int64_t time : {std::int64_t{0}, std::int64_t{345'618'000}, kLastMillisecond}) {
            SCOPED_TRACE(testing::Message() << prn << " at " << time);
            const Ephemeris e = ephemerisOf(prn, 2303, time);
            EXPECT_EQ(e.week, 2303);
            EXPECT_LE(e.reference * 16'000, time);
            EXPECT_GT(e.reference * 16'000, time - 7'200'000);
            EXPECT_EQ(e.clockReference, e.reference);
            EXPECT_NEAR(std::ldexp(static_cast<double>(e.rootOfSemiMajorAxis), -19), 5153.7, 0.1);
            EXPECT_LT(std::ldexp(static_cast<double>(e.eccentricity), -33), 0.02);
            EXPECT_NEAR(std::ldexp(static_cast<double>(e.inclination), -31) * 180, 55, 1);
            for (const std::int64_t angle : {e.meanAnomaly, e.ascendingNode, e.perigee, e.inclination}) {
                EXPECT_GE(angle, -0x8000'0000LL);
                EXPECT_LT(angle, 0x8000'0000LL);
            }
            for (const std::int64_t word :
                 {e.crs, e.cuc, e.cus, e.cic, e.cis, e.crc, e.clockDrift, e.meanMotionDifference}) {
                EXPECT_GE(word, -0x8000);
                EXPECT_LT(word, 0x8000);
            }
        }
    }
    EXPECT_NE(ephemerisOf(3, 2303, 7'199'999).iodc, ephemerisOf(3, 2303, 7'200'000).iodc);
}

}  // namespace
}  // namespace vkcomm::sim
