// Recorded OEM4 logs, and builders of logs that there is no recording of.
#pragma once

#include <cstdint>
#include <string>

#include "tests/formats/parser_bytes.h"

namespace vkcomm::test {

// Recorded from an OEMV receiver.
// clang-format off
inline const std::string kBestposWaas = hex(
    "aa44121c2a0002be4800000000b41a0620a2b51e20084c004561c71200000000120000002acc0046beef4140f707cf1b784c61"
    "40006054821e258e4044001d423d00000022e2c03f0d486b3f3ff60740313239000000404000000000100900000006000389d7"
    "f39e");
inline const std::string kBestposNoFix = hex(
    "aa44121c2a0002be48000000a114000070203d0020004c004561c7120100000000000000000000000000000000000000000000"
    "0000d0cc6c915458c19a9985413d00000000000000000000000000000000303030000000000000000000000000000000007d2f"
    "b986");
inline const std::string kRawephem11 = hex(
    "aa44121c290002a066001f0047c81a0620a2b51e00080000b797c7120b0000001a06000000e907008b0868a7b7a68690007480"
    "c778965b0de75f4fede76e7e9000ffeefb69df8b0868a7b5a96e00504937e5caabce0096054fe1ec0949a10d9e7c7e907c8b08"
    "68a7b62d0029527f2be000592431d8111fca1f95d490ff9bcc6e015497612ec5");
// Its header with two of its records.
inline const std::string kRangecmp = hex(
    "aa44121c8c0002a03400000047b41a0620a2b51e000800009196c71202000000049c1018c68bfb2f5585a3097ddb22ab2003ec"
    "f4e60300000b9c30118287fc6f4c85a3090945fd9020038ee426030000c83e183f");

// clang-format on

struct RangeCase {
    const char* record;
    const char* values;  // state, PRN, pseudorange, accumulated Doppler, C/No, lock time
};

// Recorded; the values are those of an independent decoder that reads the accumulated Doppler as signed.
inline const RangeCase kRanges[] = {
    {"049c1018c68bfb2f5585a3097ddb22ab2003ecf4e6030000",
     "4 3 20213930.640625 -106224932.51171875 51 14247.375"},
    {"0b9c30118287fc6f4c85a3090945fd9020038ee426030000",
     "11 3 20213929.546875 -82772666.96484375 45 14116.4375"},
    {"249c101842e70570fdfac30be2ee7dc58116bed1e0020000",
     "4 22 24674143.6796875 -129663505.1171875 43 1677.9375"},
    {"2b9c3011999904c0eafac30b702f4efaa3162fd100020000",
     "11 22 24674141.34375 -101036496.5625 36 1673.46875"},
};

inline std::string rangecmpOf(std::uint32_t count, std::size_t records) {
    std::string body = littleOf(count);
    for (std::size_t i = 0; i < records; ++i)
        body += with(hex(kRanges[0].record), 17, static_cast<std::uint8_t>(i + 1));
    return oem4(140, body);
}

// Byte k of record i is 16 i + k.
inline std::string satelliteMessage(unsigned count, unsigned records) {
    std::string body = chr(count) + hex("a1a2a3a4a5");
    for (unsigned i = 0; i < records; ++i)
        for (unsigned byte = 0; byte < 12; ++byte)
            body += chr((i * 16 + byte) & 0xFF);
    return oem4(1000, body);
}

// One satellite of message 912: 1000 cycles and a half on L1; code 2 cycles less and phase a quarter of a
// cycle less on L2.
struct Sent {
    unsigned prn = 0;
    unsigned l1 = 1;
    unsigned l2 = 2;
    std::int16_t phase1 = 128;
    std::int16_t difference = -16;
    std::int16_t phase2 = -64;
};

inline std::string bytesOf912(const Sent& s) {
    return chr(s.prn) + hex("b0b1b2") + chr(s.l1) + hex("b4") + littleOf(8000) + littleOf(s.phase1) +
           hex("7fbc") + chr(s.l2) + hex("be") + littleOf(s.difference) + littleOf(s.phase2) + hex("7fc4");
}

inline std::string message912(unsigned count, const std::string& satellites) {
    const std::string body = chr(count) + std::string("heads") + littleOf(-123456789) + hex("7f7f3412feca");
    return with(with(oem4(912, body + satellites), 14, std::uint16_t{1600}), 16, std::uint32_t{345678250});
}

}  // namespace vkcomm::test
