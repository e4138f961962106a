// One hexadecimal digit of a text.
#pragma once

namespace vkcomm {

// Its value, of either case; -1 when it is none.
constexpr int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

}  // namespace vkcomm
