#include "vkcomm/datum/convert.h"

#include <gtest/gtest.h>

#ifdef VKCOMM_WITH_GEOGRAPHICLIB
#include <GeographicLib/Geocentric.hpp>
#endif

#include <algorithm>
#include <cmath>
#include <limits>

namespace vkcomm::test {
namespace {

constexpr double kPi = 3.14159265358979323846;

#ifdef VKCOMM_WITH_GEOGRAPHICLIB  // machines that tests are built for elsewhere lack it

double distance(const XYZ& left, const XYZ& right) {
    const XYZ apart = left - right;
    return std::hypot(apart.x, apart.y, apart.z);
}

// Metres by which the conversions, degrees to XYZ, XYZ to radians and back, miss those of GeographicLib.
double worstAt(double latitude, double longitude, double height) {
    const GeographicLib::Geocentric& reference = GeographicLib::Geocentric::WGS84();
    XYZ xyz;
    reference.Forward(latitude, longitude, height, xyz.x, xyz.y, xyz.z);
    const BLH blh = CConvert::XYZtoBLH(xyz);
    reference.Reverse(xyz.x, xyz.y, xyz.z, latitude, longitude, height);
    const double radius = 6.4e6 + height;
    const double turn = std::remainder(blh.longitude - longitude * kPi / 180, 2 * kPi);
    return std::max({distance(CConvert::BLHtoXYZ({latitude, longitude, height}, true), xyz),
                     std::abs(blh.latitude - latitude * kPi / 180) * radius,
                     std::abs(turn) * std::cos(blh.latitude) * radius, std::abs(blh.height - height),
                     distance(CConvert::BLHtoXYZ(blh), xyz)});
}

// From pole to pole, dense where formulas are weak, on meridians that include the date line.
TEST(Convert, AgreesWithGeographicLibEverywhere) {
    constexpr int kSteps = 180;
    double worst = 0.0;
    for (const double height : {-6000e3, -10e3, -1.0, 0.0, 8848.0, 100e3, 1000e3, 30000e3})
        for (int i = -kSteps; i <= kSteps; ++i)
            for (const double nudge : {0.0, 1e-7, 1e-3})
                for (const double longitude : {0.0, 1e-10, 57.0, -143.0, 180.0, -180.0 + 1e-10})
                    worst = std::max(worst, worstAt(std::clamp(90.0 * i / kSteps + nudge, -90.0, 90.0),
                                                    longitude, height));
    EXPECT_LT(worst, 1e-7);
}

#endif

TEST(Convert, KnowsThePlacesWhereFormulasBreak) {
    constexpr double kB = 6356752.314245179;

    struct {
        const char* name;
        XYZ xyz;
        BLH blh;
    } const cases[] = {
        {"centre", {0, 0, 0}, {0, 0, -6378137.0}},
        {"equator, date line from the east", {-6378137.0, 0.0, 0}, {0, kPi, 0}},
        {"equator, date line from the west", {-6378137.0, -0.0, 0}, {0, -kPi, 0}},
        {"equator, 90 west", {0, -6378147.0, 0}, {0, -kPi / 2, 10}},
        {"above the south pole", {0, 0, -kB - 1e6}, {-kPi / 2, 0, 1e6}},
        {"axis, deep below the pole", {0, 0, kB - 3e6}, {kPi / 2, 0, -3e6}},
        {"axis, next to the centre", {0, 0, -1e-3}, {-kPi / 2, 0, 1e-3 - kB}},
        {"equator's plane, next to the centre", {1e-3, 0, 0}, {0, 0, 1e-3 - 6378137.0}},
    };

    for (const auto& c : cases) {
        const BLH blh = CConvert::XYZtoBLH(c.xyz);
        EXPECT_NEAR(blh.latitude, c.blh.latitude, 1e-15) << c.name;
        EXPECT_NEAR(blh.longitude, c.blh.longitude, 1e-15) << c.name;
        EXPECT_NEAR(blh.height, c.blh.height, 1e-8) << c.name;
    }
    for (const double x : {0.0, 1e-300, 1.0, 3e4, 4.2e4, -6e4, 1e9, -1e305})
        for (const double z : {0.0, -1e-300, 1.0, -3e4, 4.3e4, 1e9, -1e305}) {
            const BLH blh = CConvert::XYZtoBLH({x, 0.0, z});
            EXPECT_TRUE(std::abs(blh.latitude) <= kPi / 2 && std::isfinite(blh.height)) << x << ' ' << z;
        }
    EXPECT_TRUE(std::isnan(CConvert::XYZtoBLH({std::numeric_limits<double>::quiet_NaN(), 0, 0}).latitude));
}

}  // namespace
}  // namespace vkcomm::test
