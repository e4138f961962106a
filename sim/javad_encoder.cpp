#include "sim/javad_encoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

#include "sim/geodesy.h"
#include "sim/javad_messages.h"

namespace vkcomm::sim {

namespace {

using Values = std::vector<unsigned char>;

// Frequency numbers of the GLONASS slots 1 to 24.
constexpr std::array kGlonassFrequencies{1,  -4, 5, 6,  1, -4, 5, 6, -2, -7, 0, -1,
                                         -2, -7, 0, -1, 4, -3, 3, 2, 4,  -3, 3, 2};

bool hasFix(const Epoch& epoch) { return epoch.quality != FixQuality::kNone; }

JavadSolution solutionOf(FixQuality quality) {
    constexpr std::array<JavadSolution, 5> kSolutions{0, 1, 2, 3, 4};
    return kSolutions[static_cast<std::size_t>(quality)];
}

// Index of a satellite: GPS and SBAS by PRN, GLONASS by frequency, 45 being frequency 0.
unsigned char indexOf(const Satellite& satellite) {
    const int index = satellite.system == SatelliteSystem::kGlonass
                          ? 45 + kGlonassFrequencies[static_cast<std::size_t>(satellite.number - 1)]
                          : satellite.number;
    return static_cast<unsigned char>(index);
}

unsigned char wholeOf(double value) { return static_cast<unsigned char>(std::lround(value)); }

unsigned char elevationOf(const Satellite& satellite) { return wholeOf(satellite.elevation); }

unsigned char azimuthOf(const Satellite& satellite) {
    return static_cast<unsigned char>(std::lround(satellite.azimuth / 2.0) % 180);
}

unsigned char levelOf(const Satellite& satellite) { return wholeOf(satellite.l1.cn0); }

void addForAll(std::string_view id, unsigned char (*value)(const Satellite&), const Epoch& epoch,
               Piece& piece) {
    Values values;
    for (const Satellite& satellite : epoch.satellites)
        values.push_back(value(satellite));
    addPerSatellite(id, values, piece);
}

void addGlonassSlots(const Epoch& epoch, Piece& piece) {
    Values slots;
    for (const Satellite& satellite : epoch.satellites)
        if (satellite.system == SatelliteSystem::kGlonass)
            slots.push_back(static_cast<unsigned char>(satellite.number));
    addPerSatellite("NN", slots, piece);
}

void addTimes(const Epoch& epoch, std::uint32_t millisecondsOfDay, Piece& piece) {
    const CalendarTime date = gpsCalendarOf(epoch);
    addReceiverTime(millisecondsOfDay, piece);
    addDate({.year = static_cast<std::uint16_t>(date.year),
             .month = static_cast<std::uint8_t>(date.month),
             .day = static_cast<std::uint8_t>(date.day)},
            piece);
    addGpsTime(static_cast<std::uint32_t>(epoch.millisecondsOfWeek),
               static_cast<std::uint16_t>(epoch.week % 1024), piece);
}

// Velocities are as good as a hundredth of the position, and a centimetre a second.
float velocitySigma(double positionSigma) { return static_cast<float>(0.01 + positionSigma / 100.0); }

void addSolution(const Epoch& epoch, Piece& piece) {
    JavadPosition position{.solution = solutionOf(epoch.quality)};
    JavadVelocity velocity;
    JavadSigmas sigmas{.solution = position.solution};
    if (hasFix(epoch)) {
        const Ecef v = velocityOf(epoch);
        position.position = positionOf(epoch);
        position.sigma = static_cast<float>(positionSigma(epoch));
        velocity = {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z),
                    velocitySigma(positionSigma(epoch))};
        sigmas.horizontal = static_cast<float>(horizontalSigma(epoch));
        sigmas.vertical = static_cast<float>(epoch.sigmaHeight);
        sigmas.horizontalVelocity = velocitySigma(horizontalSigma(epoch));
        sigmas.verticalVelocity = velocitySigma(epoch.sigmaHeight);
    }
    addPosition(position, piece);
    addPositionVelocity(position, velocity, piece);
    addSigmas(sigmas, piece);
    addDops(static_cast<float>(epoch.dops.hdop), static_cast<float>(epoch.dops.vdop),
            static_cast<float>(epoch.dops.tdop), position.solution, piece);
}

std::uint8_t countIf(const Epoch& epoch, SatelliteSystem system, bool usedOnly) {
    return static_cast<std::uint8_t>(std::ranges::count_if(
        epoch.satellites, [=](const Satellite& s) { return s.system == system && (s.used || !usedOnly); }));
}

void addCounts(const Epoch& epoch, Piece& piece) {
    const std::uint8_t gps = countIf(epoch, SatelliteSystem::kGps, false);
    const std::uint8_t glonass = countIf(epoch, SatelliteSystem::kGlonass, false);
    addStatistics(
        {.solution = solutionOf(epoch.quality),
         .gpsLocked = gps,
         .glonassLocked = glonass,
         .gpsAvailable = gps,
         .glonassAvailable = glonass,
         .gpsUsed = countIf(epoch, SatelliteSystem::kGps, true),
         .glonassUsed = countIf(epoch, SatelliteSystem::kGlonass, true),
         .fixProgress = static_cast<std::uint8_t>(epoch.quality == FixQuality::kRtkFixed ? 100 : 0)},
        piece);
}

}  // namespace

void encodeJavadStart(const Epoch&, Piece& piece) {
    addMessageForm("JP01010", piece);
    addReply("%model%SIMULATED", piece);
}

void encodeJavad(const Epoch& epoch, Piece& piece) {
    constexpr std::int64_t kDay = 86'400'000;
    const auto millisecondsOfDay = static_cast<std::uint32_t>(epoch.millisecondsOfWeek % kDay);
    addTimes(epoch, millisecondsOfDay, piece);
    addSolution(epoch, piece);
    addCounts(epoch, piece);
    addForAll("SI", indexOf, epoch, piece);
    addGlonassSlots(epoch, piece);
    addForAll("EL", elevationOf, epoch, piece);
    addForAll("AZ", azimuthOf, epoch, piece);
    addForAll("EC", levelOf, epoch, piece);
    addEpochTime(millisecondsOfDay, piece);
}

}  // namespace vkcomm::sim
