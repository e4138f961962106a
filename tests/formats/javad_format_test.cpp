#include "vkcomm/formats/javad_format.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>

#include "tests/formats/parser_bytes.h"

namespace vkcomm::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

// Bodies of recorded messages, and two built ones (PO, PS).
const std::string kPo = hex("00000020c46440c100000060e4e2504100000000b8db4e410000003f0443");
const std::string kPv =
    hex("2e958316183a4ec135f7effbf48c4941585f806d19374c41a073bd3f77a471bb1c4b043cda9d5bbbe1f5cf3b0188");
const std::string kPs = hex("040c080a07090664e2");
const std::string kGt = hex("fc42ab1fbb03b4");
const std::string kSg = hex("a8e0e53ea266433f0eebe03b95cf283c016c");
const std::string kDp = hex("7b44213f3fc9803f76af083f011a");
const std::string kNewerDp = hex("73dd1b3f6725633fc471053f016b9ce43ec2");
const std::string kRd = hex("db07010f00b3");

TEST(JavadFormat, ReadsEveryArea) {
    CJavadFormat parser;
    parser.vProcessPO(spanOf(kPo));
    EXPECT_EQ(parser.Position().position.x, -2148744.25);
    EXPECT_EQ(parser.Position().position.y, 4426641.5);
    EXPECT_EQ(parser.Position().position.z, 4044656.0);
    EXPECT_EQ(parser.Position().sigma, 0.5F);
    EXPECT_EQ(parser.Position().solutionType, 4);
    EXPECT_EQ(parser.Position().checksum, 0x43);

    parser.vProcessPV(spanOf(kPv));
    EXPECT_NEAR(parser.Position().position.x, -3961904.1759, 5e-5);
    EXPECT_NEAR(parser.Position().position.y, 3348969.9683, 5e-5);
    EXPECT_NEAR(parser.Position().position.z, 3698226.8555, 5e-5);
    EXPECT_NEAR(parser.Position().sigma, 1.480091, 1e-6);
    EXPECT_EQ(parser.Position().solutionType, 1);
    EXPECT_EQ(parser.Position().checksum, 0x88);

    parser.vProcessGT(spanOf(kGt));
    EXPECT_EQ(parser.Time().milliseconds, 531'317'500U);
    EXPECT_EQ(parser.Time().week, 955);
    EXPECT_EQ(parser.Time().checksum, 0xB4);

    parser.vProcessRD(spanOf(kRd));
    EXPECT_EQ(parser.Date().year, 2011);
    EXPECT_EQ(parser.Date().month, 1);
    EXPECT_EQ(parser.Date().day, 15);
    EXPECT_EQ(parser.Date().base, 0);
    EXPECT_EQ(parser.Date().checksum, 0xB3);

    parser.vProcessSG(dataOf(kSg));
    EXPECT_NEAR(parser.Rms().horizontal, 0.448980, 1e-6);
    EXPECT_NEAR(parser.Rms().vertical, 0.763285, 1e-6);
    EXPECT_NEAR(parser.Rms().horizontalVelocity, 0.006864, 1e-6);
    EXPECT_NEAR(parser.Rms().verticalVelocity, 0.010303, 1e-6);
    EXPECT_EQ(parser.Rms().solutionType, 1);
    EXPECT_EQ(parser.Rms().checksum, 0x6C);

    parser.vProcessPS(dataOf(kPs));
    EXPECT_EQ(parser.Statistics().solutionType, 4);
    EXPECT_EQ(parser.Statistics().gpsLocked, 12);
    EXPECT_EQ(parser.Statistics().glonassAvailable, 7);
    EXPECT_EQ(parser.Statistics().gpsUsed, 9);
    EXPECT_EQ(parser.Statistics().glonassUsed, 6);
    EXPECT_EQ(parser.Statistics().fixProgress, 100);
    EXPECT_EQ(parser.Statistics().checksum, 0xE2);
}

TEST(JavadFormat, ReadsBothLengthsOfDops) {
    CJavadFormat parser;
    parser.vProcessDP(spanOf(kDp));
    EXPECT_NEAR(parser.Dops().hdop, 0.6299512, 1e-7);
    EXPECT_NEAR(parser.Dops().vdop, 1.0061415, 1e-7);
    EXPECT_NEAR(parser.Dops().tdop, 0.5339273, 1e-7);
    EXPECT_EQ(parser.Dops().checksum, 0x1A);
    parser.vProcessDP(spanOf(kNewerDp));
    EXPECT_NEAR(parser.Dops().hdop, 0.608848, 1e-6);
    EXPECT_EQ(parser.Dops().solutionType, 1);
    EXPECT_EQ(parser.Dops().checksum, 0xC2);
}

