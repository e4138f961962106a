#include "vkcomm/formats/csi_format.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "tests/formats/parser_bytes.h"
#include "tests/host/literal_frames.h"

namespace vkcomm::test {
namespace {

using testing::ElementsAre;

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

std::string shown(const CCSIFormat& parser) {
    const CsiNavigation& n = parser.Navigation();
    const CsiSolution& s = parser.Solution();
    std::string text = row(n.gpsWeek, n.gpsSeconds, n.latitude, n.longitude, n.height, n.velocityNorth,
                           n.velocityEast, n.velocityUp, n.residualDeviation, n.navigationMode, s.satellites,
                           s.satellitesTracked, s.trackedMask, s.usedMask, s.hdop, s.vdop);
    for (const std::string& satellite : rowsOf(parser))
        text += "; " + satellite;
    return text;
}

// A message whose first channels hold these PRNs and, behind them, this byte; the others are free.
std::string channels(unsigned id, const std::vector<unsigned>& prns, unsigned byte) {
    const std::size_t first = id == 99 ? 13 : 12;
    std::string data(300, '\0');
    for (std::size_t i = 0; i < prns.size(); ++i)
        data.replace(first + 24 * i, 2, {chr(prns[i]), chr(byte)});
    return hemisphere(id, data);
}

TEST(CsiFormat, ReadsMessages1And2) {
    CCSIFormat parser;
    parser.ProcessSBinaryMsg1(dataOf(kBinNavigation));
    EXPECT_EQ(shown(parser), "1481 108194 35.87290440315824 138.3898038272584 995.8955688476562 -0.03158988 "
                             "-0.08141143 -0.07595315 0.18614224 4 8 0 0 0 0 0");
    parser.ProcessSBinaryMsg2(dataOf(kBinSolution));
    const CsiSolution& s = parser.Solution();
    EXPECT_EQ(row(s.trackedMask, s.usedMask, s.satellitesTracked, s.satellites, s.hdop, s.vdop),
              row(0x20A25B10, 0x20A24910, 10, 8, 0.9, 1.5));
    const std::pair<double, std::uint32_t> seconds[] = {
        {-0.5, 0}, {double{NAN}, 0}, {604799.999, 604799}, {1e300, 0xFFFFFFFF}};
    for (const auto& [sent, stored] : seconds) {
        parser.ProcessSBinaryMsg1(spanOf(with(kBinNavigation, 12, sent)));
        EXPECT_EQ(parser.Navigation().gpsSeconds, stored) << sent;
    }
}

TEST(CsiFormat, Message99BuildsTheTableAndMessage96FillsItsLevels) {
    CCSIFormat parser;
    parser.ProcessSBinaryMsg99(dataOf(kBinChannels));
    parser.ProcessSBinaryMsg96(dataOf(kBinRaw));
    EXPECT_THAT(rowsOf(parser), ElementsAre("12 64 120 45 8 1 1", "14 31 310 35 10 1 1", "5 62 162 45 4 1 1",
                                            "9 49 40 46 2 1 1", "15 17 106 22 2 1 1", "18 59 200 44 6 1 1",
                                            "30 42 184 48 4 1 1", "22 55 288 46 14 1 1", "26 4 108 15 4 1 1",
                                            "129 48 178 35 2 1 1", "137 47 168 31 9 1 1"));
    EXPECT_EQ(parser.Satellites().valid, 11U);
    EXPECT_EQ(parser.Satellites().rows[11].prn, 0);

    parser.ProcessSBinaryMsg99(spanOf(channels(99, {0, 1, 37, 38, 119, 120, 140, 141, 255}, 0x5F)));
    EXPECT_THAT(rowsOf(parser),
                ElementsAre("1 0 0 0 0 1 1", "37 0 0 0 0 1 1", "120 0 0 0 0 1 1", "140 0 0 0 0 1 1"));
    parser.ProcessSBinaryMsg99(spanOf(channels(99, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, 0)));
    EXPECT_EQ(row(parser.Satellites().count, parser.Satellites().rows.back().prn), "12 12");
    parser.ProcessSBinaryMsg99(spanOf(with<std::uint16_t>(channels(99, {5}, 0x5F), 28, 0xB3FB)));
    EXPECT_THAT(rowsOf(parser), ElementsAre("5 -5 358 0 0 1 1")) << "elevations are signed";
}

TEST(CsiFormat, UseFollowsTheMaskOrTheStatus) {
    const struct {
        const char* name;
        std::uint32_t mask;
        unsigned prn, status, used, phaseLocked;
    } cases[] = {
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
        parser.ProcessSBinaryMsg2(spanOf(with(kBinSolution, 12, c.mask)));
        parser.ProcessSBinaryMsg99(spanOf(channels(99, {c.prn}, c.status)));
        EXPECT_THAT(rowsOf(parser), ElementsAre(row(c.prn, 0, 0, 0, 0, c.phaseLocked, c.used))) << c.name;
    }
}

TEST(CsiFormat, LevelsAreTruncatedNaturalLogarithmsKeptWhileThePrnStays) {
    const struct {
        unsigned raw;
        int level;
        unsigned valid;
    } cases[] = {{0, 0, 0}, {1, -1, 0}, {2, 4, 1}, {100, 44, 1}, {255, 53, 1}};

    CCSIFormat parser;
    const CsiSatelliteTable& table = parser.Satellites();
    parser.ProcessSBinaryMsg99(spanOf(channels(99, {7}, 0x5F)));
    for (const auto& c : cases) {
        parser.ProcessSBinaryMsg96(spanOf(channels(96, {7, 8}, c.raw)));
        EXPECT_EQ(row(table.rows[0].signalLevel, table.valid), row(c.level, c.valid)) << c.raw;
        EXPECT_EQ(table.count, 1U) << "satellites without a row are not added";
    }
    parser.ProcessSBinaryMsg99(spanOf(channels(99, {7, 8, 9}, 0x5F)));
    parser.ProcessSBinaryMsg96(spanOf(channels(96, {7, 8, 9}, 100)));
    parser.ProcessSBinaryMsg99(spanOf(channels(99, {7, 9}, 0x5F)));
    EXPECT_EQ(row(table.rows[0].signalLevel, table.rows[1].signalLevel, table.rows[2].prn), "44 0 0");
    parser.UpdateValidSatNum();
    EXPECT_EQ(table.valid, 1U);
}

TEST(CsiFormat, RecordsThatAreTooShortChangeNothing) {
    expectShortest(&CCSIFormat::ProcessSBinaryMsg1, 62, shown);
    expectShortest(&CCSIFormat::ProcessSBinaryMsg2, 26, shown);
    expectShortest(&CCSIFormat::ProcessSBinaryMsg99, 312, shown);
    CCSIFormat parser;
    parser.ProcessSBinaryMsg99(spanOf(kBinChannels));
    parser.ProcessSBinaryMsg96(spanOf(kBinRaw).first(311));
    EXPECT_EQ(parser.Satellites().rows[0].signalLevel, 0);
}

// Everything of JSHOW replies that come behind one another.
std::string settings(const std::vector<std::string>& replies) {
    CCSIFormat parser;
    for (const std::string& reply : replies)
        parser.ProcessCSISHOW(spanOf(reply));
    const CsiSettings& s = parser.Settings();
    return row(s.baud, s.differentialSource, s.altitudeUse, s.limit, s.maskAngle, s.airMode, s.smoothing,
               s.frequency, s.maximumAge) +
           s.thisPort;
}

TEST(CsiFormat, ShowRepliesSetWhatTheyName) {
    const std::string whole =
        "$>JSHOW,BAUD,9600\r\n$>JSHOW,BAUD,4800,OTHER\r\n$>JSHOW,ASC,GPGGA,1.0\r\n$>JSHOW,DIFF,BEACON\r\n"
        "$>JSHOW,ALT,ALWAYS\r\n$>JSHOW,LIMIT,10.5\r\n$>JSHOW,MASK,5\r\n$>JSHOW,POS,51.0,-114.0\r\n"
        "$>JSHOW,AIR,HIGH,OFF\r\n$>JSHOW,SMOOTH,SHORT\r\n$>JSHOW,FREQ,1575.4200,250\r\n$>JSHOW,AGE,1800\r\n"
        "$>JSHOW,THISPORT,PORTA\r\n";
    const std::pair<std::string, const char*> cases[] = {
        {"", "9600 2 2 10.5 5 2 1 1575.42 1800PORTA"},
        {"$>JSHOW,DIFF,NONE\r\n", "9600 0 2 10.5 5 2 1 1575.42 1800PORTA"},
        {"$>JSHOW,DIFF,WAAS\r\n", "9600 1 2 10.5 5 2 1 1575.42 1800PORTA"},
        {"$>JSHOW,DIFF,THIS PORT\r\n", "9600 3 2 10.5 5 2 1 1575.42 1800PORTA"},
        {"$>JSHOW,DIFF,WAAS,1\r\n", "9600 4 2 10.5 5 2 1 1575.42 1800PORTA"},
        {"$>JSHOW,ALT,NEVER\r\n", "9600 2 0 10.5 5 2 1 1575.42 1800PORTA"},
        {"$>JSHOW,ALT,SOMETIMES,404.2\r\n", "9600 2 1 10.5 5 2 1 1575.42 1800PORTA"},
        {"$>JSHOW,ALT,\r\n", "9600 2 4 10.5 5 2 1 1575.42 1800PORTA"},
        {"$>JSHOW,AIR,AUTO,OFF\r\n", "9600 2 2 10.5 5 0 1 1575.42 1800PORTA"},
        {"$>JSHOW,AIR,NORM\r\n", "9600 2 2 10.5 5 1 1 1575.42 1800PORTA"},
        {"$>JSHOW,AIR,LOW\r\n", "9600 2 2 10.5 5 3 1 1575.42 1800PORTA"},
        {"$>JSHOW,AIR,WATER\r\n", "9600 2 2 10.5 5 5 1 1575.42 1800PORTA"},
        {"$>JSHOW,SMOOTH,900\r\n$>JSHOW,SMOOTHER,LONG", "9600 2 2 10.5 5 2 1 1575.42 1800PORTA"},
        {"$>JSHOW,SMOOTH,LONG", "9600 2 2 10.5 5 2 0 1575.42 1800PORTA"},
        {std::string("BAUD,115200\r\n\0SMOOTH,LONG", 24), "115200 2 2 10.5 5 2 1 1575.42 1800PORTA"},
        {"MASK,-99999\nAGE,99999\nLIMIT,1e300\nFREQ,-1e999",
         "9600 2 2 3.4028235e+38 -32768 2 1 -1.7976931348623157e+308 32767PORTA"},
    };
    for (const auto& [line, expected] : cases)
        EXPECT_EQ(settings({whole, line}), expected) << line;

    CCSIFormat parser;
    parser.ProcessCSISHOW(whole.c_str());
    EXPECT_EQ(parser.Settings().thisPort, "PORTA");
    parser.InitCsiShow();
    EXPECT_EQ(row(parser.Settings().baud, parser.Settings().frequency) + parser.Settings().thisPort, "0 0");
}

}  // namespace
}  // namespace vkcomm::test
