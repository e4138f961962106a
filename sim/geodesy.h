// Where and how fast the simulated rover moves in space, on the WGS-84 ellipsoid.
#pragma once

#include "sim/truth.h"

namespace vkcomm::sim {

// Earth-centred, earth-fixed: metres, or metres per second.
struct Ecef {
    double x = 0.0, y = 0.0, z = 0.0;
};

double radiansOf(double degrees);

// Height above the ellipsoid, metres.
double ellipsoidalHeight(const Epoch& epoch);

// Latitude and longitude in degrees, height above the ellipsoid in metres. The result is rounded to 2^-14 m,
// 0.06 mm, so that systems whose sine differs in the last digit give the same.
Ecef ecefOf(double latitude, double longitude, double height);

// The position of an epoch, also when it has no fix.
Ecef positionOf(const Epoch& epoch);

// The reference station that the rover's corrections come from: degrees, and metres above the ellipsoid.
inline constexpr double kBaseLatitude = 47.29, kBaseLongitude = 8.57, kBaseHeight = 502.5;

Ecef basePosition();

// Velocity along the local horizon, m/s.
struct LocalVelocity {
    double north = 0.0, east = 0.0, up = 0.0;
};

// The last digits of both are those of the system's sine: fit for single precision.
LocalVelocity localVelocityOf(const Epoch& epoch);
Ecef velocityOf(const Epoch& epoch);

// The root of the sum of the horizontal variances, and with the height's.
double horizontalSigma(const Epoch& epoch);
double positionSigma(const Epoch& epoch);

}  // namespace vkcomm::sim
