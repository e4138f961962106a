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

// Bit 7 of every byte of eight that is a comma or a star. Exact, also for neighbours of either.
constexpr std::uint64_t separatorsOf(std::uint64_t eight) {
    constexpr std::uint64_t kOnes = 0x0101010101010101u;
    constexpr std::uint64_t kLow = 0x7F * kOnes;
    // adding 127 to seven bits leaves bit 7 clear only for 0
    const std::uint64_t noComma = ((eight & kLow) ^ ',' * kOnes) + kLow;
    const std::uint64_t noStar = ((eight & kLow) ^ '*' * kOnes) + kLow;
    return ~((noComma & noStar) | eight | kLow);
}

}  // namespace detail

// Same numbering and separators as CSentence, without copies: the text must outlive the object. Fields from
// kMostFields on are empty.
class SentenceFields {
public:
    static constexpr std::size_t kMostFields = 24;

    explicit SentenceFields(std::string_view text) {
        if (text.empty()) return;
        m_text = text.data();
        std::size_t* next = m_starts.data();
        std::size_t* const last = next + kMostFields;
        *next++ = 1;
        for (std::size_t at = 1; at < text.size() && next <= last; at += 8) {
            const auto* const bytes = reinterpret_cast<const unsigned char*>(m_text + at);
            std::uint64_t found = detail::separatorsOf(loadLeUpTo8(bytes, text.size() - at));
            for (; found != 0; found &= found - 1)
                *next++ = at + (static_cast<std::size_t>(std::countr_zero(found)) >> 3) + 1;
        }
        *next = text.size() + 1;
        m_count = std::min(static_cast<std::size_t>(next - m_starts.data()), kMostFields);
    }

    std::string_view text(std::size_t n) const {
        if (n >= m_count) return {};
        return {m_text + m_starts[n], m_starts[n + 1] - m_starts[n] - 1};
    }

    double real(std::size_t n) const { return parseDouble(text(n)); }

    int integer(std::size_t n) const {
        using Int = std::numeric_limits<int>;
        return static_cast<int>(std::clamp<long>(parseInteger(text(n)), Int::min(), Int::max()));
    }

private:
    // Where each field begins: one character behind the separator that ends the one before, the last
    // included. The last eight characters looked at may begin more fields than are kept.
    std::array<std::size_t, kMostFields + 9> m_starts;
    const char* m_text = nullptr;
    std::size_t m_count = 0;
};

}  // namespace vkcomm