TEST(JavadFormat, ShortBodiesChangeNothing) {
    CJavadFormat parser;
    const auto cut = [](const std::string& body) { return spanOf(body).first(body.size() - 1); };
    parser.vProcessPO(cut(kPo));
    parser.vProcessPV(cut(kPv));
    parser.vProcessGT(cut(kGt));
    parser.vProcessRD(cut(kRd));
    parser.vProcessSG(cut(kSg));
    parser.vProcessPS(cut(kPs));
    parser.vProcessDP(cut(kDp));
    parser.vProcessSG(static_cast<const unsigned char*>(nullptr));
    parser.vProcessPS(static_cast<const unsigned char*>(nullptr));
    EXPECT_EQ(gpgga(parser.strGetGPGGA()), gpgga(CJavadFormat().strGetGPGGA()));
    EXPECT_EQ(parser.Date().year, 0);
    EXPECT_EQ(parser.Rms().horizontal, 0.0F);
    EXPECT_EQ(parser.Position().sigma, 0.0F);
}

TEST(JavadFormat, GgaOfAFixedSolution) {
    CJavadFormat parser;
    parser.vProcessPO(spanOf(kPo));
    parser.vProcessGT(spanOf(kGt));
    parser.vProcessDP(spanOf(kNewerDp));
    parser.vProcessPS(spanOf(kPs));
    EXPECT_EQ(gpgga(parser.strGetGPGGA()),
              "$GPGGA,033517.00,3936.5160152,N,11553.5491517,E,4,15,0.6,87.715,M,1.00,M,0,*67\r\n");
}

TEST(JavadFormat, GgaQualityFollowsTheSolutionType) {
    const char qualities[] = "1155411";
    for (unsigned type = 0; type < 7; ++type) {
        CJavadFormat parser;
        parser.vProcessPO(spanOf(patched(kPo, 28, std::string(1, chr(type)))));
        EXPECT_THAT(gpgga(parser.strGetGPGGA()), HasSubstr(std::string(",E,") + qualities[type] + ",00,"))
            << type;
    }
}

TEST(JavadFormat, GgaWithoutAFiniteStateSaysSo) {
    CJavadFormat parser;
    parser.vProcessPO(spanOf(patched(kPo, 0, littleDouble(std::numeric_limits<double>::quiet_NaN()))));
    EXPECT_THAT(gpgga(parser.strGetGPGGA()), StartsWith("$GPGGA,000000.00,,,,,0,00,0.0,,M,,M,0,*"));
}

TEST(JavadFormat, RepliesLoseTheirHead) {
    struct {
        const char* name;
        const char* text;
        std::wstring expected;
    } const cases[] = {
        {"a reply", "RE00Dhello, world\r\n", L"hello, world"},
        {"blanks around it", " \t RE005  a b \r\n", L"  a b"},
        {"the head alone", "RE000\r\n", L"RE000"},
        {"shorter than a head", " RE0 ", L"RE0"},
        {"six characters", "RE001x", L"x"},
        {"bytes above 127", "RE001\xE9", L"\u00E9"},
        {"empty", "", L""},
        {"nothing", nullptr, L""},
    };

    for (const auto& c : cases)
        EXPECT_EQ(CJavadFormat().strProcessRECmd(c.text), c.expected) << c.name;
}

TEST(JavadFormat, GpsStatus) {
    int count = 0;
    JAVAD_GPS_STATUS* array = nullptr;
    CJavadFormat().vProcressGS("$GS,x,2,G05,45,270,E120,7,48#,52#,G12,10,359,E90,300,1x,2x*47", count, array);
    const std::unique_ptr<JAVAD_GPS_STATUS[]> owner(array);
    ASSERT_EQ(count, 2);
    EXPECT_EQ(array[0].value1, 5);
    EXPECT_EQ(array[0].value2, 45);
    EXPECT_EQ(array[0].value3, 270);
    EXPECT_EQ(array[0].value4, 120);
    EXPECT_EQ(array[0].value5, 7);
    EXPECT_EQ(array[0].value6, 48);
    EXPECT_EQ(array[0].value7, 52);
    EXPECT_EQ(array[1].value1, 12);
    EXPECT_EQ(array[1].value3, 359);
    EXPECT_EQ(array[1].value5, 300 - 256) << "the low byte";
    EXPECT_EQ(array[1].value7, 2);
}

