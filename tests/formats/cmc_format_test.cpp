#include "vkcomm/formats/cmc_format.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "tests/formats/parser_bytes.h"
#include "tests/host/literal_frames.h"

namespace vkcomm::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

// Recorded, like kCmcUtc.
const std::string kJapan = hex(
    "0114eb471723004072ffff7f49401005d807f2695c300609e43f86486ae7a5520340384c7a4400000000000000000000000000"
    "000000000000001a3a344075ac8b400c001200e20a030300a511");

// A message with these data behind one another, from byte at on.
std::string message(unsigned id, std::size_t at, const std::string& bytes) {
    return cmc(id, std::string(100, '\x7F').replace(at - 4, bytes.size(), bytes));
}

std::string identification(const std::string& number, const std::string& serial) {
    return message(45, 30, number + std::string(41, '\0') + serial);
}

std::string shown(const CCMCFormat& parser) {
    const CmcNavigation& n = parser.Navigation();
    const CmcStatus& s = parser.Status();
    return row(n.position.latitude, n.position.longitude, n.position.height, n.gpsWeek, n.mode, n.alignment,
               n.confident, n.hdop, n.vdop, n.horizontalMerit, n.verticalMerit, n.satellites, s.message30,
               s.visibleSatellites, s.maskAngle, s.message75, parser.Identification().number) +
           parser.Identification().text;
}

std::string ggaOf(CCMCFormat& parser, const std::string& navigation) {
    parser.vProcress20Dat(spanOf(navigation));
    return gpgga(parser.strGetGPGGA());
}

TEST(CmcFormat, ReadsEveryMessage) {
    CCMCFormat parser;
    parser.vProcess30Dat(dataOf(cmc(30, "\xF9")));
    parser.vProcess33Dat(dataOf(cmc(33, "\xFC")));
    parser.vProcess45Dat(dataOf(identification("42", "SUPER00123456")));
    parser.vProcess49Dat(dataOf(message(49, 23, littleOf<std::uint16_t>(9000))));
    parser.vProcess75Dat(dataOf(message(75, 12, "\x0A")));
    parser.vProcress20Dat(dataOf(kCmcUtc));
    EXPECT_EQ(shown(parser),
              "0.9348526242428358 -1.979894090523456 632.2664794921875 1538 2 0 32 3.1 3.3 12.214208 "
              "13.779574 5 9 12 1.5707964 10 42SUPER00123456");
    EXPECT_NEAR(parser.Navigation().gpsSeconds, 539461.0, 1e-5);
    EXPECT_EQ(gpgga(parser.strGetGPGGA()),
              "$GPGGA,055100.00,5333.7865902,N,11326.3745162,W,1,05,3.1,632.266,M,0.00,M,0,*4B\r\n")
        << "3 microseconds before the full second";
    EXPECT_EQ(ggaOf(parser, kJapan),
              "$GPGGA,233551.00,3552.3786983,N,13823.3805677,E,1,10,1.2,1001.191,M,0.00,M,0,*6E\r\n");
    EXPECT_THAT(shown(parser), HasSubstr(" 1479 2 64 32 1.2 1.8 2.8160462 4.364802 10 "));
    parser.vProcess49Dat(spanOf(message(49, 23, "\xFF\xFF")));
    EXPECT_FLOAT_EQ(parser.Status().maskAngle, 11.438015F) << "the value is unsigned";
}

TEST(CmcFormat, OddNavigationMakesNoHarm) {
    CCMCFormat parser;
    for (std::uint8_t mode = 0; mode < 32; ++mode) {
        EXPECT_THAT(ggaOf(parser, with(kCmcUtc, 70, mode)), HasSubstr(",W,1,05,"));
        EXPECT_EQ(row(parser.Navigation().mode, parser.Navigation().confident), row(mode, 0));
    }
    const std::string marked = with<std::uint8_t>(kCmcUtc, 4, 0x25);  // bit 5 is no part of the hour
    EXPECT_THAT(ggaOf(parser, with(marked, 6, 59.75)), StartsWith("$GPGGA,055159.00,"));
    parser.vProcress20Dat(spanOf(with<std::uint8_t>(kCmcUtc, 15, 13)));
    EXPECT_EQ(row(parser.Navigation().gpsWeek, parser.Navigation().gpsSeconds), "1538 539519.75");
    EXPECT_THAT(ggaOf(parser, with(kCmcUtc, 18, double{INFINITY})),
                StartsWith("$GPGGA,055100.00,,,,,0,05,3.1,,M,,M,0,*"));
    parser.vProcress20Dat(spanOf(with<std::uint16_t>(kCmcUtc, 16, 1970)));
    EXPECT_EQ(parser.Navigation().gpsWeek, 0U) << "before the first week";
}

TEST(CmcFormat, TakesNumberAndTextFromTheIdentification) {
    const struct {
        const char* name;
        std::string frame;
        const char* expected;
    } cases[] = {
        {"letters count like digits", identification("A1", "ab12-345 789x"), "171ab12-345 789x"},
        {"one is no digit: the number stays", identification("4 ", "SUPER00123456"), "77SUPER00123456"},
        {"the serial is a number", identification("42", hex("efbeadde") + "456789012"), "42DEADBEEF"},
        {"a small one is padded with blanks", identification("42", hex("2a010000")), "42     12A"},
        {"one blank among the four", identification("42", "SU ER00123456"), "4245205553"},
    };

    for (const auto& c : cases) {
        CCMCFormat parser;
        parser.vProcess45Dat(spanOf(identification("77", "OLD SERIAL NO")));
        parser.vProcess45Dat(spanOf(c.frame));
        const CmcIdentification& got = parser.Identification();
        EXPECT_EQ(std::to_string(got.number) + got.text, c.expected) << c.name;
    }
}

TEST(CmcFormat, FramesThatAreTooShortChangeNothing) {
    expectShortest(&CCMCFormat::vProcress20Dat, 74, shown);
    expectShortest(&CCMCFormat::vProcess30Dat, 7, shown);
    expectShortest(&CCMCFormat::vProcess33Dat, 7, shown);
    expectShortest(&CCMCFormat::vProcess45Dat, 88, shown);
    expectShortest(&CCMCFormat::vProcess49Dat, 27, shown);
    expectShortest(&CCMCFormat::vProcess75Dat, 15, shown);
}

}  // namespace
}  // namespace vkcomm::test
