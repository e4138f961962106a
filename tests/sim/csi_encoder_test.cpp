#include "sim/csi_encoder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "sim/csi_messages.h"
#include "tests/sim/checks.h"

namespace vkcomm::sim {
namespace {

// One second of a Crescent in Japan.
constexpr double kTime = 0x1.a6a2000000519p+16;

TEST(CsiMessages, WritesAPositionLikeAReceiver) {
    BinPosition p{.correctionAge = 7, .satellites = 8, .week = 1481, .secondsOfWeek = kTime};
    p.latitude = 0x1.1efbb54dc0cadp+5;
    p.longitude = 0x1.14c7945e03dc6p+7;
    p.height = 0x1.f1f2a2p+9f;
    p.north = -0x1.02c8c8p-5f;
    p.east = -0x1.4d7612p-4f;
    p.up = -0x1.371aa6p-4f;
    p.residualDeviation = 0x1.7d3824p-3f;
    p.mode = 4;
    p.extendedAge = 7;
    EXPECT_EQ(hexOfFrame([&](Piece& piece) { addBinPosition(p, piece); }),
              "2442494e010034000708c90519050000206afa40ad0cdc54bbef4140c63de045794c614051f97844646401bd09bb"
              "a6bd538d9bbd129c3e3e0400070081130d0a");
}

TEST(CsiMessages, WritesDops) {
    const BinDops dops{.tracked = 0x20A2'5B10, .used = 0x20A2'4910, .leapSeconds = 14, .hdop = 9, .vdop = 15};
    EXPECT_EQ(hexOfFrame([&](Piece& piece) { addBinDops(dops, piece); }),
              "2442494e02001000105ba2201049a2200e0009000f0000006e020d0a");
}

TEST(CsiMessages, WritesRangesLikeAReceiver) {
    const BinRanges ranges{1481,
                           kTime,
                           {{{12, 118, 255, 8, 3, -540344, 0x1.3cfe23a0a123bp+24, 0x1.667400be7d55ep+22},
                             {14, 43, 255, 10, 3, -1988752, 0x1.5d50b96026ddp+24, 0x1.e08c7f4eeab74p+21},
                             {5, 112, 255, 4, 3, -1409179, 0x1.36ba72737f592p+24, 0x1.5d33dc9f78296p+22},
                             {9, 122, 255, 2, 3, 1676819, 0x1.3e51126b53ffcp+24, 0x1.5e541d85f492fp+22},
                             {15, 12, 255, 2, 3, 2068245, 0x1.6ddc7d1c7c967p+24, -0x1.878446bf56805p+19},
                             {18, 103, 255, 6, 3, 1288879, 0x1.3c9009aab76a1p+24, 0x1.7816d10d679a5p+22},
                             {30, 161, 255, 4, 3, -2437815, 0x1.4b64473753496p+24, 0x1.504e971a34bc9p+22},
                             {},
                             {22, 124, 255, 14, 3, -803710, 0x1.41f0c615da494p+24, 0x1.557acfffae27fp+22},
                             {26, 6, 255, 4, 3, 2289656, 0x1.8626e9c621f6cp+24, 0x1.b251450961e8bp+22},
                             {129, 43, 255, 2, 3, 3864, 0x1.1b9eacd02f722p+25, 0x1.02fdfa7da8e93p+18},
                             {137, 29, 255, 9, 3, 6148, 0x1.1bdf1193330eap+25, 0x1.034f206324992p+18}}}};
    EXPECT_EQ(hexOfFrame([&](Piece& piece) { addBinRanges(ranges, piece); }),
              "2442494e60002c010000c90519050000206afa40"
              "0c76ff0883147cff3b120a3ae2cf73415ed5e70b40675641"
              "0e2bff0a03771afed06d02960bd5754174abeef4c7084e41"
              "0570ff0453f6a7fe92f53727a76b73419682f7c93dd35541"
              "097aff0233619901fc3fb52611e573412f495fd841e55541"
              "0f0cff0253f1f80167c9c7d1c7dd76410568f56b447828c1"
              "1267ff06f3aa3a01a176ab9a00c97341a579d6106d815741"
              "1ea1ff0493d4acfd9634757344b67441c94ba371e9045541"
              "000000000000000000000000000000000000000000000000"
              "167cff0e23c83bff94a45d610c1f74417fe2faffac575541"
              "1a06ff0483ff2e026c1f629c6e6278418b1e965014255b41"
              "812bff0283f1000022f702cdeab98141938edaa7df2f1041"
              "891dff0943800100ea303319f1bd814192493206f2341041"
              "4c780d0a");
}

// The head and two channels of a message 99, but for the twelve bytes on the tracking loops.
TEST(CsiMessages, WritesChannelsLikeAReceiver) {
    BinTracking tracking{.mode = 0x0B, .leapSeconds = 14, .week = 1481, .secondsOfWeek = kTime};
    tracking.channels[0] = {0, 12, 0x5F, 2, 2, 0, 2, 0, 64, 60, 0};
    tracking.channels[11] = {11, 137, 0x5F, 2, 2, 0, 0, 0, 47, 84, 6};
    const std::string message = hexOfFrame([&](Piece& piece) { addBinTracking(tracking, piece); });
    EXPECT_EQ(message.size(), 2 * 316u);
    EXPECT_EQ(message.substr(0, 40), "2442494e630030010b0ec90519050000206afa40");
    EXPECT_EQ(message.substr(40, 24), "000c5f0202000200403c0000");
    EXPECT_EQ(message.substr(40 + 11 * 48, 24), "0b895f02020000002f540600");
}

// The messages of an epoch by their numbers.
std::map<int, std::string> messagesOf(const Epoch& epoch) {
    std::map<int, std::string> messages;
    for (const std::string& message : framesOf(encodeCsi, epoch))
        EXPECT_TRUE(messages.emplace(message[4], message).second);
    EXPECT_EQ(messages.size(), 4u);
    return messages;
}

TEST(CsiEncoder, WritesTheMessagesOfAnEpoch) {
    const auto messages = messagesOf(sampleEpoch());
    const std::string& m1 = messages.at(1);
    EXPECT_EQ(m1[8], 2);
    EXPECT_EQ(m1[9], 2);
    EXPECT_EQ(leAt<std::uint16_t>(m1, 10), 2303);
    EXPECT_EQ(leAt<double>(m1, 12), 345618.999);
    EXPECT_EQ(leAt<double>(m1, 20), -33.5);
    EXPECT_EQ(leAt<double>(m1, 28), 151.25);
    EXPECT_EQ(leAt<float>(m1, 36), 121.25f);
    EXPECT_FLOAT_EQ(leAt<float>(m1, 40), 1.7677670f);
    EXPECT_FLOAT_EQ(leAt<float>(m1, 44), 1.7677670f);
    EXPECT_EQ(leAt<float>(m1, 48), -0.25f);
    EXPECT_EQ(leAt<std::uint16_t>(m1, 56), 6);
    const std::string& m2 = messages.at(2);
    EXPECT_EQ(leAt<std::uint32_t>(m2, 8), 1u << 2 | 1u << 21);
    EXPECT_EQ(leAt<std::uint32_t>(m2, 12), 1u << 2 | 1u << 21);
    EXPECT_EQ(leAt<std::uint16_t>(m2, 16), 18);
    EXPECT_EQ(leAt<std::uint16_t>(m2, 18), 10);
    EXPECT_EQ(leAt<std::uint16_t>(m2, 20), 17);
    EXPECT_EQ(leAt<std::uint16_t>(m2, 22), 1);  // PRN 120 tracked
    const std::string& m96 = messages.at(96);
    EXPECT_EQ(m96.substr(20, 4), "\x03\x9A\xFF" + std::string(1, '\0'));
    EXPECT_EQ(leAt<std::int32_t>(m96, 24) >> 4, 888741);  // -1140.2 Hz
    EXPECT_EQ(m96[24] & 15, 3);
    EXPECT_EQ(leAt<double>(m96, 28), 20213930.640625);
    EXPECT_NEAR(leAt<double>(m96, 36), 106224932.51171875 * (299792458.0 / 1575.42e6), 1e-6);
    EXPECT_EQ(m96.substr(20 + 3 * 24, 9 * 24), std::string(9 * 24, '\0'));
    const std::string& m99 = messages.at(99);
    EXPECT_EQ(static_cast<unsigned char>(m99[8]), 0x83);
    EXPECT_EQ(m99.substr(20, 2), std::string("\0\3", 2));
    EXPECT_EQ(m99[22], '_');
    EXPECT_EQ(m99[28], 62);
    EXPECT_EQ(m99[29], 62);
    EXPECT_EQ(m99[20 + 24 * 2 + 1], 120);
    EXPECT_EQ(m99[20 + 24 * 3 + 1], 0);
    EXPECT_EQ(m99[20 + 24 * 11], 11);
}

TEST(CsiEncoder, TellsTheMode) {
    struct Case {
        FixQuality quality;
        std::uint16_t mode1;
        unsigned char mode99;
    };

    for (const Case& c : {Case{FixQuality::kNone, 0, 0x01}, Case{FixQuality::kSingle, 2, 0x03},
                          Case{FixQuality::kDifferential, 4, 0x83}, Case{FixQuality::kRtkFloat, 5, 0x83}}) {
        Epoch epoch = sampleEpoch();
        epoch.quality = c.quality;
        const auto messages = messagesOf(epoch);
        EXPECT_EQ(leAt<std::uint16_t>(messages.at(1), 56), c.mode1);
        EXPECT_EQ(leAt<double>(messages.at(1), 20) == 0.0, c.quality == FixQuality::kNone);
        EXPECT_EQ(static_cast<unsigned char>(messages.at(99)[8]), c.mode99);
    }
}

TEST(CsiEncoder, HasTwelveChannelsAndTwoSbasPlaces) {
    Epoch epoch = sampleEpoch();
    epoch.satellites.clear();
    for (int prn = 120; prn < 138; ++prn)
        epoch.satellites.push_back({.system = SatelliteSystem::kSbas, .number = prn});
    const auto messages = messagesOf(epoch);
    EXPECT_EQ(messages.at(99)[20 + 24 * 11 + 1], static_cast<char>(131));
    EXPECT_EQ(leAt<std::uint16_t>(messages.at(2), 22), 3 | 0 << 5 | 1 << 10);
}

TEST(CsiEncoder, AnswersJshowLineByLine) {
    const std::vector<std::string> lines = framesOf(encodeCsiStart, sampleEpoch());
    EXPECT_EQ(lines.size(), 15u);
    for (const char* line : {"$>JSHOW,BAUD,19200\r\n", "$>JSHOW,BAUD,9600,OTHER\r\n", "$>JSHOW,DIFF,WAAS\r\n",
                             "$>JSHOW,FREQ,1575.4200,250\r\n", "$>JSHOW,THISPORT,PORTA\r\n"})
        EXPECT_THAT(lines, testing::Contains(line));
}

}  // namespace
}  // namespace vkcomm::sim
