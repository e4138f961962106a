#include "vkcomm/util/numbers.h"

#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <random>
#include <string>
#include <utility>

// Formats come from tables here.
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

namespace vkcomm {
namespace {

constexpr double kInf = INFINITY, kNan = NAN;

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

template <typename... Arguments>
void expectAsPrintf(const std::string& format, Arguments... arguments) {
    ASSERT_EQ(byLibrary(format.c_str(), arguments...), byPrintf(format.c_str(), arguments...)) << format;
}

// With every mixture of flags, width and precision before the conversion.
template <typename Value>
void expectAsPrintfInEveryForm(const std::string& conversion, bool alternate, Value value) {
    for (const std::string flags : {"", "-", "+", " ", "#", "0", "-0", "+ ", "+0", " 0", "#0", "-#", "-+ #0"})
        for (const char* size : {"", "1", "12", ".0", ".", ".1", ".3", "9.4", "30.17", ".25", "40.30"})
            if (alternate || flags.find('#') == std::string::npos)
                expectAsPrintf("%" + flags + size + conversion, value);
}

// What append adds to a text that is not empty.
template <typename... Arguments>
std::string added(void (*append)(std::string&, Arguments...), Arguments... arguments) {
    std::string out = "$";
    append(out, arguments...);
    return out;
}

std::wstring wide(const std::string& text) { return {text.begin(), text.end()}; }

TEST(ParseInteger, TakesWhatStandsInFrontAndClamps) {
    const std::string most = std::to_string(LONG_MAX), least = std::to_string(LONG_MIN);
    const std::string above = std::to_string(static_cast<unsigned long>(LONG_MAX) + 1);
    // clang-format off
    for (const auto& [text, value] : std::initializer_list<std::pair<std::string, long>>{
             {"007", 7}, {"", 0}, {"-", 0}, {"--5", 0}, {"+17", 17}, {" \t\n\v\f\r-42xyz", -42}, {"- 5", 0},
             {"12.9", 12}, {"0x1F", 0}, {most, LONG_MAX}, {above, LONG_MAX}, {least, LONG_MIN},
             {"20000000000000000000", LONG_MAX}, {least.substr(0, least.size() - 1) + "9", LONG_MIN},
             {"-" + std::string(5000, '9'), LONG_MIN}}) {
        EXPECT_EQ(parseInteger(text), value) << text;
        EXPECT_EQ(parseInteger(wide(text)), value) << text;
    }
    // clang-format on
    EXPECT_EQ(parseInteger(std::string_view("1234", 2)), 12);
    EXPECT_EQ(parseInteger(std::wstring(1, static_cast<wchar_t>(0x131)) + L"5"), 0);  // low byte is '1'
}

void expectDouble(const std::string& text, double expected) {
    const auto bits = std::bit_cast<std::uint64_t>(expected);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(parseDouble(text)), bits) << text.substr(0, 80);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(parseDouble(wide(text))), bits) << text.substr(0, 80);
}

TEST(ParseDouble, AsStrtodReadsDecimals) {
    const std::string zeros(500, '0'), many(900, '0');
    // clang-format off
    for (const std::string& text : std::initializer_list<std::string>{
             "3723.46587704", "-0", "+.5", "5.", "1.e3", "  \t-17.25N", "1.2.3", "1,5", "1e", "1e+", "2.5e-x",
             "9007199254740993", "9007199254740993e-22", "1e22", "1e23", "1e999999999999999999999",
             "18446744073709551621", "0.18446744073709551621",  // 5 modulo 2^64
             "123456789012345678901234567890", "0.000000000000000000000000000001", "2.2250738585072011e-308",
             "2.4703282292062327e-324", "2.4703282292062328e-324", "1.7976931348623157e308",
             "1.7976931348623159e308", "-1e400", "-1e-400", "1e-999999999999999999999",
             "0e999999999999999999999", "0." + zeros + "1", "0." + zeros + "1e501", "1" + zeros,
             "1" + zeros + "e-500", "0.5" + many + "1", "9007199254740993" + many + "1e-901"})
        expectDouble(text, std::strtod(text.c_str(), nullptr));
    // clang-format on
    for (const char* text : {"", "-", ".", "-.", ".e5", "- 1", "inf", "-inf", "nan", "NAN(1)", "e5", "0x1p4"})
        expectDouble(text, 0.0);
    expectDouble("1inf", 1.0);
    EXPECT_EQ(parseDouble(std::string_view("1.2345", 3)), 1.2);
    EXPECT_EQ(parseDouble(std::wstring(L"1.") + static_cast<wchar_t>(0x135)), 1.0);
}

