// Recorded OEM4 logs, and builders of logs that there is no recording of.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "tests/formats/parser_bytes.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm::test {

// Recorded from an OEMV receiver.
inline const std::string kBestposWaas = hex("aa44121c2a0002be4800000000b41a0620a2b51e20084c004561c71200000000"
                                            "120000002acc0046beef4140f707cf1b784c6140006054821e258e4044001d42"
                                            "3d00000022e2c03f0d486b3f3ff6074031323900000040400000000010090000"
                                            "0006000389d7f39e");
inline const std::string kBestposNoFix =
    hex("aa44121c2a0002be48000000a114000070203d0020004c004561c71201000000"
        "000000000000000000000000000000000000000000d0cc6c915458c19a998541"
        "3d00000000000000000000000000000000303030000000000000000000000000"
        "000000007d2fb986");
inline const std::string kRawephem11 = hex("aa44121c290002a066001f0047c81a0620a2b51e00080000b797c7120b000000"
                                           "1a06000000e907008b0868a7b7a68690007480c778965b0de75f4fede76e7e90"
                                           "00ffeefb69df8b0868a7b5a96e00504937e5caabce0096054fe1ec0949a10d9e"
                                           "7c7e907c8b0868a7b62d0029527f2be000592431d8111fca1f95d490ff9bcc6e"
                                           "015497612ec5");
// Its header with two of its records.
inline const std::string kRangecmp = hex("aa44121c8c0002a03400000047b41a0620a2b51e000800009196c71202000000"
                                         "049c1018c68bfb2f5585a3097ddb22ab2003ecf4e60300000b9c30118287fc6f"
                                         "4c85a3090945fd9020038ee426030000c83e183f");

// bytes with value written at the position, little-endian.
template <typename T>
std::string with(std::string bytes, std::size_t at, T value) {
    std::array<unsigned char, sizeof(T)> raw;
    storeLe(raw.data(), value);
    for (const unsigned char byte : raw)
        bytes.at(at++) = chr(byte);
    return bytes;
}

struct RangeCase {
    const char* record;
    unsigned state;
    unsigned prn;
    double pseudorange;
    double accumulatedDoppler;
    float cn0;
    float lock;
};

// Recorded; the values are those of an independent decoder that reads the accumulated Doppler as signed.
inline const RangeCase kRanges[] = {
    {"049c1018c68bfb2f5585a3097ddb22ab2003ecf4e6030000", 4, 3, 20213930.640625, -106224932.51171875, 51,
     14247.375f},
    {"0b9c30118287fc6f4c85a3090945fd9020038ee426030000", 11, 3, 20213929.546875, -82772666.96484375, 45,
     14116.4375f},
    {"249c101842e70570fdfac30be2ee7dc58116bed1e0020000", 4, 22, 24674143.6796875, -129663505.1171875, 43,
     1677.9375f},
    {"2b9c3011999904c0eafac30b702f4efaa3162fd100020000", 11, 22, 24674141.34375, -101036496.5625, 36,
     1673.46875f},
    {"449c100843a9f6ff354ba10b8cf746dc610d1d0ae5020000", 4, 13, 24389990.7421875, -128170248.453125, 43,
     10320.90625f},
    {"4b9c300115b9f8ef304ba10b97680f8c930d8f09e5010000", 11, 13, 24389990.109375, -99872919.41015625, 35,
     10316.46875f},
    {"649c100802b2f9bf22fe110a26cc91e22006f483c7030000", 4, 6, 21118916.3359375, -110980659.8515625, 50,
     15391.625f},
    {"6b9c30015716fbdf1ffe110a0fa071d82106f483e7020000", 11, 6, 21118915.9765625, -86478431.94140625, 43,
     15391.625f},
};

inline std::string rangecmpOf(std::uint32_t count, std::size_t records) {
    std::string body = little(count, 4);
    for (std::size_t i = 0; i < records; ++i)
        body += with(hex(kRanges[0].record), 17, static_cast<std::uint8_t>(i + 1));
    return oem4(140, body);
}

inline std::string satelliteMessage(std::size_t count, std::size_t records) {
    std::string body = {
        chr(static_cast<unsigned>(count)), chr(0xA1), chr(0xA2), chr(0xA3), chr(0xA4), chr(0xA5)};
    for (std::size_t i = 0; i < records; ++i)
        for (unsigned byte = 0; byte < 12; ++byte)
            body += chr((static_cast<unsigned>(i) * 16 + byte) & 0xFF);
    return oem4(1000, body);
}

// One satellite of message 912.
struct Sent {
    unsigned prn = 0;
    bool l1 = true;
    bool l2 = true;
    std::int32_t range = 8000;      // 1000 cycles
    std::int16_t phase1 = 128;      // half a cycle
    std::int16_t difference = -16;  // 2 cycles
    std::int16_t phase2 = -64;      // a quarter of a cycle
};

inline std::string bytesOf912(const Sent& s) {
    const auto word = [](std::int16_t value) { return little(static_cast<std::uint16_t>(value), 2); };
    std::string bytes = {chr(s.prn), chr(0xB0), chr(0xB1), chr(0xB2), chr(s.l1 ? 1 : 0), chr(0xB4)};
    bytes += little(static_cast<std::uint32_t>(s.range), 4) + word(s.phase1) + '\x7F';
    bytes += {chr(0xBC), chr(s.l2 ? 2 : 0), chr(0xBE)};
    return bytes + word(s.difference) + word(s.phase2) + '\x7F' + chr(0xC4);
}

inline std::string message912(unsigned count, const std::string& satellites) {
    std::string body = {chr(count), 'h', 'e', 'a', 'd', 's'};
    body +=
        little(static_cast<std::uint32_t>(-123456789), 4) + "\x7F\x7F" + little(0xCAFE1234, 4) + satellites;
    return with<std::uint32_t>(with<std::uint16_t>(oem4(912, body), 14, 1600), 16, 345678250);
}

}  // namespace vkcomm::test
