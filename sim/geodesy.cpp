#include "sim/geodesy.h"

#include <cmath>
#include <numbers>

namespace vkcomm::sim {

namespace {

constexpr double kSemiMajorAxis = 6'378'137.0;
constexpr double kFlattening = 1.0 / 298.257223563;
constexpr double kEccentricitySquared = kFlattening * (2.0 - kFlattening);

double rounded(double metres) { return static_cast<double>(std::llround(metres * 0x1p14)) * 0x1p-14; }

}  // namespace

double radiansOf(double degrees) { return degrees * (std::numbers::pi / 180.0); }

double ellipsoidalHeight(const Epoch& epoch) { return epoch.heightAboveSea + epoch.undulation; }

Ecef ecefOf(double latitude, double longitude, double height) {
    const double sine = std::sin(radiansOf(latitude));
    const double curvature = kSemiMajorAxis / std::sqrt(1.0 - kEccentricitySquared * sine * sine);
    const double fromAxis = (curvature + height) * std::cos(radiansOf(latitude));
    return {rounded(fromAxis * std::cos(radiansOf(longitude))),
            rounded(fromAxis * std::sin(radiansOf(longitude))),
            rounded((curvature * (1.0 - kEccentricitySquared) + height) * sine)};
}

Ecef positionOf(const Epoch& epoch) {
    return ecefOf(epoch.latitude, epoch.longitude, ellipsoidalHeight(epoch));
}

Ecef basePosition() { return ecefOf(kBaseLatitude, kBaseLongitude, kBaseHeight); }

LocalVelocity localVelocityOf(const Epoch& epoch) {
    const double course = radiansOf(epoch.course);
    return {epoch.speed * std::cos(course), epoch.speed * std::sin(course), epoch.verticalSpeed};
}

Ecef velocityOf(const Epoch& epoch) {
    const LocalVelocity local = localVelocityOf(epoch);
    const double sineLat = std::sin(radiansOf(epoch.latitude));
    const double cosineLat = std::cos(radiansOf(epoch.latitude));
    const double sineLon = std::sin(radiansOf(epoch.longitude));
    const double cosineLon = std::cos(radiansOf(epoch.longitude));
    const double outwards = local.up * cosineLat - local.north * sineLat;  // from the earth's axis
    return {outwards * cosineLon - local.east * sineLon, outwards * sineLon + local.east * cosineLon,
            local.north * cosineLat + local.up * sineLat};
}

double horizontalSigma(const Epoch& epoch) {
    return std::sqrt(epoch.sigmaLatitude * epoch.sigmaLatitude + epoch.sigmaLongitude * epoch.sigmaLongitude);
}

double positionSigma(const Epoch& epoch) {
    const double horizontal = horizontalSigma(epoch);
    return std::sqrt(horizontal * horizontal + epoch.sigmaHeight * epoch.sigmaHeight);
}

}  // namespace vkcomm::sim
