#include "vkcomm/util/checksums.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "vkcomm/util/hex_digit.h"
#include "vkcomm/util/search_string.h"

namespace vkcomm {

namespace {

constexpr unsigned char kSync = 0xAA;

ByteSpan spanOf(const unsigned char* data, int len) {
    return data == nullptr || len <= 0 ? ByteSpan{} : ByteSpan(data, static_cast<std::size_t>(len));
}

ByteSpan spanOf(std::string_view text) {
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

std::string_view viewOf(const char* text) {
    return text == nullptr ? std::string_view{} : std::string_view(text);
}

std::uint64_t eightBytes(const unsigned char* bytes) {
    std::uint64_t eight;
    std::memcpy(&eight, bytes, sizeof eight);
    return eight;
}

using CrcTable = std::array<std::uint32_t, 256>;
constexpr std::size_t kSlices = 16;

constexpr std::uint32_t singleByteStep(std::uint32_t byte) {
    constexpr std::uint32_t kPolynomial = 0xEDB88320;
    for (int bit = 0; bit < 8; ++bit)
        byte = (byte & 1) != 0 ? (byte >> 1) ^ kPolynomial : byte >> 1;
    return byte;
}

// Row k carries a byte over k further zero bytes, so that sixteen bytes are one sum of look-ups.
constexpr std::array<CrcTable, kSlices> makeCrcTables() {
    std::array<CrcTable, kSlices> tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte)
        tables[0][byte] = singleByteStep(byte);
    for (std::size_t row = 1; row < kSlices; ++row)
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::uint32_t before = tables[row - 1][byte];
            tables[row][byte] = tables[0][before & 0xFF] ^ (before >> 8);
        }
    return tables;
}

constexpr std::array<CrcTable, kSlices> kCrcTables = makeCrcTables();

// The part of four bytes that are followed by `behind` more of their sixteen.
std::uint32_t sliced(std::uint32_t four, std::size_t behind) {
    return kCrcTables[behind + 3][four & 0xFF] ^ kCrcTables[behind + 2][(four >> 8) & 0xFF] ^
           kCrcTables[behind + 1][(four >> 16) & 0xFF] ^ kCrcTables[behind][four >> 24];
}

// Sum of all bytes. Even and odd bytes are added in 16-bit lanes, which hold 128 words before they could run
// over.
std::uint64_t sumOf(ByteSpan bytes) {
    constexpr std::uint64_t kEvenBytes = 0x00FF00FF00FF00FF;
    constexpr std::size_t kWordsPerRound = 128;
    const unsigned char* at = bytes.data();
    std::size_t words = bytes.size() / 8;
    std::uint64_t sum = 0;
    while (words != 0) {
        const std::size_t round = std::min(words, kWordsPerRound);
        std::uint64_t lanes = 0;
        for (std::size_t i = 0; i < round; ++i, at += 8) {
            const std::uint64_t eight = eightBytes(at);
            lanes += (eight & kEvenBytes) + ((eight >> 8) & kEvenBytes);
        }
        sum += (lanes & 0xFFFF) + ((lanes >> 16) & 0xFFFF) + ((lanes >> 32) & 0xFFFF) + (lanes >> 48);
        words -= round;
    }
    for (const unsigned char byte : bytes.subspan(bytes.size() & ~std::size_t{7}))
        sum += byte;
    return sum;
}

// What every character counts as a checksum digit, modulo 256: arithmetic that refuses nothing. A table,
// because no processor predicts whether a digit of a checksum is a letter.
constexpr auto kLaxDigits = [] {
    std::array<unsigned char, 256> digits{};
    for (int character = 0; character < 256; ++character) {
        const int upper = character >= 'a' && character <= 'z' ? character - 'a' + 'A' : character;
        const int digit = upper < 'A' ? upper - '0' : upper - 'A' + 10;
        digits[static_cast<std::size_t>(character)] = static_cast<unsigned char>(digit);
    }
    return digits;
}();

unsigned laxDigit(std::string_view text, std::size_t at) {
    return kLaxDigits[at < text.size() ? static_cast<unsigned char>(text[at]) : 0];
}

bool startsWithHexPrefix(std::string_view text) {
    return text.size() > 2 && text[0] == '0' && (text[1] | 0x20) == 'x' && hexDigit(text[2]) >= 0;
}

struct ScannedHex {
    bool found;
    std::uint32_t value;
};

ScannedHex scanHex(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    if (startsWithHexPrefix(text)) text.remove_prefix(2);
    ScannedHex scanned{!text.empty() && hexDigit(text.front()) >= 0, 0};
    for (const char c : text) {
        const int digit = hexDigit(c);
        if (digit < 0) break;
        scanned.value = (scanned.value << 4) | static_cast<std::uint32_t>(digit);
    }
    return scanned;
}

}  // namespace

