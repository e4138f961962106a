// Builds binary frames field by field.
#pragma once

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "vkcomm/util/bytes.h"

namespace vkcomm::sim {

class ByteWriter {
public:
    // Appends value, an explicit-width integer, float or double, least or most significant byte first.
    template <typename T>
    void le(T value) {
        std::array<unsigned char, sizeof(T)> raw;
        storeLe(raw.data(), value);
        append(raw);
    }

    template <typename T>
    void be(T value) {
        std::array<unsigned char, sizeof(T)> raw;
        storeBe(raw.data(), value);
        append(raw);
    }

    // Appends a text field of exactly size bytes, cut or filled up with zeros.
    void text(std::string_view value, std::size_t size) {
        for (const char character : value.substr(0, size))
            m_bytes.push_back(static_cast<unsigned char>(character));
        zeros(size - std::min(size, value.size()));
    }

    void zeros(std::size_t count) { m_bytes.resize(m_bytes.size() + count); }

    void append(ByteSpan bytes) {
        for (const unsigned char byte : bytes)
            m_bytes.push_back(byte);
    }

    ByteSpan bytes() const { return m_bytes; }

private:
    std::vector<unsigned char> m_bytes;
};

}  // namespace vkcomm::sim
