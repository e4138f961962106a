#include "host/shown_text.h"

#include <algorithm>

#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

namespace {

constexpr char16_t kCutOff = u'\u2026';  // three points

constexpr bool isControl(char16_t unit) { return unit < 0x20 || (unit >= 0x7F && unit < 0xA0); }

constexpr bool isContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

}  // namespace

std::string shownText(std::string_view text) { return shownText(text, std::string::npos); }

std::string shownText(std::string_view text, std::size_t most) {
    std::u16string units = toUtf16(text);
    std::erase_if(units, isControl);
    if (units.size() > most) {
        units.resize(most - 1);
        units += kCutOff;
    }
    return toUtf8(units);
}

std::size_t shownWidth(std::string_view utf8) {
    return utf8.size() - static_cast<std::size_t>(std::ranges::count_if(utf8, isContinuation));
}

}  // namespace vkcomm