TEST(JavadFormat, GlonassStatus) {
    std::vector<JAVAD_GLONASS_STATUS> satellites;
    CJavadFormat().vProcressNS(spanOf("$NS,x,1,R07,-4,33,300,E8,9,10u,11u*00"), satellites);
    ASSERT_THAT(satellites, SizeIs(1));
    EXPECT_EQ(satellites[0].value1, 7);
    EXPECT_EQ(satellites[0].value2, 256 - 4);
    EXPECT_EQ(satellites[0].value3, 33);
    EXPECT_EQ(satellites[0].unused, 0);
    EXPECT_EQ(satellites[0].value4, 300);
    EXPECT_EQ(satellites[0].value5, 8);
    EXPECT_EQ(satellites[0].value6, 9);
    EXPECT_EQ(satellites[0].value7, 10);
    EXPECT_EQ(satellites[0].value8, 11);
}

TEST(JavadFormat, AnArrayIsUsedAgainWhileTheNumberStays) {
    CJavadFormat parser;
    int count = 0;
    JAVAD_GPS_STATUS* array = nullptr;
    parser.vProcressGS("$GS,x,1,G05,1,2,E3,4,5#,6#", count, array);
    const std::unique_ptr<JAVAD_GPS_STATUS[]> first(array);
    parser.vProcressGS("$GS,x,1,G06,1,2,E3,4,5#,6#", count, array);
    EXPECT_EQ(array, first.get());
    EXPECT_EQ(array[0].value1, 6);

    parser.vProcressGS("$GS,x,2,G07,1,2,E3,4,5#,6#,G08,1,2,E3,4,5#,6#", count, array);
    const std::unique_ptr<JAVAD_GPS_STATUS[]> second(array);
    EXPECT_EQ(count, 2);
    EXPECT_NE(second.get(), first.get());
    EXPECT_EQ(first[0].value1, 6) << "the caller's";

    parser.vProcressGS("$GS,x,0", count, array);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(array, second.get());

    parser.vProcressGS(nullptr, count, array);
    EXPECT_EQ(array, second.get());
}

struct CountCase {
    const char* name;
    std::string text;
    std::size_t satellites;
};

void PrintTo(const CountCase& c, std::ostream* out) { *out << c.name; }

class SatelliteCounts : public testing::TestWithParam<CountCase> {};

TEST_P(SatelliteCounts, AreBoundedByTheText) {
    std::vector<JAVAD_GPS_STATUS> satellites(5);
    CJavadFormat().vProcressGS(spanOf(GetParam().text), satellites);
    EXPECT_THAT(satellites, SizeIs(GetParam().satellites));

    int count = -7;
    JAVAD_GPS_STATUS* array = nullptr;
    CJavadFormat().vProcressGS(GetParam().text.c_str(), count, array);
    const std::unique_ptr<JAVAD_GPS_STATUS[]> owner(array);
    EXPECT_EQ(count, static_cast<int>(GetParam().satellites));
    EXPECT_EQ(array != nullptr, GetParam().satellites > 0);
}

const std::string kOne = ",G05,1,2,E3,4,5#,6#";

INSTANTIATE_TEST_SUITE_P(
    JavadFormat, SatelliteCounts,
    testing::Values(CountCase{"as many as counted", "$GS,x,2" + kOne + kOne, 2},
                    CountCase{"fewer than counted", "$GS,x,3" + kOne + kOne, 2},
                    CountCase{"the last one not whole", "$GS,x,2" + kOne + ",G05,1,2,E3,4,5#", 1},
                    CountCase{"more than counted", "$GS,x,1" + kOne + kOne, 1},
                    CountCase{"a count without satellites", "$GS,x,40", 0},
                    CountCase{"an enormous count", "$GS,x,99999999999999999999" + kOne, 1},
                    CountCase{"a negative count", "$GS,x,-1" + kOne, 0}, CountCase{"no count", "$GS,x", 0},
                    CountCase{"no number", "$GS,x,two" + kOne + kOne, 0},
                    CountCase{"empty fields count as fields", "$GS,x,1,,,,,,,", 1},
                    CountCase{"empty", "", 0}));

}  // namespace
}  // namespace vkcomm::test
