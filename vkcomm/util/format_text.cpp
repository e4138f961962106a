// The printf engine behind appendFormat: one Conversion at a time is read from the format and rendered.
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <limits>
#include <type_traits>

#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

constexpr int kMost = 4096;  // of widths and precisions
constexpr int kNotGiven = -1;

enum class Length { none, hh, h, l, ll, j, z, t, L };

struct Conversion {
    bool left = false;
    bool plus = false;
    bool blank = false;
    bool alternate = false;
    bool zero = false;
    int width = 0;
    int precision = kNotGiven;
    Length length = Length::none;
    char type = 0;
};

// One rendered argument: sign or base mark, zeros that the precision asks for, digits or text.
struct Field {
    std::string_view prefix;
    std::size_t zeros = 0;
    std::string_view body;
};

void append(std::string& out, const Conversion& conversion, const Field& field, bool zeroFill) {
    const std::size_t size = field.prefix.size() + field.zeros + field.body.size();
    const auto width = static_cast<std::size_t>(conversion.width);
    const std::size_t padding = width > size ? width - size : 0;
    const bool fill = zeroFill && conversion.zero && !conversion.left;
    if (!fill && !conversion.left) out.append(padding, ' ');
    out += field.prefix;
    out.append(field.zeros + (fill ? padding : 0), '0');
    out += field.body;
    if (conversion.left) out.append(padding, ' ');
}

constexpr bool isUpper(char type) { return type >= 'A' && type <= 'Z'; }

