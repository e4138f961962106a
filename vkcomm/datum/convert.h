// Conversion between geodetic and earth-centred cartesian positions on the WGS-84 ellipsoid.
#pragma once

#include "vkcomm/datum/geodetic.h"
#include "vkcomm/export.h"

namespace vkcomm {

// No state: any thread may call. Nothing fails; NaN and infinity come out as such.
class VKCOMM_API CConvert {
public:
    // Latitude and longitude are radians when bDegrees is false, else degrees.
    static XYZ BLHtoXYZ(const BLH& blh, bool bDegrees = false);

    // Latitude -pi/2 to pi/2, longitude -pi to pi. Errors stay below a tenth of a micrometre from 6,000 km
    // below the ellipsoid to 30,000 km above it, poles and the earth's axis included. On the axis the
    // longitude is 0 or pi; the earth's centre gives latitude 0, longitude 0 and minus the semi-major axis as
    // height. Within 50 km of the centre the latitude is only roughly right.
    static BLH XYZtoBLH(const XYZ& xyz);
};

}  // namespace vkcomm