TEST(ParseDouble, AsStrtodOnRandomText) {
    std::mt19937 random(20240607);
    const auto below = [&](unsigned limit) { return static_cast<unsigned>(random() % limit); };
    for (int i = 0; i < 200'000; ++i) {
        std::string text(below(3) == 0 ? "-" : "");
        const unsigned digits = 1 + below(i % 10 == 0 ? 40 : 17), point = below(digits + 1);
        for (unsigned k = 0; k < digits; ++k)
            (text += k == point ? "." : "") += static_cast<char>('0' + below(10));
        if (below(3) == 0) text += "e" + std::to_string(static_cast<int>(below(680)) - 345);
        expectDouble(text, std::strtod(text.c_str(), nullptr));
    }
}

TEST(AppendFixedAndInteger, AsPrintf) {
    for (const double value : {0.0, -0.0, 0.5, 1.5, 2.5, -2.5, 0.125, 1.005, 0.045, 9.95, 99.9999999,
                               3723.46587704, -114.03, 1e22, 1.7e308, -5e-324})
        for (const int decimals : {0, 1, 2, 3, 7, 20, 400})
            for (const int width : {0, 5, 12, 40})
                EXPECT_EQ(added(appendFixed, value, decimals, width),
                          "$" + byPrintf("%0*.*f", width, decimals, value));
    EXPECT_EQ(added(appendFixed, kNan, 2, 0) + added(appendFixed, -kNan, 2, 6), "$nan$   nan");
    EXPECT_EQ(added(appendFixed, kInf, 2, 5) + added(appendFixed, -kInf, 2, 5), "$  inf$ -inf");
    EXPECT_EQ(added(appendFixed, 1.5, -3, 0) + added(appendFixed, 7.0, 0, -5), "$2$7");
    EXPECT_EQ(added(appendFixed, 1.0, 5000, 0), "$1." + std::string(4096, '0'));
    for (const int width : {0, 1, 2, 5, 30})
        for (const long long value : {0LL, -7LL, 99999LL, LLONG_MAX, LLONG_MIN})
            EXPECT_EQ(added(appendInteger, value, width), "$" + byPrintf("%0*lld", width, value));
}

template <typename... Types>
void expectAsPrintfInTypes(const char* format, long long value) {
    expectAsPrintf(format, static_cast<Types>(value)...);
}

TEST(AppendFormat, IntegersAsPrintf) {
#ifdef _WIN32
    GTEST_SKIP() << "the printf of this system has ways of its own";
#endif
    for (const long long value : {0LL, 1LL, -1LL, 8LL, 9LL, 127LL, 128LL, -129LL, 255LL, 65536LL, 0xABCDEFLL,
                                  0LL + INT_MAX, 0LL + INT_MIN, LLONG_MAX, LLONG_MIN}) {
        for (const char* type : {"lld", "lli"})
            expectAsPrintfInEveryForm(type, false, value);
        for (const char* type : {"llu", "llx", "llX", "llo"})
            expectAsPrintfInEveryForm(type, type[2] != 'u', static_cast<unsigned long long>(value));
        expectAsPrintfInTypes<int, int, int, long, long long, std::intmax_t, std::ptrdiff_t, std::ptrdiff_t>(
            "%hhd|%hd|%d|%ld|%lld|%jd|%zd|%td", value);
        expectAsPrintfInTypes<unsigned, unsigned, unsigned, unsigned long, std::uintmax_t, std::size_t,
                              std::size_t>("%hhu|%hu|%x|%lX|%jo|%zu|%tu", value);
    }
}

