#include "sim/geodesy.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/sim/checks.h"

namespace vkcomm::sim {
namespace {

TEST(Geodesy, KnowsWherePointsAreInSpace) {
    struct Case {
        const char* name;
        double latitude, longitude, height;
        Ecef expected;
    };

    const Case cases[] = {
        {"Sydney", -33.5, 151.25, 121.25, {-4667842.8917, 2560866.3034, -3500401.2104}},
        {"equator", 0, 0, 0, {6378137.0, 0, 0}},
        {"date line", 0, 180, -5, {-6378132.0, 0, 0}},
        {"north pole", 90, 0, 10, {0, 0, 6356762.3142}},
        {"south pole", -90, 45, 0, {0, 0, -6356752.3142}},
        {"west", 45, -90, 1000, {0, -4518297.9856, 4488055.5156}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const Ecef point = ecefOf(c.latitude, c.longitude, c.height);
        EXPECT_NEAR(point.x, c.expected.x, 1e-4);
        EXPECT_NEAR(point.y, c.expected.y, 1e-4);
        EXPECT_NEAR(point.z, c.expected.z, 1e-4);
        EXPECT_EQ(point.x * 16384, std::floor(point.x * 16384));
    }
}

// The velocity is what the positions a tenth of a second before and after say, to a few millimetres a second.
TEST(Geodesy, VelocityIsTheChangeOfPosition) {
    const Truth truth({.seed = 5});
    for (const std::int64_t at : {1'000, 12'300, 100'000, 222'200, 301'700}) {
        SCOPED_TRACE(at);
        const Ecef before = positionOf(truth.at(at - 100));
        const Ecef after = positionOf(truth.at(at + 100));
        const Ecef velocity = velocityOf(truth.at(at));
        EXPECT_NEAR((after.x - before.x) / 0.2, velocity.x, 5e-3);
        EXPECT_NEAR((after.y - before.y) / 0.2, velocity.y, 5e-3);
        EXPECT_NEAR((after.z - before.z) / 0.2, velocity.z, 5e-3);
    }
}

}  // namespace
}  // namespace vkcomm::sim
