#include "sim/cmc_encoder.h"

#include <gtest/gtest.h>

#include <cctype>
#include <map>

#include "sim/cmc_messages.h"
#include "tests/sim/checks.h"

namespace vkcomm::sim {
namespace {

// Two receivers of the field, one of 2009 and one of 2008.
TEST(CmcMessages, WritesNavigationLikeReceivers) {
    CmcNavigation n{
        .hours = 5, .minutes = 51, .seconds = 0x1.ffff9bb9p-1, .day = 4, .month = 7, .year = 2009};
    n.latitude = 0x1.dea500cf67cfbp-1;
    n.longitude = -0x1.fada56d057874p+0;
    n.height = 0x1.3c221cp+9f;
    n.horizontalMerit = 0x1.86dacap+3f;
    n.verticalMerit = 0x1.b8f246p+3f;
    n.hdop = 31;
    n.vdop = 33;
    n.mode = 0xA2;
    n.satellites = 5;
    n.systemMode = 3;
    EXPECT_EQ(hexOfFrame([&](Piece& piece) { addCmcNavigation(n, piece); }),
              "0114eb470533000090bbf9ffef3f0407d907fb7cf60c50eaed3f7478056da5adffbf0e111e440000000000000000"
              "000000000000000000000000656d434123795c411f002100a2050300002214");

    n = {.hours = 23, .minutes = 35, .seconds = 0x1.97fffff724p+5, .day = 16, .month = 5, .year = 2008};
    n.latitude = 0x1.40906305c69f2p-1;
    n.longitude = 0x1.352a5e76a4886p+1;
    n.height = 0x1.f4987p+9f;
    n.horizontalMerit = 0x1.687434p+1f;
    n.verticalMerit = 0x1.1758eap+2f;
    n.hdop = 12;
    n.vdop = 18;
    n.mode = 0xE2;
    n.satellites = 10;
    n.systemMode = 3;
    n.coordinates = 3;
    EXPECT_EQ(hexOfFrame([&](Piece& piece) { addCmcNavigation(n, piece); }),
              "0114eb471723004072ffff7f49401005d807f2695c300609e43f86486ae7a5520340384c7a440000000000000000"
              "0000000000000000000000001a3a344075ac8b400c001200e20a030300a511");
}

TEST(CmcMessages, WritesVisibilityLikeAReceiver) {
    const CmcSatellite satellites[] = {
        {1, true, 76, 110, 50},  {11, true, 67, 212, 50}, {29, true, 55, 284, 40},  {3, true, 41, 63, 36},
        {28, true, 22, 277, 36}, {9, false, 18, 156, 0},  {30, false, 15, 327, 0},  {23, false, 14, 223, 0},
        {22, false, 6, 31, 0},   {8, false, 1, 208, 0},   {137, false, 28, 172, 0}, {134, false, 26, 203, 0},
    };
    EXPECT_EQ(hexOfFrame([&](Piece& piece) { addCmcVisibility(satellites, piece); }),
              "0121de3d0c614c6e00326b43d400327d371c012863293f00247c1615012409129c00001e0f470100170edf000016"
              "061f00000801d00000001cac6400001acb5e00b10c");
}

TEST(CmcMessages, VisibilityStopsAtTwelve) {
    const std::vector<CmcSatellite> satellites(14, {.number = 32, .used = true, .azimuth = 359});
    Piece piece;
    addCmcVisibility(satellites, piece);
    EXPECT_EQ(piece.bytes.size(), 67u);
    EXPECT_EQ(piece.bytes[4], 12);
    EXPECT_EQ(hexOf(ByteSpan(piece.bytes).subspan(5 + 55, 5)), "6000670100");
}

std::map<int, std::string> messagesOf(void (*encode)(const Epoch&, Piece&), const Epoch& epoch) {
    std::map<int, std::string> messages;
    for (const std::string& message : framesOf(encode, epoch))
        EXPECT_TRUE(messages.emplace(message[1], message).second);
    return messages;
}

TEST(CmcEncoder, WritesTheMessagesOfAnEpoch) {
    const auto messages = messagesOf(encodeCmc, sampleEpoch());
    EXPECT_EQ(messages.size(), 3u);
    const std::string& m20 = messages.at(20);
    EXPECT_EQ(m20[4], 0x20 | 0);
    EXPECT_EQ(m20[5], 0);
    EXPECT_EQ(leAt<double>(m20, 6), 18.999);
    EXPECT_EQ(m20.substr(14, 4), "\x1D\x02\xE8\x07");
    EXPECT_DOUBLE_EQ(leAt<double>(m20, 18), -0.5846852994181004);
    EXPECT_DOUBLE_EQ(leAt<double>(m20, 26), 2.6398104936414235);
    EXPECT_EQ(leAt<float>(m20, 34), 121.25f);
    EXPECT_EQ(leAt<float>(m20, 38), 2.5f);
    EXPECT_FLOAT_EQ(leAt<float>(m20, 46), 1.7677670f);
    EXPECT_EQ(leAt<float>(m20, 54), -0.25f);
    EXPECT_FLOAT_EQ(leAt<float>(m20, 58), 0.010004881f);
    EXPECT_EQ(leAt<float>(m20, 62), 0.015625f);
    EXPECT_EQ(leAt<std::uint16_t>(m20, 66), 10);
    EXPECT_EQ(leAt<std::uint16_t>(m20, 68), 17);
    EXPECT_EQ(static_cast<unsigned char>(m20[70]), 0xA4);
    EXPECT_EQ(m20[71], 2);
    // GPS and SBAS, no GLONASS; the angles rounded.
    EXPECT_EQ(hexOf(ByteSpan(reinterpret_cast<const unsigned char*>(messages.at(33).data()) + 4, 16)),
              "03633e7b0033763e7b0033001eb44200");
    EXPECT_EQ(leAt<std::uint16_t>(messages.at(49), 23), 500);
    EXPECT_EQ(messages.at(49).size(), 46u);
}

TEST(CmcEncoder, TellsTheMode) {
    struct Case {
        FixQuality quality;
        unsigned char mode;
    };

    for (const Case& c : {Case{FixQuality::kNone, 0x01}, Case{FixQuality::kSingle, 0xA2},
                          Case{FixQuality::kDifferential, 0xA4}, Case{FixQuality::kRtkFixed, 0xA4}}) {
        Epoch epoch = sampleEpoch();
        epoch.quality = c.quality;
        const std::string m20 = messagesOf(encodeCmc, epoch).at(20);
        EXPECT_EQ(static_cast<unsigned char>(m20[70]), c.mode);
        EXPECT_EQ(leAt<double>(m20, 18) == 0.0, c.quality == FixQuality::kNone);
    }
}

TEST(CmcEncoder, SendsTheRestNowAndThen) {
    Epoch epoch = sampleEpoch();
    epoch.millisecondsOfWeek = 345'620'000;
    const auto messages = messagesOf(encodeCmc, epoch);
    EXPECT_EQ(messages.at(30)[4], 2);
    EXPECT_EQ(messages.at(75)[12], 1);
    EXPECT_EQ(messages.at(75)[21], 1);

    const std::string m45 = messagesOf(encodeCmcStart, epoch).at(45);
    EXPECT_EQ(m45.size(), 101u);
    EXPECT_EQ(m45.substr(30, 2), "05");
    EXPECT_EQ(m45.substr(73, 13), "SIM0000000001");
    EXPECT_EQ(m45[98], 3);
}

}  // namespace
}  // namespace vkcomm::sim
