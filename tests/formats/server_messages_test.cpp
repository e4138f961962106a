#include "vkcomm/formats/server_messages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "tests/formats/oem4_frames.h"
#include "vkcomm/formats/oem4_format.h"

namespace vkcomm::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

constexpr double kWaveL1 = 0.1902936727984;
constexpr double kWaveL2 = 0.2442102134246;

tag_PellEpoch decoded912(unsigned count, const std::string& satellites) {
    tag_PellEpoch epoch;
    epoch.zero = 1.0;
    EXPECT_TRUE(decodePellEpoch(spanOf(message912(count, satellites)), epoch));
    return epoch;
}

TEST(ServerObservations, AreNegatedMetresAndCycles) {
    const tag_PellEpoch epoch = decoded912(1, bytesOf912({.prn = 62}));
    EXPECT_THAT(epoch.head, ElementsAre('h', 'e', 'a', 'd', 's'));
    EXPECT_DOUBLE_EQ(epoch.clock, -12.3456789);
    EXPECT_EQ(epoch.zero, 0.0);
    EXPECT_EQ(epoch.word, 0xCAFE1234);
    EXPECT_EQ(epoch.week, 1600);
    EXPECT_EQ(epoch.seconds, 345678.25);
    ASSERT_EQ(epoch.satelliteCount, 1u);
    EXPECT_EQ(epoch.prn[0], 62);
    EXPECT_EQ(epoch.l1Present[0], 1);
    EXPECT_EQ(epoch.l2Present[0], 2);
    EXPECT_DOUBLE_EQ(epoch.l1Pseudorange[0], -1000.0 * kWaveL1);
    EXPECT_DOUBLE_EQ(epoch.l1Phase[0], -1000.5);
    EXPECT_DOUBLE_EQ(epoch.l2Pseudorange[0], -998.0 * kWaveL1);
    EXPECT_DOUBLE_EQ(epoch.l2Phase[0], -(1000.0 * kWaveL1 / kWaveL2 - 0.25));
    EXPECT_EQ(epoch.byte0[0], 0xB0);
    EXPECT_EQ(epoch.word1[0], 0xB2B1);
    EXPECT_EQ(epoch.byte4[0], 0xB4);
    EXPECT_EQ(epoch.byte12[0], 0xBC);
    EXPECT_EQ(epoch.byte14[0], 0xBE);
    EXPECT_EQ(epoch.byte20[0], 0xC4);
}

TEST(ServerObservations, AreZeroWhereNotMeasured) {
    const tag_PellEpoch noPhase =
        decoded912(1, bytesOf912({.prn = 1, .phase1 = 0, .difference = 0, .phase2 = 0}));
    EXPECT_EQ(noPhase.l1Phase[0], 0.0);
    EXPECT_EQ(noPhase.l2Phase[0], 0.0);
    EXPECT_DOUBLE_EQ(noPhase.l2Pseudorange[0], -1000.0 * kWaveL1);
    const tag_PellEpoch noL2 = decoded912(1, bytesOf912({.prn = 1, .l2 = false}));
    EXPECT_EQ(noL2.l2Pseudorange[0], 0.0);
    EXPECT_EQ(noL2.l2Phase[0], 0.0);
    EXPECT_DOUBLE_EQ(noL2.l1Phase[0], -1000.5);
}

TEST(ServerObservations, CountEveryPrnByteAsATurn) {
    const std::string one = bytesOf912({.prn = 1});
    const std::string two = bytesOf912({.prn = 2});
    const std::string withoutL1 = bytesOf912({.prn = 9, .l1 = false});
    const std::string zero(1, '\0');

    struct Case {
        const char* name;
        unsigned count;
        std::string satellites;
        std::vector<int> prns;
    };

    const Case cases[] = {
        {"none", 0, one, {}},
        {"two", 2, one + two, {1, 2}},
        {"zero between", 3, one + zero + two, {1, 2}},
        {"zero takes the turn of the last", 2, one + zero + two, {1}},
        {"63 and above likewise", 4, "\x3F\xFF" + one + two, {1, 2}},
        {"without L1", 3, one + withoutL1 + two, {1, 2}},
        {"nothing but zeros", 28, std::string(28, '\0'), {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const tag_PellEpoch epoch = decoded912(c.count, c.satellites);
        ASSERT_EQ(epoch.satelliteCount, c.prns.size());
        const std::vector<int> prns(epoch.prn.begin(), epoch.prn.begin() + epoch.satelliteCount);
        EXPECT_THAT(prns, ElementsAreArray(c.prns));
    }
}

TEST(ServerObservations, HoldTwentyEightSatellites) {
    std::string satellites;
    for (unsigned prn = 1; prn <= 28; ++prn)
        satellites += bytesOf912({.prn = prn});
    EXPECT_EQ(decoded912(28, satellites).satelliteCount, 28u);
    EXPECT_EQ(decoded912(28, satellites).prn[27], 28);

    CNOEM4Format parser;
    tag_PellEpoch epoch = decoded912(28, satellites);
    parser.vProcessMessage912(dataOf(with<std::uint16_t>(message912(29, ""), 14, 1601)), epoch);
    EXPECT_EQ(epoch.satelliteCount, 0u);
    EXPECT_EQ(epoch.week, 1601);
    EXPECT_EQ(epoch.prn[27], 28) << "nothing but week, seconds and count is replaced";
}

TEST(ServerStation, IsReadFromItsFirstByte) {
    CNOEM4Format parser;
    const std::string body = little(0x01020304, 4) + littleDouble(-2148744.25) + littleDouble(4426641.5) +
                             littleDouble(4044655.125);
    tag_PellStation station;
    parser.vProcessMessage913(dataOf(body), station);
    EXPECT_EQ(station.station, 0x01020304u);
    EXPECT_EQ(station.x, -2148744.25);
    EXPECT_EQ(station.y, 4426641.5);
    EXPECT_EQ(station.z, 4044655.125);
}

}  // namespace
}  // namespace vkcomm::test
