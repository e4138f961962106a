#include "vkcomm/formats/javad_format.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>

#include "tests/formats/parser_bytes.h"

namespace vkcomm::test {
namespace {

using testing::HasSubstr;

// Bodies of recorded messages, and two built ones (PO, PS).
// clang-format off
const std::string kPo = hex("00000020c46440c100000060e4e2504100000000b8db4e410000003f0443");
const std::string kPv = hex(
    "2e958316183a4ec135f7effbf48c4941585f806d19374c41a073bd3f77a471bb1c4b043cda9d5bbbe1f5cf3b0188");
const std::string kPs = hex("040c080a07090664e2");
const std::string kGt = hex("fc42ab1fbb03b4");
const std::string kSg = hex("a8e0e53ea266433f0eebe03b95cf283c016c");
const std::string kDp = hex("7b44213f3fc9803f76af083f011a");
const std::string kNewerDp = hex("73dd1b3f6725633fc471053f016b9ce43ec2");
const std::string kRd = hex("db07010f00b3");

// clang-format on

TEST(JavadFormat, ReadsEveryArea) {
    CJavadFormat parser;
    const JavadPosition& p = parser.Position();
    parser.vProcessPO(spanOf(kPo));
    EXPECT_EQ(row(p.position.x, p.position.y, p.position.z, p.sigma, p.solutionType, p.checksum),
              "-2148744.25 4426641.5 4044656 0.5 4 67");
    parser.vProcessPV(spanOf(kPv));
    EXPECT_NEAR(p.position.x, -3961904.1759, 5e-5);
    EXPECT_NEAR(p.position.y, 3348969.9683, 5e-5);
    EXPECT_NEAR(p.position.z, 3698226.8555, 5e-5);
    EXPECT_EQ(row(p.sigma, p.solutionType, p.checksum), "1.4800911 1 136");
    parser.vProcessGT(spanOf(kGt));
    EXPECT_EQ(row(parser.Time().milliseconds, parser.Time().week, parser.Time().checksum),
              "531317500 955 180");
    parser.vProcessRD(spanOf(kRd));
    const JavadDate& t = parser.Date();
    EXPECT_EQ(row(t.year, t.month, t.day, t.base, t.checksum), "2011 1 15 0 179");
    parser.vProcessSG(dataOf(kSg));
    const JavadRms& r = parser.Rms();
    EXPECT_NEAR(r.horizontal, 0.448980, 1e-6);
    EXPECT_NEAR(r.vertical, 0.763285, 1e-6);
    EXPECT_NEAR(r.horizontalVelocity, 0.006864, 1e-6);
    EXPECT_NEAR(r.verticalVelocity, 0.010303, 1e-6);
    EXPECT_EQ(row(r.solutionType, r.checksum), "1 108");
    parser.vProcessPS(dataOf(kPs));
    const JavadStatistics& s = parser.Statistics();
    EXPECT_EQ(row(s.solutionType, s.gpsLocked, s.glonassLocked, s.gpsAvailable, s.glonassAvailable, s.gpsUsed,
                  s.glonassUsed, s.fixProgress, s.checksum),
              "4 12 8 10 7 9 6 100 226");
    parser.vProcessDP(spanOf(kDp));
    const JavadDops& d = parser.Dops();
    EXPECT_EQ(row(d.hdop, d.vdop, d.tdop, d.solutionType, d.checksum), "0.6299512 1.0061415 0.5339273 1 26");
    parser.vProcessDP(spanOf(kNewerDp));
    EXPECT_NEAR(d.hdop, 0.608848, 1e-6);
    EXPECT_EQ(row(d.solutionType, d.checksum), "1 194")
        << "the checksum is the last byte, whatever the length";
}

TEST(JavadFormat, ShortBodiesChangeNothing) {
    CJavadFormat parser;
    const std::pair<void (CJavadFormat::*)(ByteSpan), const std::string&> cases[] = {
        {&CJavadFormat::vProcessPO, kPo}, {&CJavadFormat::vProcessPV, kPv}, {&CJavadFormat::vProcessGT, kGt},
        {&CJavadFormat::vProcessRD, kRd}, {&CJavadFormat::vProcessSG, kSg}, {&CJavadFormat::vProcessPS, kPs},
        {&CJavadFormat::vProcessDP, kDp},
    };
    for (const auto& [process, body] : cases) {
        const std::vector<unsigned char> cut(body.begin(), body.end() - 1);
        (parser.*process)(cut);
    }
    parser.vProcessSG(static_cast<const unsigned char*>(nullptr));
    parser.vProcessPS(static_cast<const unsigned char*>(nullptr));
    EXPECT_EQ(gpgga(parser.strGetGPGGA()), gpgga(CJavadFormat().strGetGPGGA()));
    EXPECT_EQ(row(parser.Date().year, parser.Rms().horizontal, parser.Position().sigma), "0 0 0");
}

TEST(JavadFormat, GgaOfTheStoredState) {
    CJavadFormat parser;
    const auto sentence = [&] { return gpgga(parser.strGetGPGGA()); };
    parser.vProcessPO(spanOf(kPo));
    parser.vProcessGT(spanOf(kGt));
    parser.vProcessDP(spanOf(kNewerDp));
    parser.vProcessPS(spanOf(kPs));
    EXPECT_EQ(sentence(),
              "$GPGGA,033517.00,3936.5160152,N,11553.5491517,E,4,15,0.6,87.715,M,1.00,M,0,*67\r\n");
    for (std::uint8_t type = 0; type < 7; ++type) {
        parser.vProcessPO(spanOf(with(kPo, 28, type)));
        EXPECT_THAT(sentence(), HasSubstr(std::string(",E,") + "1155411"[type] + ",15,")) << int{type};
    }
    parser.vProcessPO(spanOf(with(kPo, 0, std::numeric_limits<double>::quiet_NaN())));
    EXPECT_THAT(sentence(), testing::StartsWith("$GPGGA,033517.00,,,,,0,15,0.6,,M,,M,0,*"));
}

TEST(JavadFormat, RepliesLoseTheirHead) {
    const std::pair<const char*, const wchar_t*> cases[] = {
        {"RE00Dhello, world\r\n", L"hello, world"},
        {" \t RE005  a b \r\n", L"  a b"},
        {"RE000\r\n", L"RE000"},
        {" RE0 ", L"RE0"},
        {"RE001x", L"x"},
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

const std::string kOne = ",G05,1,2,E3,4,5#,6#";

TEST(JavadFormat, SatelliteStatus) {
    std::vector<JAVAD_GPS_STATUS> gps;
    CJavadFormat().vProcressGS(spanOf("$GS,x,2,G05,45,270,E120,7,48#,52#,G12,10,359,E90,300,1x,2x*47"), gps);
    ASSERT_EQ(gps.size(), 2U);
    EXPECT_EQ(shown(gps[0]), "5 45 270 120 7 48 52");
    EXPECT_EQ(shown(gps[1]), "12 10 359 90 44 1 2") << "the low byte of 300";
    std::vector<JAVAD_GLONASS_STATUS> glonass;
    CJavadFormat().vProcressNS(spanOf("$NS,x,1,R07,-4,33,300,E8,9,10u,11u*00"), glonass);
    ASSERT_EQ(glonass.size(), 1U);
    const JAVAD_GLONASS_STATUS& s = glonass[0];
    EXPECT_EQ(row(s.value1, s.value2, s.value3, s.unused, s.value4, s.value5, s.value6, s.value7, s.value8),
              "7 252 33 0 300 8 9 10 11");
}

TEST(JavadFormat, AnArrayIsUsedAgainWhileTheNumberStays) {
    CJavadFormat parser;
    int count = 0;
    JAVAD_GPS_STATUS* array = nullptr;
    parser.vProcressGS(("$GS,x,1" + kOne).c_str(), count, array);
    const std::unique_ptr<JAVAD_GPS_STATUS[]> first(array);
    parser.vProcressGS("$GS,x,1,G06,1,2,E3,4,5#,6#", count, array);
    EXPECT_EQ(array, first.get());
    EXPECT_EQ(array[0].value1, 6);

    parser.vProcressGS(("$GS,x,2" + kOne + kOne).c_str(), count, array);
    const std::unique_ptr<JAVAD_GPS_STATUS[]> second(array);
    EXPECT_EQ(count, 2);
    EXPECT_NE(second.get(), first.get());
    EXPECT_EQ(first[0].value1, 6) << "the caller's";

    parser.vProcressGS("$GS,x,0", count, array);
    parser.vProcressGS(nullptr, count, array);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(array, second.get());
}

TEST(JavadFormat, SatelliteCountsAreBoundedByTheText) {
    struct {
        const char* name;
        std::string text;
        std::size_t satellites;
    } const cases[] = {
        {"fewer than counted", "$GS,x,3" + kOne + kOne, 2},
        {"the last one not whole", "$GS,x,2" + kOne + ",G05,1,2,E3,4,5#", 1},
        {"more than counted", "$GS,x,1" + kOne + kOne, 1},
        {"a count without satellites", "$GS,x,40", 0},
        {"an enormous count", "$GS,x,99999999999999999999" + kOne, 1},
        {"a negative count", "$GS,x,-1" + kOne, 0},
        {"no count", "$GS,x", 0},
        {"no number", "$GS,x,two" + kOne + kOne, 0},
        {"empty fields count as fields", "$GS,x,1,,,,,,,", 1},
        {"empty", "", 0},
    };

    for (const auto& c : cases) {
        std::vector<JAVAD_GPS_STATUS> satellites(5);
        CJavadFormat().vProcressGS(spanOf(c.text), satellites);
        EXPECT_EQ(satellites.size(), c.satellites) << c.name;
        int count = -7;
        JAVAD_GPS_STATUS* array = nullptr;
        CJavadFormat().vProcressGS(c.text.c_str(), count, array);
        const std::unique_ptr<JAVAD_GPS_STATUS[]> owner(array);
        EXPECT_EQ(count, static_cast<int>(c.satellites)) << c.name;
        EXPECT_EQ(array != nullptr, c.satellites > 0) << c.name;
    }
}

}  // namespace
}  // namespace vkcomm::test
