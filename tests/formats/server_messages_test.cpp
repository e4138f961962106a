#include "vkcomm/formats/server_messages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/formats/parser_bytes.h"
#include "vkcomm/formats/oem4_format.h"

namespace vkcomm::test {
namespace {

// One satellite of message 912: 1000 cycles and a half on L1; code 2 cycles less and phase a quarter of a
// cycle less on L2.
struct Sent {
    unsigned prn = 1;
    unsigned l1 = 1;
    unsigned l2 = 2;
    std::int16_t phase1 = 128;
    std::int16_t difference = -16;
    std::int16_t phase2 = -64;
};

std::string bytesOf(const Sent& s) {
    return chr(s.prn) + hex("b0b1b2") + chr(s.l1) + hex("b4") + littleOf(8000) + littleOf(s.phase1) +
           hex("7fbc") + chr(s.l2) + hex("be") + littleOf(s.difference) + littleOf(s.phase2) + hex("7fc4");
}

std::string message912(unsigned count, const std::string& satellites) {
    const std::string body = chr(count) + std::string("heads") + littleOf(-123456789) + hex("7f7f3412feca");
    return with(with(oem4(912, body + satellites), 14, std::uint16_t{1600}), 16, 345678250u);
}

tag_PellEpoch decoded(unsigned count, const std::string& satellites) {
    tag_PellEpoch epoch;
    epoch.zero = 1.0;
    EXPECT_TRUE(decodePellEpoch(spanOf(message912(count, satellites)), epoch));
    return epoch;
}

TEST(ServerObservations, KeepWhatIsNotInterpreted) {
    const tag_PellEpoch e = decoded(1, bytesOf({.prn = 62}));
    EXPECT_THAT(e.head, testing::ElementsAre('h', 'e', 'a', 'd', 's'));
    EXPECT_EQ(row(e.clock, e.zero, e.word, e.week, e.seconds, e.satelliteCount),
              "-12.3456789 0 3405648436 1600 345678.25 1");
    EXPECT_EQ(row(e.prn[0], e.l1Present[0], e.l2Present[0]), "62 1 2");
    EXPECT_EQ(row(e.byte0[0], e.word1[0], e.byte4[0], e.byte12[0], e.byte14[0], e.byte20[0]),
              row(0xB0, 0xB2B1, 0xB4, 0xBC, 0xBE, 0xC4));
}

TEST(ServerObservations, AreNegatedMetresAndCycles) {
    constexpr double kWaveL1 = 0.1902936727984, kWaveL2 = 0.2442102134246;

    struct {
        const char* name;
        Sent sent;
        double l1Phase, l2Pseudorange, l2Phase;
    } const cases[] = {
        {"all", {}, -1000.5, -998.0 * kWaveL1, -(1000.0 * kWaveL1 / kWaveL2 - 0.25)},
        {"codes alone", {.phase1 = 0, .difference = 0, .phase2 = 0}, 0.0, -1000.0 * kWaveL1, 0.0},
        {"L1 alone", {.l2 = 0}, -1000.5, 0.0, 0.0},
    };

    for (const auto& c : cases) {
        const tag_PellEpoch e = decoded(1, bytesOf(c.sent));
        EXPECT_DOUBLE_EQ(e.l1Pseudorange[0], -1000.0 * kWaveL1) << c.name;
        EXPECT_DOUBLE_EQ(e.l1Phase[0], c.l1Phase) << c.name;
        EXPECT_DOUBLE_EQ(e.l2Pseudorange[0], c.l2Pseudorange) << c.name;
        EXPECT_DOUBLE_EQ(e.l2Phase[0], c.l2Phase) << c.name;
    }
}

TEST(ServerObservations, CountEveryPrnByteAsATurn) {
    const std::string one = bytesOf({}), two = bytesOf({.prn = 2}), zero(1, '\0');
    std::string all;
    for (int i = 0; i < 28; ++i)
        all += bytesOf({.prn = 62});

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
        {"without L1", 3, one + bytesOf({.prn = 9, .l1 = 0}) + two, {1, 2}},
        {"as many as there may be", 28, all, std::vector<int>(28, 62)},
        {"more are not read", 29, all, {}},
    };

    for (const auto& c : cases) {
        const tag_PellEpoch e = decoded(c.count, c.satellites);
        EXPECT_EQ(std::vector<int>(e.prn.begin(), e.prn.begin() + e.satelliteCount), c.prns) << c.name;
        EXPECT_EQ(e.week, 1600);
    }
}

TEST(ServerStation, IsReadFromItsFirstByte) {
    tag_PellStation s;
    const std::string body =
        littleOf(0x01020304) + littleOf(-2148744.25) + littleOf(4426641.5) + littleOf(4044655.125);
    CNOEM4Format().vProcessMessage913(dataOf(body), s);
    EXPECT_EQ(row(s.station, s.x, s.y, s.z), "16909060 -2148744.25 4426641.5 4044655.125");
}

}  // namespace
}  // namespace vkcomm::test
