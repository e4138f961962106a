#include "host/rtcm3_scanner.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vkcomm {

namespace {

constexpr char kPreamble = '\xD3';
constexpr std::size_t kHead = 3;
constexpr std::size_t kCheck = 3;
constexpr std::size_t kShortestMessage = 2;  // holds a number

constexpr std::array<std::uint32_t, 256> kTable = [] {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
        std::uint32_t crc = byte << 16;
        for (int bit = 0; bit < 8; ++bit)
            crc = crc << 1 ^ ((crc & 0x800000U) != 0 ? 0x1864CFBU : 0U);
        table[byte] = crc & 0xFFFFFFU;
    }
    return table;
}();

std::uint32_t byteAt(std::string_view bytes, std::size_t at) { return static_cast<unsigned char>(bytes[at]); }

// How many bytes of a frame that begins here are known to be needed; 0: no frame begins here.
std::size_t frameSize(std::string_view bytes) {
    if (bytes[0] != kPreamble) return 0;
    if (bytes.size() < kHead) return kHead;
    if ((byteAt(bytes, 1) & 0xFCU) != 0) return 0;
    return kHead + (byteAt(bytes, 1) << 8 | byteAt(bytes, 2)) + kCheck;
}

}  // namespace

std::uint32_t crc24q(std::string_view bytes) {
    std::uint32_t crc = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i)
        crc = (crc << 8 & 0xFFFFFFU) ^ kTable[(crc >> 16 ^ byteAt(bytes, i)) & 0xFF];
    return crc;
}

void Rtcm3Scanner::feed(std::string_view bytes, std::vector<CorrectionBlock>& blocks) {
    m_held += bytes;
    std::string_view rest = m_held;
    std::size_t others = 0;  // bytes at the front of rest that belong to no message
    const auto giveOthers = [&] {
        if (others > 0) blocks.push_back({std::string(rest.substr(0, others)), -1});
        rest.remove_prefix(std::exchange(others, 0));
    };
    while (others < rest.size()) {
        const std::string_view frame = rest.substr(others);
        const std::size_t size = frameSize(frame);
        if (size > frame.size()) break;
        const bool isGood = size > 0 && crc24q(frame.substr(0, size)) == 0;
        if (size > 0 && !isGood) ++m_badChecks;
        if (!isGood) {
            const std::size_t next = frame.find(kPreamble, 1);
            others = next == frame.npos ? rest.size() : others + next;
            continue;
        }
        giveOthers();
        const bool hasNumber = size >= kHead + kShortestMessage + kCheck;
        const int number = hasNumber ? static_cast<int>(byteAt(rest, 3) << 4 | byteAt(rest, 4) >> 4) : 0;
        ++m_counts[number];
        blocks.push_back({std::string(rest.substr(0, size)), number});
        rest.remove_prefix(size);
    }
    giveOthers();
    m_held = std::string(rest);
}

void Rtcm3Scanner::flush(std::vector<CorrectionBlock>& blocks) {
    if (!m_held.empty()) blocks.push_back({std::exchange(m_held, {}), -1});
}

}  // namespace vkcomm
