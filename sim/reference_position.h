// The position that a base is told to stand at.
#pragma once

#include <string>

namespace vkcomm::sim {

struct ReferencePosition {
    double latitude = 0.0;  // radians
    double longitude = 0.0;
    double height = 0.0;  // metres above the ellipsoid
};

// What keeps a base from standing there; empty when nothing does.
std::string problemOf(const ReferencePosition& position);

// "30.500000000 114.250000000 25.500", in degrees and metres.
std::string textOf(const ReferencePosition& position);

}  // namespace vkcomm::sim
