#include "vkcomm/formats/gga_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "tests/formats/parser_bytes.h"

namespace vkcomm::test {
namespace {

using testing::MatchesRegex;
using testing::StartsWith;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kHuge = std::numeric_limits<double>::max();
constexpr double kRadian = 3.14159265358979323846 / 180.0;  // of a degree

// The sentence of fix without "$GPGGA," and without its end, whose checksum is checked.
std::string fieldsOf(const GgaFix& fix) {
    const std::string sentence = gpgga(ggaSentence(fix));
    EXPECT_THAT(sentence, StartsWith("$GPGGA,"));
    const std::size_t star = sentence.rfind('*');
    if (star == std::string::npos) return sentence;
    unsigned sum = 0;
    for (std::size_t i = 1; i < star; ++i)
        sum ^= static_cast<unsigned char>(sentence[i]);
    char end[8];
    std::snprintf(end, sizeof end, "*%02X\r\n", sum);
    EXPECT_EQ(sentence.substr(star), end);
    return sentence.substr(7, star - 7);
}

// A fix at 36 N 20 E unless a case says otherwise.
GgaFix plainFix() { return {45296.0, 36.0 * kRadian, 20.0 * kRadian, 4, 9, 1.0, 100.0, 1.0}; }

TEST(GgaWriter, WritesTheWholeSentence) {
    const GgaFix fix{515220.0,
                     35.87299418486539 * 0.017453292519943295,
                     138.38966169772877 * 0.017453292519943295,
                     1,
                     9,
                     0.0,
                     964.639897021465,
                     39.250259399};
    EXPECT_EQ(gpgga(ggaSentence(fix)),
              "$GPGGA,230700.00,3552.3796511,N,13823.3797019,E,1,09,0.0,964.640,M,39.25,M,0,*61\r\n");
}

TEST(GgaWriter, TimeCarriesAndFoldsIntoADay) {
    struct Case {
        double seconds;
        const char* text;
    };

    const Case cases[] = {
        {0.0, "000000.00"},       {45296.0, "123456.00"},       {45296.789, "123456.79"},
        {59.994, "000059.99"},    {59.996, "000100.00"},        {3599.999, "010000.00"},
        {86399.999, "000000.00"}, {86400.0, "000000.00"},       {604799.0, "235959.00"},
        {-1.0, "235959.00"},      {-1e-9, "000000.00"},         {4294967.0, "170247.00"},
        {-86400.0, "000000.00"},  {86400.0 * 1e9, "000000.00"},
    };
    for (const Case& c : cases) {
        GgaFix fix = plainFix();
        fix.seconds = c.seconds;
        EXPECT_EQ(fieldsOf(fix).substr(0, 9), c.text) << c.seconds;
    }
}

TEST(GgaWriter, AnglesCarryAndKeepTheirSign) {
    struct Case {
        const char* name;
        double degrees;
        const char* latitude;
        const char* longitude;
    };

    const Case cases[] = {
        {"zero", 0.0, "0000.0000000,N,", "00000.0000000,E,"},
        {"negative zero", -0.0, "0000.0000000,N,", "00000.0000000,E,"},
        {"negative, rounds to zero", -1e-12, "0000.0000000,S,", "00000.0000000,W,"},
        {"south and west", -7.5, "0730.0000000,S,", "00730.0000000,W,"},
        {"whole degrees from radians", 36.0, "3600.0000000,N,", "03600.0000000,E,"},
        {"just below a degree", 36.0 - 1e-10, "3600.0000000,N,", "03600.0000000,E,"},
        {"just far enough below", 36.0 - 2e-9, "3559.9999999,N,", "03559.9999999,E,"},
        {"just below a minute", -(12.5 - 1e-10), "1230.0000000,S,", "01230.0000000,W,"},
        {"pole", 90.0, "9000.0000000,N,", "09000.0000000,E,"},
        {"beyond the pole", 95.25, "9515.0000000,N,", "09515.0000000,E,"},
        {"date line", -180.0, "18000.0000000,S,", "18000.0000000,W,"},
        {"just below the date line", 180.0 - 1e-10, "18000.0000000,N,", "18000.0000000,E,"},
        {"five digits of degrees", 12345.0, "1234500.0000000,N,", "1234500.0000000,E,"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::string latitude, longitude;
        appendLatitude(latitude, c.degrees * kRadian, HemisphereText::kField);
        appendLongitude(longitude, c.degrees * kRadian, HemisphereText::kField);
        EXPECT_EQ(latitude, c.latitude);
        EXPECT_EQ(longitude, c.longitude);
    }
}

TEST(GgaWriter, AnglesComeWithoutSeparatorsToo) {
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
    struct Case {
        const char* name;
        int satellites;
        double hdop;
        double height;
        double undulation;
        const char* text;
    };

    const Case cases[] = {
        {"one digit of satellites", 3, 0.84, 1.0005, 1.0, "03,0.8,1.000,M,1.00,M,0,"},
        {"two", 24, 99.96, -12.3456, -29.2, "24,100.0,-12.346,M,-29.20,M,0,"},
        {"three", 123, 1e6, 1e7, 1e3, "123,1000000.0,10000000.000,M,1000.00,M,0,"},
        {"signed zeros", 0, 0.0, -0.0, -0.001, "00,0.0,-0.000,M,-0.00,M,0,"},
    };
    for (const Case& c : cases) {
        GgaFix fix = plainFix();
        fix.satellites = c.satellites;
        fix.hdop = c.hdop;
        fix.height = c.height;
        fix.undulation = c.undulation;
        EXPECT_EQ(fieldsOf(fix), std::string("123456.00,3600.0000000,N,02000.0000000,E,4,") + c.text)
            << c.name;
    }
}

TEST(GgaWriter, OneBadNumberMeansNoPosition) {
    struct Case {
        const char* name;
        double GgaFix::*number;
        const char* text;
    };

    const Case cases[] = {
        {"time", &GgaFix::seconds, ",,,,,0,09,1.0,,M,,M,0,"},
        {"latitude", &GgaFix::latitude, "123456.00,,,,,0,09,1.0,,M,,M,0,"},
        {"longitude", &GgaFix::longitude, "123456.00,,,,,0,09,1.0,,M,,M,0,"},
        {"hdop", &GgaFix::hdop, "123456.00,,,,,0,09,,,M,,M,0,"},
        {"height", &GgaFix::height, "123456.00,,,,,0,09,1.0,,M,,M,0,"},
        {"undulation", &GgaFix::undulation, "123456.00,,,,,0,09,1.0,,M,,M,0,"},
    };
    for (const Case& c : cases)
        for (const double bad : {kNan, kInfinity, -kInfinity}) {
            GgaFix fix = plainFix();
            fix.*c.number = bad;
            EXPECT_EQ(fieldsOf(fix), c.text) << c.name << ' ' << bad;
        }
}

TEST(GgaWriter, HugeNumbersArePrintedWithTheirQuality) {
    const GgaFix fix{-kHuge, -kHuge, kHuge, 4, -2147483647 - 1, kHuge, -kHuge, kHuge};
    EXPECT_THAT(fieldsOf(fix),
                MatchesRegex("[0-9]{6}\\.[0-9]{2},[0-9]+\\.[0-9]{7},S,[0-9]+\\.[0-9]{7},E,4,"
                             "-2147483648,[0-9]{309}\\.0,-[0-9]{309}\\.000,M,[0-9]{309}\\.00,M,0,"));
}

}  // namespace
}  // namespace vkcomm::test
