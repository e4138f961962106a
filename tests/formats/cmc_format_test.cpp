#include "vkcomm/formats/cmc_format.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "tests/formats/parser_bytes.h"

namespace vkcomm::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

// Recorded frames.
const std::string kEdmonton = hex("0114eb470533000090bbf9ffef3f0407d907fb7cf60c50eaed3f7478056da5adffbf0e111e"
                                  "4400000000000000000000000000000000"
                                  "00000000656d434123795c411f002100a2050300002214");
const std::string kJapan = hex("0114eb471723004072ffff7f49401005d807f2695c300609e43f86486ae7a5520340384c7a440"
                               "0000000000000000000000000000000"
                               "000000001a3a344075ac8b400c001200e20a030300a511");
const std::string kVisible = hex("0121de3d0c614c6e00326b43d400327d371c012863293f00247c1615012409129c00001e0f4"
                                 "70100170edf000016061f00000801d000"
                                 "00001cac6400001acb5e00b10c");
const std::string kStatus =
    hex("0131ce28336ac805c7050000000000000000000000063fc201162bfcfafcb989430278000570a3fe00000000ae0b");

struct NavigationCase {
    const char* name;
    std::string frame;
    CmcNavigation expected;
    std::string gga;
};

void PrintTo(const NavigationCase& c, std::ostream* out) { *out << c.name; }

class Navigation : public testing::TestWithParam<NavigationCase> {};

TEST_P(Navigation, IsRead) {
    CCMCFormat parser;
    parser.vProcress20Dat(dataOf(GetParam().frame));
    const CmcNavigation& got = parser.Navigation();
    const CmcNavigation& expected = GetParam().expected;
    EXPECT_EQ(got.position.latitude, expected.position.latitude);
    EXPECT_EQ(got.position.longitude, expected.position.longitude);
    EXPECT_EQ(got.position.height, expected.position.height);
    EXPECT_EQ(got.gpsWeek, expected.gpsWeek);
    EXPECT_NEAR(got.gpsSeconds, expected.gpsSeconds, 1e-5);
    EXPECT_EQ(got.mode, expected.mode);
    EXPECT_EQ(got.alignment, expected.alignment);
    EXPECT_EQ(got.confident, expected.confident);
    EXPECT_EQ(got.hdop, expected.hdop);
    EXPECT_EQ(got.vdop, expected.vdop);
    EXPECT_EQ(got.horizontalMerit, expected.horizontalMerit);
    EXPECT_EQ(got.verticalMerit, expected.verticalMerit);
    EXPECT_EQ(got.satellites, expected.satellites);
    EXPECT_EQ(gpgga(parser.strGetGPGGA()), GetParam().gga);
}

INSTANTIATE_TEST_SUITE_P(
    CmcFormat, Navigation,
    testing::Values(
        NavigationCase{"Edmonton, 3 microseconds before the full second",
                       kEdmonton,
                       {{0.9348526242428358, -1.979894090523456, 632.2664794921875},
                        1538,
                        539461.0,
                        2,
                        0,
                        0x20,
                        3.1F,
                        3.3F,
                        12.214208F,
                        13.779574F,
                        5},
                       "$GPGGA,055100.00,5333.7865902,N,11326.3745162,W,1,05,3.1,632.266,M,0.00,M,0,*4B\r\n"},
        NavigationCase{
            "Japan",
            kJapan,
            {{0.6261015839148156, 2.415355499201783, 1001.19091796875},
             1479,
             516951.0,
             2,
             0x40,
             0x20,
             1.2F,
             1.8F,
             2.81604624F,
             4.36480188F,
             10},
            "$GPGGA,233551.00,3552.3786983,N,13823.3805677,E,1,10,1.2,1001.191,M,0.00,M,0,*6E\r\n"}));

TEST(CmcFormat, EveryModeIsQualityOne) {
    for (unsigned mode = 0; mode < 32; ++mode) {
        CCMCFormat parser;
        parser.vProcress20Dat(spanOf(patched(kEdmonton, 70, std::string(1, chr(mode)))));
        EXPECT_EQ(parser.Navigation().mode, mode);
        EXPECT_EQ(parser.Navigation().confident + parser.Navigation().alignment, 0U);
        EXPECT_THAT(gpgga(parser.strGetGPGGA()), HasSubstr(",W,1,05,"));
    }
}

TEST(CmcFormat, GgaDropsTheFractionOfASecond) {
    CCMCFormat parser;
    parser.vProcress20Dat(spanOf(patched(kEdmonton, 6, littleDouble(59.75))));
    EXPECT_THAT(gpgga(parser.strGetGPGGA()), StartsWith("$GPGGA,055159.00,"));
    EXPECT_EQ(parser.Navigation().gpsSeconds, 539519.75);
}

TEST(CmcFormat, TheTimeKeepsOutOfRangeDatesFromHarm) {
    CCMCFormat parser;
    parser.vProcress20Dat(spanOf(kEdmonton));
    for (const unsigned month : {0U, 13U, 255U}) {
        parser.vProcress20Dat(spanOf(patched(kEdmonton, 15, std::string(1, chr(month)))));
        EXPECT_EQ(parser.Navigation().gpsWeek, 1538U) << month;
        EXPECT_NEAR(parser.Navigation().gpsSeconds, 539461.0, 1e-5) << month;
    }
    parser.vProcress20Dat(spanOf(patched(kEdmonton, 16, little(1970, 2))));
    EXPECT_EQ(parser.Navigation().gpsWeek, 0U) << "before the first week";
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    for (const double second :
         {kInfinity, -kInfinity, std::numeric_limits<double>::quiet_NaN(), 1e300, -1e300}) {
        parser.vProcress20Dat(spanOf(patched(kEdmonton, 6, littleDouble(second))));
        EXPECT_GE(parser.Navigation().gpsSeconds, 0.0) << second;
        EXPECT_LT(parser.Navigation().gpsSeconds, 604800.0) << second;
    }
}

