#include "sim/oem4_server_encoder.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string_view>

#include "sim/byte_writer.h"
#include "sim/geodesy.h"
#include "sim/oem4_log.h"

namespace vkcomm::sim {

namespace {

enum : std::uint16_t { kEpoch = 912, kStation = 913, kText = 915 };

// Ranges travel in eighths of an L1 cycle, phases in 1/256 cycle as what they exceed the L1 range by.
constexpr double kRangeUnit = kWavelengthL1 / 8.0;

// The phase less the range of the message, in 1/256 cycle. The whole cycles of its own range are set aside
// but for one, so that the difference fits and is never 0, which would mean that there is no phase.
std::int16_t phaseCorrection(const Signal& signal, double wavelength, double range) {
    const double cycles = std::round(signal.carrierPhase - signal.pseudorange / wavelength) - 1.0;
    return static_cast<std::int16_t>(
        std::lround((signal.carrierPhase - cycles - range / wavelength) * 256.0));
}

void addObservation(const Satellite& satellite, ByteWriter& body) {
    const auto units = static_cast<std::int32_t>(std::lround(satellite.l1.pseudorange / kRangeUnit));
    const double range = units * kRangeUnit;
    const bool hasL2 = satellite.l2.pseudorange != 0.0;
    body.le(static_cast<std::uint8_t>(satellite.number));
    body.zeros(3);
    body.le<std::uint8_t>(1);  // L1 present
    body.zeros(1);
    body.le(units);
    body.le(phaseCorrection(satellite.l1, kWavelengthL1, range));
    body.zeros(2);
    body.le<std::uint8_t>(hasL2 ? 1 : 0);
    body.zeros(1);
    if (hasL2) {
        body.le(static_cast<std::int16_t>(std::lround((satellite.l2.pseudorange - range) / kRangeUnit)));
        body.le(phaseCorrection(satellite.l2, kWavelengthL2, range));
    } else {
        body.zeros(4);
    }
    body.zeros(2);
}

bool isGps(const Satellite& satellite) { return satellite.system == SatelliteSystem::kGps; }

void addEpoch(const Epoch& epoch, Piece& piece) {
    constexpr std::ptrdiff_t kMaxSatellites = 28;
    std::ptrdiff_t left = std::min(kMaxSatellites, std::ranges::count_if(epoch.satellites, isGps));
    ByteWriter body;
    body.le(static_cast<std::uint8_t>(left));
    body.zeros(5);
    body.le<std::int32_t>(0);  // clock, 1e-7
    body.zeros(6);
    for (const Satellite& satellite : epoch.satellites)
        if (isGps(satellite) && left-- > 0) addObservation(satellite, body);
    addOem4Log(kEpoch, epoch, body.bytes(), piece);
}

void addStation(const Epoch& epoch, Piece& piece) {
    const Ecef base = basePosition();
    ByteWriter body;
    body.le<std::uint32_t>(1);  // station
    body.le(base.x);
    body.le(base.y);
    body.le(base.z);
    addOem4Log(kStation, epoch, body.bytes(), piece);
}

void addText(const Epoch& epoch, std::string_view text, Piece& piece) {
    ByteWriter body;
    body.zeros(20);
    body.le(static_cast<std::uint32_t>(text.size()));
    body.text(text, text.size());
    addOem4Log(kText, epoch, body.bytes(), piece);
}

}  // namespace

void encodeOem4Server(const Epoch& epoch, Piece& piece) {
    addEpoch(epoch, piece);
    if (!isDue(epoch, 10'000)) return;
    addStation(epoch, piece);
    addText(epoch, isDue(epoch, 20'000) ? "SIMSTATION01" : "SIMSTATION01.000", piece);
}

}  // namespace vkcomm::sim
