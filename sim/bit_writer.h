// Builds messages bit by bit, most significant bit first.
#pragma once

#include <cstdint>
#include <vector>

#include "vkcomm/util/bytes.h"

namespace vkcomm::sim {

class BitWriter {
public:
    // Appends the lowest width bits of value, 0 to 64; of a negative one these are its two's complement.
    void add(std::int64_t value, int width) {
        const auto bits = static_cast<std::uint64_t>(value);
        for (int bit = width - 1; bit >= 0; --bit) {
            if (m_size % 8 == 0) m_bytes.push_back(0);
            const auto one = static_cast<unsigned char>(bits >> bit & 1);
            m_bytes.back() = static_cast<unsigned char>(m_bytes.back() | one << (7 - m_size % 8));
            ++m_size;
        }
    }

    // The last byte is filled up with zeros.
    ByteSpan bytes() const { return m_bytes; }

private:
    std::vector<unsigned char> m_bytes;
    std::size_t m_size = 0;  // bits
};

}  // namespace vkcomm::sim
