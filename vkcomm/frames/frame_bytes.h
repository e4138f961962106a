// What the frame builders take and make: bytes, and command texts of one byte a character.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "vkcomm/export.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm {

using Bytes = std::vector<unsigned char>;

// The bytes of a text, which must stay alive as long as they are used.
inline ByteSpan bytesOf(std::string_view text) {
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

// The low 8 bits of every character: how command texts become bytes.
VKCOMM_API std::string lowBytes(std::wstring_view text);

// A whole number in decimal.
VKCOMM_API std::string integerText(long long value);

// A number with so many digits behind the point (see appendFixed).
VKCOMM_API std::string fixedPointText(double value, int decimals);

// Appends two upper-case hexadecimal digits a byte.
VKCOMM_API void appendUpperHex(std::string& out, ByteSpan bytes);

}  // namespace vkcomm
