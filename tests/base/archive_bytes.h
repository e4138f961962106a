// Bytes of archives, as tests write them down.
#pragma once

#include <string_view>
#include <vector>

#include "vkcomm/base/archive.h"

namespace vkcomm::test {

using Bytes = std::vector<unsigned char>;

// Hexadecimal digits, and characters between quotes; blanks separate: "FF 01 'A'" is FF 01 41.
inline Bytes bytesOf(std::string_view text) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    Bytes bytes;
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\'') {
            quoted = !quoted;
        } else if (quoted) {
            bytes.push_back(static_cast<unsigned char>(text[i]));
        } else if (text[i] != ' ') {
            const std::size_t high = kDigits.find(text[i]), low = kDigits.find(text.at(++i));
            bytes.push_back(static_cast<unsigned char>(high * 16 + low));
        }
    }
    return bytes;
}

// What store leaves in an archive.
template <typename Store>
Bytes stored(Store store) {
    Bytes bytes;
    base::CArchive archive = base::CArchive::StoreTo(bytes);
    store(archive);
    return bytes;
}

inline Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

}  // namespace vkcomm::test
