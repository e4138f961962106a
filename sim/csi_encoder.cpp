#include "sim/csi_encoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>
#include <string_view>
#include <vector>

#include "sim/csi_messages.h"
#include "sim/geodesy.h"

namespace vkcomm::sim {

namespace {

constexpr std::string_view kSettings[] = {
    "BAUD,19200", "BAUD,9600,OTHER", "BIN,1,1.0",          "BIN,2,1.0",  "BIN,96,1.0",
    "BIN,99,1.0", "DIFF,WAAS",       "ALT,NEVER",          "LIMIT,10.0", "MASK,5",
    "AIR,NORM",   "SMOOTH,LONG",     "FREQ,1575.4200,250", "AGE,1800",   "THISPORT,PORTA"};

bool hasFix(const Epoch& epoch) { return epoch.quality != FixQuality::kNone; }

// Three-dimensional without and with corrections, then float and fixed.
std::uint16_t modeOf(FixQuality quality) {
    constexpr std::array<std::uint16_t, 5> kModes{0, 2, 4, 5, 6};
    return kModes[static_cast<std::size_t>(quality)];
}

std::uint16_t weekOf(const Epoch& epoch) { return static_cast<std::uint16_t>(epoch.week); }

double secondsOf(const Epoch& epoch) { return static_cast<double>(epoch.millisecondsOfWeek) / 1000.0; }

std::uint16_t tenths(double dop) { return static_cast<std::uint16_t>(std::lround(dop * 10.0)); }

// The satellites that have a channel.
std::vector<Satellite> inChannels(const Epoch& epoch) {
    std::vector<Satellite> satellites;
    for (const Satellite& satellite : epoch.satellites)
        if (satellite.system != SatelliteSystem::kGlonass && satellites.size() < kBinChannels)
            satellites.push_back(satellite);
    return satellites;
}

void addPosition(const Epoch& epoch, Piece& piece) {
    BinPosition position{.satellites = static_cast<std::uint8_t>(epoch.satellitesUsed()),
                         .week = weekOf(epoch),
                         .secondsOfWeek = secondsOf(epoch),
                         .mode = modeOf(epoch.quality)};
    if (hasFix(epoch)) {
        const LocalVelocity velocity = localVelocityOf(epoch);
        position.correctionAge = static_cast<std::uint8_t>(std::lround(epoch.correctionAge));
        position.extendedAge = position.correctionAge;
        position.latitude = epoch.latitude;
        position.longitude = epoch.longitude;
        position.height = static_cast<float>(ellipsoidalHeight(epoch));
        position.north = static_cast<float>(velocity.north);
        position.east = static_cast<float>(velocity.east);
        position.up = static_cast<float>(velocity.up);
        position.residualDeviation = static_cast<float>(horizontalSigma(epoch));
    }
    addBinPosition(position, piece);
}

// Two SBAS satellites fit; they take no part in the position.
std::uint16_t sbasBits(std::span<const Satellite> satellites) {
    unsigned bits = 0;
    unsigned count = 0;
    for (const Satellite& satellite : satellites) {
        if (satellite.system != SatelliteSystem::kSbas || count == 2) continue;
        bits |= 1u << count | static_cast<unsigned>(satellite.number - 120) << (5 + 5 * count);
        ++count;
    }
    return static_cast<std::uint16_t>(bits);
}

void addDops(const Epoch& epoch, std::span<const Satellite> satellites, Piece& piece) {
    BinDops dops{.leapSeconds = kLeapSeconds,
                 .hdop = tenths(epoch.dops.hdop),
                 .vdop = tenths(epoch.dops.vdop),
                 .sbas = sbasBits(satellites)};
    for (const Satellite& satellite : satellites) {
        if (satellite.system != SatelliteSystem::kGps) continue;
        const std::uint32_t bit = std::uint32_t{1} << (satellite.number - 1);
        dops.tracked |= bit;
        if (satellite.used) dops.used |= bit;
    }
    addBinDops(dops, piece);
}

void setChannel(const Satellite& satellite, BinChannel& channel) {
    constexpr std::uint8_t kLocked = 0x5F;
    constexpr std::uint8_t kValid = 2;
    channel.prn = static_cast<std::uint8_t>(satellite.number);
    channel.status = kLocked;
    channel.subframe = 5;
    channel.ephemeris = channel.almanac = kValid;
    channel.elevation = static_cast<std::int8_t>(std::lround(satellite.elevation));
    channel.azimuth = static_cast<std::uint8_t>(std::lround(satellite.azimuth / 2.0) % 180);
}

void addTracking(const Epoch& epoch, std::span<const Satellite> satellites, Piece& piece) {
    constexpr std::uint8_t kNoFix = 0x01, kThreeD = 0x03, kCorrectedThreeD = 0x83;
    BinTracking tracking{.mode = !hasFix(epoch)                         ? kNoFix
                                 : epoch.quality == FixQuality::kSingle ? kThreeD
                                                                        : kCorrectedThreeD,
                         .leapSeconds = kLeapSeconds,
                         .week = weekOf(epoch),
                         .secondsOfWeek = secondsOf(epoch)};
    for (std::size_t i = 0; i < kBinChannels; ++i) {
        tracking.channels[i].channel = static_cast<std::uint8_t>(i);
        if (i < satellites.size()) setChannel(satellites[i], tracking.channels[i]);
    }
    addBinTracking(tracking, piece);
}

// The ratio that stands for a level: 10 log10(0.8192 ratio) is C/N0 less 30 dB-Hz.
std::uint8_t rawLevel(double cn0) {
    return static_cast<std::uint8_t>(
        std::clamp(std::lround(std::pow(10.0, (cn0 - 30.0) / 10.0) / 0.8192), 1L, 255L));
}

BinRange rangeOf(const Satellite& satellite) {
    const Signal& signal = satellite.l1;
    const double tenthsTracked = std::min(signal.lockTime * 10.0, 255.0);
    return {.prn = static_cast<std::uint8_t>(satellite.number),
            .level = rawLevel(signal.cn0),
            .trackTime = static_cast<std::uint8_t>(tenthsTracked),
            .flags = static_cast<std::uint8_t>(signal.lockTime > 25.5 ? 3 : 1),
            .rangeRate = static_cast<std::int32_t>(std::lround(-signal.doppler * kWavelengthL1 * 4096.0)),
            .pseudorange = signal.pseudorange,
            .phase = signal.carrierPhase * kWavelengthL1};
}

void addRanges(const Epoch& epoch, std::span<const Satellite> satellites, Piece& piece) {
    BinRanges ranges{.week = weekOf(epoch), .secondsOfWeek = secondsOf(epoch)};
    std::ranges::transform(satellites, ranges.channels.begin(), rangeOf);
    addBinRanges(ranges, piece);
}

}  // namespace

void encodeCsiStart(const Epoch&, Piece& piece) {
    for (const std::string_view setting : kSettings)
        addJshow(setting, piece);
}

void encodeCsi(const Epoch& epoch, Piece& piece) {
    const std::vector<Satellite> satellites = inChannels(epoch);
    addPosition(epoch, piece);
    addDops(epoch, satellites, piece);
    addTracking(epoch, satellites, piece);
    addRanges(epoch, satellites, piece);
}

}  // namespace vkcomm::sim
