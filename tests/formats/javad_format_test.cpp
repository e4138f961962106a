#include "vkcomm/formats/javad_format.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "tests/formats/parser_bytes.h"
#include "tests/host/literal_frames.h"

namespace vkcomm::test {
namespace {

using testing::HasSubstr;

// A built body of PO, and a recorded one of DP in its newer, longer form.
const std::string kPo = hex("00000020c46440c100000060e4e2504100000000b8db4e410000003f0443");
const std::string kNewerDp = hex("73dd1b3f6725633fc471053f016b9ce43ec2");

std::string body(const std::string& message) { return message.substr(5); }

std::string shown(const CJavadFormat& parser) {
    const JavadPosition& p = parser.Position();
    const JavadDops& d = parser.Dops();
    const JavadRms& r = parser.Rms();
    const JavadDate& t = parser.Date();
    const JavadStatistics& s = parser.Statistics();
    return row(p.position.x, p.position.y, p.position.z, p.sigma, p.solutionType, p.checksum) + "; " +
           row(d.hdop, d.vdop, d.tdop, d.solutionType, d.checksum) + "; " +
           row(r.horizontal, r.vertical, r.horizontalVelocity, r.verticalVelocity, r.solutionType,
               r.checksum) +
           "; " + row(t.year, t.month, t.day, t.base, t.checksum) + "; " +
           row(parser.Time().milliseconds, parser.Time().week, parser.Time().checksum) + "; " +
           row(s.solutionType, s.gpsLocked, s.glonassLocked, s.gpsAvailable, s.glonassAvailable, s.gpsUsed,
               s.glonassUsed, s.fixProgress, s.checksum);
}

TEST(JavadFormat, ReadsEveryArea) {
    CJavadFormat parser;
    parser.vProcessPV(spanOf(body(kJavadPosition)));
    parser.vProcessDP(spanOf(body(kJavadDops)));
    parser.vProcessSG(dataOf(body(kJavadRms)));
    parser.vProcessRD(spanOf(body(kJavadDate)));
    parser.vProcessGT(spanOf(body(kJavadGpsTime)));
    parser.vProcessPS(dataOf(body(kJavadStatistics)));
    EXPECT_EQ(shown(parser),
              "-3961904.1758905863 3348969.9682606705 3698226.855480116 1.4800911 1 136; "
              "0.6299512 1.0061415 0.5339273 1 26; 0.44897962 0.7632848 0.006863958 0.010303398 1 108; "
              "2011 1 15 0 179; 531317500 955 180; 4 12 8 10 7 9 6 100 226");
    parser.vProcessPO(spanOf(kPo));
    EXPECT_THAT(shown(parser), testing::StartsWith("-2148744.25 4426641.5 4044656 0.5 4 67; "));
    parser.vProcessDP(spanOf(kNewerDp));
    EXPECT_THAT(shown(parser), HasSubstr("; 0.6088478 0.88728946 0.5212672 1 194; "));
    parser.vProcessSG(spanOf(body(kJavadRms) + "\xFE"));
    parser.vProcessPS(spanOf(body(kJavadStatistics) + "12\xFF"));
    EXPECT_EQ(row(parser.Rms().checksum, parser.Statistics().checksum), "254 255") << "the last byte";
}

TEST(JavadFormat, BodiesThatAreTooShortChangeNothing) {
    expectShortest(&CJavadFormat::vProcessPO, 30, shown);
    expectShortest(&CJavadFormat::vProcessPV, 46, shown);
    expectShortest(&CJavadFormat::vProcessDP, 14, shown);
    expectShortest(&CJavadFormat::vProcessGT, 7, shown);
    expectShortest(&CJavadFormat::vProcessRD, 6, shown);
    expectShortest(&CJavadFormat::vProcessSG, 18, shown);
    expectShortest(&CJavadFormat::vProcessPS, 9, shown);
}

TEST(JavadFormat, GgaOfTheStoredState) {
    CJavadFormat parser;
    const auto sentence = [&] { return gpgga(parser.strGetGPGGA()); };
    parser.vProcessPO(spanOf(kPo));
    parser.vProcessGT(spanOf(body(kJavadGpsTime)));
    parser.vProcessDP(spanOf(kNewerDp));
    parser.vProcessPS(spanOf(body(kJavadStatistics)));
    EXPECT_EQ(sentence(),
              "$GPGGA,033517.00,3936.5160152,N,11553.5491517,E,4,15,0.6,87.715,M,1.00,M,0,*67\r\n");
    for (std::uint8_t type = 0; type < 7; ++type) {
        parser.vProcessPO(spanOf(with(kPo, 28, type)));
        EXPECT_THAT(sentence(), HasSubstr(std::string(",E,") + "1155411"[type] + ",15,")) << int{type};
    }
    parser.vProcessPO(spanOf(with(kPo, 0, double{NAN})));
    EXPECT_THAT(sentence(), testing::StartsWith("$GPGGA,033517.00,,,,,0,15,0.6,,M,,M,0,*"));
}

TEST(JavadFormat, RepliesLoseTheirHead) {
    const std::pair<const char*, const wchar_t*> cases[] = {
        {"RE00Dhello, world\r\n", L"hello, world"},
        {" \t RE005  a b \r\n", L"  a b"},
        {"RE000\r\n", L"RE000"},
        {"RE001\xE9", L"\u00E9"},
        {"", L""},
        {nullptr, L""},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(CJavadFormat().strProcessRECmd(text), expected);
}

std::string shown(const JAVAD_GPS_STATUS& s) {
    return row(s.value1, s.value2, s.value3, s.value4, s.value5, s.value6, s.value7);
}

TEST(JavadFormat, SatelliteStatus) {
    std::vector<JAVAD_GPS_STATUS> gps;
    CJavadFormat().vProcressGS(spanOf("$GS,x,2,G05,45,270,E120,7,480,52#,G12,10,359,E90,300,1x,20*47"), gps);
    ASSERT_EQ(gps.size(), 2U);
    EXPECT_EQ(shown(gps[0]), "5 45 270 120 7 48 52");
    EXPECT_EQ(shown(gps[1]), "12 10 359 90 44 1 2") << "the low byte of 300";
    int count = 0;
    JAVAD_GLONASS_STATUS* glonass = nullptr;
    CJavadFormat().vProcressNS("$NS,x,1,R07,-4,33,300,E8,9,100,110*00", count, glonass);
    const std::unique_ptr<JAVAD_GLONASS_STATUS[]> owner(glonass);
    ASSERT_EQ(count, 1);
    const JAVAD_GLONASS_STATUS& s = glonass[0];
    EXPECT_EQ(row(s.value1, s.value2, s.value3, s.unused, s.value4, s.value5, s.value6, s.value7, s.value8),
              "7 252 33 0 300 8 9 10 11");
}

// Texts that come behind one another. The number of satellites, as far as the text holds them, and whether
// the array stays.
TEST(JavadFormat, SatelliteCountsAreBoundedByTheTextAndKeepTheirArray) {
    const std::string one = ",G05,1,2,E3,4,5#,6#";

    const struct {
        const char* name;
        std::string text;
        int count;
        bool sameArray;
    } cases[] = {
        {"nothing yet", "$GS,x,0", 0, true},
        {"one", "$GS,x,1" + one, 1, false},
        {"one again", "$GS,x,1,G06,1,2,E3,4,5#,6#", 1, true},
        {"fewer than counted", "$GS,x,3" + one + one, 2, false},
        {"the last one not whole", "$GS,x,2" + one + ",G05,1,2,E3,4,5#", 1, false},
        {"more than counted", "$GS,x,1" + one + one, 1, true},
        {"a count without satellites", "$GS,x,40", 0, true},
        {"an enormous count", "$GS,x,99999999999999999999" + one, 1, false},
        {"a negative count", "$GS,x,-1" + one, 0, true},
        {"empty fields count as fields", "$GS,x,1,,,,,,,", 1, false},
        {"no number", "$GS,x,two" + one + one, 0, true},
        {"no count", "$GS,x", 0, true},
        {"empty", "", 0, true},
    };

    CJavadFormat parser;
    int count = 0;
    JAVAD_GPS_STATUS* array = nullptr;
    std::vector<std::unique_ptr<JAVAD_GPS_STATUS[]>> arrays;  // the caller's
    for (const auto& c : cases) {
        const JAVAD_GPS_STATUS* const before = array;
        parser.vProcressGS(c.text.c_str(), count, array);
        EXPECT_EQ(count, c.count) << c.name;
        EXPECT_EQ(array == before, c.sameArray) << c.name;
        if (array != before) arrays.emplace_back(array);
        std::vector<JAVAD_GPS_STATUS> satellites(5);
        parser.vProcressGS(spanOf(c.text), satellites);
        ASSERT_EQ(satellites.size(), static_cast<std::size_t>(c.count)) << c.name;
        for (int i = 0; i < c.count; ++i)
            EXPECT_EQ(shown(array[i]), shown(satellites[static_cast<std::size_t>(i)])) << c.name;
    }
    EXPECT_EQ(arrays[0][0].value1, 6) << "filled again, then left to the caller";
}

}  // namespace
}  // namespace vkcomm::test
