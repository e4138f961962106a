// Text between UTF-8, UTF-16 and the wide characters of this system, which have 16 or 32 bits.
//
// Whatever is ill-formed in the source (a stray or missing byte, half a surrogate pair, a value that is no
// character) becomes U+FFFD, one for each longest piece that could have begun a character; nothing is refused
// and nothing depends on the locale. Thread-safe; nothing throws but what a growing string throws.
#pragma once

#include <bit>
#include <cstddef>
#include <string>
#include <string_view>

#include "vkcomm/export.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm {

VKCOMM_API std::string toUtf8(std::wstring_view text);
VKCOMM_API std::string toUtf8(std::u16string_view text);
VKCOMM_API std::wstring toWide(std::string_view utf8);
VKCOMM_API std::wstring toWide(std::u16string_view text);
VKCOMM_API std::u16string toUtf16(std::wstring_view text);
VKCOMM_API std::u16string toUtf16(std::string_view utf8);

// The 16-bit units in bytes, in the given order; a last odd byte gives U+FFFD.
VKCOMM_API std::u16string utf16Units(ByteSpan bytes, std::endian order);

// The longest front of utf8 that has at most mostBytes bytes and ends between two characters.
VKCOMM_API std::string_view cutUtf8(std::string_view utf8, std::size_t mostBytes);

}  // namespace vkcomm
