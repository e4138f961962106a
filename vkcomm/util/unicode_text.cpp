#include "vkcomm/util/unicode_text.h"

#include <algorithm>
#include <cstdint>
#include <type_traits>

namespace vkcomm {

namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kLastCharacter = 0x10FFFF;

using WideUnit = std::conditional_t<sizeof(wchar_t) == sizeof(char16_t), char16_t, char32_t>;

constexpr bool isHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }

constexpr bool isLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

// What a character must continue with behind its lead byte. The first bound is narrower behind four leads, so
// that overlong forms, surrogates and values above the last character are never taken.
struct Continuation {
    int count = 0;  // bytes to come; 0: not a lead
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
};

constexpr Continuation continuationOf(unsigned char lead) {
    if (lead < 0xC2 || lead > 0xF4) return {};
    if (lead < 0xE0) return {1};
    const auto low = static_cast<unsigned char>(lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80);
    const auto high = static_cast<unsigned char>(lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF);
    return {lead < 0xF0 ? 2 : 3, low, high};
}

// The character at the front of a text that is not empty; steps over what it took.
char32_t takeCharacter(std::string_view& text) {
    const auto lead = static_cast<unsigned char>(text.front());
    text.remove_prefix(1);
    if (lead < 0x80) return lead;
    auto [count, low, high] = continuationOf(lead);
    if (count == 0) return kReplacement;
    char32_t value = lead & (0x3Fu >> count);
    for (; count > 0; --count, low = 0x80, high = 0xBF) {
        const auto byte = static_cast<unsigned char>(text.empty() ? 0 : text.front());
        if (byte < low || byte > high) return kReplacement;
        value = value << 6 | (byte & 0x3Fu);
        text.remove_prefix(1);
    }
    return value;
}

template <typename Unit>
char32_t takeUnits(std::basic_string_view<Unit>& text, char16_t) {
    const char32_t first = static_cast<char16_t>(text.front());
    text.remove_prefix(1);
    if (!isHighSurrogate(first)) return isLowSurrogate(first) ? kReplacement : first;
    if (text.empty() || !isLowSurrogate(static_cast<char16_t>(text.front()))) return kReplacement;
    const char32_t second = static_cast<char16_t>(text.front());
    text.remove_prefix(1);
    return 0x10000 + ((first - 0xD800) << 10 | (second - 0xDC00));
}

template <typename Unit>
char32_t takeUnits(std::basic_string_view<Unit>& text, char32_t) {
    const auto value = static_cast<char32_t>(text.front());
    text.remove_prefix(1);
    const bool character = value <= kLastCharacter && !isHighSurrogate(value) && !isLowSurrogate(value);
    return character ? value : kReplacement;
}

char32_t takeCharacter(std::u16string_view& text) { return takeUnits(text, char16_t{}); }

char32_t takeCharacter(std::wstring_view& text) { return takeUnits(text, WideUnit{}); }

void appendCharacter(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
        return;
    }
    const int count = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;  // bytes behind the lead
    const auto bits = [c](int place) { return static_cast<char>(0x80 | (c >> 6 * place & 0x3F)); };
    constexpr std::uint32_t kLeads[] = {0, 0xC0, 0xE0, 0xF0};
    out += static_cast<char>(kLeads[count] | c >> 6 * count);
    for (int place = count - 1; place >= 0; --place)
        out += bits(place);
}

template <typename Unit>
void appendUnits(std::basic_string<Unit>& out, char32_t c, char16_t) {
    if (c < 0x10000) {
        out += static_cast<Unit>(c);
        return;
    }
    out += static_cast<Unit>(0xD7C0 + (c >> 10));
    out += static_cast<Unit>(0xDC00 + (c & 0x3FF));
}

template <typename Unit>
void appendUnits(std::basic_string<Unit>& out, char32_t c, char32_t) {
    out += static_cast<Unit>(c);
}

void appendCharacter(std::u16string& out, char32_t c) { appendUnits(out, c, char16_t{}); }

void appendCharacter(std::wstring& out, char32_t c) { appendUnits(out, c, WideUnit{}); }

template <typename To, typename From>
To converted(From text) {
    To out;
    out.reserve(text.size());
    while (!text.empty())
        appendCharacter(out, takeCharacter(text));
    return out;
}

}  // namespace

std::string toUtf8(std::wstring_view text) { return converted<std::string>(text); }

std::string toUtf8(std::u16string_view text) { return converted<std::string>(text); }

std::wstring toWide(std::string_view utf8) { return converted<std::wstring>(utf8); }

std::wstring toWide(std::u16string_view text) { return converted<std::wstring>(text); }

std::u16string toUtf16(std::wstring_view text) { return converted<std::u16string>(text); }

std::u16string toUtf16(std::string_view utf8) { return converted<std::u16string>(utf8); }

std::u16string utf16Units(ByteSpan bytes, std::endian order) {
    std::u16string units;
    units.reserve((bytes.size() + 1) / 2);
    for (; bytes.size() >= 2; bytes = bytes.subspan(2)) {
        const auto* at = bytes.data();
        units += static_cast<char16_t>(order == std::endian::little ? loadLe<std::uint16_t>(at)
                                                                    : loadBe<std::uint16_t>(at));
    }
    if (!bytes.empty()) units += static_cast<char16_t>(kReplacement);
    return units;
}

std::string_view cutUtf8(std::string_view utf8, std::size_t mostBytes) {
    if (utf8.size() <= mostBytes) return utf8;
    constexpr std::size_t kMostContinuations = 3;
    const auto continues = [&](std::size_t at) { return (utf8[at] & 0xC0) == 0x80; };
    std::size_t end = mostBytes;
    while (end > 0 && mostBytes - end < kMostContinuations && continues(end))
        --end;
    return utf8.substr(0, continues(end) ? mostBytes : end);
}

}  // namespace vkcomm
