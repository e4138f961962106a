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

// Of a whole frame; 0 for one without a number.
int numberOf(std::string_view frame) {
    if (frame.size() < kHead + kShortestMessage + kCheck) return 0;
    return static_cast<int>(byteAt(frame, 3) << 4 | byteAt(frame, 4) >> 4);
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
    const auto giveFront = [&](std::size_t size, int message) {
        give(rest.substr(0, size), message, blocks);
        rest.remove_prefix(size);
    };
    while (others < rest.size()) {
        const std::string_view frame = rest.substr(others);
        const std::size_t size = frameSize(frame);
        if (size > frame.size()) break;
        const bool isGood = size > 0 && crc24q(frame.substr(0, size)) == 0;
        if (!isGood) {
            if (size > 0 && m_isInStep) ++m_badChecks;
            const std::size_t next = std::min(frame.find(kPreamble, 1), frame.size());
            noteOthers(next);
            others += next;
            continue;
        }
        giveFront(std::exchange(others, 0), -1);
        const int number = numberOf(rest.substr(0, size));
        ++m_counts[number];
        m_isInStep = true;
        m_others = 0;
        giveFront(size, number);
    }
    giveFront(others, -1);
    std::string held(rest);
    if (!m_isInStep) {
        give(held, -1, blocks);
        m_given = held.size();
    }
    m_held = std::move(held);
}

// What of these bytes, the next in the stream, has not gone out yet.
void Rtcm3Scanner::give(std::string_view bytes, int message, std::vector<CorrectionBlock>& blocks) {
    const std::size_t gone = std::min(m_given, bytes.size());
    m_given -= gone;
    if (gone < bytes.size()) blocks.push_back({std::string(bytes.substr(gone)), message});
}

void Rtcm3Scanner::noteOthers(std::size_t bytes) {
    m_others = std::min(m_others + bytes, kMostOthers);
    if (m_others == kMostOthers) m_isInStep = false;
}

void Rtcm3Scanner::flush(std::vector<CorrectionBlock>& blocks) {
    give(m_held, -1, blocks);
    m_held.clear();
}

}  // namespace vkcomm
