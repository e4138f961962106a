#include "vkcomm/formats/cmc_format.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "tests/formats/parser_bytes.h"

namespace vkcomm::test {
namespace {

using testing::StartsWith;

// Recorded frames.
// clang-format off
const std::string kEdmonton = hex(
    "0114eb470533000090bbf9ffef3f0407d907fb7cf60c50eaed3f7478056da5adffbf0e111e4400000000000000000000000000"
    "00000000000000656d434123795c411f002100a2050300002214");
const std::string kJapan = hex(
    "0114eb471723004072ffff7f49401005d807f2695c300609e43f86486ae7a5520340384c7a4400000000000000000000000000"
    "000000000000001a3a344075ac8b400c001200e20a030300a511");
const std::string kVisible = hex(
    "0121de3d0c614c6e00326b43d400327d371c012863293f00247c1615012409129c00001e0f470100170edf000016061f000008"
    "01d00000001cac6400001acb5e00b10c");
const std::string kStatus = hex(
    "0131ce28336ac805c7050000000000000000000000063fc201162bfcfafcb989430278000570a3fe00000000ae0b");

// clang-format on

std::string shown(const CmcNavigation& n) {
    return row(n.position.latitude, n.position.longitude, n.position.height, n.gpsWeek, n.mode, n.alignment,
               n.confident, n.hdop, n.vdop, n.horizontalMerit, n.verticalMerit, n.satellites);
}

TEST(CmcFormat, ReadsNavigation) {
    CCMCFormat parser;
    parser.vProcress20Dat(dataOf(kEdmonton));
    EXPECT_EQ(shown(parser.Navigation()),
              "0.9348526242428358 -1.979894090523456 632.2664794921875 1538 2 0 32 3.1 3.3 "
              "12.214208 13.779574 5");
    EXPECT_NEAR(parser.Navigation().gpsSeconds, 539461.0, 1e-5);
    EXPECT_EQ(gpgga(parser.strGetGPGGA()),
              "$GPGGA,055100.00,5333.7865902,N,11326.3745162,W,1,05,3.1,632.266,M,0.00,M,0,*4B\r\n")
        << "3 microseconds before the full second";
    parser.vProcress20Dat(spanOf(kJapan));
    EXPECT_EQ(shown(parser.Navigation()),
              "0.6261015839148156 2.415355499201783 1001.19091796875 1479 2 64 32 1.2 1.8 "
              "2.8160462 4.364802 10");
    EXPECT_NEAR(parser.Navigation().gpsSeconds, 516951.0, 1e-5);
    EXPECT_EQ(gpgga(parser.strGetGPGGA()),
              "$GPGGA,233551.00,3552.3786983,N,13823.3805677,E,1,10,1.2,1001.191,M,0.00,M,0,*6E\r\n");
    for (std::uint8_t mode = 0; mode < 32; ++mode) {
        parser.vProcress20Dat(spanOf(with(kEdmonton, 70, mode)));
        EXPECT_EQ(row(parser.Navigation().mode, parser.Navigation().confident), row(mode, 0));
        EXPECT_THAT(gpgga(parser.strGetGPGGA()), testing::HasSubstr(",W,1,05,")) << int{mode};
    }
}

TEST(CmcFormat, TheTimeKeepsOutOfRangeDatesFromHarm) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    CCMCFormat parser;
    const CmcNavigation& n = parser.Navigation();
    parser.vProcress20Dat(spanOf(with(kEdmonton, 6, 59.75)));
    EXPECT_EQ(row(n.gpsWeek, n.gpsSeconds), "1538 539519.75");
    EXPECT_THAT(gpgga(parser.strGetGPGGA()), StartsWith("$GPGGA,055159.00,"));
    for (const unsigned month : {0U, 13U, 255U}) {
        parser.vProcress20Dat(spanOf(with(kEdmonton, 15, static_cast<std::uint8_t>(month))));
        EXPECT_EQ(row(n.gpsWeek, n.gpsSeconds), "1538 539519.75") << month;
    }
    for (const double second :
         {kInfinity, -kInfinity, std::numeric_limits<double>::quiet_NaN(), 1e300, -1e300}) {
        parser.vProcress20Dat(spanOf(with(kEdmonton, 6, second)));
        EXPECT_TRUE(n.gpsSeconds >= 0.0 && n.gpsSeconds < 604800.0) << second;
    }
    parser.vProcress20Dat(spanOf(with<std::uint16_t>(kEdmonton, 16, 1970)));
    EXPECT_EQ(n.gpsWeek, 0U) << "before the first week";
    parser.vProcress20Dat(spanOf(with(kEdmonton, 18, kInfinity)));
    EXPECT_THAT(gpgga(parser.strGetGPGGA()), StartsWith("$GPGGA,055100.00,,,,,0,05,3.1,,M,,M,0,*"));
}

TEST(CmcFormat, ReadsStatusMessages) {
    CCMCFormat parser;
    parser.vProcess33Dat(dataOf(kVisible));
    parser.vProcess30Dat(spanOf(cmc(30, "\xF9")));
    parser.vProcess75Dat(spanOf(cmc(75, "12345678\x0A")));
    const CmcStatus& s = parser.Status();
    EXPECT_EQ(row(s.visibleSatellites, s.message30, s.message75), "12 9 10");
    parser.vProcess49Dat(dataOf(kStatus));
    EXPECT_FLOAT_EQ(s.maskAngle, 0.078539816F);
    parser.vProcess49Dat(spanOf(with<std::uint16_t>(kStatus, 23, 9000)));
    EXPECT_FLOAT_EQ(s.maskAngle, 1.5707963F);
    parser.vProcess49Dat(spanOf(with<std::uint16_t>(kStatus, 23, 0xFFFF)));
    EXPECT_FLOAT_EQ(s.maskAngle, 11.438015F) << "the value is unsigned";
}

TEST(CmcFormat, ReadsIdentification) {
    struct {
        const char* name;
        std::string number, serial;  // bytes 30 and 31, and those from 73
        int expectedNumber;
        const char* expectedText;
    } const cases[] = {
        {"digits and a serial number", "42", "SUPER00123456", 42, "SUPER00123456"},
        {"letters count like digits", "A1", "ab12-345 789x", 171, "ab12-345 789x"},
        {"one character is no digit: the number stays", "4 ", "SUPER00123456", 77, "SUPER00123456"},
        {"the serial is a number", "42", hex("efbeadde") + "456789012", 42, "DEADBEEF"},
        {"a small one is padded with blanks", "42", hex("2a010000"), 42, "     12A"},
        {"one blank among the four", "42", "SU ER00123456", 42, "45205553"},
    };

    std::string data(95, '\x7F');
    data.replace(26, 2, "77").replace(69, 13, "OLD SERIAL NO");
    for (const auto& c : cases) {
        CCMCFormat parser;
        parser.vProcess45Dat(spanOf(cmc(45, data)));
        std::string newer = data;
        newer.replace(26, 2, c.number).replace(69, c.serial.size(), c.serial);
        parser.vProcess45Dat(dataOf(cmc(45, newer)));
        EXPECT_EQ(parser.Identification().number, c.expectedNumber) << c.name;
        EXPECT_EQ(parser.Identification().text, c.expectedText) << c.name;
    }
}

std::string stateOf(const CCMCFormat& p) {
    return shown(p.Navigation()) + p.Identification().text +
           row(p.Status().message30, p.Status().visibleSatellites, p.Status().maskAngle,
               p.Status().message75);
}

TEST(CmcFormat, FramesThatAreTooShortChangeNothing) {
    const std::pair<void (CCMCFormat::*)(ByteSpan), std::size_t> cases[] = {
        {&CCMCFormat::vProcress20Dat, 74}, {&CCMCFormat::vProcess30Dat, 7},  {&CCMCFormat::vProcess33Dat, 7},
        {&CCMCFormat::vProcess45Dat, 88},  {&CCMCFormat::vProcess49Dat, 27}, {&CCMCFormat::vProcess75Dat, 15},
    };
    for (const auto& [process, shortest] : cases) {
        const std::vector<unsigned char> bytes(shortest, 0x31);
        CCMCFormat parser;
        (parser.*process)(ByteSpan(bytes).first(shortest - 1));
        EXPECT_EQ(stateOf(parser), stateOf(CCMCFormat())) << shortest;
        (parser.*process)(bytes);
        EXPECT_NE(stateOf(parser), stateOf(CCMCFormat())) << shortest;
    }
}

}  // namespace
}  // namespace vkcomm::test