void raiseCase(char* first, char* last) {
    std::transform(first, last, first,
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
}

std::string_view signOf(const Conversion& conversion, bool negative) {
    return negative ? "-" : conversion.plus ? "+" : conversion.blank ? " " : "";
}

constexpr int baseOf(char type) {
    switch (type) {
    case 'o': return 8;
    case 'x':
    case 'X':
    case 'p': return 16;
    default: return 10;
    }
}

std::string_view baseMark(const Conversion& conversion, unsigned long long value) {
    if (!conversion.alternate || value == 0 || baseOf(conversion.type) != 16) return "";
    return conversion.type == 'X' ? "0X" : "0x";
}

void appendDigits(std::string& out, const Conversion& conversion, std::string_view prefix,
                  unsigned long long value) {
    std::array<char, 24> buffer;
    char* const begin = buffer.data();
    char* end = std::to_chars(begin, begin + buffer.size(), value, baseOf(conversion.type)).ptr;
    if (isUpper(conversion.type)) raiseCase(begin, end);
    if (value == 0 && conversion.precision == 0) end = begin;
    const auto digits = static_cast<std::size_t>(end - begin);
    auto wanted = static_cast<std::size_t>(std::max(conversion.precision, 0));
    const bool leadingZero = digits != 0 && *begin == '0';
    if (conversion.type == 'o' && conversion.alternate && !leadingZero) wanted = std::max(wanted, digits + 1);
    const std::size_t zeros = wanted > digits ? wanted - digits : 0;
    append(out, conversion, {prefix, zeros, {begin, digits}}, conversion.precision == kNotGiven);
}

// Room for the longest fixed form; every other form is shorter.
using FloatBuffer = std::array<char, std::numeric_limits<double>::max_exponent10 + kMost + 16>;

// value in one of the forms of to_chars; the end of the text is returned.
char* render(FloatBuffer& buffer, double value, std::chars_format form, int precision) {
    char* const end = buffer.data() + buffer.size() - 1;  // one place is kept for ensurePoint
    return precision == kNotGiven ? std::to_chars(buffer.data(), end, value, form).ptr
                                  : std::to_chars(buffer.data(), end, value, form, precision).ptr;
}

// Puts the point that '#' asks for behind the digits when there is none; the new end is returned.
char* ensurePoint(char* begin, char* end, char exponentMark) {
    if (std::find(begin, end, '.') != end) return end;
    char* const at = std::find(begin, end, exponentMark);
    std::copy_backward(at, end, end + 1);
    *at = '.';
    return end + 1;
}

// "%#g": as %g, but trailing zeros stay.
char* renderAllDigits(FloatBuffer& buffer, double value, int precision) {
    const int digits = std::max(precision, 1);
    char* const end = render(buffer, value, std::chars_format::scientific, digits - 1);
    const char* mark = std::find(buffer.data(), end, 'e');
    int exponent = 0;
    std::from_chars(mark + (mark[1] == '+' ? 2 : 1), end, exponent);
    if (exponent < -4 || exponent >= digits) return end;
    return render(buffer, value, std::chars_format::fixed, digits - 1 - exponent);
}

char* renderFinite(FloatBuffer& buffer, const Conversion& conversion, double value) {
    const int precision = conversion.precision == kNotGiven ? 6 : conversion.precision;
    switch (conversion.type) {
    case 'f':
    case 'F': return render(buffer, value, std::chars_format::fixed, precision);
    case 'e':
    case 'E': return render(buffer, value, std::chars_format::scientific, precision);
    case 'a':
    case 'A': return render(buffer, value, std::chars_format::hex, conversion.precision);
    default:
        return conversion.alternate ? renderAllDigits(buffer, value, precision)
                                    : render(buffer, value, std::chars_format::general, precision);
    }
}

void appendFloat(std::string& out, const Conversion& conversion, double value) {
    const bool finite = std::isfinite(value);
    const bool hexadecimal = finite && (conversion.type == 'a' || conversion.type == 'A');
    FloatBuffer buffer;
    char* const begin = buffer.data();
    char* end = finite ? renderFinite(buffer, conversion, std::fabs(value))
                       : std::copy_n(std::isnan(value) ? "nan" : "inf", 3, begin);
    if (finite && conversion.alternate) end = ensurePoint(begin, end, hexadecimal ? 'p' : 'e');
    if (isUpper(conversion.type)) raiseCase(begin, end);
    std::string prefix(signOf(conversion, std::signbit(value)));
    if (hexadecimal) prefix += conversion.type == 'A' ? "0X" : "0x";
    append(out, conversion, {prefix, 0, {begin, end}}, finite);
}

// The first size characters of text, but no more than up to its terminator.
template <typename Char>
std::basic_string_view<Char> bounded(const Char* text, int size) {
    if (size == kNotGiven) return text;
    const Char* const end = text + size;
    std::size_t length = 0;
    while (text + length != end && text[length] != Char{})
        ++length;
    return {text, length};
}

class Formatter {
public:
    Formatter(std::string& out, va_list arguments) : m_out(out) { va_copy(m_arguments, arguments); }

    ~Formatter() { va_end(m_arguments); }

    Formatter(const Formatter&) = delete;
    Formatter& operator=(const Formatter&) = delete;

    void run(const char* format);

private:
    const char* read(const char* at, Conversion& conversion);
    const char* readNumber(const char* at, int& value);
    bool write(const Conversion& conversion);
    void writeSigned(const Conversion& conversion);
    void writePointer(Conversion conversion);
    void writeCharacter(const Conversion& conversion);
    void writeText(const Conversion& conversion);
    long long signedArgument(Length length);
    unsigned long long unsignedArgument(Length length);
    double floatArgument(Length length);

    std::string& m_out;
    va_list m_arguments;
};

void Formatter::run(const char* format) {
    while (*format != 0) {
        const std::size_t literal = std::strcspn(format, "%");
        m_out.append(format, literal);
        format += literal;
        if (*format == 0) return;
        Conversion conversion;
        const char* const end = read(format + 1, conversion);
        if (!write(conversion)) m_out.append(format, end);
        format = end;
    }
}

// A decimal number or '*'; what is neither leaves value alone.
const char* Formatter::readNumber(const char* at, int& value) {
    if (*at == '*') {
        value = std::clamp(va_arg(m_arguments, int), -kMost, kMost);
        return at + 1;
    }
    for (; *at >= '0' && *at <= '9'; ++at)
        value = std::min(value * 10 + (*at - '0'), kMost);
    return at;
}

const char* readFlags(const char* at, Conversion& conversion) {
    for (;; ++at) {
        switch (*at) {
        case '-': conversion.left = true; break;
        case '+': conversion.plus = true; break;
        case ' ': conversion.blank = true; break;
        case '#': conversion.alternate = true; break;
        case '0': conversion.zero = true; break;
        default: return at;
        }
    }
}

const char* readLength(const char* at, Length& length) {
    switch (*at) {
    case 'h': length = at[1] == 'h' ? Length::hh : Length::h; break;
    case 'l': length = at[1] == 'l' ? Length::ll : Length::l; break;
    case 'j': length = Length::j; break;
    case 'z': length = Length::z; break;
    case 't': length = Length::t; break;
    case 'L': length = Length::L; break;
    default: return at;
    }
    return at + (length == Length::hh || length == Length::ll ? 2 : 1);
}

// Reads what stands behind a '%'; the place behind it is returned. The type is 0 when the format ends too
// early.
const char* Formatter::read(const char* at, Conversion& conversion) {
    at = readFlags(at, conversion);
    at = readNumber(at, conversion.width);
    if (conversion.width < 0) {
        conversion.left = true;
        conversion.width = -conversion.width;
    }
    if (*at == '.') {
        conversion.precision = 0;
        at = readNumber(at + 1, conversion.precision);
        conversion.precision = std::max(conversion.precision, kNotGiven);
    }
    at = readLength(at, conversion.length);
    conversion.type = *at;
    return *at == 0 ? at : at + 1;
}

// False when the conversion is not known.
bool Formatter::write(const Conversion& conversion) {
    switch (conversion.type) {
    case 'd':
    case 'i': writeSigned(conversion); return true;
    case 'u':
    case 'x':
    case 'X':
    case 'o': {
        const unsigned long long value = unsignedArgument(conversion.length);
        appendDigits(m_out, conversion, baseMark(conversion, value), value);
        return true;
    }
    case 'f':
    case 'F':
    case 'e':
    case 'E':
    case 'g':
    case 'G':
    case 'a':
    case 'A': appendFloat(m_out, conversion, floatArgument(conversion.length)); return true;
    case 'c': writeCharacter(conversion); return true;
    case 's': writeText(conversion); return true;
    case 'p': writePointer(conversion); return true;
    case 'n': va_arg(m_arguments, void*); return true;
    case '%': m_out += '%'; return true;
    default: return false;
    }
}

void Formatter::writeSigned(const Conversion& conversion) {
    const long long value = signedArgument(conversion.length);
    const auto bits = static_cast<unsigned long long>(value);
    appendDigits(m_out, conversion, signOf(conversion, value < 0), value < 0 ? 0 - bits : bits);
}

void Formatter::writePointer(Conversion conversion) {
    const auto value = reinterpret_cast<std::uintptr_t>(va_arg(m_arguments, void*));
    conversion.alternate = true;
    if (value == 0) return append(m_out, conversion, {"", 0, "(nil)"}, false);
    appendDigits(m_out, conversion, baseMark(conversion, value), value);
}

void Formatter::writeCharacter(const Conversion& conversion) {
    const char character = conversion.length == Length::l
                               ? static_cast<char>(va_arg(m_arguments, decltype(+std::wint_t{})))
                               : static_cast<char>(va_arg(m_arguments, int));
    append(m_out, conversion, {"", 0, {&character, 1}}, false);
}

void Formatter::writeText(const Conversion& conversion) {
    const void* const text = va_arg(m_arguments, const void*);
    if (text == nullptr) {
        append(m_out, conversion, {"", 0, bounded("(null)", conversion.precision)}, false);
    } else if (conversion.length == Length::l) {
        std::string narrow;
        for (const wchar_t c : bounded(static_cast<const wchar_t*>(text), conversion.precision))
            narrow += static_cast<char>(c);
        append(m_out, conversion, {"", 0, narrow}, false);
    } else {
        append(m_out, conversion, {"", 0, bounded(static_cast<const char*>(text), conversion.precision)},
               false);
    }
}

long long Formatter::signedArgument(Length length) {
    switch (length) {
    case Length::hh: return static_cast<signed char>(va_arg(m_arguments, int));
    case Length::h: return static_cast<short>(va_arg(m_arguments, int));
    case Length::l: return va_arg(m_arguments, long);
    case Length::L:
    case Length::ll: return va_arg(m_arguments, long long);
    case Length::j: return va_arg(m_arguments, std::intmax_t);
    case Length::z: return va_arg(m_arguments, std::make_signed_t<std::size_t>);
    case Length::t: return va_arg(m_arguments, std::ptrdiff_t);
    default: return va_arg(m_arguments, int);
    }
}

unsigned long long Formatter::unsignedArgument(Length length) {
    switch (length) {
    case Length::hh: return static_cast<unsigned char>(va_arg(m_arguments, unsigned));
    case Length::h: return static_cast<unsigned short>(va_arg(m_arguments, unsigned));
    case Length::l: return va_arg(m_arguments, unsigned long);
    case Length::L:
    case Length::ll: return va_arg(m_arguments, unsigned long long);
    case Length::j: return va_arg(m_arguments, std::uintmax_t);
    case Length::z: return va_arg(m_arguments, std::size_t);
    case Length::t: return va_arg(m_arguments, std::make_unsigned_t<std::ptrdiff_t>);
    default: return va_arg(m_arguments, unsigned);
    }
}

// Deliberate: a long double is printed as the double next to it, since the standard library turns only float
// and double into text without asking the locale.
double Formatter::floatArgument(Length length) {
    return length == Length::L ? static_cast<double>(va_arg(m_arguments, long double))
                               : va_arg(m_arguments, double);
}

}  // namespace

void appendFormatV(std::string& out, const char* format, va_list arguments) {
    if (format != nullptr) Formatter(out, arguments).run(format);
}

void appendFormat(std::string& out, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    appendFormatV(out, format, arguments);
    va_end(arguments);
}

}  // namespace vkcomm
