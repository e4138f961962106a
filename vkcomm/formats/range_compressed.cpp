#include "vkcomm/formats/range_compressed.h"

#include <cmath>

#include "vkcomm/util/bytes.h"

namespace vkcomm {

namespace {

constexpr unsigned kUnusedPrn = 63;
constexpr double kCyclesPerRoll = 8'388'608.0;

// Metres; 0 where it is not known, so that cycles of it are not finite.
double wavelengthOf(unsigned trackingState) {
    switch (trackingState) {
    case 4: return kWavelengthL1;
    case 11: return kWavelengthL2;
    default: return 0.0;
    }
}

// To the nearest whole number, halves away from zero. In floating point: cycles need not be finite.
double nearestWhole(double value) { return std::trunc(value <= 0.0 ? value - 0.5 : value + 0.5); }

double unrolled(double accumulatedDoppler, double pseudorangeCycles) {
    const double rolls = (pseudorangeCycles + accumulatedDoppler) / kCyclesPerRoll;
    return accumulatedDoppler - kCyclesPerRoll * nearestWhole(rolls);
}

}  // namespace

bool expandRange(const unsigned char* record, RangeObservation& observation) {
    const unsigned prn = record[17] & 0x3Fu;
    if (prn == kUnusedPrn) return false;
    const unsigned state = record[0] & 0x1Fu;
    observation.prn = static_cast<std::uint16_t>(prn);
    observation.pseudorange = (loadLe<std::uint32_t>(record + 8) * 16.0 + (record[7] >> 4)) / 128.0;
    observation.accumulatedDoppler =
        unrolled(loadLe<std::uint32_t>(record + 12) / 256.0, observation.pseudorange / wavelengthOf(state));
    observation.cn0 = static_cast<float>((record[20] >> 5) + (record[21] & 3) * 8 + 20);
    observation.lockTime = static_cast<float>(loadLe<std::uint32_t>(record + 18) & 0x1F'FFFFu) / 32.0f;
    observation.trackingStatus = state;
    return true;
}

}  // namespace vkcomm
