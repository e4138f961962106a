// GREIS messages of Javad receivers, field by field: two characters of id, three upper-case hexadecimal
// digits of length, a little-endian body that ends in a checksum.
#pragma once

#include <cstdint>
#include <string_view>

#include "sim/framing.h"
#include "sim/geodesy.h"
#include "sim/piece.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm::sim {

// Of the receiver's solution: 0 none, 1 single, 2 code differential, 3 float, 4 fixed.
using JavadSolution = std::uint8_t;

struct JavadDate {
    std::uint16_t year = 0;
    std::uint8_t month = 0;
    std::uint8_t day = 0;
    std::uint8_t base = 0;  // 0 GPS, 1 UTC
};

struct JavadPosition {
    Ecef position{};
    float sigma = 0.0f;  // metres
    JavadSolution solution = 0;
};

struct JavadVelocity {  // m/s
    float x = 0.0f, y = 0.0f, z = 0.0f, sigma = 0.0f;
};

struct JavadSigmas {  // metres and m/s
    float horizontal = 0.0f, vertical = 0.0f, horizontalVelocity = 0.0f, verticalVelocity = 0.0f;
    JavadSolution solution = 0;
};

struct JavadStatistics {
    JavadSolution solution = 0;
    std::uint8_t gpsLocked = 0, glonassLocked = 0;
    std::uint8_t gpsAvailable = 0, glonassAvailable = 0;
    std::uint8_t gpsUsed = 0, glonassUsed = 0;
    std::uint8_t fixProgress = 0;  // percent
};

// Each appends one message.
void addReceiverTime(std::uint32_t millisecondsOfDay, Piece& piece);                                   // ~~
void addEpochTime(std::uint32_t millisecondsOfDay, Piece& piece);                                      // ::
void addDate(const JavadDate& date, Piece& piece);                                                     // RD
void addGpsTime(std::uint32_t millisecondsOfWeek, std::uint16_t week, Piece& piece);                   // GT
void addPosition(const JavadPosition& position, Piece& piece);                                         // PO
void addPositionVelocity(const JavadPosition& position, const JavadVelocity& velocity, Piece& piece);  // PV
void addDops(float hdop, float vdop, float tdop, JavadSolution solution, Piece& piece);  // DP, 14 bytes
void addSigmas(const JavadSigmas& sigmas, Piece& piece);                                 // SG
void addStatistics(const JavadStatistics& statistics, Piece& piece);                     // PS
// SI, NN, EL, AZ, EC and their like: a byte for each satellite.
void addPerSatellite(std::string_view id, ByteSpan values, Piece& piece);
// MF: the form of the messages, whose checksum is two digits.
void addMessageForm(std::string_view text, Piece& piece);
// RE: what a command asked for; it has no checksum.
void addReply(std::string_view text, Piece& piece);

extern const Framing kJavadFraming;

}  // namespace vkcomm::sim
