#include "vkcomm/formats/csi_format.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "tests/formats/parser_bytes.h"

namespace vkcomm::test {
namespace {

// Recorded records of one second, and a built message 2.
const std::string kMessage1 = hex("2442494e010034000708c90519050000206afa40ad0cdc54bbef4140c63de045"
                                  "794c614051f97844646401bd09bba6bd538d9bbd129c3e3e0400070081130d0a");
const std::string kMessage2 = hex("2442494e02001000105ba2201049a2200e0009000f0000006e020d0a");
const std::string kMessage99 = hex("2442494e630030010b0ec90519050000206afa40000c5f0202000200403c0000"
                                   "5c0791fefeff0100b9029804010e5f02020002001f9b0000a80295fdffff0000"
                                   "fa09dd0b02055f02020002003e51000007072dfe010000001307f20803095f02"
                                   "02000200311400009907a2fe030002009cf782f9040f5f020200020011350100"
                                   "be007efbfeff0100a5f588f705125f02020002003b640000760641fe00000100"
                                   "8df971fb061e5f02020002002a5c0100130acdfc030001003a0c1c0e07002000"
                                   "000000000000000000000000000000000000000008165f020200020037900000"
                                   "ba07c5fd010000000904ea05091a5f0202000200043600005e00000000000000"
                                   "87f469f60a815f020200000030590600b802000000000000fdffe0010b895f02"
                                   "020000002f540600d301000000000000fbffdf01e4010000f43e0d0a");
const std::string kMessage96 = hex("2442494e60002c010000c90519050000206afa400c76ff0883147cff3b120a3a"
                                   "e2cf73415ed5e70b406756410e2bff0a03771afed06d02960bd5754174abeef4"
                                   "c7084e410570ff0453f6a7fe92f53727a76b73419682f7c93dd35541097aff02"
                                   "33619901fc3fb52611e573412f495fd841e555410f0cff0253f1f80167c9c7d1"
                                   "c7dd76410568f56b447828c11267ff06f3aa3a01a176ab9a00c97341a579d610"
                                   "6d8157411ea1ff0493d4acfd9634757344b67441c94ba371e904554100000000"
                                   "0000000000000000000000000000000000000000167cff0e23c83bff94a45d61"
                                   "0c1f74417fe2faffac5755411a06ff0483ff2e026c1f629c6e6278418b1e9650"
                                   "14255b41812bff0283f1000022f702cdeab98141938edaa7df2f1041891dff09"
                                   "43800100ea303319f1bd814192493206f23410414c780d0a");

TEST(CsiFormat, Message1) {
    CCSIFormat parser;
    parser.ProcessSBinaryMsg1(dataOf(kMessage1));
    const CsiNavigation& fix = parser.Navigation();
    EXPECT_EQ(fix.gpsWeek, 1481);
    EXPECT_EQ(fix.gpsSeconds, 108194U);
    EXPECT_EQ(fix.latitude, 35.87290440315824);
    EXPECT_EQ(fix.longitude, 138.3898038272584);
    EXPECT_NEAR(fix.height, 995.8955688, 5e-8);
    EXPECT_NEAR(fix.velocityNorth, -0.0315898806, 1e-9);
    EXPECT_NEAR(fix.velocityEast, -0.0814114287, 1e-9);
    EXPECT_NEAR(fix.velocityUp, -0.0759531483, 1e-9);
    EXPECT_NEAR(fix.residualDeviation, 0.1861422360, 1e-9);
    EXPECT_EQ(fix.navigationMode, 4U) << "the extended age behind it is no part of it";
    EXPECT_EQ(parser.Solution().satellites, 8U);
}

TEST(CsiFormat, SecondsOutOfRangeAreClamped) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();

    struct {
        double sent;
        std::uint32_t stored;
    } const cases[] = {
        {-0.5, 0},           {-kInfinity, 0},         {std::numeric_limits<double>::quiet_NaN(), 0},
        {1e300, 0xFFFFFFFF}, {kInfinity, 0xFFFFFFFF}, {4294967295.5, 0xFFFFFFFF},
        {604799.999, 604799}};

    for (const auto& c : cases) {
        CCSIFormat parser;
        parser.ProcessSBinaryMsg1(spanOf(patched(kMessage1, 12, littleDouble(c.sent))));
        EXPECT_EQ(parser.Navigation().gpsSeconds, c.stored) << c.sent;
    }
}

TEST(CsiFormat, Message2ReplacesTheNumberOfSatellites) {
    CCSIFormat parser;
    parser.ProcessSBinaryMsg1(spanOf(kMessage1));
    parser.ProcessSBinaryMsg2(dataOf(kMessage2));
    EXPECT_EQ(parser.Solution().trackedMask, 0x20A25B10U);
    EXPECT_EQ(parser.Solution().usedMask, 0x20A24910U);
    EXPECT_EQ(parser.Solution().satellitesTracked, 10U);
    EXPECT_EQ(parser.Solution().satellites, 8U);
    EXPECT_EQ(parser.Solution().hdop, 0.9);
    EXPECT_EQ(parser.Solution().vdop, 1.5);
    parser.ProcessSBinaryMsg2(spanOf(patched(kMessage2, 12, little(0x80000001, 4))));
    EXPECT_EQ(parser.Solution().satellites, 2U);
}

struct Row {
    int prn, elevation, azimuth, level, channelValue;

