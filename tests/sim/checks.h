// What the tests of this folder share: checks written apart from the simulator's own, and a sample epoch.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "sim/piece.h"
#include "sim/truth.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm::sim {

inline std::string textOf(ByteSpan bytes) { return {bytes.begin(), bytes.end()}; }

inline std::string hexOf(ByteSpan bytes) {
    std::string text;
    for (const unsigned char byte : bytes) {
        text += "0123456789abcdef"[byte / 16];
        text += "0123456789abcdef"[byte % 16];
    }
    return text;
}

inline std::uint32_t bitwiseCrc32(ByteSpan bytes) {
    std::uint32_t crc = 0;
    for (const unsigned char byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 1) ? crc >> 1 ^ 0xEDB88320u : crc >> 1;
    }
    return crc;
}

// The size of the sentence with a right check at the front of bytes, or 0.
inline std::size_t sentenceSize(ByteSpan bytes) {
    if (bytes.empty() || bytes[0] != '$') return 0;
    const std::string text = textOf(bytes.first(std::min<std::size_t>(bytes.size(), 1000)));
    const std::size_t end = text.find('\n');
    if (end == std::string::npos) return 0;
    const std::size_t star = text.rfind('*', end);
    if (star == std::string::npos || end - star != 4) return 0;
    int sum = 0;
    for (std::size_t i = 1; i < star; ++i)
        sum ^= static_cast<unsigned char>(text[i]);
    return sum == std::strtol(text.substr(star + 1, 2).c_str(), nullptr, 16) ? end + 1 : 0;
}

// The size of the OEM4 log with a right check at the front of bytes, or 0.
inline std::size_t logSize(ByteSpan bytes) {
    if (bytes.size() < 32 || bytes[0] != 0xAA || bytes[1] != 0x44 || bytes[2] != 0x12 || bytes[3] != 28)
        return 0;
    const std::size_t size = 32u + bytes[8] + 256u * bytes[9];
    return size <= bytes.size() && bitwiseCrc32(bytes.first(size)) == 0 ? size : 0;
}

inline std::size_t within(ByteSpan bytes, std::size_t size) { return size <= bytes.size() ? size : 0; }

inline unsigned sumOf(ByteSpan bytes) {
    unsigned sum = 0;
    for (const unsigned char byte : bytes)
        sum += byte;
    return sum;
}

// Likewise for the other families.
inline std::size_t packetSize(ByteSpan bytes) {
    if (bytes.size() < 6 || bytes[0] != 2) return 0;
    const std::size_t size = within(bytes, 6u + bytes[3]);
    if (size == 0 || bytes[size - 1] != 3) return 0;
    return sumOf(bytes.subspan(1, size - 3)) % 256 == bytes[size - 2] ? size : 0;
}

inline std::size_t cmcSize(ByteSpan bytes) {
    if (bytes.size() < 6 || bytes[0] != 1 || bytes[1] + bytes[2] != 255) return 0;
    const std::size_t size = within(bytes, 6u + bytes[3]);
    if (size == 0) return 0;
    return sumOf(bytes.first(size - 2)) == bytes[size - 2] + 256u * bytes[size - 1] ? size : 0;
}

inline std::size_t csiSize(ByteSpan bytes) {
    if (bytes.empty() || bytes[0] != '$') return 0;
    const std::string text = textOf(bytes.first(std::min<std::size_t>(bytes.size(), 1000)));
    if (text.starts_with("$>JSHOW")) return text.find('\n') + 1;
    if (!text.starts_with("$BIN") || text.size() < 12) return 0;
    const std::size_t size = within(bytes, 12u + bytes[6] + 256u * bytes[7]);
    if (size == 0 || bytes[size - 2] != '\r' || bytes[size - 1] != '\n') return 0;
    return sumOf(bytes.subspan(8, size - 12)) == bytes[size - 4] + 256u * bytes[size - 3] ? size : 0;
}

inline unsigned greisSum(ByteSpan bytes) {
    unsigned sum = 0;
    for (const unsigned char byte : bytes)
        sum = ((sum << 2 | sum >> 6) & 255) ^ byte;
    return (sum << 2 | sum >> 6) & 255;
}

inline std::size_t greisSize(ByteSpan bytes) {
    if (bytes.size() < 6 || bytes[0] < '0' || bytes[0] > '~' || bytes[1] < '0' || bytes[1] > '~') return 0;
    const std::string digits = textOf(bytes.subspan(2, 3));
    if (digits.find_first_not_of("0123456789ABCDEF") != std::string::npos) return 0;
    const std::size_t size = within(bytes, 5 + std::stoul(digits, nullptr, 16));
    if (size < 6) return 0;
    const std::string id = textOf(bytes.first(2));
    if (id == "RE" || id == "ER" || id == "JP") return size;
    if (greisSum(bytes.first(size - 1)) == bytes[size - 1]) return size;
    const std::string check = textOf(bytes.subspan(size - 2, 2));
    return id == "MF" && std::strtoul(check.c_str(), nullptr, 16) == greisSum(bytes.first(size - 2)) ? size
                                                                                                     : 0;
}

