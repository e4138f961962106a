#include "vkcomm/formats/server_messages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/formats/oem4_frames.h"
#include "vkcomm/formats/oem4_format.h"

namespace vkcomm::test {
namespace {

constexpr double kWaveL1 = 0.1902936727984;
constexpr double kWaveL2 = 0.2442102134246;

tag_PellEpoch decoded912(unsigned count, const std::string& satellites) {
    tag_PellEpoch epoch;
    epoch.zero = 1.0;
    EXPECT_TRUE(decodePellEpoch(spanOf(message912(count, satellites)), epoch));
    return epoch;
}

TEST(ServerObservations, AreNegatedMetresAndCycles) {
    const tag_PellEpoch e = decoded912(1, bytesOf912({.prn = 62}));
    EXPECT_THAT(e.head, testing::ElementsAre('h', 'e', 'a', 'd', 's'));
    EXPECT_DOUBLE_EQ(e.clock, -12.3456789);
    EXPECT_EQ(row(e.zero, e.word, e.week, e.seconds, e.satelliteCount), "0 3405648436 1600 345678.25 1");
    EXPECT_EQ(row(e.prn[0], e.l1Present[0], e.l2Present[0]), "62 1 2");
    EXPECT_EQ(row(e.byte0[0], e.word1[0], e.byte4[0], e.byte12[0], e.byte14[0], e.byte20[0]),
              row(0xB0, 0xB2B1, 0xB4, 0xBC, 0xBE, 0xC4));
    EXPECT_DOUBLE_EQ(e.l1Pseudorange[0], -1000.0 * kWaveL1);
    EXPECT_DOUBLE_EQ(e.l1Phase[0], -1000.5);
    EXPECT_DOUBLE_EQ(e.l2Pseudorange[0], -998.0 * kWaveL1);
    EXPECT_DOUBLE_EQ(e.l2Phase[0], -(1000.0 * kWaveL1 / kWaveL2 - 0.25));
}

TEST(ServerObservations, AreZeroWhereNotMeasured) {
    const tag_PellEpoch noPhase =
        decoded912(1, bytesOf912({.prn = 1, .phase1 = 0, .difference = 0, .phase2 = 0}));
    EXPECT_EQ(row(noPhase.l1Phase[0], noPhase.l2Phase[0]), "0 0");
    EXPECT_DOUBLE_EQ(noPhase.l2Pseudorange[0], -1000.0 * kWaveL1);
    const tag_PellEpoch noL2 = decoded912(1, bytesOf912({.prn = 1, .l2 = 0}));
    EXPECT_DOUBLE_EQ(noL2.l1Phase[0], -1000.5);
    EXPECT_EQ(row(noL2.l2Pseudorange[0], noL2.l2Phase[0]), "0 0");
}

TEST(ServerObservations, CountEveryPrnByteAsATurn) {
    const std::string one = bytesOf912({.prn = 1});
    const std::string two = bytesOf912({.prn = 2});
    const std::string zero(1, '\0');

    struct {
        const char* name;
        unsigned count;
        std::string satellites;
        std::vector<int> prns;
    } const cases[] = {
        {"none", 0, one, {}},
        {"zero between", 3, one + zero + two, {1, 2}},
        {"zero takes the turn of the last", 2, one + zero + two, {1}},
        {"63 and above likewise", 4, "\x3F\xFF" + one + two, {1, 2}},
        {"without L1", 3, one + bytesOf912({.prn = 9, .l1 = 0}) + two, {1, 2}},
        {"nothing but zeros", 28, std::string(28, '\0'), {}},
    };

    for (const auto& c : cases) {
        const tag_PellEpoch epoch = decoded912(c.count, c.satellites);
        const std::vector<int> prns(epoch.prn.begin(), epoch.prn.begin() + epoch.satelliteCount);
        EXPECT_EQ(prns, c.prns) << c.name;
    }
}

TEST(ServerObservations, HoldTwentyEightSatellites) {
    std::string satellites;
    for (unsigned prn = 1; prn <= 28; ++prn)
        satellites += bytesOf912({.prn = prn});
    tag_PellEpoch epoch = decoded912(28, satellites);
    EXPECT_EQ(row(epoch.satelliteCount, epoch.prn[27]), "28 28");
    CNOEM4Format().vProcessMessage912(dataOf(with<std::uint16_t>(message912(29, ""), 14, 1601)), epoch);
    EXPECT_EQ(row(epoch.satelliteCount, epoch.week, epoch.prn[27]), "0 1601 28") << "the rest stays";
}

TEST(ServerStation, IsReadFromItsFirstByte) {
    tag_PellStation s;
    CNOEM4Format().vProcessMessage913(
        dataOf(littleOf(0x01020304) + littleOf(-2148744.25) + littleOf(4426641.5) + littleOf(4044655.125)),
        s);
    EXPECT_EQ(row(s.station, s.x, s.y, s.z), "16909060 -2148744.25 4426641.5 4044655.125");
}

}  // namespace
}  // namespace vkcomm::test
