// Finds where a run of plain text ends, eight bytes at a time.
#pragma once

#include <bit>
#include <cstdint>

#include "vkcomm/util/bytes.h"

namespace vkcomm {

// What receivers send inside a text line: 31 to 126. 31 is deliberate: some firmware pads with it.
constexpr bool isPlainText(unsigned char byte) { return byte >= 31 && byte <= 126; }

namespace detail {

// Bit 7 of the first of eight bytes, lowest first, that is not plain text; bits above it mean nothing. 0 when
// all are. Of any other byte one more or 31 less has bit 7 set; plain text neither carries nor borrows.
constexpr std::uint64_t leavesPlainText(std::uint64_t eight) {
    constexpr std::uint64_t kOnes = 0x0101010101010101u;
    return ((eight + kOnes) | (eight - 31 * kOnes)) & (0x80 * kOnes);
}

}  // namespace detail

// The first byte in [first, last) that is not plain text, or last.
inline const unsigned char* findTextEnd(const unsigned char* first, const unsigned char* last) {
    for (std::ptrdiff_t blocks = (last - first) / 8; blocks > 0; --blocks, first += 8) {
        const std::uint64_t found = detail::leavesPlainText(loadLe<std::uint64_t>(first));
        if (found != 0) return first + std::countr_zero(found) / 8;
    }
    while (first != last && isPlainText(*first))
        ++first;
    return first;
}

}  // namespace vkcomm
