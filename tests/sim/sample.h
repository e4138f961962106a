// What the tests of this folder share: a sample epoch, and frames as text.
#pragma once

#include <string>

#include "sim/piece.h"
#include "sim/truth.h"

namespace vkcomm::sim {

inline std::string hexOf(ByteSpan bytes) {
    std::string text;
    for (const unsigned char byte : bytes) {
        text += "0123456789abcdef"[byte / 16];
        text += "0123456789abcdef"[byte % 16];
    }
    return text;
}

// An RTK fix in Sydney at 2024-02-29 00:00:00.999 UTC. The signals are those of a receiver in the field.
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
    epoch.satellites = {
        satellite,
        satellite,
        {.system = SatelliteSystem::kSbas, .number = 120, .elevation = 30.0, .azimuth = 180.0},
        {.system = SatelliteSystem::kGlonass, .number = 9, .elevation = 9.99, .azimuth = 359.99}};
    epoch.satellites[1].number = 22;
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
