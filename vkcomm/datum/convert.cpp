#include "vkcomm/datum/convert.h"

#include <algorithm>
#include <cmath>

namespace vkcomm {

namespace {

constexpr double kRadiansPerDegree = 0.017453292519943295;

// WGS-84: semi-major axis in metres and flattening; the rest follows from them.
constexpr double kA = 6378137.0;
constexpr double kF = 1.0 / 298.257223563;
constexpr double kB = kA * (1.0 - kF);
constexpr double kE2 = kF * (2.0 - kF);          // first eccentricity squared
constexpr double kSecondE2 = kE2 / (1.0 - kE2);  // second eccentricity squared

// Sine and cosine of an angle between -90 and 90 degrees.
struct Direction {
    double sine;
    double cosine;
};

Direction direction(double up, double out) {
    const double length = std::hypot(up, out);
    if (length == 0.0) return {0.0, 1.0};
    return {up / length, out / length};
}

double cube(double value) { return value * value * value; }

// The latitude of the point out metres from the axis and up metres above the equator's plane, by Bowring's
// formula: each step turns the reduced latitude into a geodetic one and back. Three steps leave only
// rounding.
Direction latitudeOf(double out, double up) {
    constexpr int kSteps = 3;
    Direction reduced = direction(up, (1.0 - kF) * out);
    Direction latitude{};
    for (int step = 0; step < kSteps; ++step) {
        // Nearer to the centre than the ellipsoid's centres of curvature the difference would turn negative
        // and the latitude pass the pole.
        latitude = direction(up + kSecondE2 * kB * cube(reduced.sine),
                             std::max(out - kE2 * kA * cube(reduced.cosine), 0.0));
        reduced = direction((1.0 - kF) * latitude.sine, latitude.cosine);
    }
    return latitude;
}

}  // namespace

XYZ CConvert::BLHtoXYZ(const BLH& blh, bool bDegrees) {
    const double scale = bDegrees ? kRadiansPerDegree : 1.0;
    const double latitude = blh.latitude * scale;
    const double longitude = blh.longitude * scale;
    const double sine = std::sin(latitude);
    const double cosine = std::cos(latitude);
    const double radius = kA / std::sqrt(1.0 - kE2 * sine * sine);  // of curvature in the prime vertical
    const double out = (radius + blh.height) * cosine;
    return {out * std::cos(longitude), out * std::sin(longitude), (radius * (1.0 - kE2) + blh.height) * sine};
}

BLH CConvert::XYZtoBLH(const XYZ& xyz) {
    const double out = std::hypot(xyz.x, xyz.y);
    const Direction latitude = latitudeOf(out, xyz.z);
    // This form of the height divides by nothing, so it holds at the poles and the centre too.
    const double height = out * latitude.cosine + xyz.z * latitude.sine -
                          kA * std::sqrt(1.0 - kE2 * latitude.sine * latitude.sine);
    return {std::atan2(latitude.sine, latitude.cosine), std::atan2(xyz.y, xyz.x), height};
}

}  // namespace vkcomm
