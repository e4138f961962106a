#include "vkcomm/frames/frame_bytes.h"

#include "vkcomm/util/numbers.h"

namespace vkcomm {

std::string lowBytes(std::wstring_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (const wchar_t c : text)
        bytes += static_cast<char>(static_cast<unsigned char>(c));
    return bytes;
}

std::string integerText(long long value) {
    std::string text;
    appendInteger(text, value);
    return text;
}

std::string fixedPointText(double value, int decimals) {
    std::string text;
    appendFixed(text, value, decimals);
    return text;
}

void appendUpperHex(std::string& out, ByteSpan bytes) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    for (const unsigned char byte : bytes) {
        out += kDigits[byte >> 4];
        out += kDigits[byte & 0x0F];
    }
}

}  // namespace vkcomm
