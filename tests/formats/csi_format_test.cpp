#include "vkcomm/formats/csi_format.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "tests/formats/parser_bytes.h"

namespace vkcomm::test {
namespace {

using testing::ElementsAre;

// Recorded records of one second, and a built message 2.
// clang-format off
const std::string kMessage1 = hex(
    "2442494e010034000708c90519050000206afa40ad0cdc54bbef4140c63de045794c614051f97844646401bd09bba6bd538d9b"
    "bd129c3e3e0400070081130d0a");
const std::string kMessage2 = hex("2442494e02001000105ba2201049a2200e0009000f0000006e020d0a");
const std::string kMessage99 = hex(
    "2442494e630030010b0ec90519050000206afa40000c5f0202000200403c00005c0791fefeff0100b9029804010e5f02020002"
    "001f9b0000a80295fdffff0000fa09dd0b02055f02020002003e51000007072dfe010000001307f20803095f02020002003114"
    "00009907a2fe030002009cf782f9040f5f020200020011350100be007efbfeff0100a5f588f705125f02020002003b64000076"
    "0641fe000001008df971fb061e5f02020002002a5c0100130acdfc030001003a0c1c0e07002000000000000000000000000000"
    "000000000000000008165f020200020037900000ba07c5fd010000000904ea05091a5f0202000200043600005e000000000000"
    "0087f469f60a815f020200000030590600b802000000000000fdffe0010b895f02020000002f540600d301000000000000fbff"
    "df01e4010000f43e0d0a");
const std::string kMessage96 = hex(
    "2442494e60002c010000c90519050000206afa400c76ff0883147cff3b120a3ae2cf73415ed5e70b406756410e2bff0a03771a"
    "fed06d02960bd5754174abeef4c7084e410570ff0453f6a7fe92f53727a76b73419682f7c93dd35541097aff0233619901fc3f"
    "b52611e573412f495fd841e555410f0cff0253f1f80167c9c7d1c7dd76410568f56b447828c11267ff06f3aa3a01a176ab9a00"
    "c97341a579d6106d8157411ea1ff0493d4acfd9634757344b67441c94ba371e904554100000000000000000000000000000000"
    "0000000000000000167cff0e23c83bff94a45d610c1f74417fe2faffac5755411a06ff0483ff2e026c1f629c6e6278418b1e96"
    "5014255b41812bff0283f1000022f702cdeab98141938edaa7df2f1041891dff0943800100ea303319f1bd814192493206f234"
    "10414c780d0a");

// clang-format on

TEST(CsiFormat, ReadsMessages1And2) {
    CCSIFormat parser;
    parser.ProcessSBinaryMsg1(dataOf(kMessage1));
    const CsiNavigation& n = parser.Navigation();
    EXPECT_EQ(row(n.gpsWeek, n.gpsSeconds, n.latitude, n.longitude),
              "1481 108194 35.87290440315824 138.3898038272584");
    EXPECT_NEAR(n.height, 995.8955688, 5e-8);
    EXPECT_NEAR(n.velocityNorth, -0.0315898806, 1e-9);
    EXPECT_NEAR(n.velocityEast, -0.0814114287, 1e-9);
    EXPECT_NEAR(n.velocityUp, -0.0759531483, 1e-9);
    EXPECT_NEAR(n.residualDeviation, 0.1861422360, 1e-9);
    EXPECT_EQ(n.navigationMode, 4U) << "the extended age behind it is no part of it";
    const CsiSolution& s = parser.Solution();
    EXPECT_EQ(s.satellites, 8U);
    parser.ProcessSBinaryMsg2(dataOf(with<std::uint32_t>(kMessage2, 12, 0x80000001)));
    EXPECT_EQ(s.satellites, 2U);
    parser.ProcessSBinaryMsg2(spanOf(kMessage2));
    EXPECT_EQ(row(s.trackedMask, s.usedMask, s.satellitesTracked, s.satellites, s.hdop, s.vdop),
              row(0x20A25B10, 0x20A24910, 10, 8, 0.9, 1.5));
}

TEST(CsiFormat, SecondsOutOfRangeAreClamped) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const std::pair<double, std::uint32_t> cases[] = {
        {-0.5, 0},           {-kInfinity, 0},         {std::numeric_limits<double>::quiet_NaN(), 0},
        {1e300, 0xFFFFFFFF}, {kInfinity, 0xFFFFFFFF}, {604799.999, 604799}};
    for (const auto& [sent, stored] : cases) {
        CCSIFormat parser;
        parser.ProcessSBinaryMsg1(spanOf(with(kMessage1, 12, sent)));
        EXPECT_EQ(parser.Navigation().gpsSeconds, stored) << sent;
    }
}

// PRN, elevation, azimuth, level, value, phase lock and use of each row.
std::vector<std::string> rowsOf(const CCSIFormat& parser) {
    std::vector<std::string> rows;
    for (std::size_t i = 0; i < parser.Satellites().count; ++i) {
        const CsiSatellite& s = parser.Satellites().rows[i];
        rows.push_back(
            row(s.prn, s.elevation, s.azimuth, s.signalLevel, s.channelValue, s.phaseLocked, s.used));
    }
    return rows;
}

// A message whose first channels begin with these bytes; the others are free.
std::string channels(unsigned id, const std::vector<std::string>& heads) {
    std::string data(300, '\0');
    for (std::size_t i = 0; i < heads.size(); ++i)
        data.replace(12 + 24 * i, heads[i].size(), heads[i]);
    return hemisphere(id, data);
}

std::string channels99(const std::vector<unsigned>& prns, unsigned status = 0x5F) {
    std::vector<std::string> heads;
    for (const unsigned prn : prns)
        heads.push_back({'\0', chr(prn), chr(status)});
    return channels(99, heads);
}

std::string channels96(const std::vector<unsigned>& prns, unsigned raw) {
    std::vector<std::string> heads;
    for (const unsigned prn : prns)
        heads.push_back({chr(prn), chr(raw)});
    return channels(96, heads);
}

TEST(CsiFormat, Message99BuildsTheTableAndMessage96FillsItsLevels) {
    CCSIFormat parser;
    parser.ProcessSBinaryMsg99(dataOf(kMessage99));
    parser.ProcessSBinaryMsg96(dataOf(kMessage96));
    EXPECT_THAT(rowsOf(parser), ElementsAre("12 64 120 45 8 1 1", "14 31 310 35 10 1 1", "5 62 162 45 4 1 1",
                                            "9 49 40 46 2 1 1", "15 17 106 22 2 1 1", "18 59 200 44 6 1 1",
                                            "30 42 184 48 4 1 1", "22 55 288 46 14 1 1", "26 4 108 15 4 1 1",
                                            "129 48 178 35 2 1 1", "137 47 168 31 9 1 1"));
    EXPECT_EQ(parser.Satellites().valid, 11U);
    EXPECT_EQ(parser.Satellites().rows[11].prn, 0);

    parser.ProcessSBinaryMsg99(spanOf(channels99({0, 1, 37, 38, 119, 120, 140, 141, 255})));
    EXPECT_THAT(rowsOf(parser),
                ElementsAre("1 0 0 0 0 1 1", "37 0 0 0 0 1 1", "120 0 0 0 0 1 1", "140 0 0 0 0 1 1"));
    parser.ProcessSBinaryMsg99(spanOf(channels99({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12})));
    EXPECT_EQ(row(parser.Satellites().count, parser.Satellites().rows.back().prn), "12 12");
    parser.ProcessSBinaryMsg99(spanOf(channels(99, {hex("00055f0000000000fbb3")})));
    EXPECT_THAT(rowsOf(parser), ElementsAre("5 -5 358 0 0 1 1")) << "elevations are signed";
}

TEST(CsiFormat, UseFollowsTheMaskOrTheStatus) {
    struct {
        const char* name;
        std::uint32_t mask;
        unsigned prn, status, used, phaseLocked;
    } const cases[] = {
        {"in the mask", 1, 1, 0, 1, 0},
        {"not in the mask, though locked", 1, 2, 0x5F, 0, 1},
        {"the last bit", 0x80000000, 32, 0x5F, 1, 1},
        {"no bit for 33", 0xFFFFFFFF, 33, 0x5F, 0, 1},
        {"nor for SBAS", 0xFFFFFFFF, 130, 0x5F, 0, 1},
        {"no mask, locked", 0, 130, 0x5F, 1, 1},
        {"no mask, locked and more", 0, 5, 0x7F, 0, 1},
        {"no mask, no phase lock", 0, 5, 0x1F, 0, 0},
    };

    for (const auto& c : cases) {
        CCSIFormat parser;
        parser.ProcessSBinaryMsg2(spanOf(with(kMessage2, 12, c.mask)));
        parser.ProcessSBinaryMsg99(spanOf(channels99({c.prn}, c.status)));
        EXPECT_THAT(rowsOf(parser), ElementsAre(row(c.prn, 0, 0, 0, 0, c.phaseLocked, c.used))) << c.name;
    }
}

TEST(CsiFormat, LevelsAreTruncatedNaturalLogarithmsKeptWhileThePrnStays) {
    struct {
        unsigned raw;
        int level;
        unsigned valid;
    } const cases[] = {{0, 0, 0}, {1, -1, 0}, {2, 4, 1}, {100, 44, 1}, {255, 53, 1}};

    CCSIFormat parser;
    const CsiSatelliteTable& table = parser.Satellites();
    parser.ProcessSBinaryMsg99(spanOf(channels99({7})));
    for (const auto& c : cases) {
        parser.ProcessSBinaryMsg96(spanOf(channels96({7, 8}, c.raw)));
        EXPECT_EQ(row(table.rows[0].signalLevel, table.valid), row(c.level, c.valid)) << c.raw;
        EXPECT_EQ(table.count, 1U) << "satellites without a row are not added";
    }
    parser.ProcessSBinaryMsg99(spanOf(channels99({7, 8, 9})));
    parser.ProcessSBinaryMsg96(spanOf(channels96({7, 8, 9}, 100)));
    parser.ProcessSBinaryMsg99(spanOf(channels99({7, 9})));
    EXPECT_EQ(row(table.rows[0].signalLevel, table.rows[1].signalLevel, table.rows[2].prn), "44 0 0");
    parser.UpdateValidSatNum();
    EXPECT_EQ(table.valid, 1U);
}

TEST(CsiFormat, ShortRecordsAndNullChangeNothing) {
    CCSIFormat parser;
    parser.ProcessSBinaryMsg99(spanOf(kMessage99));
    const std::pair<void (CCSIFormat::*)(ByteSpan), ByteSpan> tooShort[] = {
        {&CCSIFormat::ProcessSBinaryMsg1, spanOf(kMessage1).first(57)},
        {&CCSIFormat::ProcessSBinaryMsg2, spanOf(kMessage2).first(21)},
        {&CCSIFormat::ProcessSBinaryMsg96, spanOf(kMessage96).first(307)},
        {&CCSIFormat::ProcessSBinaryMsg99, spanOf(kMessage96).first(307)},
    };
    for (const auto& [process, record] : tooShort)
        (parser.*process)(record);
    constexpr void (CCSIFormat::*kPointerForms[])(const unsigned char*) = {
        &CCSIFormat::ProcessSBinaryMsg1, &CCSIFormat::ProcessSBinaryMsg2, &CCSIFormat::ProcessSBinaryMsg96,
        &CCSIFormat::ProcessSBinaryMsg99};
    for (const auto process : kPointerForms)
        (parser.*process)(nullptr);
    parser.ProcessCSISHOW(static_cast<const char*>(nullptr));
    EXPECT_EQ(
        row(parser.Navigation().gpsWeek, parser.Solution().satellitesTracked, parser.Satellites().count),
        "0 0 11");
    EXPECT_EQ(parser.Satellites().rows[0].signalLevel, 0);
}

// Everything of a JSHOW reply.
std::string shown(const CsiSettings& s) {
    return row(s.baud, s.differentialSource, s.altitudeUse, s.limit, s.maskAngle, s.airMode, s.smoothing,
               s.frequency, s.maximumAge) +
           s.thisPort;
}

TEST(CsiFormat, ShowReply) {
    CCSIFormat parser;
    parser.ProcessCSISHOW(
        "$>JSHOW,BAUD,9600\r\n$>JSHOW,BAUD,4800,OTHER\r\n$>JSHOW,ASC,GPGGA,1.0\r\n$>JSHOW,DIFF,WAAS\r\n"
        "$>JSHOW,ALT,SOMETIMES\r\n$>JSHOW,LIMIT,10.5\r\n$>JSHOW,MASK,5\r\n$>JSHOW,POS,51.0,-114.0\r\n"
        "$>JSHOW,AIR,LOW,OFF\r\n$>JSHOW,SMOOTH,SHORT\r\n$>JSHOW,FREQ,1575.4200,250\r\n$>JSHOW,AGE,1800\r\n"
        "$>JSHOW,THISPORT,PORTA\r\n");
    EXPECT_EQ(shown(parser.Settings()), "9600 1 1 10.5 5 3 1 1575.42 1800PORTA");
    parser.InitCsiShow();
    EXPECT_EQ(shown(parser.Settings()), "0 0 0 0 0 0 0 0 0");
    parser.ProcessCSISHOW(spanOf("MASK,-99999\nAGE,99999\nLIMIT,1e300\nBAUD,115200"));
    EXPECT_EQ(shown(parser.Settings()), "115200 0 0 3.4028235e+38 -32768 0 0 0 32767") << "clamped";
}

TEST(CsiFormat, ShowLinesGiveCodes) {
    // Behind a reply that sets source, altitude, air mode and smoothing to "2 2 2 1".
    const std::pair<std::string, const char*> cases[] = {
        {"$>JSHOW,DIFF,NONE\r\n", "0 2 2 1"},
        {"$>JSHOW,DIFF,THIS PORT\r\n", "3 2 2 1"},
        {"$>JSHOW,DIFF,WAAS,1\r\n", "4 2 2 1"},
        {"$>JSHOW,ALT,NEVER\r\n", "2 0 2 1"},
        {"$>JSHOW,ALT,SOMETIMES,404.2\r\n", "2 1 2 1"},
        {"$>JSHOW,ALT,\r\n", "2 4 2 1"},
        {"$>JSHOW,AIR,AUTO,OFF\r\n", "2 2 0 1"},
        {"$>JSHOW,AIR,NORM\r\n", "2 2 1 1"},
        {"$>JSHOW,AIR,WATER\r\n", "2 2 5 1"},
        {"$>JSHOW,SMOOTH,900\r\n", "2 2 2 1"},
        {"$>JSHOW,SMOOTH\r\n", "2 2 2 1"},
        {"$>JSHOW,SMOOTH,LONG", "2 2 2 0"},
        {"SMOOTH,LONG\r\n", "2 2 2 0"},
        {"$>JSHOW,SMOOTHER,LONG\r\n", "2 2 2 1"},
        {std::string("$>JSHOW,MASK,5\n\0SMOOTH,LONG\n", 28), "2 2 2 1"},
    };
    for (const auto& [line, codes] : cases) {
        CCSIFormat parser;
        parser.ProcessCSISHOW(
            "$>JSHOW,SMOOTH,SHORT\n$>JSHOW,ALT,ALWAYS\n$>JSHOW,AIR,HIGH\n$>JSHOW,DIFF,BEACON\n");
        parser.ProcessCSISHOW(spanOf(line));
        const CsiSettings& s = parser.Settings();
        EXPECT_EQ(row(s.differentialSource, s.altitudeUse, s.airMode, s.smoothing), codes) << line;
    }
}

}  // namespace
}  // namespace vkcomm::test
