#include "sim/rtcm3_encoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "sim/bit_writer.h"
#include "sim/byte_writer.h"
#include "sim/geodesy.h"
#include "sim/rtcm3_frame.h"

namespace vkcomm::sim {

namespace {

constexpr int kStation = 1;
constexpr double kLightMillisecond = 299'792.458;  // metres
constexpr double kRangeUnit = 0.02;                // metres
constexpr double kPhaseUnit = 0.0005;              // metres
constexpr double kAntennaHeight = 1.5;             // metres

std::int64_t rounded(double value) { return std::llround(value); }

// Frequency numbers of the GLONASS slots 1 to 24.
constexpr std::array kGlonassChannels{1,  -4, 5, 6,  1, -4, 5, 6, -2, -7, 0, -1,
                                      -2, -7, 0, -1, 4, -3, 3, 2, 4,  -3, 3, 2};

// Seconds of lock in the steps of a table: below a limit the indicator is (seconds + offset) / divisor.
struct LockStep {
    int below, offset, divisor;
};

int lockIndicator(double seconds) {
    constexpr std::array kSteps{LockStep{24, 0, 1},    LockStep{72, 24, 2},     LockStep{168, 120, 4},
                                LockStep{360, 408, 8}, LockStep{744, 1176, 16}, LockStep{937, 3096, 32}};
    const auto whole = static_cast<int>(seconds);
    for (const LockStep& step : kSteps)
        if (whole < step.below) return (whole + step.offset) / step.divisor;
    return 127;
}

int cnrOf(const Signal& signal) {
    return static_cast<int>(std::min(rounded(signal.cn0 * 4.0), std::int64_t{255}));
}

// What the messages carry of a range on L1: whole units of the wavelength of a (light) millisecond or two, and the
// rest.
struct SplitRange {
    std::int64_t whole;
    std::int64_t rest;  // in range units

    double metres(double unit) const {
        return static_cast<double>(whole) * unit + static_cast<double>(rest) * kRangeUnit;
    }
};

SplitRange split(double range, double unit) {
    const double whole = std::floor(range / unit);
    return {rounded(whole), rounded((range - whole * unit) / kRangeUnit)};
}

// A phase less a range, in phase units. The cycles, whose number is arbitrary, are counted so that it is small.
std::int64_t phaseLessRange(const Signal& signal, double wavelength, double range) {
    const double fraction = signal.carrierPhase - std::floor(signal.carrierPhase);
    const double cycles = std::floor(range / wavelength - fraction + 0.5);
    return rounded(((cycles + fraction) * wavelength - range) / kPhaseUnit);
}

std::vector<Satellite> satellitesOf(const Epoch& epoch, SatelliteSystem system) {
    constexpr std::size_t kMost = 31;  // that the five bits for their number can count
    std::vector<Satellite> satellites;
    for (const Satellite& satellite : epoch.satellites)
        if (satellite.system == system && satellites.size() < kMost) satellites.push_back(satellite);
    return satellites;
}

void addObservationHead(int number, std::int64_t time, int timeWidth, bool moreFollow, std::size_t satellites,
                        BitWriter& message) {
    message.add(number, 12);
    message.add(kStation, 12);
    message.add(time, timeWidth);
    message.add(moreFollow ? 1 : 0, 1);
    message.add(static_cast<std::int64_t>(satellites), 5);
    message.add(0, 4);  // no smoothing
}

void addGps(const Satellite& satellite, BitWriter& message) {
    const SplitRange split1 = split(satellite.l1.pseudorange, kLightMillisecond);
    const double range = split1.metres(kLightMillisecond);
    message.add(satellite.number, 6);
    message.add(0, 1);  // C/A code
    message.add(split1.rest, 24);
    message.add(phaseLessRange(satellite.l1, kWavelengthL1, range), 20);
    message.add(lockIndicator(satellite.l1.lockTime), 7);
    message.add(split1.whole, 8);
    message.add(cnrOf(satellite.l1), 8);
    message.add(0, 2);  // L2C code
    message.add(rounded((satellite.l2.pseudorange - range) / kRangeUnit), 14);
    message.add(phaseLessRange(satellite.l2, kWavelengthL2, range), 20);
    message.add(lockIndicator(satellite.l2.lockTime), 7);
    message.add(cnrOf(satellite.l2), 8);
}

void addGlonass(const Satellite& satellite, BitWriter& message) {
    const SplitRange split1 = split(satellite.l1.pseudorange, 2.0 * kLightMillisecond);
    const double range = split1.metres(2.0 * kLightMillisecond);
    message.add(satellite.number, 6);
    message.add(0, 1);  // C/A code
    message.add(kGlonassChannels[static_cast<std::size_t>(satellite.number - 1)] + 7, 5);
    message.add(split1.rest, 25);
    message.add(phaseLessRange(satellite.l1, kWavelengthL1, range), 20);
    message.add(lockIndicator(satellite.l1.lockTime), 7);
    message.add(split1.whole, 7);
    message.add(cnrOf(satellite.l1), 8);
}

// Milliseconds of the day in Moscow.
std::int64_t glonassTimeOf(const Epoch& epoch) {
    constexpr std::int64_t kDay = 86'400'000, kThreeHours = 10'800'000;
    return (epoch.millisecondsOfWeek + kDay + kThreeHours - std::int64_t{kLeapSeconds} * 1000) % kDay;
}

}  // namespace

void addRtcm3Frame(ByteSpan message, Piece& piece) {
    ByteWriter frame;
    frame.be(kRtcm3Preamble);
    frame.be(static_cast<std::uint16_t>(message.size()));
    frame.append(message);
    const std::uint32_t check = rtcm3Check(frame.bytes());
    frame.be(static_cast<std::uint8_t>(check >> 16));
    frame.be(static_cast<std::uint16_t>(check & 0xFFFF));
    piece.addFrame(frame.bytes());
}

void encodeRtcm3Station(Piece& piece) {
    const auto coordinate = [](double metres) { return rounded(metres * 10'000.0); };
    const Ecef base = basePosition();
    BitWriter message;
    message.add(1006, 12);
    message.add(kStation, 12);
    message.add(0, 6);       // ITRF year
    message.add(0b1100, 4);  // GPS and GLONASS, a physical station
    message.add(coordinate(base.x), 38);
    message.add(0b10, 2);  // one oscillator
    message.add(coordinate(base.y), 38);
    message.add(0, 2);
    message.add(coordinate(base.z), 38);
    message.add(coordinate(kAntennaHeight), 16);
    addRtcm3Frame(message.bytes(), piece);
}

void encodeRtcm3(const Epoch& epoch, Piece& piece) {
    if (isDue(epoch, kStationEvery)) encodeRtcm3Station(piece);
    const auto gps = satellitesOf(epoch, SatelliteSystem::kGps);
    const auto glonass = satellitesOf(epoch, SatelliteSystem::kGlonass);
    BitWriter first, second;
    addObservationHead(1004, epoch.millisecondsOfWeek, 30, true, gps.size(), first);
    for (const Satellite& satellite : gps)
        addGps(satellite, first);
    addRtcm3Frame(first.bytes(), piece);
    addObservationHead(1010, glonassTimeOf(epoch), 27, false, glonass.size(), second);
    for (const Satellite& satellite : glonass)
        addGlonass(satellite, second);
    addRtcm3Frame(second.bytes(), piece);
}

}  // namespace vkcomm::sim
