#include "sim/reference_position.h"

#include <cmath>
#include <numbers>

#include "vkcomm/util/numbers.h"

namespace vkcomm::sim {

// Written so that NaN is outside.
std::string problemOf(const ReferencePosition& position) {
    if (!(std::abs(position.latitude) <= std::numbers::pi / 2)) return "the latitude is beyond 90 degrees";
    if (!(std::abs(position.longitude) <= std::numbers::pi * 2)) return "the longitude is beyond 360 degrees";
    if (!(position.height >= -1000.0 && position.height <= 20e6)) return "the height is out of range";
    return {};
}

std::string textOf(const ReferencePosition& position) {
    constexpr double kDegreesPerRadian = 180.0 / std::numbers::pi;
    std::string text;
    appendFixed(text, position.latitude * kDegreesPerRadian, 9);
    appendFixed(text += ' ', position.longitude * kDegreesPerRadian, 9);
    appendFixed(text += ' ', position.height, 3);
    return text;
}

}  // namespace vkcomm::sim
