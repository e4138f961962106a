#include "vkcomm/util/numbers.h"

#include <algorithm>
#include <array>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace vkcomm {

namespace {

constexpr int kWidestField = 4096;
constexpr int kMostDecimals = 4096;

// The decimal digit c stands for, above 9 when it is none.
template <typename Char>
constexpr std::uint32_t digitOf(Char c) {
    return static_cast<std::uint32_t>(c) - std::uint32_t{'0'};
}

template <typename Char>
constexpr bool isBlank(Char c) {
    return c == Char{' '} || (c >= Char{'\t'} && c <= Char{'\r'});
}

template <typename Char>
const Char* skipBlanks(const Char* at, const Char* end) {
    while (at != end && isBlank(*at))
        ++at;
    return at;
}

// Steps over one sign; true for a minus.
template <typename Char>
bool takeSign(const Char*& at, const Char* end) {
    if (at == end || (*at != Char{'-'} && *at != Char{'+'})) return false;
    return *at++ == Char{'-'};
}

// Steps over digits and appends them to value, which holds up to 19.
template <typename Char>
const Char* takeDigits(const Char* at, const Char* end, std::uint64_t& value) {
    for (; at != end && digitOf(*at) < 10; ++at)
        value = value * 10 + digitOf(*at);
    return at;
}

template <typename Char>
long integerOf(std::basic_string_view<Char> text) {
    constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<long>::max());
    const Char* const end = text.data() + text.size();
    const Char* at = skipBlanks(text.data(), end);
    const bool negative = takeSign(at, end);
    std::uint64_t value = 0;
    for (; at != end && digitOf(*at) < 10; ++at) {
        if (value > kMost / 10) {  // one more digit leads beyond either end
            value = kMost + 1;
            break;
        }
        value = value * 10 + digitOf(*at);
    }
    if (!negative) return static_cast<long>(std::min(value, kMost));
    return value > kMost ? std::numeric_limits<long>::min() : -static_cast<long>(value);
}

// A number as found at the front of a text. Without its sign it is the plain decimal text [begin, end).
template <typename Char>
struct Decimal {
    const Char* begin;
    const Char* end;
    bool negative;
    std::uint64_t mantissa;      // all digits as one integer; meaningful up to 19 digits
    std::ptrdiff_t wholeDigits;  // before the point
    std::ptrdiff_t digits;       // before and after it
    std::ptrdiff_t exponent;     // as written behind the 'e'

    std::ptrdiff_t scale() const { return exponent - (digits - wholeDigits); }
};

// The exponent that may follow a mantissa; steps over it only when it has a digit.
template <typename Char>
std::ptrdiff_t takeExponent(const Char*& at, const Char* end) {
    constexpr std::ptrdiff_t kFarOutOfRange = 100'000'000;
    if (at == end || (*at != Char{'e'} && *at != Char{'E'})) return 0;
    const Char* cursor = at + 1;
    const bool negative = takeSign(cursor, end);
    if (cursor == end || digitOf(*cursor) > 9) return 0;
    std::ptrdiff_t value = 0;
    for (; cursor != end && digitOf(*cursor) < 10; ++cursor)
        if (value < kFarOutOfRange) value = value * 10 + static_cast<std::ptrdiff_t>(digitOf(*cursor));
    at = cursor;
    return negative ? -value : value;
}

template <typename Char>
Decimal<Char> scanDecimal(std::basic_string_view<Char> text) {
    const Char* const end = text.data() + text.size();
    const Char* at = skipBlanks(text.data(), end);
    Decimal<Char> found{};
    found.negative = takeSign(at, end);
    found.begin = at;
    at = takeDigits(at, end, found.mantissa);
    found.wholeDigits = found.digits = at - found.begin;
    if (at != end && *at == Char{'.'}) {
        const Char* const decimals = at + 1;
        at = takeDigits(decimals, end, found.mantissa);
        found.digits += at - decimals;
    }
    if (found.digits != 0) found.exponent = takeExponent(at, end);
    found.end = at;
    return found;
}

constexpr std::array<double, 23> kPowersOfTen = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                 1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// True when mantissa and power of ten are both exact doubles, so that one operation rounds correctly.
template <typename Char>
bool isExact(const Decimal<Char>& number) {
    constexpr std::ptrdiff_t kMostPower = kPowersOfTen.size() - 1;
    return FLT_EVAL_METHOD == 0 && number.digits <= 19 && number.mantissa <= (std::uint64_t{1} << 53) &&
           number.scale() >= -kMostPower && number.scale() <= kMostPower;
}

