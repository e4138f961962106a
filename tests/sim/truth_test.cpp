#include "sim/truth.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>

#include "sim/ephemeris.h"
#include "sim/geodesy.h"

namespace vkcomm::sim {
namespace {

constexpr std::int64_t kMinute = 60'000;
constexpr std::int64_t kDay = 1440 * kMinute;

// Moments that meet every stage of a session and both halves of the swings.
constexpr std::int64_t kMoments[] = {0,       7'000,   15'000,  75'000,           149'500,
                                     230'000, 571'000, 599'000, 5 * 60 * kMinute, kDay};

TEST(Truth, SpeedIsThatOfThePosition) {
    const Truth truth({});
    for (const std::int64_t moment : kMoments) {
        SCOPED_TRACE(moment);
        const Epoch before = truth.at(moment);
        const Epoch middle = truth.at(moment + 500);
        const Epoch after = truth.at(moment + 1000);
        constexpr double kMetresPerDegree = 111'186.0;
        const double north = (after.latitude - before.latitude) * kMetresPerDegree;
        const double east = (after.longitude - before.longitude) * 111'537.0 *
                            std::cos(middle.latitude * std::numbers::pi / 180.0);
        EXPECT_NEAR(std::hypot(north, east), middle.speed, 0.02);
        EXPECT_NEAR(after.heightAboveSea - before.heightAboveSea, middle.verticalSpeed, 0.005);
        if (middle.speed > 0.3) {
            const double course = std::atan2(east, north) * 180.0 / std::numbers::pi;
            EXPECT_NEAR(std::remainder(course - middle.course, 360.0), 0.0, 2.0);
        }
        EXPECT_LT(middle.speed, 2.0);
    }
}

TEST(Truth, SignalsOfASatelliteAgree) {
    const Truth truth({.seed = 7});
    for (const std::int64_t moment : kMoments) {
        SCOPED_TRACE(moment);
        const Epoch before = truth.at(moment);
        const Epoch middle = truth.at(moment + 500);
        const Epoch after = truth.at(moment + 1000);
        ASSERT_EQ(before.satellites.size(), after.satellites.size());
        for (std::size_t i = 0; i < before.satellites.size(); ++i) {
            const auto expectAgreement = [&](Signal Satellite::*signal, double wavelength) {
                const Signal& a = before.satellites[i].*signal;
                const Signal& b = after.satellites[i].*signal;
                const double range = b.pseudorange - a.pseudorange;
                EXPECT_NEAR((b.carrierPhase - a.carrierPhase) * wavelength, range, 1e-6);
                EXPECT_NEAR((middle.satellites[i].*signal).doppler * wavelength, -range, 0.01);
                EXPECT_NEAR(b.lockTime - a.lockTime, 1.0, 1e-9);
                const double ambiguity = a.carrierPhase - a.pseudorange / wavelength;
                EXPECT_NEAR(ambiguity, std::round(ambiguity), 1e-6);
            };
            expectAgreement(&Satellite::l1, kWavelengthL1);
            if (before.satellites[i].system == SatelliteSystem::kGps)
                expectAgreement(&Satellite::l2, kWavelengthL2);
        }
    }
}

TEST(Truth, StaysWithinWhatReceiversReport) {
    for (std::uint64_t seed = 0; seed < 20; ++seed) {
        const Truth truth({.seed = seed});
        for (std::int64_t time = 0; time < kDay; time += 13 * kMinute) {
            const Epoch epoch = truth.at(time);
            const Dops& d = epoch.dops;
            EXPECT_NEAR(d.pdop, std::hypot(d.hdop, d.vdop), 1e-9);
            EXPECT_NEAR(d.htdop, std::hypot(d.hdop, d.tdop), 1e-9);
            EXPECT_NEAR(d.gdop, std::hypot(d.pdop, d.tdop), 1e-9);
            for (const Satellite& satellite : epoch.satellites) {
                EXPECT_GT(satellite.elevation, 5.0);
                EXPECT_LT(satellite.elevation, 90.0);
                EXPECT_GE(satellite.azimuth, 0.0);
                EXPECT_LT(satellite.azimuth, 360.0);
                EXPECT_GT(satellite.l1.cn0, 30.0);
                EXPECT_LT(satellite.l1.cn0, 52.0);
                EXPECT_GT(satellite.l1.pseudorange, 20.0e6);
            }
        }
    }
}

TEST(Truth, GoesThroughAllQualities) {
    const Truth truth({});
    EXPECT_EQ(truth.at(0).quality, FixQuality::kSingle);
    EXPECT_EQ(truth.at(5'000).quality, FixQuality::kDifferential);
    EXPECT_EQ(truth.at(19'999).quality, FixQuality::kRtkFloat);
    EXPECT_EQ(truth.at(20'000).quality, FixQuality::kRtkFixed);
    EXPECT_EQ(truth.at(572'999).quality, FixQuality::kNone);
    EXPECT_EQ(truth.at(572'999).satellitesUsed(), 0);
    EXPECT_EQ(truth.at(600'000).quality, FixQuality::kSingle);
    EXPECT_GT(truth.at(600'000).satellitesUsed(), 7);
}

// The velocity is what the positions a tenth of a second before and after say, to a few millimetres a second.
TEST(Truth, VelocityInSpaceIsTheChangeOfPosition) {
    const Truth truth({.seed = 5});
    for (const std::int64_t at : {1'000, 12'300, 100'000, 222'200, 301'700}) {
        const Ecef before = positionOf(truth.at(at - 100));
        const Ecef after = positionOf(truth.at(at + 100));
        const Ecef velocity = velocityOf(truth.at(at));
        EXPECT_NEAR((after.x - before.x) / 0.2, velocity.x, 5e-3) << at;
        EXPECT_NEAR((after.y - before.y) / 0.2, velocity.y, 5e-3) << at;
        EXPECT_NEAR((after.z - before.z) / 0.2, velocity.z, 5e-3) << at;
    }
}

// As GPS satellites go: near-circular, 26,560 km, 55 degrees, and of the last two hours.
TEST(Truth, OrbitsAreThoseOfGpsSatellites) {
    for (int prn = 1; prn <= 32; ++prn)
        for (const std::int64_t time : {0, 345'618'000, 604'799'999}) {
            SCOPED_TRACE(testing::Message() << prn << " at " << time);
            const Ephemeris e = ephemerisOf(prn, 2303, time);
            EXPECT_EQ(e.week, 2303);
            EXPECT_EQ(e.reference * 16'000, time / 7'200'000 * 7'200'000);
            EXPECT_EQ(e.clockReference, e.reference);
            EXPECT_NEAR(std::ldexp(static_cast<double>(e.rootOfSemiMajorAxis), -19), 5153.7, 0.1);
            EXPECT_LT(std::ldexp(static_cast<double>(e.eccentricity), -33), 0.02);
            EXPECT_NEAR(std::ldexp(static_cast<double>(e.inclination), -31) * 180, 55, 1);
            for (const std::int64_t angle : {e.meanAnomaly, e.ascendingNode, e.perigee})
                EXPECT_EQ(angle, static_cast<std::int32_t>(angle));
            for (const std::int64_t word : {e.crs, e.cuc, e.cus, e.cic, e.cis, e.crc, e.clockDrift})
                EXPECT_EQ(word, static_cast<std::int16_t>(word));
        }
    EXPECT_NE(ephemerisOf(3, 2303, 7'199'999).iodc, ephemerisOf(3, 2303, 7'200'000).iodc);
}

TEST(Truth, TellsTheTime) {
    const struct {
        int week;
        std::int64_t millisecondsOfWeek, after;
        int expectedWeek;
        std::int64_t expectedMilliseconds;
        CalendarTime utc;
    } cases[] = {
        {2303, 345'588'000, 30'000, 2303, 345'618'000, {2024, 2, 29, 0, 0, 0, 0}},
        {2303, 345'588'000, 29'999, 2303, 345'617'999, {2024, 2, 28, 23, 59, 59, 999}},
        {2303, 604'799'000, 999, 2303, 604'799'999, {2024, 3, 2, 23, 59, 41, 999}},
        {2303, 604'799'000, 1'000, 2304, 0, {2024, 3, 2, 23, 59, 42, 0}},
        {2303, 0, 3 * kMillisecondsPerWeek + 18'000, 2306, 18'000, {2024, 3, 17, 0, 0, 0, 0}},
        {2399, 345'617'999, 1, 2399, 345'618'000, {2026, 1, 1, 0, 0, 0, 0}},
    };

    const auto row = [](const CalendarTime& t) {
        return std::array{t.year, t.month, t.day, t.hour, t.minute, t.second, t.millisecond};
    };
    for (const auto& c : cases) {
        const Truth truth({.startWeek = c.week, .startMillisecondsOfWeek = c.millisecondsOfWeek});
        const Epoch epoch = truth.at(c.after);
        EXPECT_EQ(epoch.week, c.expectedWeek);
        EXPECT_EQ(epoch.millisecondsOfWeek, c.expectedMilliseconds);
        EXPECT_EQ(row(utcOf(epoch)), row(c.utc));
    }
}

}  // namespace
}  // namespace vkcomm::sim
