// One range observation, and its expansion from the compressed form of RANGECMP logs.
//
// A compressed record is 24 bytes, little-endian bit fields counted from bit 0 of byte 0 (OEM4 Family User
// Manual, volume 2, log 140): 0 tracking status (32), 32 Doppler (28), 60 pseudorange (36, 1/128 m), 96
// accumulated Doppler (32, 1/256 cycle), 128 standard deviations (8), 136 PRN (8), 144 lock time (21,
// 1/32 s), 165 C/N0 (5, from 20). No state: any thread may call.
#pragma once

#include <cstddef>
#include <cstdint>

#include "vkcomm/export.h"

namespace vkcomm {

// Carrier wavelengths in metres, as the receivers' own documents give them.
inline constexpr double kWavelengthL1 = 0.1902936727984;
inline constexpr double kWavelengthL2 = 0.2442102134246;

struct RangeObservation {
    std::uint16_t prn = 0;
    std::uint16_t reserved = 0;
    double pseudorange = 0.0;         // metres
    float pseudorangeSigma = 0.0f;    // metres
    double accumulatedDoppler = 0.0;  // cycles, minus the carrier phase; NaN or infinite: wavelength unknown
    float accumulatedDopplerSigma = 0;  // cycles
    float doppler = 0.0f;               // Hz
    float cn0 = 0.0f;                   // dB-Hz
    float lockTime = 0.0f;              // seconds, stops at 65535.97
    std::uint32_t trackingStatus = 0;
};

inline constexpr std::size_t kCompressedRangeSize = 24;

// Expands the record of kCompressedRangeSize readable bytes into observation. False, and nothing changes, for
// PRN 63.
//
// - The PRN is the low six bits of its byte (deliberate: such receivers number satellites from 1 to 62; a PRN
//   above 63 comes out folded).
// - The accumulated Doppler is read as unsigned (deliberate: with the roll-over correction the result is that
//   of the signed reading, 2^32 / 256 being two roll-overs). It is corrected by whole roll-overs of 8388608
//   cycles to lie next to minus the pseudorange in cycles.
// - The wavelength is known in tracking states 4 (L1 phase lock) and 11 (L2). In all others the accumulated
//   Doppler is not finite, and the observation is stored all the same.
// - C/N0 lies between 20 and 51; the receiver clips it there.
// - The tracking status is the state alone, its low five bits.
// - Doppler and standard deviations are not expanded and stay as they were.
VKCOMM_API bool expandRange(const unsigned char* record, RangeObservation& observation);

}  // namespace vkcomm