double scaled(std::uint64_t mantissa, std::ptrdiff_t scale) {
    const auto value = static_cast<double>(mantissa);
    return scale < 0 ? value / kPowersOfTen[static_cast<std::size_t>(-scale)]
                     : value * kPowersOfTen[static_cast<std::size_t>(scale)];
}

// What a number outside the range of double becomes. The place of its first digit other than 0 tells the end;
// being one off by the point does not matter, since both ends are hundreds away.
double outOfRange(const Decimal<char>& number) {
    const char* const first =
        std::find_if(number.begin, number.end, [](char c) { return c != '0' && c != '.'; });
    if (first == number.end) return 0.0;
    const std::ptrdiff_t place = number.wholeDigits - (first - number.begin);
    return place + number.exponent > 0 ? std::numeric_limits<double>::infinity() : 0.0;
}

double correctlyRounded(const Decimal<char>& number) {
    double value = 0.0;
    const auto result = std::from_chars(number.begin, number.end, value);
    return result.ec == std::errc{} ? value : outOfRange(number);
}

// Scanned text is plain ASCII, so that its low bytes are the same text.
double correctlyRounded(const Decimal<wchar_t>& number) {
    std::array<char, 128> small;
    std::string large;
    const auto size = static_cast<std::size_t>(number.end - number.begin);
    char* narrow = small.data();
    if (size > small.size()) {
        large.resize(size);
        narrow = large.data();
    }
    std::transform(number.begin, number.end, narrow, [](wchar_t c) { return static_cast<char>(c); });
    return correctlyRounded(Decimal<char>{narrow, narrow + size, number.negative, number.mantissa,
                                          number.wholeDigits, number.digits, number.exponent});
}

template <typename Char>
double decimalOf(std::basic_string_view<Char> text) {
    const Decimal<Char> number = scanDecimal(text);
    if (number.digits == 0) return 0.0;
    const double value = isExact(number) ? scaled(number.mantissa, number.scale()) : correctlyRounded(number);
    return number.negative ? -value : value;
}

// What receivers send nearly always: digits with at most one point, few enough to be exact. False for
// anything else, which the general way reads.
bool readPlain(std::string_view text, double& value) {
    constexpr std::size_t kExact = 15;  // digits that a double holds whatever they are
    if (FLT_EVAL_METHOD != 0 || text.size() > kExact) return false;
    const char* const end = text.data() + text.size();
    std::uint64_t mantissa = 0;
    const char* const point = takeDigits(text.data(), end, mantissa);
    if (point != end && *point != '.') return false;
    const char* const decimals = point == end ? end : point + 1;
    if (takeDigits(decimals, end, mantissa) != end) return false;
    value = scaled(mantissa, decimals - end);
    return true;
}

// Appends sign and digits with filler up to width characters: zeros after the sign, blanks before it.
void appendPadded(std::string& out, std::string_view text, int width, char filler) {
    const auto wanted = static_cast<std::size_t>(std::clamp(width, 0, kWidestField));
    if (filler == '0' && text.front() == '-') {
        out += '-';
        text.remove_prefix(1);
        if (wanted > text.size() + 1) out.append(wanted - text.size() - 1, '0');
    } else if (wanted > text.size()) {
        out.append(wanted - text.size(), filler);
    }
    out += text;
}

}  // namespace

long parseInteger(std::string_view text) {
    constexpr std::size_t kFits = 9;  // digits that a long holds whatever they are
    const char* const end = text.data() + text.size();
    std::uint64_t value = 0;
    const bool plain = text.size() <= kFits && takeDigits(text.data(), end, value) == end;
    return plain ? static_cast<long>(value) : integerOf(text);
}

long parseInteger(std::wstring_view text) { return integerOf(text); }

double parseDouble(std::string_view text) {
    double value = 0.0;
    return readPlain(text, value) ? value : decimalOf(text);
}

double parseDouble(std::wstring_view text) { return decimalOf(text); }

void appendFixed(std::string& out, double value, int decimals, int width) {
    if (!std::isfinite(value)) {
        appendPadded(out, std::isnan(value) ? "nan" : value < 0 ? "-inf" : "inf", width, ' ');
        return;
    }
    std::array<char, std::numeric_limits<double>::max_exponent10 + kMostDecimals + 8> buffer;
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                      std::chars_format::fixed, std::clamp(decimals, 0, kMostDecimals));
    appendPadded(out, {buffer.data(), result.ptr}, width, '0');
}

void appendInteger(std::string& out, long long value, int width) {
    std::array<char, 24> buffer;
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    appendPadded(out, {buffer.data(), result.ptr}, width, '0');
}

}  // namespace vkcomm
