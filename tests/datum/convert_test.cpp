#include "vkcomm/datum/convert.h"

#include <GeographicLib/Geocentric.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace vkcomm::test {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kTolerance = 1e-6;  // metres, a hundredth of what is promised

double distance(const XYZ& left, const XYZ& right) {
    const XYZ apart = left - right;
    return std::hypot(apart.x, apart.y, apart.z);
}

// Every latitude from pole to pole, dense where formulas are weak, on meridians that include the date line;
// degrees.
template <typename Check>
void forPlaces(Check check) {
    constexpr int kSteps = 180;
    for (const double height : {-10e3, -1.0, 0.0, 8848.0, 100e3, 1000e3, 20200e3})
        for (int i = -kSteps; i <= kSteps; ++i)
            for (const double nudge : {0.0, 1e-7, 1e-3})
                for (const double longitude : {0.0, 1e-10, 57.0, -143.0, 180.0, -180.0 + 1e-10})
                    check(std::clamp(90.0 * i / kSteps + nudge, -90.0, 90.0), longitude, height);
}

TEST(Convert, AgreesWithGeographicLibEverywhere) {
    const GeographicLib::Geocentric& reference = GeographicLib::Geocentric::WGS84();
    double worstForward = 0.0;
    double worstReverse = 0.0;
    double worstRound = 0.0;
    forPlaces([&](double latitude, double longitude, double height) {
        XYZ xyz;
        reference.Forward(latitude, longitude, height, xyz.x, xyz.y, xyz.z);
        worstForward =
            std::max(worstForward, distance(CConvert::BLHtoXYZ({latitude, longitude, height}, true), xyz));

        const BLH blh = CConvert::XYZtoBLH(xyz);
        double lat, lon, up;
        reference.Reverse(xyz.x, xyz.y, xyz.z, lat, lon, up);
        const double metresPerRadian = 6.4e6 + std::abs(height);
        const double turn = std::remainder(blh.longitude - lon * kPi / 180, 2 * kPi);
        worstReverse =
            std::max({worstReverse, std::abs(blh.latitude - lat * kPi / 180) * metresPerRadian,
                      std::abs(turn) * std::cos(blh.latitude) * metresPerRadian, std::abs(blh.height - up)});
        worstRound = std::max(worstRound, distance(CConvert::BLHtoXYZ(blh), xyz));
    });
    EXPECT_LT(worstForward, kTolerance);
    EXPECT_LT(worstReverse, kTolerance);
    EXPECT_LT(worstRound, kTolerance);
}

TEST(Convert, KnowsThePlacesWhereFormulasBreak) {
    constexpr double kB = 6356752.314245179;

    struct Case {
        const char* name;
        XYZ xyz;
        BLH blh;
    };

    const Case cases[] = {
        {"centre", {0, 0, 0}, {0, 0, -6378137.0}},
        {"equator, Greenwich", {6378137.0, 0, 0}, {0, 0, 0}},
        {"equator, date line from the east", {-6378137.0, 0.0, 0}, {0, kPi, 0}},
        {"equator, date line from the west", {-6378137.0, -0.0, 0}, {0, -kPi, 0}},
        {"equator, 90 west", {0, -6378147.0, 0}, {0, -kPi / 2, 10}},
        {"north pole", {0, 0, kB}, {kPi / 2, 0, 0}},
        {"above the south pole", {0, 0, -kB - 1e6}, {-kPi / 2, 0, 1e6}},
        {"axis, deep below the pole", {0, 0, kB - 3e6}, {kPi / 2, 0, -3e6}},
        {"axis, next to the centre", {0, 0, -1e-3}, {-kPi / 2, 0, 1e-3 - kB}},
        {"equator's plane, next to the centre", {1e-3, 0, 0}, {0, 0, 1e-3 - 6378137.0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const BLH blh = CConvert::XYZtoBLH(c.xyz);
        EXPECT_NEAR(blh.latitude, c.blh.latitude, 1e-15);
        EXPECT_NEAR(blh.longitude, c.blh.longitude, 1e-15);
        EXPECT_NEAR(blh.height, c.blh.height, 1e-8);
    }
}

TEST(Convert, StaysInRangeForAnyPoint) {
    for (const double x : {0.0, 1e-300, 1.0, 3e4, 4.2e4, -6e4, 1e9, -1e305})
        for (const double z : {0.0, -1e-300, 1.0, -3e4, 4.3e4, 1e9, -1e305}) {
            const BLH blh = CConvert::XYZtoBLH({x, 0.0, z});
            EXPECT_LE(std::abs(blh.latitude), kPi / 2) << x << ' ' << z;
            EXPECT_TRUE(std::isfinite(blh.height)) << x << ' ' << z;
        }
    EXPECT_TRUE(std::isnan(CConvert::XYZtoBLH({std::numeric_limits<double>::quiet_NaN(), 0, 0}).latitude));
}

TEST(Convert, TakesDegreesWhenAsked) {
    const XYZ radians = CConvert::BLHtoXYZ({0.5, -2.0, 100.0}, false);
    const XYZ degrees = CConvert::BLHtoXYZ({0.5 * 180 / kPi, -2.0 * 180 / kPi, 100.0}, true);
    EXPECT_LT(distance(radians, degrees), kTolerance);
    EXPECT_GT(distance(radians, CConvert::BLHtoXYZ({0.5, -2.0, 100.0}, true)), 1e6);
}

}  // namespace
}  // namespace vkcomm::test