inline std::size_t makerSize(ByteSpan bytes) {
    if (bytes.size() < 9 || bytes[0] != '$' || bytes[1] != '$') return 0;
    const std::size_t size = within(bytes, 9u + bytes[5]);
    if (size == 0) return 0;
    unsigned check = 0;
    for (const unsigned char byte : bytes.subspan(2, size - 4))
        check ^= byte;
    return check == 0 ? size : 0;
}

// The frames that a patient reader of that family finds in bytes.
inline std::vector<std::string> framesIn(ByteSpan bytes, std::size_t (*frameSize)(ByteSpan)) {
    std::vector<std::string> frames;
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t size = frameSize(bytes.subspan(at));
        if (size != 0) frames.push_back(textOf(bytes.subspan(at, size)));
        at += std::max<std::size_t>(size, 1);
    }
    return frames;
}

// The bytes of the one frame that add appends to a piece.
template <typename Add>
std::string hexOfFrame(Add add) {
    Piece piece;
    add(piece);
    return piece.frames.size() == 1 ? hexOf(piece.frameBytes(0)) : "not one frame";
}

// All frames that encode makes of epoch, as text.
inline std::vector<std::string> framesOf(void (*encode)(const Epoch&, Piece&), const Epoch& epoch) {
    Piece piece;
    encode(epoch, piece);
    std::vector<std::string> frames;
    for (std::size_t i = 0; i < piece.frames.size(); ++i)
        frames.push_back(textOf(piece.frameBytes(i)));
    return frames;
}

// The number at an offset of bytes held as text; least or most significant byte first.
template <typename T>
T leAt(const std::string& bytes, std::size_t offset) {
    return loadLe<T>(reinterpret_cast<const unsigned char*>(bytes.substr(offset, sizeof(T)).data()));
}

template <typename T>
T beAt(const std::string& bytes, std::size_t offset) {
    return loadBe<T>(reinterpret_cast<const unsigned char*>(bytes.substr(offset, sizeof(T)).data()));
}

// An RTK fix in Sydney at 2024-02-29 00:00:00.999 UTC. The signals of PRN 3 are those of a receiver in the
// field.
inline Epoch sampleEpoch() {
    Epoch epoch;
    epoch.week = 2303;
    epoch.millisecondsOfWeek = 345'618'999;
    epoch.quality = FixQuality::kRtkFixed;
    epoch.latitude = -33.5;
    epoch.longitude = 151.25;
    epoch.heightAboveSea = 98.75;
    epoch.undulation = 22.5;
    epoch.sigmaLatitude = 0.0078125;
    epoch.sigmaLongitude = 0.00625;
    epoch.sigmaHeight = 0.015625;
    epoch.correctionAge = 1.5;
    epoch.speed = 2.5;
    epoch.course = 45.0;
    epoch.verticalSpeed = -0.25;
    epoch.dops = {.gdop = 2.25, .pdop = 2.0, .hdop = 1.0, .vdop = 1.7, .tdop = 0.75, .htdop = 1.25};

    Satellite satellite{.number = 3, .elevation = 61.9, .azimuth = 123.4, .used = true};
    satellite.l1 = {20213930.640625, 106224932.51171875, -1140.2265625, 51.0, 14247.375};
    satellite.l2 = {20213929.546875, 91161274.96484375, -888.4921875, 45.0, 14116.4375};
    epoch.satellites.push_back(satellite);
    satellite.number = 22;
    epoch.satellites.push_back(satellite);
    epoch.satellites.push_back(
        {.system = SatelliteSystem::kSbas, .number = 120, .elevation = 30.0, .azimuth = 180.0});
    epoch.satellites.push_back(
        {.system = SatelliteSystem::kGlonass, .number = 9, .elevation = 9.99, .azimuth = 359.99});
    return epoch;
}

// The same without a fix.
inline Epoch epochWithoutFix() {
    Epoch epoch = sampleEpoch();
    epoch.quality = FixQuality::kNone;
    epoch.sigmaLatitude = epoch.sigmaLongitude = epoch.sigmaHeight = epoch.correctionAge = 0.0;
    for (Satellite& satellite : epoch.satellites)
        satellite.used = false;
    return epoch;
}

}  // namespace vkcomm::sim
