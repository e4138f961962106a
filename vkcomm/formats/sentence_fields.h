// The fields of one narrow sentence, split once and read in place.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <limits>
#include <string_view>

#include "vkcomm/util/bytes.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace detail {

// Bit 7 of every byte of eight that equals c.
constexpr std::uint64_t bytesEqual(std::uint64_t eight, char c) {
    constexpr std::uint64_t kOnes = 0x0101010101010101u;
    constexpr std::uint64_t kLow = 0x7F * kOnes;
    const std::uint64_t zeroWhereEqual = eight ^ kOnes * static_cast<unsigned char>(c);
    return ~(((zeroWhereEqual & kLow) + kLow) | zeroWhereEqual | kLow);
}

}  // namespace detail

// Same numbering and separators as CSentence, without copies: the text must outlive the object. Fields from
// kMostFields on are empty.
class SentenceFields {
public:
    static constexpr std::size_t kMostFields = 24;

    explicit SentenceFields(std::string_view text) {
        if (text.empty()) return;
        const char* const end = text.data() + text.size();
        const char* at = text.data() + 1;
        const char** next = m_starts.data();
        const char** const last = next + kMostFields + 1;
        *next++ = at;
        for (; end - at >= 8; at += 8) {
            const auto eight = loadLe<std::uint64_t>(reinterpret_cast<const unsigned char*>(at));
            std::uint64_t separators = detail::bytesEqual(eight, ',') | detail::bytesEqual(eight, '*');
            for (; separators != 0 && next != last; separators &= separators - 1)
                *next++ = at + std::countr_zero(separators) / 8 + 1;
        }
        for (; at != end && next != last; ++at)
            if (*at == ',' || *at == '*') *next++ = at + 1;
        *next = end + 1;
        m_count = std::min(static_cast<std::size_t>(next - m_starts.data()), kMostFields);
    }

    std::string_view text(std::size_t n) const {
        if (n >= m_count) return {};
        return {m_starts[n], static_cast<std::size_t>(m_starts[n + 1] - m_starts[n]) - 1};
    }

    double real(std::size_t n) const { return parseDouble(text(n)); }

    int integer(std::size_t n) const {
        using Int = std::numeric_limits<int>;
        return static_cast<int>(std::clamp<long>(parseInteger(text(n)), Int::min(), Int::max()));
    }

private:
    // Where each field begins: one character behind the separator that ends the one before, the last
    // included.
    std::array<const char*, kMostFields + 2> m_starts;
    std::size_t m_count = 0;
};

}  // namespace vkcomm
