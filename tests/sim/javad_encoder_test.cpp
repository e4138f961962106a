#include "sim/javad_encoder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "sim/javad_messages.h"
#include "tests/sim/checks.h"

namespace vkcomm::sim {
namespace {

using testing::ElementsAre;

// Messages as receivers sent them, PO and PS made by hand.
TEST(JavadMessages, AreThoseOfReceivers) {
    struct Case {
        const char* name;
        void (*add)(Piece& piece);
        const char* expected;
    };

    static constexpr unsigned char kIndices[] = {11, 2,  46, 49, 48, 10, 13,  4,   32,  17, 28,
                                                 23, 24, 12, 20, 47, 41, 129, 137, 193, 71};
    const Case cases[] = {
        {"~~", [](Piece& p) { addReceiverTime(8'803'000, p); }, "7e7e303035b852860018"},
        {"RD",
         [](Piece& p) {
             addDate({2011, 1, 15, 0}, p);
         },
         "5244303036db07010f00b3"},
        {"GT", [](Piece& p) { addGpsTime(531'317'500, 955, p); }, "4754303037fc42ab1fbb03b4"},
        {"DP", [](Piece& p) { addDops(0x1.4288f6p-1f, 0x1.01927ep+0f, 0x1.115eecp-1f, 1, p); },
         "44503030457b44213f3fc9803f76af083f011a"},
        {"PV",
         [](Piece& p) {
             addPositionVelocity(
                 {{-0x1.e3a181683952ep+21, 0x1.98cf4fbeff735p+21, 0x1.c37196d805f58p+21}, 0x1.7ae74p+0f, 1},
                 {-0x1.e348eep-9f, 0x1.089638p-7f, -0x1.b73bb4p-9f, 0x1.9febc2p-8f}, p);
         },
         "50563032452e958316183a4ec135f7effbf48c4941585f806d19374c41a073bd3f77a471bb1c4b043cda9d5bbbe1f5"
         "cf3b0188"},
        {"PO",
         [](Piece& p) {
             addPosition({{-2148744.25, 4426641.5, 4044656.0}, 0.5f, 4}, p);
         },
         "504f30314500000020c46440c100000060e4e2504100000000b8db4e410000003f0443"},
        {"SG",
         [](Piece& p) {
             addSigmas({0x1.cbc15p-2f, 0x1.86cd44p-1f, 0x1.c1d61cp-8f, 0x1.519f2ap-7f, 1}, p);
         },
         "5347303132a8e0e53ea266433f0eebe03b95cf283c016c"},
        {"PS",
         [](Piece& p) {
             addStatistics({.solution = 4,
                            .gpsLocked = 12,
                            .glonassLocked = 8,
                            .gpsAvailable = 10,
                            .glonassAvailable = 7,
                            .gpsUsed = 9,
                            .glonassUsed = 6,
                            .fixProgress = 100},
                           p);
         },
         "5053303039040c080a07090664e2"},
        {"SI", [](Piece& p) { addPerSatellite("SI", kIndices, p); },
         "53493031360b022e31300a0d0420111c17180c142f298189c1474a"},
        {"MF", [](Piece& p) { addMessageForm("JP01010", p); }, "4d463030394a5030313031303946"},
        {"RE", [](Piece& p) { addReply("%1%abc", p); }, "5245303036253125616263"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(hexOfFrame(c.add), c.expected) << c.name;
}

// The messages of an epoch by their ids, bodies without checksum.
std::map<std::string, std::string> bodiesOf(const Epoch& epoch) {
    std::map<std::string, std::string> bodies;
    for (const std::string& message : framesOf(encodeJavad, epoch))
        EXPECT_TRUE(bodies.emplace(message.substr(0, 2), message.substr(5, message.size() - 6)).second);
    return bodies;
}

TEST(JavadEncoder, WritesTheMessagesOfAnEpoch) {
    const auto bodies = bodiesOf(sampleEpoch());
    EXPECT_EQ(bodies.size(), 14u);
    EXPECT_EQ(leAt<std::uint32_t>(bodies.at("~~"), 0), 18'999u);
    EXPECT_EQ(bodies.at("::"), bodies.at("~~"));
    EXPECT_EQ(leAt<std::uint32_t>(bodies.at("GT"), 0), 345'618'999u);
    EXPECT_EQ(leAt<std::uint16_t>(bodies.at("GT"), 4), 2303 - 2 * 1024);
    EXPECT_EQ(bodies.at("RD"), std::string("\xE8\x07\x02\x1D\x00", 5));
    const std::string& pv = bodies.at("PV");
    EXPECT_NEAR(leAt<double>(pv, 0), -4667842.8917, 1e-4);
    EXPECT_NEAR(leAt<double>(pv, 8), 2560866.3034, 1e-4);
    EXPECT_NEAR(leAt<double>(pv, 16), -3500401.2104, 1e-4);
    EXPECT_FLOAT_EQ(leAt<float>(pv, 24), 0.018553659f);
    EXPECT_FLOAT_EQ(leAt<float>(pv, 28), -1.5229223f);
    EXPECT_FLOAT_EQ(leAt<float>(pv, 32), -1.1808222f);
    EXPECT_FLOAT_EQ(leAt<float>(pv, 36), 1.6121f);
    EXPECT_EQ(bodies.at("PO"), pv.substr(0, 28) + '\4');
    EXPECT_EQ(bodies.at("PS"), std::string("\4\2\1\2\1\2\0\x64", 8));
    EXPECT_FLOAT_EQ(leAt<float>(bodies.at("DP"), 0), 1.0f);
    EXPECT_FLOAT_EQ(leAt<float>(bodies.at("DP"), 4), 1.7f);
    EXPECT_FLOAT_EQ(leAt<float>(bodies.at("DP"), 8), 0.75f);
    EXPECT_FLOAT_EQ(leAt<float>(bodies.at("SG"), 0), 0.010004881f);
    EXPECT_EQ(bodies.at("SI"), "\x03\x16\x78\x2B");
    EXPECT_EQ(bodies.at("NN"), "\x09");
    EXPECT_EQ(bodies.at("EL"), "\x3E\x3E\x1E\x0A");
    EXPECT_EQ(bodies.at("AZ"), std::string("\x3E\x3E\x5A\x00", 4));
    EXPECT_EQ(bodies.at("EC"), std::string("\x33\x33\x00\x00", 4));
}

// The slots and indices of five GLONASS satellites that a receiver tracked.
TEST(JavadEncoder, CountsGlonassByFrequencyAndBySlot) {
    Epoch epoch = sampleEpoch();
    epoch.satellites.clear();
    for (const int slot : {5, 21, 19, 20, 6})
        epoch.satellites.push_back({.system = SatelliteSystem::kGlonass, .number = slot});
    const auto bodies = bodiesOf(epoch);
    EXPECT_THAT(bodies.at("SI"), ElementsAre(46, 49, 48, 47, 41));
    EXPECT_THAT(bodies.at("NN"), ElementsAre(5, 21, 19, 20, 6));
}

TEST(JavadEncoder, WritesZerosWithoutAFix) {
    const auto bodies = bodiesOf(epochWithoutFix());
    EXPECT_EQ(bodies.at("PO"), std::string(29, '\0'));
    EXPECT_EQ(bodies.at("PV"), std::string(45, '\0'));
    EXPECT_EQ(bodies.at("SG"), std::string(17, '\0'));
    EXPECT_EQ(bodies.at("PS"), std::string("\0\2\1\2\1\0\0\0", 8));
}

}  // namespace
}  // namespace vkcomm::sim