unsigned char xorOf(ByteSpan bytes) {
    std::uint64_t lanes = 0;
    const std::size_t rest = bytes.size() % 8;
    const unsigned char* const restBegin = bytes.data() + (bytes.size() - rest);
    for (const unsigned char* at = bytes.data(); at != restBegin; at += 8)
        lanes ^= eightBytes(at);
    // the last eight bytes less those already taken: one step instead of a short loop that no processor
    // predicts
    if (bytes.size() >= 8)
        lanes ^= loadLe<std::uint64_t>(restBegin + rest - 8) >> 1 >> (63 - 8 * rest);
    else
        for (std::size_t i = 0; i < rest; ++i)
            lanes ^= restBegin[i];
    lanes ^= lanes >> 32;
    lanes ^= lanes >> 16;
    lanes ^= lanes >> 8;
    return static_cast<unsigned char>(lanes);
}

unsigned char sum8(ByteSpan bytes) { return static_cast<unsigned char>(sumOf(bytes)); }

std::uint16_t sum16(ByteSpan bytes) { return static_cast<std::uint16_t>(sumOf(bytes)); }

std::uint32_t crc32Of(ByteSpan bytes, std::uint32_t crc) {
    const unsigned char* at = bytes.data();
    for (std::size_t blocks = bytes.size() / kSlices; blocks != 0; --blocks, at += kSlices)
        crc = sliced(crc ^ loadLe<std::uint32_t>(at), 12) ^ sliced(loadLe<std::uint32_t>(at + 4), 8) ^
              sliced(loadLe<std::uint32_t>(at + 8), 4) ^ sliced(loadLe<std::uint32_t>(at + 12), 0);
    for (const unsigned char byte : bytes.subspan(bytes.size() & ~(kSlices - 1)))
        crc = kCrcTables[0][(crc ^ byte) & 0xFF] ^ (crc >> 8);
    return crc;
}

TESTXOR_RETURN testSentence(std::string_view text) {
    if (text.empty() || text.front() != '$') return TESTXOR_NO_DOLLAR;
    const std::size_t star = text.rfind('*');
    if (star == std::string_view::npos) return TESTXOR_NO_STAR;
    const unsigned stored = laxDigit(text, star + 1) * 16 + laxDigit(text, star + 2);
    const bool match = xorOf(spanOf(text.substr(1, star - 1))) == static_cast<unsigned char>(stored);
    return match ? TESTXOR_OK : TESTXOR_MISMATCH;
}

// The CRC over the text followed by its own four bytes is 0 exactly when both are equal, hence no copy of the
// text.
bool testOem4Ascii(std::string_view text) {
    if (text.empty() || text.front() != '#') return false;
    const std::size_t star = text.rfind('*');
    if (star == std::string_view::npos) return false;
    const ScannedHex stored = scanHex(text.substr(star + 1));
    return stored.found && crc32Of(spanOf(text.substr(1, star - 1))) == stored.value;
}

unsigned char CnTestXor::Checksum(const unsigned char* data, int len) { return xorOf(spanOf(data, len)); }

void CnTestXor::Checksum(CNCString* sentence) {
    if (sentence == nullptr) return;
    constexpr char kDigits[] = "0123456789ABCDEF";
    const std::string_view text = sentence->view();
    const unsigned value = xorOf(spanOf(text.substr(std::min<std::size_t>(1, text.size()))));
    const char tail[] = {'*', kDigits[value >> 4], kDigits[value & 15], '\r', '\n'};
    sentence->Append(tail, sizeof tail);
}

TESTXOR_RETURN CnTestXor::Test(const unsigned char* text) {
    return testSentence(viewOf(reinterpret_cast<const char*>(text)));
}

TESTXOR_RETURN CnTestXor::Test(const unsigned char* data, int len) {
    const ByteSpan bytes = spanOf(data, len);
    if (bytes.empty() || bytes.front() != kSync) return TESTXOR_NO_SYNC;
    return xorOf(bytes) == 0 ? TESTXOR_OK : TESTXOR_MISMATCH;
}

unsigned long CCrc32::CalculateCRC32(const unsigned char* data, int len) {
    return crc32Of(spanOf(data, len));
}

unsigned int CCrc32::Test(const unsigned char* data, int len) {
    const ByteSpan bytes = spanOf(data, len);
    return !bytes.empty() && bytes.front() == kSync && crc32Of(bytes) == 0 ? 1 : 0;
}

unsigned int CCrc32::Test(const char* text) { return testOem4Ascii(viewOf(text)) ? 1 : 0; }

const std::array<std::uint32_t, 256> CCrc32::m_ulCrcTable = kCrcTables[0];

}  // namespace vkcomm
