// The binary logs of NovAtel OEM4 receivers as plain structs, and their decoding from bytes.
//
// A log is a 28-byte header, a body and a CRC-32; all numbers are little-endian, floating point IEEE 754
// (OEM4 Family User Manual, volume 2). The load… functions read exactly the bytes of their size constant,
// which the caller has checked; they keep no state and cannot fail.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "vkcomm/export.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm {

inline constexpr std::size_t kOem4HeaderSize = 28;

struct Oem4Header {
    std::uint8_t headerLength = 0;
    std::uint16_t messageId = 0;
    std::uint8_t messageType = 0;  // bit 7: response to a command
    std::uint8_t portAddress = 0;
    std::uint16_t messageLength = 0;  // bytes of the body
    std::uint16_t sequence = 0;       // logs of the same message still to come
    std::uint8_t idleTime = 0;        // half percent
    std::uint8_t timeStatus = 0;
    std::uint16_t week = 0;          // GPS week
    std::uint32_t milliseconds = 0;  // of the week
    std::uint32_t receiverStatus = 0;
    std::uint16_t reserved = 0;
    std::uint16_t softwareVersion = 0;

    bool isResponse() const { return messageType >= 0x80; }
};

VKCOMM_API Oem4Header loadOem4Header(const unsigned char* frame);

inline constexpr std::size_t kBestposBodySize = 72;

struct BestposBody {
    std::uint32_t solutionStatus = 0;  // 0: computed
    std::uint32_t positionType = 0;    // 16 single, 17 code differential, 32 to 34 float, 48 to 50 fixed, …
    double latitude = 0.0;             // degrees, north positive
    double longitude = 0.0;            // degrees, east positive
    double height = 0.0;               // metres, above the sea for most firmware
    float undulation = 0.0f;           // metres, geoid above ellipsoid
    std::uint32_t datum = 0;           // 61: WGS-84
    float latitudeSigma = 0.0f;        // metres
    float longitudeSigma = 0.0f;       // metres
    float heightSigma = 0.0f;          // metres
    std::array<char, 4> baseStation{};
    float differentialAge = 0.0f;  // seconds
    float solutionAge = 0.0f;      // seconds
    std::uint8_t satellitesTracked = 0;
    std::uint8_t satellitesUsed = 0;
    std::uint8_t satellitesL1 = 0;    // used with L1
    std::uint8_t satellitesL1L2 = 0;  // used with both frequencies
    std::uint8_t reserved68 = 0;
    std::uint8_t extendedStatus = 0;
    std::uint8_t reserved70 = 0;
    std::uint8_t signalMask = 0;
};

VKCOMM_API BestposBody loadBestposBody(const unsigned char* body);

inline constexpr std::size_t kPsrdopBodySize = 28;

struct PsrdopBody {
    float gdop = 0.0f;
    float pdop = 0.0f;
    float hdop = 0.0f;
    float htdop = 0.0f;
    float tdop = 0.0f;
    float elevationCutOff = 0.0f;  // degrees
    std::uint32_t satellites = 0;  // PRNs in the list that follows in the log and is not kept
};

VKCOMM_API PsrdopBody loadPsrdopBody(const unsigned char* body);

inline constexpr std::size_t kVersionComponentSize = 108;

// Texts are filled up with zero bytes: see fixedText.
struct VersionComponent {
    std::uint32_t type = 0;  // 1 GPS card, 2 controller, 3 enclosure
    std::array<char, 16> model{};
    std::array<char, 16> serialNumber{};
    std::array<char, 16> hardware{};
    std::array<char, 16> software{};
    std::array<char, 16> boot{};
    std::array<char, 12> compileDate{};
    std::array<char, 12> compileTime{};
};

VKCOMM_API VersionComponent loadVersionComponent(const unsigned char* component);

// The text in a field of fixed size: up to its first zero byte or its end. Valid as long as the field.
template <std::size_t Size>
std::string_view fixedText(const std::array<char, Size>& field) {
    const std::string_view whole(field.data(), Size);
    return whole.substr(0, whole.find('\0'));
}

// The frame of a REFSTATIONB log, unchanged: header, status, X, Y, Z, health, station type and 5 bytes of
// station id.
struct REFSTATIONB_DATA {
    std::array<unsigned char, 69> bytes{};
};

// The frame of a PASSCOM2B log, unchanged: header, byte count and 80 data bytes.
struct PASSCOMB_LOG {
    std::array<unsigned char, 112> bytes{};
};

}  // namespace vkcomm
