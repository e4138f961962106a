#include "vkcomm/control/setup_limits.h"

#include <cmath>
#include <numbers>

namespace vkcomm {

std::string basePositionProblem(const BLH& position) {
    constexpr double kLatitude = std::numbers::pi / 2 + 1e-12;
    constexpr double kLongitude = std::numbers::pi * 2 + 1e-12;
    if (!std::isfinite(position.latitude) || !std::isfinite(position.longitude) ||
        !std::isfinite(position.height))
        return "the position is not a number";
    if (std::abs(position.latitude) > kLatitude) return "the latitude is beyond 90 degrees";
    if (std::abs(position.longitude) > kLongitude) return "the longitude is beyond 360 degrees";
    if (position.height < -1000.0 || position.height > 20e6)
        return "the height is outside -1000 m to 20,000 km";
    return {};
}

std::string roverMaskProblem(double elevation, double pdop) {
    // written so that NaN is outside
    if (!(elevation >= 0.0 && elevation <= 90.0)) return "the elevation mask is outside 0 to 90 degrees";
    if (!(pdop >= 0.0 && pdop <= 255.0)) return "the PDOP mask is outside 0 to 255";
    return {};
}

}  // namespace vkcomm
