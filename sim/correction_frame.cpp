#include "sim/correction_frame.h"

#include <algorithm>
#include <array>
#include <bit>
#include <optional>

#include "sim/rtcm3_frame.h"
#include "vkcomm/util/checksums.h"

namespace vkcomm::sim {

namespace {

using enum CorrectionMatch;

// ---- RTCM 3

// GPS and GLONASS observations, and the multiple signal messages of every system.
bool isObservation(int number) {
    return (number >= 1001 && number <= 1004) || (number >= 1009 && number <= 1012) ||
           (number >= 1071 && number <= 1137);
}

CorrectionLook lookForRtcm3(ByteSpan bytes) {
    if (bytes.size() < kRtcm3Head) return {kUnfinished};
    const std::size_t length = loadBe<std::uint16_t>(bytes.data() + 1);
    if (length > kRtcm3LongestMessage) return {kNone};
    const std::size_t size = kRtcm3Head + length + kRtcm3Check;
    if (bytes.size() < size) return {kUnfinished};
    if (rtcm3Check(bytes.first(size)) != 0) return {kNone};
    const bool corrects = length >= 2 && isObservation(rtcm3Number(bytes.subspan(kRtcm3Head)));
    return {corrects ? kCorrections : kOther, size};
}

// ---- CMR

// 02h, status, type, length, data, the sum of all behind the 02h, 03h; types 93h CMR, 94h CMR+, 98h CMR type 2.
CorrectionLook lookForCmr(ByteSpan bytes) {
    constexpr std::size_t kHead = 4, kTail = 2;
    if (bytes.size() < kHead) return {kUnfinished};
    if (bytes[2] != 0x93 && bytes[2] != 0x94 && bytes[2] != 0x98) return {kNone};
    const std::size_t size = kHead + bytes[3] + kTail;
    if (bytes.size() < size) return {kUnfinished};
    const bool isGood = sum8(bytes.subspan(1, size - 3)) == bytes[size - 2] && bytes[size - 1] == 0x03;
    if (!isGood) return {kNone};
    return {kCorrections, size};
}

// ---- RTCM 2 (RTCM 10402): words of 30 bits, six in each byte from 40h to 7Fh, the first of them lowest. A word is 24
// bits of data, inverted when the word before ends in 1, and the parity of GPS words.

constexpr std::size_t kBytesAWord = 5;
constexpr std::uint32_t kPreamble = 0x66;

constexpr std::uint32_t dataBits(std::initializer_list<int> numbers) {
    std::uint32_t bits = 0;
    for (const int number : numbers)
        bits |= 1u << (24 - number);
    return bits;
}

// The data bits, counted from 1, that each parity bit sums up, and which of the last two bits of the word before.
struct ParityRow {
    int before;  // 0: the last but one
    std::uint32_t bits;
};

constexpr std::array<ParityRow, 6> kParity{{
    {0, dataBits({1, 2, 3, 5, 6, 10, 11, 12, 13, 14, 17, 18, 20, 23})},
    {1, dataBits({2, 3, 4, 6, 7, 11, 12, 13, 14, 15, 18, 19, 21, 24})},
    {0, dataBits({1, 3, 4, 5, 7, 8, 12, 13, 14, 15, 16, 19, 20, 22})},
    {1, dataBits({2, 4, 5, 6, 8, 9, 13, 14, 15, 16, 17, 20, 21, 23})},
    {1, dataBits({1, 3, 5, 6, 7, 9, 10, 14, 15, 16, 17, 18, 21, 22, 24})},
    {0, dataBits({3, 5, 6, 8, 9, 10, 11, 13, 15, 19, 22, 23, 24})},
}};

// before: the last two bits of the word before. Nothing for bytes that are no word.
std::optional<std::uint32_t> dataOfWord(ByteSpan bytes, unsigned before) {
    std::uint32_t word = 0;
    for (const unsigned char byte : bytes.first(kBytesAWord)) {
        if (byte < 0x40 || byte > 0x7F) return std::nullopt;
        for (int bit = 0; bit < 6; ++bit)
            word = word << 1 | (static_cast<std::uint32_t>(byte) >> bit & 1);
    }
    const std::uint32_t data = (word >> 6 & 0xFFFFFF) ^ ((before & 1) != 0 ? 0xFFFFFFu : 0u);
    std::uint32_t parity = 0;
    for (const ParityRow& row : kParity) {
        const auto sum =
            static_cast<std::uint32_t>(std::popcount(data & row.bits)) + (before >> (1 - row.before));
        parity = parity << 1 | (sum & 1);
    }
    return parity == (word & 0x3F) ? std::optional(data) : std::nullopt;
}

// The last two bits of a word.
unsigned endOfWord(ByteSpan bytes) {
    const unsigned last = bytes[kBytesAWord - 1];
    return (last >> 4 & 1) << 1 | (last >> 5 & 1);
}

// The word before a message may have ended in any way.
bool beginsRtcm2(ByteSpan bytes) {
    for (unsigned before = 0; before < 4; ++before)
        if (const auto data = dataOfWord(bytes, before); data && *data >> 16 == kPreamble) return true;
    return false;
}

CorrectionLook lookForRtcm2(ByteSpan bytes) {
    if (bytes.size() < kBytesAWord) return {kUnfinished};
    if (!beginsRtcm2(bytes)) return {kNone};
    std::size_t words = 2;
    for (std::size_t word = 1; word < words; ++word) {
        const std::size_t at = word * kBytesAWord;
        if (bytes.size() < at + kBytesAWord) return {kUnfinished};
        const auto data = dataOfWord(bytes.subspan(at), endOfWord(bytes.subspan(at - kBytesAWord)));
        if (!data) return {kNone};
        if (word == 1) words += *data >> 3 & 0x1F;
    }
    return {kCorrections, words * kBytesAWord};
}

}  // namespace

CorrectionLook lookForCorrections(ByteSpan bytes) {
    switch (bytes[0]) {
    case kRtcm3Preamble: return lookForRtcm3(bytes);
    case 0x02: return lookForCmr(bytes);
    case 0x66:  // the preamble of RTCM 2, as it is or inverted
    case 0x59: return lookForRtcm2(bytes);
    default: return {kNone};
    }
}

std::uint64_t CorrectionFinder::feed(ByteSpan bytes) {
    std::uint64_t found = 0;
    m_held.insert(m_held.end(), bytes.begin(), bytes.end());
    std::size_t begin = 0;
    while (begin < m_held.size()) {
        const CorrectionLook look = lookForCorrections(ByteSpan(m_held).subspan(begin));
        if (look.match == kUnfinished) break;
        if (look.match == kCorrections) ++found;
        begin += look.match == kNone ? 1 : look.size;
    }
    m_held.erase(m_held.begin(), m_held.begin() + static_cast<std::ptrdiff_t>(begin));
    return found;
}

}  // namespace vkcomm::sim
