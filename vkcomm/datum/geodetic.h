// Positions on and around the earth.
#pragma once

namespace vkcomm {

// A geodetic position: latitude and longitude in radians (north and east positive), height in metres above
// the ellipsoid.
struct BLH {
    double latitude = 0.0;
    double longitude = 0.0;
    double height = 0.0;
};

// An earth-centred, earth-fixed cartesian position in metres.
struct XYZ {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

inline XYZ operator-(const XYZ& left, const XYZ& right) {
    return {left.x - right.x, left.y - right.y, left.z - right.z};
}

}  // namespace vkcomm
