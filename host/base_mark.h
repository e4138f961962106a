// Where a base stands: the mark on the ground as surveyors know it, and the phase centre of the antenna above it, which
// is what receivers are told.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "vkcomm/datum/geodetic.h"
#include "vkcomm/settings/antenna_type.h"

namespace vkcomm {

// "LAT,LON,H": decimal degrees and metres above the ellipsoid, with a point whatever the locale. Nothing, and why in
// error, for any other text and for places where no base can stand. In radians, longitudes within half a turn.
std::optional<BLH> parseMark(std::string_view text, std::string& error);

// A decimal number of metres as a whole text; nothing for any other.
std::optional<double> parseMetres(std::string_view text);

// The mark with the antenna's phase centre above it. The record keeps single precision; what counts is the decimal
// number that it stands for, so that 1.553 m do not become 1.55299997 m.
BLH phaseCentre(const BLH& mark, const CAntType& antenna);

// Mark, antenna and phase centre in a line each, both heights in metres. A height of 0 that was not given is one that
// is not known.
std::string markLines(const BLH& mark, const CAntType& antenna, bool isHeightGiven = false);
// The same as one JSON object in a line.
std::string markJson(const BLH& mark, const CAntType& antenna);

}  // namespace vkcomm
