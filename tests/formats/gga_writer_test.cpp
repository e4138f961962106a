#include "vkcomm/formats/gga_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "tests/formats/parser_bytes.h"

namespace vkcomm::test {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kRadian = 3.14159265358979323846 / 180.0;  // of a degree

// The sentence of fix without "$GPGGA," and its end; the checksum is checked.
std::string fieldsOf(const GgaFix& fix) {
    const std::string text = gpgga(ggaSentence(fix));
    const std::string inner = text.substr(1, text.rfind('*') - 1);
    EXPECT_EQ(text, sentence(inner));
    EXPECT_TRUE(inner.starts_with("GPGGA,"));
    return inner.substr(6);
}

// A fix at 36 N 20 E unless a case says otherwise.
GgaFix plainFix() { return {45296.0, 36.0 * kRadian, 20.0 * kRadian, 4, 9, 1.0, 100.0, 1.0}; }

TEST(GgaWriter, WritesTheWholeSentence) {
    const GgaFix fix{515220.0, 0.6261018610757, 2.4153552473464, 1, 9, 0.0, 964.639897021465, 39.250259399};
    EXPECT_EQ(gpgga(ggaSentence(fix)),
              "$GPGGA,230700.00,3552.3796511,N,13823.3797019,E,1,09,0.0,964.640,M,39.25,M,0,*61\r\n");
}

TEST(GgaWriter, TimeCarriesAndFoldsIntoADay) {
    const std::pair<double, const char*> cases[] = {
        {45296.789, "123456.79"}, {59.994, "000059.99"},        {59.996, "000100.00"},
        {3599.999, "010000.00"},  {86400.0, "000000.00"},       {86399.999, "000000.00"},
        {604799.0, "235959.00"},  {-1.0, "235959.00"},          {-1e-9, "000000.00"},
        {-86400.0, "000000.00"},  {86400.0 * 1e9, "000000.00"},
    };
    for (const auto& [seconds, text] : cases) {
        GgaFix fix = plainFix();
        fix.seconds = seconds;
        EXPECT_EQ(fieldsOf(fix).substr(0, 9), text) << seconds;
    }
}

TEST(GgaWriter, AnglesCarryAndKeepTheirSign) {
    struct {
        double degrees;
        const char* latitude;
        const char* longitude;
    } const cases[] = {
        {0.0, "0000.0000000,N,", "00000.0000000,E,"},
        {-0.0, "0000.0000000,N,", "00000.0000000,E,"},
        {-1e-12, "0000.0000000,S,", "00000.0000000,W,"},
        {-7.5, "0730.0000000,S,", "00730.0000000,W,"},
        {36.0 - 1e-10, "3600.0000000,N,", "03600.0000000,E,"},
        {36.0 - 2e-9, "3559.9999999,N,", "03559.9999999,E,"},
        {-(12.5 - 1e-10), "1230.0000000,S,", "01230.0000000,W,"},
        {95.25, "9515.0000000,N,", "09515.0000000,E,"},
        {-180.0, "18000.0000000,S,", "18000.0000000,W,"},
        {12345.0, "1234500.0000000,N,", "1234500.0000000,E,"},
    };

    for (const auto& c : cases) {
        std::string latitude, longitude;
        appendLatitude(latitude, c.degrees * kRadian, HemisphereText::kField);
        appendLongitude(longitude, c.degrees * kRadian, HemisphereText::kField);
        EXPECT_EQ(latitude, c.latitude);
        EXPECT_EQ(longitude, c.longitude);
    }
    std::string text = "at ";
    appendLatitude(text, -7.5 * kRadian, HemisphereText::kSuffix);
    appendLongitude(text, 120.25 * kRadian, HemisphereText::kSuffix);
    appendLatitude(text, kNan, HemisphereText::kSuffix);
    EXPECT_EQ(text, "at 0730.0000000S12015.0000000E");
}

// Whatever the angle: the text says the angle to half its last digit, and minutes stay below 60.
TEST(GgaWriter, AnglesReadBack) {
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> anywhere(0.0, 180.0);
    std::uniform_real_distribution<double> nearby(-2e-9, 2e-9);
    for (int i = 0; i < 200000; ++i) {
        const double degrees = std::abs(i % 2 == 0 ? anywhere(random) : (i % 10800) / 60.0 + nearby(random));
        std::string text;
        appendLongitude(text, degrees * kRadian, HemisphereText::kSuffix);
        ASSERT_EQ(text.size(), 14u) << text;
        const double minutes = std::stod(text.substr(3));
        ASSERT_LT(minutes, 60.0) << text;
        ASSERT_NEAR(std::stod(text.substr(0, 3)) * 60.0 + minutes, degrees * 60.0, 0.51e-7) << text;
    }
}

TEST(GgaWriter, NumbersKeepTheirFormats) {
    struct {
        int satellites;
        double hdop, height, undulation;
        const char* text;
    } const cases[] = {
        {3, 0.84, 1.0005, 1.0, "03,0.8,1.000,M,1.00,M,0,"},
        {24, 99.96, -12.3456, -29.2, "24,100.0,-12.346,M,-29.20,M,0,"},
        {123, 1e6, 1e7, 1e3, "123,1000000.0,10000000.000,M,1000.00,M,0,"},
        {0, 0.0, -0.0, -0.001, "00,0.0,-0.000,M,-0.00,M,0,"},
    };

    for (const auto& c : cases) {
        const GgaFix p = plainFix();
        EXPECT_EQ(
            fieldsOf({p.seconds, p.latitude, p.longitude, 4, c.satellites, c.hdop, c.height, c.undulation}),
            std::string("123456.00,3600.0000000,N,02000.0000000,E,4,") + c.text);
    }
    const double huge = std::numeric_limits<double>::max();
    EXPECT_THAT(fieldsOf({-huge, -huge, huge, 4, -2147483647 - 1, huge, -huge, huge}),
                testing::MatchesRegex("[0-9]{6}\\.[0-9]{2},[0-9]+\\.[0-9]{7},S,[0-9]+\\.[0-9]{7},E,4,"
                                      "-2147483648,[0-9]{309}\\.0,-[0-9]{309}\\.000,M,[0-9]{309}\\.00,M,0,"));
}

TEST(GgaWriter, OneBadNumberMeansNoPosition) {
    const std::pair<double GgaFix::*, const char*> cases[] = {
        {&GgaFix::seconds, ",,,,,0,09,1.0,,M,,M,0,"},
        {&GgaFix::latitude, "123456.00,,,,,0,09,1.0,,M,,M,0,"},
        {&GgaFix::longitude, "123456.00,,,,,0,09,1.0,,M,,M,0,"},
        {&GgaFix::hdop, "123456.00,,,,,0,09,,,M,,M,0,"},
        {&GgaFix::height, "123456.00,,,,,0,09,1.0,,M,,M,0,"},
        {&GgaFix::undulation, "123456.00,,,,,0,09,1.0,,M,,M,0,"},
    };
    for (const auto& [number, text] : cases)
        for (const double bad : {kNan, kInfinity, -kInfinity}) {
            GgaFix fix = plainFix();
            fix.*number = bad;
            EXPECT_EQ(fieldsOf(fix), text);
        }
}

}  // namespace
}  // namespace vkcomm::test
