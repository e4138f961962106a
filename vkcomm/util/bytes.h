// Reads and writes fixed-width numbers in raw bytes, either byte order, on any host.
//
// load…/store… work on a pointer whose bytes the caller has already checked; ByteReader checks every step
// itself. Nothing here allocates, throws or depends on the host's byte order or alignment rules.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>

namespace vkcomm {

using ByteSpan = std::span<const unsigned char>;

namespace detail {

template <std::endian Order, typename T>
T load(const unsigned char* bytes) {
    static_assert(std::is_arithmetic_v<T>);
    std::array<unsigned char, sizeof(T)> raw;
    std::memcpy(raw.data(), bytes, sizeof(T));
    if constexpr (Order != std::endian::native) std::reverse(raw.begin(), raw.end());
    return std::bit_cast<T>(raw);
}

template <std::endian Order, typename T>
void store(unsigned char* bytes, T value) {
    static_assert(std::is_arithmetic_v<T>);
    auto raw = std::bit_cast<std::array<unsigned char, sizeof(T)>>(value);
    if constexpr (Order != std::endian::native) std::reverse(raw.begin(), raw.end());
    std::memcpy(bytes, raw.data(), sizeof(T));
}

}  // namespace detail

// The number of type T (an explicit-width integer, float or double) whose first byte is *bytes; sizeof(T)
// bytes must be readable. Floating-point numbers are IEEE 754.
template <typename T>
T loadLe(const unsigned char* bytes) {
    return detail::load<std::endian::little, T>(bytes);
}

template <typename T>
T loadBe(const unsigned char* bytes) {
    return detail::load<std::endian::big, T>(bytes);
}

// The first size bytes, at most eight, as one little-endian number; those that are missing count as 0. Only
// size bytes are read: two loads that overlap give the same as a loop over the bytes.
inline std::uint64_t loadLeUpTo8(const unsigned char* bytes, std::size_t size) {
    if (size >= 8) return loadLe<std::uint64_t>(bytes);
    if (size >= 4) {
        const std::uint64_t high = loadLe<std::uint32_t>(bytes + size - 4);
        return loadLe<std::uint32_t>(bytes) | high << 8 * (size - 4);
    }
    if (size == 0) return 0;
    const std::uint64_t middle = bytes[size / 2], last = bytes[size - 1];
    return bytes[0] | middle << 8 * (size / 2) | last << 8 * (size - 1);
}

// Writes value at bytes; sizeof(T) bytes must be writable.
template <typename T>
void storeLe(unsigned char* bytes, T value) {
    detail::store<std::endian::little>(bytes, value);
}

template <typename T>
void storeBe(unsigned char* bytes, T value) {
    detail::store<std::endian::big>(bytes, value);
}

// Walks a span front to back. A read beyond the end returns 0, leaves the position at the end and clears
// ok(); the caller may therefore read a whole layout and ask once. Does not own the bytes.
class ByteReader {
public:
    explicit ByteReader(ByteSpan bytes) : m_bytes(bytes) {}

    template <typename T>
    T le() {
        const unsigned char* at = take(sizeof(T));
        return at ? loadLe<T>(at) : T{};
    }

    template <typename T>
    T be() {
        const unsigned char* at = take(sizeof(T));
        return at ? loadBe<T>(at) : T{};
    }

    // The next count bytes; an empty span and ok() false when there are fewer.
    ByteSpan bytes(std::size_t count) {
        const unsigned char* at = take(count);
        return at ? ByteSpan(at, count) : ByteSpan{};
    }

    void skip(std::size_t count) { take(count); }

    bool ok() const { return m_ok; }

    std::size_t position() const { return m_position; }

    std::size_t remaining() const { return m_bytes.size() - m_position; }

private:
    const unsigned char* take(std::size_t count) {
        if (count > remaining()) {
            m_position = m_bytes.size();
            m_ok = false;
            return nullptr;
        }
        const unsigned char* at = m_bytes.data() + m_position;
        m_position += count;
        return at;
    }

    ByteSpan m_bytes;
    std::size_t m_position = 0;
    bool m_ok = true;
};

}  // namespace vkcomm
