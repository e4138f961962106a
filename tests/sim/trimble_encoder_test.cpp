#include "sim/trimble_encoder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "sim/trimble_packets.h"
#include "tests/sim/checks.h"

namespace vkcomm::sim {
namespace {

using testing::ElementsAre;

Epoch epochAt(std::int64_t millisecondsOfWeek) {
    Epoch epoch = sampleEpoch();
    epoch.millisecondsOfWeek = millisecondsOfWeek;
    return epoch;
}

constexpr std::int64_t kPlain = 345'618'999;
constexpr std::int64_t kInPages = 345'625'000;

std::vector<std::string> packets(const Epoch& epoch, std::uint8_t type) {
    std::vector<std::string> found;
    for (const std::string& packet : framesOf(encodeTrimble, epoch))
        if (static_cast<std::uint8_t>(packet[2]) == type) found.push_back(packet);
    return found;
}

// Data of the only packet of that type.
std::string dataOf(const Epoch& epoch, std::uint8_t type) {
    const std::vector<std::string> found = packets(epoch, type);
    if (found.size() != 1) return {};
    return found[0].substr(4, found[0].size() - 6);
}

struct Record {
    int type;
    std::string data;
};

std::vector<Record> recordsOf(const std::string& bytes) {
    std::vector<Record> records;
    for (std::size_t at = 0; at < bytes.size();) {
        const auto length = static_cast<unsigned char>(bytes.at(at + 1));
        records.push_back({bytes[at], bytes.substr(at + 2, length)});
        at += 2u + length;
    }
    return records;
}

std::vector<int> typesOf(const std::vector<Record>& records) {
    std::vector<int> types;
    for (const Record& record : records)
        types.push_back(record.type);
    return types;
}

std::vector<Record> onePageReport(const Epoch& epoch) {
    const std::string data = dataOf(epoch, 0x40);
    EXPECT_EQ(data.substr(1, 2), std::string(2, '\0'));
    return recordsOf(data.substr(3));
}

TEST(TrimblePackets, WritesAReportLikeAReceiver) {
    ByteWriter records;
    addGsofTime({.milliseconds = 345'600'500,
                 .week = 1520,
                 .satellites = 9,
                 .flags1 = 0x2F,
                 .flags2 = 7,
                 .initialisations = 3},
                records);
    addGsofPosition({-2148744.25, 4426641.5, 4044656.0}, records);
    addGsofDops(1.5f, 1.0f, 1.25f, 0.75f, records);
    addGsofSigmas({.rms = 0.01f,
                   .east = 0.02f,
                   .north = 0.03f,
                   .up = 0.045f,
                   .semiMajor = 0.03f,
                   .semiMinor = 0.02f,
                   .orientation = 90.0f,
                   .unitVariance = 1.0f,
                   .epochs = 1},
                  records);
    const GsofSatellite satellites[] = {{5, 0x4F, 3, 45, 270, 180, 120}, {12, 0x0F, 0, 10, 90, 140, 0}};
    addGsofSatellites(satellites, records);
    EXPECT_EQ(hexOfFrame([&](Piece& piece) { addGenout(0x11, records.bytes(), 244, piece); }),
              "02004076110000010a149971f405f0092f07030318c14064c4200000004150e2e460000000414edbb80000000009"
              "103fc000003f8000003fa000003f4000000c263c23d70a3ca3d70a3cf5c28f000000003d3851ec3cf5c28f3ca3d7"
              "0a42b400003f80000000010e1102054f032d010eb4780c0f000a005a8c00d603");
}

// The numbers of an ephemeris that a receiver kept for PRN 11.
TEST(TrimblePackets, ScalesAnEphemeris) {
    Ephemeris e;
    e.week = 1562;
    e.codesOnL2 = 1;
    e.iodc = 0x16E;
    e.clockReference = e.reference = 32400;
    e.clockOffset = -75145;
    e.crs = 80;
    e.meanAnomaly = -439702578;
    e.cuc = 150;
    e.rootOfSemiMajorAxis = 2702024316;
    e.inclinationRate = 85;
    e.accuracyIndex = 2;
    e.health = 1;
    const ByteWriter writer = svEphemeris(11, 515'220, e);
    const std::string data = "\x02__\x03" + textOf(writer.bytes());  // offsets are those in the packet
    ASSERT_EQ(data.size(), 180u);
    EXPECT_EQ(hexOf(writer.bytes().first(20)), "010b061a016e006e0007dc940007e9000007e900");
    EXPECT_DOUBLE_EQ(beAt<double>(data, 48), -3.4992117434740067e-05);
    EXPECT_DOUBLE_EQ(beAt<double>(data, 56), 2.5);
    EXPECT_DOUBLE_EQ(beAt<double>(data, 72), -0.20475246850401163);
    EXPECT_DOUBLE_EQ(beAt<double>(data, 80), 2.7939677238464355e-07 / 3.1415926535898);
    EXPECT_DOUBLE_EQ(beAt<double>(data, 104), 5153.7023849487305);
    EXPECT_DOUBLE_EQ(beAt<double>(data, 168), 9.663381206337363e-12);
    EXPECT_EQ(beAt<std::uint32_t>(data, 176), 1u << 1 | 1u << 4 | 2u << 11);
}

TEST(TrimbleEncoder, ReportsAnEpochInOnePage) {
    const std::vector<Record> records = onePageReport(epochAt(kPlain));
    ASSERT_THAT(typesOf(records), ElementsAre(1, 2, 3, 6, 9, 12, 14));
    EXPECT_EQ(hexOf(ByteSpan(reinterpret_cast<const unsigned char*>(records[0].data.data()), 10)),
              "1499ba3708ff022f0701");
    EXPECT_DOUBLE_EQ(beAt<double>(records[1].data, 0), -0.5846852994181004);
    EXPECT_DOUBLE_EQ(beAt<double>(records[1].data, 8), 2.6398104936414235);
    EXPECT_DOUBLE_EQ(beAt<double>(records[1].data, 16), 121.25);
    EXPECT_NEAR(beAt<double>(records[2].data, 0), -4667842.8917, 1e-4);
    EXPECT_NEAR(beAt<double>(records[2].data, 8), 2560866.3034, 1e-4);
    EXPECT_NEAR(beAt<double>(records[2].data, 16), -3500401.2104, 1e-4);
    EXPECT_NEAR(beAt<double>(records[3].data, 0), -8953841.2932, 1.5e-4);
    EXPECT_NEAR(beAt<double>(records[3].data, 8), 1914965.2787, 1.5e-4);
    EXPECT_NEAR(beAt<double>(records[3].data, 16), -8164463.3432, 1.5e-4);
    const std::string& sigmas = records[5].data;
    EXPECT_EQ(beAt<float>(sigmas, 4), 0.00625f);
    EXPECT_EQ(beAt<float>(sigmas, 8), 0.0078125f);
    EXPECT_EQ(beAt<float>(sigmas, 16), 0.015625f);
    // PRN 3 and 22 at 61.9 and 123.4 degrees, 51 and 45 dB-Hz, used for RTK.
    EXPECT_EQ(hexOf(ByteSpan(reinterpret_cast<const unsigned char*>(records[6].data.data()), 17)),
              "0203ff023e007bccb416ff023e007bccb4");
}

TEST(TrimbleEncoder, TellsTheQuality) {
    struct Case {
        FixQuality quality;
        char flags2;
        unsigned char satelliteFlags;
    };

    for (const Case& c : {Case{FixQuality::kSingle, 0, 0x4F}, Case{FixQuality::kDifferential, 1, 0x7F},
                          Case{FixQuality::kRtkFloat, 3, 0xFF}, Case{FixQuality::kRtkFixed, 7, 0xFF}}) {
        Epoch epoch = epochAt(kPlain);
        epoch.quality = c.quality;
        const std::vector<Record> records = onePageReport(epoch);
        EXPECT_EQ(records[0].data[8], c.flags2);
        EXPECT_EQ(static_cast<unsigned char>(records.back().data[2]), c.satelliteFlags);
    }
}

TEST(TrimbleEncoder, HasTimeAndSatellitesAloneWithoutAFix) {
    const std::vector<Record> records = onePageReport(epochWithoutFix());
    ASSERT_THAT(typesOf(records), ElementsAre(1, 14));
    EXPECT_EQ(records[0].data.substr(6, 3), std::string(3, '\0'));
}

// The pages of one transmission join to a report; records run across their borders.
TEST(TrimbleEncoder, ReportsInPages) {
    std::string joined;
    const std::vector<std::string> pages = packets(epochAt(kInPages), 0x40);
    ASSERT_EQ(pages.size(), 2u);
    for (std::size_t i = 0; i < pages.size(); ++i) {
        EXPECT_EQ(pages[i][4], pages[0][4]);
        EXPECT_EQ(pages[i][5], static_cast<char>(i));
        EXPECT_EQ(pages[i][6], 1);
        joined += pages[i].substr(7, pages[i].size() - 9);
    }
    EXPECT_EQ(pages[0].size(), 6u + 3 + 100);
    const std::vector<Record> records = recordsOf(joined);
    ASSERT_THAT(typesOf(records), ElementsAre(1, 2, 3, 6, 9, 12, 14, 8));
    EXPECT_EQ(records.back().data.size(), 13u);
    EXPECT_EQ(beAt<float>(records.back().data, 1), 2.5f);
    EXPECT_EQ(beAt<float>(records.back().data, 9), -0.25f);
    EXPECT_NE(dataOf(epochAt(kInPages + 1000), 0x40)[0], pages[0][4]);
}

// As many satellites as there are do not fit in one page.
TEST(TrimbleEncoder, NoPageIsTooLong) {
    Epoch epoch = epochAt(kPlain);
    epoch.satellites.clear();
    for (int prn = 1; prn <= 31; ++prn)
        epoch.satellites.push_back({.number = prn});
    const std::vector<std::string> pages = packets(epoch, 0x40);
    EXPECT_EQ(pages.size(), 2u);
    for (const std::string& page : pages)
        EXPECT_LE(page.size(), 6u + 247);
}

TEST(TrimbleEncoder, TellsStatusAndSatelliteSets) {
    const Epoch epoch = epochAt(345'630'000);
    EXPECT_EQ(dataOf(epoch, 0x09), "  02                 ");
    const std::string sets = dataOf(epoch, 0x55);
    ASSERT_EQ(sets.size(), 2u + 48);
    const std::uint32_t both = 1u << 2 | 1u << 21;
    const std::uint32_t expected[] = {both, 0xFFFF'FFFF, 0, 0, both, both, both, 0, 0, 0, 0, 0};
    for (std::size_t i = 0; i < 12; ++i)
        EXPECT_EQ(beAt<std::uint32_t>(sets, 2 + 4 * i), expected[i]) << i;
    EXPECT_TRUE(packets(epochAt(kPlain), 0x55).empty());
    EXPECT_EQ(packets(epochAt(345'720'000), 0x55).size(), 3u);
}

TEST(TrimbleEncoder, AnswersWhoIsThere) {
    const std::vector<std::string> answers = framesOf(encodeTrimbleStart, sampleEpoch());
    ASSERT_EQ(answers.size(), 3u);
    EXPECT_EQ(answers[0][2], 0x6E);
    EXPECT_EQ(answers[0].substr(4, answers[0].size() - 6),
              "SERIAL,SIM00001;PORT,0,38400,N,8,1,N,0;VERSION,4.82,1.00,3.01,2.50;CHANNELS,24;"
              "NAME,SIMULATED ROVER;");
    EXPECT_EQ(answers[1][2], 0x07);
    EXPECT_EQ(answers[1].substr(4, answers[1].size() - 6),
              "SIM00001SIM5800 04.8201.0003.01ANT000017724120000000001");
    EXPECT_EQ(answers[2][2], 0x4B);
    ASSERT_EQ(answers[2].size(), 6u + 49);
    EXPECT_EQ(beAt<std::uint16_t>(answers[2], 4 + 2), 10);
    EXPECT_EQ(beAt<std::uint16_t>(answers[2], 4 + 4), 100);
    EXPECT_EQ(beAt<std::uint16_t>(answers[2], 4 + 29), 8192);
}

}  // namespace
}  // namespace vkcomm::sim
