// What no receiver can be set up with. Pure functions; any thread.
#pragma once

#include <string>

#include "vkcomm/datum/geodetic.h"
#include "vkcomm/export.h"

namespace vkcomm {

// Empty, or what is wrong with a base's position: a number that is not finite, a latitude beyond 90 degrees, a
// longitude beyond 360, a height below -1000 or above 20,000,000 m (the ranges of NovAtel's FIX command).
VKCOMM_API std::string basePositionProblem(const BLH& position);

// Empty, or what is wrong with a rover's masks: a number that is not finite, an elevation outside 0 to 90 degrees, a
// PDOP outside 0 to 255.
VKCOMM_API std::string roverMaskProblem(double elevation, double pdop);

}  // namespace vkcomm
