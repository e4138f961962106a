// Messages of CMC Allstar and SuperStar receivers, field by field: 01h, the message number, 255 less it,
// length, little-endian data, a 16-bit sum.
#pragma once

#include <cstdint>
#include <span>

#include "sim/framing.h"
#include "sim/piece.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm::sim {

// Appends a message; at most 252 bytes of data.
void addCmcMessage(std::uint8_t number, ByteSpan data, Piece& piece);

struct CmcNavigation {
    std::uint8_t hours = 0;  // bit 5: the time is GPS time, not UTC
    std::uint8_t minutes = 0;
    double seconds = 0.0;
    std::uint8_t day = 0;
    std::uint8_t month = 0;
    std::uint16_t year = 0;
    double latitude = 0.0;  // radians
    double longitude = 0.0;
    float height = 0.0f;                                 // metres above the ellipsoid
    float groundSpeed = 0.0f;                            // m/s
    float track = 0.0f;                                  // radians
    float north = 0.0f, east = 0.0f, up = 0.0f;          // m/s
    float horizontalMerit = 0.0f, verticalMerit = 0.0f;  // figures of merit, metres
    std::uint16_t hdop = 0, vdop = 0;                    // tenths
    std::uint8_t mode = 0;                               // bits 0 to 4, and flags
    std::uint8_t satellites = 0;                         // used
    std::uint8_t systemMode = 0;
    std::uint8_t coordinates = 0;
};

struct CmcSatellite {
    std::uint8_t number = 0;  // PRN
    bool used = false;
    std::int8_t elevation = 0;  // degrees
    std::uint16_t azimuth = 0;  // degrees
    std::uint8_t level = 0;     // dB-Hz
};

void addCmcNavigation(const CmcNavigation& navigation, Piece& piece);  // 20
// 33; satellites beyond the twelfth have no place.
void addCmcVisibility(std::span<const CmcSatellite> satellites, Piece& piece);

extern const Framing kCmcFraming;

}  // namespace vkcomm::sim
