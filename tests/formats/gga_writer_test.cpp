#include "vkcomm/formats/gga_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "tests/formats/parser_bytes.h"
#include "tests/has_pattern.h"

namespace vkcomm::test {
namespace {

constexpr double kNan = NAN, kInfinity = INFINITY, kHuge = std::numeric_limits<double>::max();
constexpr double kRadian = 3.14159265358979323846 / 180.0;  // of a degree

TEST(GgaWriter, WritesEveryFiniteFixAndNoPositionForOthers) {
    const std::pair<GgaFix, const char*> cases[] = {
        {{515220.0, 0.6261018610757, 2.4153552473464, 1, 9, 0.0, 964.6398970214, 39.2502},
         "$GPGGA,230700.00,3552.3796511,N,13823.3797019,E,1,09,0.0,964.640,M,39.25,M,0,*61\r\n"},
        // times carry and fold into a day
        {{.seconds = 45296.789}, "GGA,123456.79,"},
        {{.seconds = 59.994}, "GGA,000059.99,"},
        {{.seconds = 59.996}, "GGA,000100.00,"},
        {{.seconds = 3599.999}, "GGA,010000.00,"},
        {{.seconds = 86399.999}, "GGA,000000.00,"},
        {{.seconds = -1.0}, "GGA,235959.00,"},
        {{.seconds = -1e-9}, "GGA,000000.00,"},
        {{.seconds = -86400.0}, "GGA,000000.00,"},
        // so do angles, which keep their sign
        {{.latitude = -0.0}, ".00,0000.0000000,N,00000.0000000,E,0"},
        {{.latitude = -1e-14, .longitude = -1e-14}, ".00,0000.0000000,S,00000.0000000,W,0"},
        {{.latitude = (36.0 - 1e-10) * kRadian}, ".00,3600.0000000,N,"},
        {{.latitude = (36.0 - 2e-9) * kRadian}, ".00,3559.9999999,N,"},
        {{.longitude = (1e-10 - 12.5) * kRadian}, ",N,01230.0000000,W,"},
        {{.latitude = 12345.0 * kRadian, .longitude = 12345.0 * kRadian},
         "1234500.0000000,N,1234500.0000000,"},
        // numbers
        {{.quality = 4, .satellites = 3, .hdop = 0.84, .height = 1.0005}, ",4,03,0.8,1.000,M,0.00,M,0,*"},
        {{.satellites = 123, .hdop = 99.96, .height = -12.3456, .undulation = -29.2},
         ",0,123,100.0,-12.346,M,-29.20,M,0,*"},
        {{.satellites = -2147483647 - 1, .height = -0.0, .undulation = -0.001},
         ",-2147483648,0.0,-0.000,M,-0.00,M,0,*"},
        // not even one may be bad
        {{kNan, 1.0, 1.0, 4, 9, 1.0, 1.0, 1.0}, "GGA,,,,,,0,09,1.0,,M,,M,0,*"},
        {{0.0, kInfinity, 1.0, 4, 9, 1.0, 1.0, 1.0}, "GGA,000000.00,,,,,0,09,1.0,,M,,M,0,*"},
        {{0.0, 1.0, -kInfinity, 4, 9, 1.0, 1.0, 1.0}, "GGA,000000.00,,,,,0,09,1.0,,M,,M,0,*"},
        {{0.0, 1.0, 1.0, 4, 9, kNan, 1.0, 1.0}, "GGA,000000.00,,,,,0,09,,,M,,M,0,*"},
        {{0.0, 1.0, 1.0, 4, 9, 1.0, kInfinity, 1.0}, "GGA,000000.00,,,,,0,09,1.0,,M,,M,0,*"},
        {{0.0, 1.0, 1.0, 4, 9, 1.0, 1.0, kNan}, "GGA,000000.00,,,,,0,09,1.0,,M,,M,0,*"},
    };
    for (const auto& [fix, part] : cases) {
        const std::string text = gpgga(ggaSentence(fix));
        EXPECT_THAT(text, testing::HasSubstr(part));
        EXPECT_EQ(text, sentence(text.substr(1, text.rfind('*') - 1))) << "checksum and ends";
    }
    EXPECT_THAT(gpgga(ggaSentence({-kHuge, -kHuge, kHuge, 4, 9, kHuge, -kHuge, kHuge})),
                HasPattern("GGA,[0-9]{6}\\.[0-9]{2},[0-9]+\\.[0-9]{7},S,[0-9]+\\.[0-9]{7},E,4,"
                           "09,[0-9]{309}\\.0,-[0-9]{309}\\.000,M,[0-9]{309}\\.00,M,0,\\*"));
}

// Whatever the angle: the text says the angle to half its last digit, and minutes stay below 60.
TEST(GgaWriter, AnglesReadBack) {
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> anywhere(0.0, 180.0), nearby(-2e-9, 2e-9);
    for (int i = 0; i < 200000; ++i) {
        const double degrees = std::abs(i % 2 == 0 ? anywhere(random) : (i % 10800) / 60.0 + nearby(random));
        std::string text;
        appendLongitude(text, degrees * kRadian, HemisphereText::kSuffix);
        const double minutes = std::stod(text.substr(3));
        ASSERT_TRUE(text.size() == 14 && minutes < 60.0) << text;
        ASSERT_NEAR(std::stod(text.substr(0, 3)) * 60.0 + minutes, degrees * 60.0, 0.51e-7) << text;
    }
    std::string text = "at ";
    appendLatitude(text, -7.5 * kRadian, HemisphereText::kSuffix);
    appendLatitude(text, kNan, HemisphereText::kSuffix);
    EXPECT_EQ(text, "at 0730.0000000S");
}

}  // namespace
}  // namespace vkcomm::test
