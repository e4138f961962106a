// Bytes for parsers: literal and built ones as spans, and what the recordings hold.
#pragma once

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "tests/decode/frames.h"
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

// The folder of the recordings: VKCOMM_DATA, else beside the sources.
inline std::filesystem::path recordingsFolder() {
    if (const char* folder = std::getenv("VKCOMM_DATA")) return folder;
    return std::filesystem::path(VKCOMM_SOURCE_DIR) / ".." / "shared" / "data";
}

// Empty when there is no such recording.
inline std::string recording(std::string_view name) {
    std::ifstream file(recordingsFolder() / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace vkcomm::test
