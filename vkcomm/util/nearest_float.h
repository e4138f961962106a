// From double to float without leaving the numbers.
#pragma once

#include <algorithm>
#include <limits>

namespace vkcomm {

// The float next to value; beyond the range of float its end. Not-a-number stays that.
inline float nearestFloat(double value) {
    constexpr double kMost = std::numeric_limits<float>::max();
    return static_cast<float>(std::clamp(value, -kMost, kMost));
}

}  // namespace vkcomm