TEST(CmcFormat, GgaWithoutAFiniteStateSaysSo) {
    CCMCFormat parser;
    parser.vProcress20Dat(
        spanOf(patched(kEdmonton, 18, littleDouble(std::numeric_limits<double>::infinity()))));
    EXPECT_THAT(gpgga(parser.strGetGPGGA()), StartsWith("$GPGGA,055100.00,,,,,0,05,3.1,,M,,M,0,*"));
}

TEST(CmcFormat, ShortMessages) {
    CCMCFormat parser;
    parser.vProcess33Dat(dataOf(kVisible));
    EXPECT_EQ(parser.Status().visibleSatellites, 12);
    parser.vProcess30Dat(spanOf(cmc(30, "\xF9")));
    EXPECT_EQ(parser.Status().message30, 9);
    parser.vProcess49Dat(dataOf(kStatus));
    EXPECT_FLOAT_EQ(parser.Status().maskAngle, 0.078539816F);
    parser.vProcess75Dat(spanOf(cmc(75, "12345678\x0A")));
    EXPECT_EQ(parser.Status().message75, 10);
}

TEST(CmcFormat, TheMaskAngleIsHundredthsOfADegree) {
    CCMCFormat parser;
    parser.vProcess49Dat(spanOf(patched(kStatus, 23, little(9000, 2))));
    EXPECT_FLOAT_EQ(parser.Status().maskAngle, 1.5707963F);
    parser.vProcess49Dat(spanOf(patched(kStatus, 23, little(0xFFFF, 2))));
    EXPECT_FLOAT_EQ(parser.Status().maskAngle, 11.438015F) << "the value is unsigned";
}

struct IdentificationCase {
    const char* name;
    std::string number;  // bytes 30 and 31
    std::string serial;  // from byte 73
    int expectedNumber;
    std::string expectedText;
};

void PrintTo(const IdentificationCase& c, std::ostream* out) { *out << c.name; }

class Identification : public testing::TestWithParam<IdentificationCase> {};

TEST_P(Identification, IsRead) {
    std::string data(95, '\x7F');
    data.replace(69, 13, "OLD SERIAL NO");
    CCMCFormat parser;
    parser.vProcess45Dat(spanOf(cmc(45, patched(data, 26, "77"))));
    data.replace(26, 2, GetParam().number);
    data.replace(69, GetParam().serial.size(), GetParam().serial);
    const std::string frame = cmc(45, data);
    parser.vProcess45Dat(dataOf(frame));
    EXPECT_EQ(parser.Identification().number, GetParam().expectedNumber);
    EXPECT_EQ(parser.Identification().text, GetParam().expectedText);
}

INSTANTIATE_TEST_SUITE_P(
    CmcFormat, Identification,
    testing::Values(
        IdentificationCase{"digits and a serial number", "42", "SUPER00123456", 42, "SUPER00123456"},
        IdentificationCase{"letters count like digits", "A1", "ab12-345 789x", 171, "ab12-345 789x"},
        IdentificationCase{"one character is no digit: the number stays", "4 ", "SUPER00123456", 77,
                           "SUPER00123456"},
        IdentificationCase{"the serial is a number", "42", hex("efbeadde") + "456789012", 42, "DEADBEEF"},
        IdentificationCase{"a small one is padded with blanks", "42", hex("2a010000"), 42, "     12A"},
        IdentificationCase{"one blank among the four", "42", "SU ER00123456", 42, "45205553"}));

struct ShortCase {
    const char* name;
    void (CCMCFormat::*process)(ByteSpan);
    std::size_t shortest;
};

void PrintTo(const ShortCase& c, std::ostream* out) { *out << c.name; }

class ShortFrames : public testing::TestWithParam<ShortCase> {};

std::string stateOf(const CCMCFormat& parser) {
    return gpgga(parser.strGetGPGGA()) + "|" + parser.Identification().text + "|" +
           std::to_string(parser.Identification().number) + "|" + std::to_string(parser.Status().message30) +
           "|" + std::to_string(parser.Status().visibleSatellites) + "|" +
           std::to_string(parser.Status().maskAngle) + "|" + std::to_string(parser.Status().message75);
}

TEST_P(ShortFrames, ChangeNothing) {
    const std::string bytes(GetParam().shortest, '\x31');
    CCMCFormat parser;
    const std::string before = stateOf(parser);
    (parser.*GetParam().process)(spanOf(bytes).first(GetParam().shortest - 1));
    EXPECT_EQ(stateOf(parser), before);
    (parser.*GetParam().process)(spanOf(bytes));
    EXPECT_NE(stateOf(parser), before);
}

INSTANTIATE_TEST_SUITE_P(CmcFormat, ShortFrames,
                         testing::Values(ShortCase{"20", &CCMCFormat::vProcress20Dat, 74},
                                         ShortCase{"30", &CCMCFormat::vProcess30Dat, 7},
                                         ShortCase{"33", &CCMCFormat::vProcess33Dat, 7},
                                         ShortCase{"45", &CCMCFormat::vProcess45Dat, 88},
                                         ShortCase{"49", &CCMCFormat::vProcess49Dat, 27},
                                         ShortCase{"75", &CCMCFormat::vProcess75Dat, 15}));

}  // namespace
}  // namespace vkcomm::test