TEST(AppendFormat, FloatsAsPrintf) {
#ifdef _WIN32
    GTEST_SKIP() << "the printf of this system has ways of its own";
#endif
    for (const char* type : {"f", "F", "e", "E", "g", "G", "a", "A"}) {
        for (const double value :
             {0.0,   -0.0, 1.0,   -1.5,       0.5,   2.5,         0.1,         9.9999995, 99999.5,
              1e5,   1e6,  1e-4,  9.99995e-5, 1e-5,  1234567.891, 5e-324,      2.2e-308,  DBL_MAX,
              1e100, kInf, -kInf, kNan,       -kNan, 1.0 / 3,     0x1.fffffp3, 0x1.8p-1})
            expectAsPrintfInEveryForm(type, true, value);
        // Some C libraries lose the zeros of '#' when rounding carries into the exponent.
        expectAsPrintfInEveryForm(type, (*type | 0x20) != 'g', 999999.5);
    }
    EXPECT_EQ(byLibrary("%#g|%#.1G|%.3Lf|%d", 999999.5, 999999.5, -2.5L, 7), "1.00000e+06|1.E+06|-2.500|7");
}

TEST(AppendFormat, TextsAndPointers) {
#ifdef _WIN32
    GTEST_SKIP() << "the printf of this system has ways of its own";
#endif
    int object = 0;
    for (const std::string size : {"", "5", "-5", ".2", "8.3", "-8.3", ".0"}) {
        for (const char* argument : {"", "a", "NovAtel"})
            expectAsPrintf("<%" + size + "s>", argument);
        if (size.find('.') == std::string::npos) expectAsPrintf("<%" + size + "p>", &object);
    }
    const char unterminated[] = {'a', 'b', 'c'};
    EXPECT_EQ(byLibrary("%.3s", &unterminated[0]), "abc");
    EXPECT_EQ(byLibrary("%s|%9s", nullptr, static_cast<const char*>(nullptr)), "(null)|   (null)");
    EXPECT_EQ(byLibrary("%ls|%.2ls|%lc", L"ab\u0141", L"xyz", static_cast<wint_t>('q')), "ab\x41|xy|q");
    expectAsPrintf("%3c%-3c|%02.f %s%%%-*d|%+.*e", 'x', 0, 7.0, "GPS", 4, 5, -1, 1.0);
    EXPECT_EQ(byLibrary("%*d|%-*d|%1$d", -4, 5, -4, 6), "5   |6   |%1$d");
}

TEST(AppendFormat, HostileFormats) {
    int target = 12345678;
    for (const char* copied : {"", "%", "abc%", "%-08.3", "%ll", "%y%k", "%'d", "%.-5f"})
        EXPECT_EQ(byLibrary(copied, &target), copied);
    EXPECT_EQ(byLibrary("%n!%d%%%%", &target, 5) + std::to_string(target), "!5%%12345678");
    EXPECT_EQ(byLibrary("%99999999999d", target), std::string(4088, ' ') + "12345678");
    EXPECT_EQ(byLibrary("%.99999999999d", target), std::string(4088, '0') + "12345678");
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
    const std::string comma = byPrintf("%.1f", 1.5);
    const std::string out =
        byLibrary("%.1f %g %e %a %Lf", 51.5, 0.25, 1.5, 1.5, 2.5L) + added(appendFixed, 51.1, 2, 0);
    const double quick = parseDouble("51.25"), slow = parseDouble(L"51.2500000000000000000000000e1");
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(comma, "1,5") << "the locale has no comma";
    EXPECT_EQ(out, "51.5 0.25 1.500000e+00 0x1.8p+0 2.500000$51.10");
    EXPECT_EQ(quick + slow, 51.25 + 512.5);
}

}  // namespace
}  // namespace vkcomm
