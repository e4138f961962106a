#include "vkcomm/net/base64.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

namespace vkcomm {

namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char kPadding = '=';

// What twelve bits look like: two characters.
using CharacterPairs = std::array<std::array<char, 2>, 4096>;

constexpr CharacterPairs kPairs = [] {
    CharacterPairs pairs{};
    for (std::size_t bits = 0; bits < pairs.size(); ++bits)
        pairs[bits] = {kAlphabet[bits >> 6], kAlphabet[bits & 0x3F]};
    return pairs;
}();

constexpr std::uint32_t kSkipped = 1U << 24;
constexpr std::uint32_t kInvalid = 1U << 25;

// Six bits of a character, or one of the two marks above.
using Sextets = std::array<std::uint32_t, 256>;

constexpr Sextets kSextets = [] {
    Sextets sextets{};
    sextets.fill(kInvalid);
    for (std::uint32_t index = 0; index < kAlphabet.size(); ++index)
        sextets[static_cast<unsigned char>(kAlphabet[index])] = index;
    sextets[static_cast<unsigned char>(kPadding)] = kSkipped;
    for (std::size_t character = 0; character < 128; ++character)
        sextets[character + 128] = sextets[character];
    return sextets;
}();

// The same, moved to where each of four characters stands in 24 bits, so that four look-ups and three ORs
// decode a group. The marks stay where they are.
constexpr std::array<Sextets, 4> kGroup = [] {
    std::array<Sextets, 4> group{};
    for (std::size_t place = 0; place < group.size(); ++place)
        for (std::size_t character = 0; character < 256; ++character) {
            const std::uint32_t value = kSextets[character];
            group[place][character] = value < 64 ? value << (18 - 6 * place) : value;
        }
    return group;
}();

void encodeGroup(const unsigned char* bytes, char* text) {
    const std::size_t first = static_cast<std::size_t>(bytes[0]) << 4 | bytes[1] >> 4;
    const std::size_t second = (bytes[1] & 0x0FU) << 8 | bytes[2];
    std::memcpy(text, kPairs[first].data(), 2);
    std::memcpy(text + 2, kPairs[second].data(), 2);
}

std::uint32_t groupAt(const char* text) {
    const auto at = [text](std::size_t place) {
        return kGroup[place][static_cast<unsigned char>(text[place])];
    };
    return at(0) | at(1) | at(2) | at(3);
}

}  // namespace

std::string CBase64::Encode(const unsigned char* bytes, int length) {
    if (bytes == nullptr || length < 1) return {};
    return Encode(ByteSpan(bytes, static_cast<std::size_t>(length)));
}

std::string CBase64::Encode(ByteSpan bytes) {
    std::string text((bytes.size() + 2) / 3 * 4, kPadding);
    char* end = text.data();
    std::size_t done = 0;
    for (; bytes.size() - done >= 3; done += 3, end += 4)
        encodeGroup(bytes.data() + done, end);

    const std::size_t rest = bytes.size() - done;
    if (rest == 0) return text;
    unsigned char last[3] = {};
    std::copy_n(bytes.data() + done, rest, last);
    char group[4];
    encodeGroup(last, group);
    std::copy_n(group, rest + 1, end);
    return text;
}

int CBase64::Decode(const char* text, unsigned char* out) {
    if (text == nullptr || out == nullptr) return 0;
    const std::string_view whole(text);
    return Decode(whole, std::span(out, whole.size() + 1));
}

int CBase64::Decode(std::string_view text, std::span<unsigned char> out) {
    std::fill(out.begin(), out.end(), static_cast<unsigned char>(0));
    const std::size_t bound = text.size() / 4 * 3 + text.size() % 4 * 3 / 4;
    if (out.data() == nullptr || out.size() < bound) return 0;
    if (bound > static_cast<std::size_t>(std::numeric_limits<int>::max())) return 0;

    m_written = 0;
    m_bitsHeld = 0;
    std::size_t at = 0;
    while (at < text.size()) {
        // Whole groups on a byte boundary, up to one that holds anything but the alphabet.
        for (; m_bitsHeld == 0 && text.size() - at >= 4; at += 4, m_written += 3) {
            const std::uint32_t group = groupAt(text.data() + at);
            if (group >= kSkipped) break;
            out[m_written] = static_cast<unsigned char>(group >> 16);
            out[m_written + 1] = static_cast<unsigned char>(group >> 8);
            out[m_written + 2] = static_cast<unsigned char>(group);
        }
        if (at < text.size() && !feed(static_cast<unsigned char>(text[at++]), out)) return 0;
    }
    return static_cast<int>(m_written);
}

// One character through the bit writer; false if it ends decoding.
bool CBase64::feed(unsigned char character, std::span<unsigned char> out) {
    const std::uint32_t sextet = kSextets[character];
    if (sextet == kInvalid) return false;
    if (sextet == kSkipped) return true;
    m_bits = m_bits << 6 | sextet;
    m_bitsHeld += 6;
    if (m_bitsHeld < 8) return true;
    m_bitsHeld -= 8;
    out[m_written++] = static_cast<unsigned char>(m_bits >> m_bitsHeld);
    return true;
}

}  // namespace vkcomm
