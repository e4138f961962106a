// Bytes for parsers, literal and built.
#pragma once

#include <bit>
#include <cstdint>
#include <string>
#include <string_view>

#include "tests/decode/frames.h"
#include "tests/host/recordings.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm::test {

inline ByteSpan spanOf(std::string_view bytes) {
    return {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()};
}

inline const unsigned char* dataOf(const std::string& bytes) {
    return reinterpret_cast<const unsigned char*>(bytes.data());
}

inline std::string big(std::uint64_t value, int count) {
    const std::string bytes = little(value, count);
    return {bytes.rbegin(), bytes.rend()};
}

inline std::string bigDouble(double value) { return big(std::bit_cast<std::uint64_t>(value), 8); }

inline std::string bigFloat(float value) { return big(std::bit_cast<std::uint32_t>(value), 4); }

inline std::string littleDouble(double value) { return little(std::bit_cast<std::uint64_t>(value), 8); }

// bytes with value written at the position.
inline std::string patched(std::string bytes, std::size_t at, std::string_view value) {
    return bytes.replace(at, value.size(), value);
}

inline std::string gpgga(const std::wstring& sentence) { return {sentence.begin(), sentence.end()}; }

}  // namespace vkcomm::test
