#include "vkcomm/util/numbers.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cctype>
#include <cfloat>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <vector>

// Formats come from tables here.
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

namespace vkcomm {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

template <typename... Arguments>
std::string byLibrary(const char* format, Arguments... arguments) {
    std::string out;
    appendFormat(out, format, arguments...);
    return out;
}

template <typename... Arguments>
std::string byPrintf(const char* format, Arguments... arguments) {
    std::string out(9000, 0);
    out.resize(static_cast<std::size_t>(std::snprintf(out.data(), out.size(), format, arguments...)));
    return out;
}

std::wstring wide(const std::string& text) { return {text.begin(), text.end()}; }

// "%" + each set of flags + each width and precision + conversion
std::vector<std::string> formatsOf(const std::string& conversion, bool alternate = true) {
    std::vector<std::string> formats;
    for (int flags = 0; flags < 32; ++flags) {
        if (!alternate && (flags & 8) != 0) continue;
        std::string start = "%";
        for (int i = 0; i < 5; ++i)
            if ((flags >> i) & 1) start += "-+ #0"[i];
        for (const char* size : {"", "1", "12", ".0", ".", ".1", ".3", "9.4", "30.17", ".25", "40.30"})
            formats.push_back(start + size + conversion);
    }
    return formats;
}

TEST(ParseInteger, Table) {
    struct Case {
        const char* name;
        std::string text;
        long value;
    };

    const std::string most = std::to_string(LONG_MAX), least = std::to_string(LONG_MIN);
    const Case cases[] = {
        {"plain", "1562", 1562},
        {"leading zeros", "007", 7},
        {"empty", "", 0},
        {"only a sign", "-", 0},
        {"two signs", "--5", 0},
        {"plus", "+17", 17},
        {"blanks, then minus", " \t\r\n-42xyz", -42},
        {"blank behind the sign", "- 5", 0},
        {"stops at the point", "12.9", 12},
        {"hexadecimal is text", "0x1F", 0},
        {"most", most, LONG_MAX},
        {"least", least, LONG_MIN},
        {"one above most", std::to_string(static_cast<unsigned long>(LONG_MAX) + 1), LONG_MAX},
        {"one below least", least.substr(0, least.size() - 1) + "9", LONG_MIN},
        {"ten times most", most + "0", LONG_MAX},
        {"absurdly long", "-" + std::string(5000, '9'), LONG_MIN},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(parseInteger(c.text), c.value) << c.name;
        EXPECT_EQ(parseInteger(wide(c.text)), c.value) << c.name;
    }
    EXPECT_EQ(parseInteger(std::string_view{}), 0);
    EXPECT_EQ(parseInteger(std::string_view("1234", 2)), 12);
    EXPECT_EQ(parseInteger(std::wstring(1, static_cast<wchar_t>(0x131)) + L"5"), 0);  // low byte is '1'
}

void expectSame(double actual, double expected, const std::string& text) {
    EXPECT_EQ(std::bit_cast<std::uint64_t>(actual), std::bit_cast<std::uint64_t>(expected))
        << text.substr(0, 80);
}

TEST(ParseDouble, AsStrtodReadsDecimals) {
    const std::string texts[] = {
        "3723.46587704",
        "0.92",
        "-0",
        "+.5",
        "5.",
        "1.e3",
        "  \t-17.25N",
        "1.2.3",
        "1,5",
        "1e",
        "1e+",
        "2.5e-x",
        "9007199254740992",
        "9007199254740993",
        "9007199254740993e-22",
        "18446744073709551621",  // 5 modulo 2^64
        "0.18446744073709551621",
        "1e22",
        "1e23",
        "123456789012345678901234567890",
        "0.000000000000000000000000000001",
        "2.2250738585072011e-308",
        "2.4703282292062327e-324",
        "2.4703282292062328e-324",
        "1.7976931348623157e308",
        "1.7976931348623159e308",
        "-1e400",
        "1e-400",
        "-1e-400",
        "1e999999999999999999999",
        "1e-999999999999999999999",
        "0e999999999999999999999",
        "0." + std::string(500, '0') + "1",
        "0." + std::string(500, '0') + "1e501",
        "1" + std::string(500, '0'),
        "1" + std::string(500, '0') + "e-500",
        "0.5" + std::string(900, '0') + "1",
        "9007199254740993" + std::string(900, '0') + "1e-901",
    };
    for (const std::string& text : texts) {
        const double expected = std::strtod(text.c_str(), nullptr);
        expectSame(parseDouble(text), expected, text);
        expectSame(parseDouble(wide(text)), expected, text);
    }
}

TEST(ParseDouble, WhatIsNotDecimalIsZero) {
    for (const char* text :
         {"", "-", ".", "-.", ".e5", "- 1", "inf", "-inf", "nan", "NAN(1)", "INFINITY", "e5", "x1"}) {
        expectSame(parseDouble(text), 0.0, text);
        expectSame(parseDouble(wide(text)), 0.0, text);
    }
    EXPECT_EQ(parseDouble("0x1p4"), 0.0);
    EXPECT_EQ(parseDouble("1inf"), 1.0);
    EXPECT_EQ(parseDouble(std::string_view("1.2345", 3)), 1.2);
    EXPECT_EQ(parseDouble(std::wstring(L"1.") + static_cast<wchar_t>(0x135)), 1.0);
}

TEST(ParseDouble, AsStrtodOnRandomText) {
    std::mt19937 random(20240607);
    const auto below = [&](unsigned limit) { return static_cast<unsigned>(random() % limit); };
    for (int i = 0; i < 200'000; ++i) {
        std::string text(below(3) == 0 ? "-" : "");
        const unsigned digits = 1 + below(i % 10 == 0 ? 40 : 17), point = below(digits + 1);
        for (unsigned k = 0; k < digits; ++k) {
            if (k == point) text += '.';
            text += static_cast<char>('0' + below(10));
        }
        if (below(3) == 0) text += "e" + std::to_string(static_cast<int>(below(680)) - 345);
        expectSame(parseDouble(text), std::strtod(text.c_str(), nullptr), text);
    }
}

TEST(AppendFixed, AsPrintf) {
    const double values[] = {0.0,     -0.0,  0.5,   1.5,     2.5,     -2.5,       0.125,
                             0.375,   1.005, 0.045, 9.95,    59.995,  99.9999999, 3723.46587704,
                             -114.03, 1e15,  1e22,  1.7e308, -5e-324, 123456.0};
    for (const double value : values)
        for (const int decimals : {0, 1, 2, 3, 7, 20, 400})
            for (const int width : {0, 5, 12, 40}) {
                std::string out = "$";
                appendFixed(out, value, decimals, width);
                EXPECT_EQ(out, "$" + byPrintf("%0*.*f", width, decimals, value));
            }
}

TEST(AppendFixed, SpecialValues) {
    struct Case {
        double value;
        int decimals, width;
        std::string text;
    };

    const Case cases[] = {
        {kNan, 2, 0, "nan"},
        {-kNan, 2, 6, "   nan"},
        {kInf, 2, 5, "  inf"},
        {-kInf, 2, 5, " -inf"},
        {1.5, -3, 0, "2"},
        {7.0, 0, -5, "7"},
        {1.0, 5000, 0, "1." + std::string(4096, '0')},
    };
    for (const Case& c : cases) {
        std::string out;
        appendFixed(out, c.value, c.decimals, c.width);
        EXPECT_EQ(out, c.text);
    }
}

TEST(AppendInteger, AsPrintf) {
    for (const long long value : {0LL, 7LL, -7LL, 99999LL, LLONG_MAX, LLONG_MIN})
        for (const int width : {0, 1, 2, 5, 30}) {
            std::string out = "$";
            appendInteger(out, value, width);
            EXPECT_EQ(out, "$" + byPrintf("%0*lld", width, value));
        }
}

TEST(AppendFormat, IntegersAsPrintf) {
    const long long values[] = {0,   1,     -1,    9,       127,     128,       -129,
                                255, 65535, 65536, INT_MAX, INT_MIN, LLONG_MAX, LLONG_MIN};
    for (const char* type : {"d", "i"})
        for (const std::string& sizes : formatsOf("", false))
            for (const long long value : values) {
                const auto check = [&](const char* length, auto argument) {
                    const std::string format = sizes + length + type;
                    ASSERT_EQ(byLibrary(format.c_str(), argument), byPrintf(format.c_str(), argument))
                        << format;
                };
                check("", static_cast<int>(value));
                check("hh", static_cast<int>(value));
                check("h", static_cast<int>(value));
                check("l", static_cast<long>(value));
                check("ll", value);
                check("j", static_cast<std::intmax_t>(value));
                check("z", static_cast<std::ptrdiff_t>(value));
                check("t", static_cast<std::ptrdiff_t>(value));
            }
}

TEST(AppendFormat, UnsignedAsPrintf) {
    const unsigned long long values[] = {0, 1, 7, 8, 255, 256, 0xABCDEF, UINT_MAX, ULLONG_MAX};
    for (const char* type : {"u", "x", "X", "o"})
        for (const std::string& sizes : formatsOf("", *type != 'u'))
            for (const unsigned long long value : values) {
                const auto check = [&](const char* length, auto argument) {
                    const std::string format = sizes + length + type;
                    ASSERT_EQ(byLibrary(format.c_str(), argument), byPrintf(format.c_str(), argument))
                        << format;
                };
                check("", static_cast<unsigned>(value));
                check("hh", static_cast<unsigned>(value));
                check("h", static_cast<unsigned>(value));
                check("l", static_cast<unsigned long>(value));
                check("ll", value);
                check("z", static_cast<std::size_t>(value));
            }
}

TEST(AppendFormat, FloatsAsPrintf) {
    const double values[] = {0.0,       -0.0,        1.0,      -1.5,     0.5,         2.5,     0.1,
                             9.9999995, 99999.5,     100000.0, 999999.5, 1e6,         1e-4,    9.99995e-5,
                             1e-5,      1234567.891, 5e-324,   2.2e-308, DBL_MAX,     1e100,   kInf,
                             -kInf,     kNan,        -kNan,    1.0 / 3,  0x1.fffffp3, 0x1.8p-1};
    for (const char* type : {"f", "F", "e", "E", "g", "G", "a", "A"})
        for (const std::string& format : formatsOf(type))
            for (const double value : values) {
                // Some C libraries lose the zeros of '#' when rounding carries into the exponent.
                const bool carries = std::tolower(*type) == 'g' && value == 999999.5;
                if (carries && format.find('#') != std::string::npos) continue;
                ASSERT_EQ(byLibrary(format.c_str(), value), byPrintf(format.c_str(), value)) << format;
            }
    EXPECT_EQ(byLibrary("%#g|%#.1G|%g", 999999.5, 999999.5, 999999.5), "1.00000e+06|1.E+06|1e+06");
    EXPECT_EQ(byLibrary("%.3Lf|%d", -2.5L, 7), "-2.500|7");
}

TEST(AppendFormat, TextsAndPointersAsPrintf) {
    for (const char* size : {"", "5", "-5", ".2", "8.3", "-8.3", ".0"}) {
        const std::string text = std::string("<%") + size + "s>", pointer = std::string("<%") + size + "p>";
        for (const char* argument : {"", "a", "NovAtel"})
            EXPECT_EQ(byLibrary(text.c_str(), argument), byPrintf(text.c_str(), argument));
        if (text.find('.') != std::string::npos) continue;
        int object = 0;
        EXPECT_EQ(byLibrary(pointer.c_str(), &object), byPrintf(pointer.c_str(), &object));
        EXPECT_EQ(byLibrary("%3c%-3c|", 'x', 0), byPrintf("%3c%-3c|", 'x', 0));
    }
    const std::array<char, 3> unterminated = {'a', 'b', 'c'};
    EXPECT_EQ(byLibrary("%.3s", unterminated.data()), "abc");
    EXPECT_EQ(byLibrary("%s|%9s", nullptr, static_cast<const char*>(nullptr)), "(null)|   (null)");
    EXPECT_EQ(byLibrary("%ls|%.2ls|%lc", L"ab\u0141", L"xyz", static_cast<wint_t>('q')), "ab\x41|xy|q");
}

TEST(AppendFormat, MixedArgumentsKeepTheirOrder) {
    EXPECT_EQ(byLibrary("%4d-%02d-%02d:%02.f %s%%%-*d|%+.*e", 2009, 12, 18, 7.0, "GPS", 4, 5, -1, 1.0),
              byPrintf("%4d-%02d-%02d:%02.f %s%%%-*d|%+.*e", 2009, 12, 18, 7.0, "GPS", 4, 5, -1, 1.0));
    EXPECT_EQ(byLibrary("%*d|%-*d|%1$d", -4, 5, -4, 6), "5   |6   |%1$d");
}

TEST(AppendFormat, HostileFormats) {
    struct Case {
        const char* format;
        std::string text;
    };

    const Case cases[] = {
        {"", ""},
        {"%", "%"},
        {"abc%", "abc%"},
        {"%-08.3", "%-08.3"},
        {"%ll", "%ll"},
        {"%y%k", "%y%k"},
        {"%'d", "%'d"},
        {"%n!", "!"},
        {"%.-5f", "%.-5f"},
        {"%%%%", "%%"},
        {"%99999999999d", std::string(4088, ' ')},
        {"%.99999999999d", std::string(4088, '0')},
    };
    int target = 12345678;
    for (const Case& c : cases) {
        const bool number = c.text.size() > 4000;
        const std::string out = number ? byLibrary(c.format, target) : byLibrary(c.format, &target);
        EXPECT_EQ(out, number ? c.text + "12345678" : c.text) << c.format;
    }
    EXPECT_EQ(target, 12345678);
    EXPECT_EQ(byLibrary("%*d", INT_MIN, 1), "1" + std::string(4095, ' '));
    EXPECT_EQ(byLibrary("%.*f", INT_MAX, DBL_MAX).size(), 309u + 1 + 4096);
    EXPECT_EQ(byLibrary("%.*f", INT_MIN, 1.0), "1.000000");
    EXPECT_EQ(byLibrary(nullptr), "");
}

TEST(Numbers, DoNotFollowTheLocale) {
    const char* found = nullptr;
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "German_Germany.1252", "fr_FR.UTF-8"})
        if (found == nullptr) found = std::setlocale(LC_ALL, name);
    if (found == nullptr) GTEST_SKIP() << "no locale with a decimal comma on this machine";
    std::string out;
    appendFixed(out, 51.1, 2);
    const std::string formatted = byLibrary("%.1f %g %e %a %Lf", 51.5, 0.25, 1.5, 1.5, 2.5L);
    const double narrow = parseDouble("51.25"), slow = parseDouble("51.2500000000000000000000000e1");
    const double wideValue = parseDouble(L"51.2500000000000000000000000e1");
    EXPECT_EQ(byPrintf("%.1f", 1.5), "1,5") << "the locale has no comma";
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(out, "51.10");
    EXPECT_EQ(formatted, "51.5 0.25 1.500000e+00 0x1.8p+0 2.500000");
    EXPECT_EQ(narrow, 51.25);
    EXPECT_EQ(slow, 512.5);
    EXPECT_EQ(wideValue, 512.5);
}

}  // namespace
}  // namespace vkcomm
