// The frames that RTCM 3 messages travel in: D3h, six zero bits, a length of ten bits, the message, a CRC-24Q, all most
// significant bit first (RTCM 10403).
#pragma once

#include <cstdint>

#include "vkcomm/util/bytes.h"

namespace vkcomm::sim {

inline constexpr unsigned char kRtcm3Preamble = 0xD3;
inline constexpr std::size_t kRtcm3Head = 3;
inline constexpr std::size_t kRtcm3Check = 3;
inline constexpr std::size_t kRtcm3LongestMessage = 1023;

// Polynomial 1864CFBh, initial value 0, not reflected. Of a whole frame with its check it is 0.
constexpr std::uint32_t rtcm3Check(ByteSpan bytes) {
    std::uint32_t crc = 0;
    for (const unsigned char byte : bytes) {
        crc ^= std::uint32_t{byte} << 16;
        for (int bit = 0; bit < 8; ++bit)
            crc = crc << 1 ^ ((crc & 0x800000u) != 0 ? 0x1864CFBu : 0u);
    }
    return crc & 0xFFFFFFu;
}

// The number in the first twelve bits of a message; there must be two bytes.
constexpr int rtcm3Number(ByteSpan message) { return message[0] << 4 | message[1] >> 4; }

}  // namespace vkcomm::sim