    friend bool operator==(const Row&, const Row&) = default;
};

void PrintTo(const Row& r, std::ostream* out) {
    *out << r.prn << ": " << r.elevation << " " << r.azimuth << " " << r.level << " " << r.channelValue;
}

std::vector<Row> rowsOf(const CCSIFormat& parser) {
    std::vector<Row> rows;
    for (std::size_t i = 0; i < parser.Satellites().count; ++i) {
        const CsiSatellite& row = parser.Satellites().rows[i];
        rows.push_back({row.prn, row.elevation, row.azimuth, row.signalLevel, row.channelValue});
    }
    return rows;
}

TEST(CsiFormat, Message99BuildsTheTableAndMessage96FillsItsLevels) {
    CCSIFormat parser;
    parser.ProcessSBinaryMsg99(dataOf(kMessage99));
    parser.ProcessSBinaryMsg96(dataOf(kMessage96));
    EXPECT_THAT(rowsOf(parser), testing::ElementsAre(
                                    Row{12, 64, 120, 45, 8}, Row{14, 31, 310, 35, 10}, Row{5, 62, 162, 45, 4},
                                    Row{9, 49, 40, 46, 2}, Row{15, 17, 106, 22, 2}, Row{18, 59, 200, 44, 6},
                                    Row{30, 42, 184, 48, 4}, Row{22, 55, 288, 46, 14}, Row{26, 4, 108, 15, 4},
                                    Row{129, 48, 178, 35, 2}, Row{137, 47, 168, 31, 9}));
    EXPECT_EQ(parser.Satellites().valid, 11U);
    for (std::size_t i = 0; i < 11; ++i) {
        EXPECT_EQ(parser.Satellites().rows[i].phaseLocked, 1U);
        EXPECT_EQ(parser.Satellites().rows[i].used, 1U);
    }
    EXPECT_EQ(parser.Satellites().rows[11].prn, 0);
}

// A message 99 whose first channels have these PRNs and this status; the others are free.
std::string channels99(std::initializer_list<unsigned> prns, unsigned status = 0x5F) {
    std::string data(304, '\0');
    std::size_t at = 12;
    for (const unsigned prn : prns) {
        data[at + 1] = chr(prn);
        data[at + 2] = chr(status);
        at += 24;
    }
    return hemisphere(99, data);
}

// A message 96 whose first channels have these PRNs and this raw level.
std::string channels96(std::initializer_list<unsigned> prns, unsigned raw) {
    std::string data(300, '\0');
    std::size_t at = 12;
    for (const unsigned prn : prns) {
        data[at] = chr(prn);
        data[at + 1] = chr(raw);
        at += 24;
    }
    return hemisphere(96, data);
}

TEST(CsiFormat, OnlyKnownPrnsEnterTheTable) {
    CCSIFormat parser;
    parser.ProcessSBinaryMsg99(spanOf(channels99({0, 1, 37, 38, 119, 120, 140, 141, 255})));
    EXPECT_THAT(rowsOf(parser), testing::ElementsAre(Row{1, 0, 0, 0, 0}, Row{37, 0, 0, 0, 0},
                                                     Row{120, 0, 0, 0, 0}, Row{140, 0, 0, 0, 0}));
}

TEST(CsiFormat, TwelveChannelsFillTheTable) {
    CCSIFormat parser;
    parser.ProcessSBinaryMsg99(spanOf(channels99({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12})));
    EXPECT_EQ(parser.Satellites().count, 12U);
    EXPECT_EQ(parser.Satellites().rows.back().prn, 12);
}

struct UsedCase {
    const char* name;
    std::uint32_t mask;
    unsigned prn;
    unsigned status;
    unsigned used;
    unsigned phaseLocked;
};

void PrintTo(const UsedCase& c, std::ostream* out) { *out << c.name; }

class UsedFlags : public testing::TestWithParam<UsedCase> {};

TEST_P(UsedFlags, FollowTheMaskOrTheStatus) {
    CCSIFormat parser;
    parser.ProcessSBinaryMsg2(spanOf(patched(kMessage2, 12, little(GetParam().mask, 4))));
    parser.ProcessSBinaryMsg99(spanOf(channels99({GetParam().prn}, GetParam().status)));
    ASSERT_EQ(parser.Satellites().count, 1U);
    EXPECT_EQ(parser.Satellites().rows[0].used, GetParam().used);
    EXPECT_EQ(parser.Satellites().rows[0].phaseLocked, GetParam().phaseLocked);
}

INSTANTIATE_TEST_SUITE_P(CsiFormat, UsedFlags,
                         testing::Values(UsedCase{"in the mask", 1, 1, 0, 1, 0},
                                         UsedCase{"not in the mask, though locked", 1, 2, 0x5F, 0, 1},
                                         UsedCase{"the last bit", 0x80000000, 32, 0x5F, 1, 1},
                                         UsedCase{"no bit for 33", 0xFFFFFFFF, 33, 0x5F, 0, 1},
                                         UsedCase{"nor for SBAS", 0xFFFFFFFF, 130, 0x5F, 0, 1},
                                         UsedCase{"no mask, locked", 0, 130, 0x5F, 1, 1},
                                         UsedCase{"no mask, locked and more", 0, 5, 0x7F, 0, 1},
                                         UsedCase{"no mask, no phase lock", 0, 5, 0x1F, 0, 0}));

TEST(CsiFormat, SignalLevelsAreTruncatedNaturalLogarithms) {
    struct {
        unsigned raw;
        int level;
        unsigned valid;
    } const cases[] = {{0, 0, 0}, {1, -1, 0}, {2, 4, 1}, {100, 44, 1}, {255, 53, 1}};

    for (const auto& c : cases) {
        CCSIFormat parser;
        parser.ProcessSBinaryMsg99(spanOf(channels99({7})));
        parser.ProcessSBinaryMsg96(spanOf(channels96({7, 8}, c.raw)));
        EXPECT_EQ(parser.Satellites().rows[0].signalLevel, c.level) << c.raw;
        EXPECT_EQ(parser.Satellites().valid, c.valid) << c.raw;
        EXPECT_EQ(parser.Satellites().count, 1U) << "satellites without a row are not added";
    }
}

TEST(CsiFormat, ARowKeepsItsLevelWhileItsPrnStays) {
    CCSIFormat parser;
    parser.ProcessSBinaryMsg99(spanOf(channels99({7, 8, 9})));
    parser.ProcessSBinaryMsg96(spanOf(channels96({7, 8, 9}, 100)));
    parser.ProcessSBinaryMsg99(spanOf(channels99({7, 9})));
    EXPECT_EQ(parser.Satellites().rows[0].signalLevel, 44);
    EXPECT_EQ(parser.Satellites().rows[1].signalLevel, 0);
    EXPECT_EQ(parser.Satellites().rows[2].prn, 0);
    parser.UpdateValidSatNum();
    EXPECT_EQ(parser.Satellites().valid, 1U);
}

TEST(CsiFormat, ShortRecordsAndNullChangeNothing) {
    CCSIFormat parser;
    parser.ProcessSBinaryMsg99(spanOf(kMessage99));
    parser.ProcessSBinaryMsg1(spanOf(kMessage1).first(57));
    parser.ProcessSBinaryMsg2(spanOf(kMessage2).first(21));
    parser.ProcessSBinaryMsg96(spanOf(kMessage96).first(307));
    parser.ProcessSBinaryMsg99(spanOf(channels99({})).first(307));
    parser.ProcessSBinaryMsg1(static_cast<const unsigned char*>(nullptr));
    parser.ProcessSBinaryMsg2(static_cast<const unsigned char*>(nullptr));
    parser.ProcessSBinaryMsg96(static_cast<const unsigned char*>(nullptr));
    parser.ProcessSBinaryMsg99(static_cast<const unsigned char*>(nullptr));
    parser.ProcessCSISHOW(static_cast<const char*>(nullptr));
    EXPECT_EQ(parser.Navigation().gpsWeek, 0);
    EXPECT_EQ(parser.Solution().satellitesTracked, 0U);
    EXPECT_EQ(parser.Satellites().count, 11U);
    EXPECT_EQ(parser.Satellites().rows[0].signalLevel, 0);
}

TEST(CsiFormat, ShowReply) {
    CCSIFormat parser;
    parser.ProcessCSISHOW(
        "$>JSHOW,BAUD,9600\r\n$>JSHOW,BAUD,4800,OTHER\r\n$>JSHOW,ASC,GPGGA,1.0\r\n$>JSHOW,DIFF,WAAS\r\n"
        "$>JSHOW,ALT,SOMETIMES\r\n$>JSHOW,LIMIT,10.5\r\n$>JSHOW,MASK,5\r\n$>JSHOW,POS,51.0,-114.0\r\n"
        "$>JSHOW,AIR,LOW,OFF\r\n$>JSHOW,SMOOTH,SHORT\r\n$>JSHOW,FREQ,1575.4200,250\r\n$>JSHOW,AGE,1800\r\n"
        "$>JSHOW,THISPORT,PORTA\r\n");
    const CsiSettings& settings = parser.Settings();
    EXPECT_EQ(settings.baud, 9600);
    EXPECT_EQ(settings.differentialSource, 1);
    EXPECT_EQ(settings.altitudeUse, 1);
    EXPECT_EQ(settings.limit, 10.5F);
    EXPECT_EQ(settings.maskAngle, 5);
    EXPECT_EQ(settings.airMode, 3);
    EXPECT_EQ(settings.smoothing, 1);
    EXPECT_EQ(settings.frequency, 1575.42);
    EXPECT_EQ(settings.maximumAge, 1800);
    EXPECT_EQ(settings.thisPort, "PORTA");

    parser.InitCsiShow();
    EXPECT_EQ(parser.Settings().baud, 0);
    EXPECT_EQ(parser.Settings().thisPort, "");
}

struct ShowCase {
    const char* name;
    std::string line;
    int CsiSettings::*code;
    int expected;
};

void PrintTo(const ShowCase& c, std::ostream* out) { *out << c.name; }

class ShowLines : public testing::TestWithParam<ShowCase> {};

TEST_P(ShowLines, GiveCodes) {
    CCSIFormat parser;
    parser.ProcessCSISHOW(
        "$>JSHOW,SMOOTH,SHORT\n$>JSHOW,ALT,ALWAYS\n$>JSHOW,AIR,HIGH\n$>JSHOW,DIFF,BEACON\n");
    parser.ProcessCSISHOW(spanOf(GetParam().line));
    EXPECT_EQ(parser.Settings().*GetParam().code, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    CsiFormat, ShowLines,
    testing::Values(
        ShowCase{"none", "$>JSHOW,DIFF,NONE\r\n", &CsiSettings::differentialSource, 0},
        ShowCase{"this port", "$>JSHOW,DIFF,THIS PORT\r\n", &CsiSettings::differentialSource, 3},
        ShowCase{"a source is the whole text", "$>JSHOW,DIFF,WAAS,1\r\n", &CsiSettings::differentialSource,
                 4},
        ShowCase{"another source", "$>JSHOW,DIFF,OMNI\r\n", &CsiSettings::differentialSource, 4},
        ShowCase{"never", "$>JSHOW,ALT,NEVER\r\n", &CsiSettings::altitudeUse, 0},
        ShowCase{"sometimes, and a height", "$>JSHOW,ALT,SOMETIMES,404.2\r\n", &CsiSettings::altitudeUse, 1},
        ShowCase{"no known use", "$>JSHOW,ALT,\r\n", &CsiSettings::altitudeUse, 4},
        ShowCase{"auto", "$>JSHOW,AIR,AUTO,OFF\r\n", &CsiSettings::airMode, 0},
        ShowCase{"normal", "$>JSHOW,AIR,NORM\r\n", &CsiSettings::airMode, 1},
        ShowCase{"no known mode", "$>JSHOW,AIR,WATER\r\n", &CsiSettings::airMode, 5},
        ShowCase{"long", "$>JSHOW,SMOOTH,LONG\r\n", &CsiSettings::smoothing, 0},
        ShowCase{"no known smoothing stays", "$>JSHOW,SMOOTH,900\r\n", &CsiSettings::smoothing, 1},
        ShowCase{"no value", "$>JSHOW,SMOOTH\r\n", &CsiSettings::smoothing, 1},
        ShowCase{"no line end", "$>JSHOW,SMOOTH,LONG", &CsiSettings::smoothing, 0},
        ShowCase{"no head", "SMOOTH,LONG\r\n", &CsiSettings::smoothing, 0},
        ShowCase{"another keyword", "$>JSHOW,SMOOTHER,LONG\r\n", &CsiSettings::smoothing, 1},
        ShowCase{"behind a zero byte", std::string("$>JSHOW,MASK,5\n\0SMOOTH,LONG\n", 28),
                 &CsiSettings::smoothing, 1}));

TEST(CsiFormat, NumbersOutOfRangeAreClamped) {
    CCSIFormat parser;
    parser.Process_JShow_baud("115200");
    parser.Process_JShow_Mask("-99999");
    parser.Process_JShow_Age("99999");
    parser.Process_JShow_Limit("1e300");
    EXPECT_EQ(parser.Settings().baud, 115200);
    EXPECT_EQ(parser.Settings().maskAngle, -32768);
    EXPECT_EQ(parser.Settings().maximumAge, 32767);
    EXPECT_EQ(parser.Settings().limit, std::numeric_limits<float>::max());
}

}  // namespace
}  // namespace vkcomm::test
