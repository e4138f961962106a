#include "sim/oem4_server_encoder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>

#include "tests/sim/checks.h"

namespace vkcomm::sim {
namespace {

constexpr double kWavelengths[] = {299792458.0 / 1575.42e6, 299792458.0 / 1227.60e6};

struct Observation {
    double range[2];
    double phase[2];
};

// The observations of a message 912, by PRN.
std::map<int, Observation> observationsOf(const std::string& log) {
    std::map<int, Observation> observations;
    for (std::size_t i = 0; i < static_cast<unsigned char>(log[28]); ++i) {
        const std::size_t at = 44 + 22 * i;
        const double range = leAt<std::int32_t>(log, at + 6) / 8.0 * kWavelengths[0];
        const double phase = leAt<std::int16_t>(log, at + 10) / 256.0 + range / kWavelengths[0];
        Observation& observation = observations[log[at]];
        observation = {{range, 0}, {phase, 0}};
        EXPECT_EQ(log[at + 4], 1);
        if (log[at + 14] == 0) continue;
        observation.range[1] = range + leAt<std::int16_t>(log, at + 16) / 8.0 * kWavelengths[0];
        observation.phase[1] = leAt<std::int16_t>(log, at + 18) / 256.0 + range / kWavelengths[1];
    }
    return observations;
}

// Ranges are those of the truth to a sixteenth of a cycle; phases go with them and differ from the truth by a
// whole number of cycles that never changes.
TEST(Oem4ServerEncoder, WritesObservations) {
    const Truth truth({.seed = 3});
    std::map<int, double> cyclesAside[2];
    for (const std::int64_t at : {0, 500, 1'000, 61'000, 3'600'000}) {
        const Epoch epoch = truth.at(at);
        const std::string log = framesOf(encodeOem4Server, epoch).at(0);
        EXPECT_EQ(leAt<std::uint16_t>(log, 4), 912);
        EXPECT_EQ(leAt<std::uint16_t>(log, 14), epoch.week);
        EXPECT_EQ(leAt<std::uint32_t>(log, 16), epoch.millisecondsOfWeek);
        EXPECT_EQ(log.size(), 44 + 22 * static_cast<std::size_t>(log[28]) + 4);
        const auto observations = observationsOf(log);
        std::size_t gps = 0;
        for (const Satellite& satellite : epoch.satellites) {
            if (satellite.system != SatelliteSystem::kGps) continue;
            SCOPED_TRACE(testing::Message() << satellite.number << " at " << at);
            ++gps;
            const Observation& seen = observations.at(satellite.number);
            const Signal* signals[] = {&satellite.l1, &satellite.l2};
            for (const int band : {0, 1}) {
                EXPECT_NEAR(seen.range[band], signals[band]->pseudorange, kWavelengths[0] / 16 + 1e-6);
                EXPECT_NEAR(seen.phase[band] * kWavelengths[band], seen.range[band], 0.5);
                const double aside = signals[band]->carrierPhase - seen.phase[band];
                EXPECT_NEAR(aside, std::round(aside), 1.0 / 256);
                const auto [known, isNew] = cyclesAside[band].emplace(satellite.number, std::round(aside));
                EXPECT_EQ(known->second, std::round(aside));
            }
        }
        EXPECT_EQ(observations.size(), gps);
    }
}

TEST(Oem4ServerEncoder, LeavesOutWhatIsNotThere) {
    Epoch epoch = sampleEpoch();
    epoch.satellites[1].l2 = {};
    const std::string log = framesOf(encodeOem4Server, epoch).at(0);
    EXPECT_EQ(log[28], 2);
    EXPECT_EQ(log[44 + 14], 1);
    EXPECT_EQ(log[44 + 22 + 14], 0);
    EXPECT_EQ(hexOf(ByteSpan(reinterpret_cast<const unsigned char*>(log.data()) + 44 + 22 + 15, 7)),
              "00000000000000");
}

TEST(Oem4ServerEncoder, StopsAtTwentyEightSatellites) {
    Epoch epoch = sampleEpoch();
    epoch.satellites.clear();
    for (int prn = 1; prn <= 32; ++prn)
        epoch.satellites.push_back({.number = prn, .l1 = {2e7, 1e8, 0, 40, 1}});
    const std::string log = framesOf(encodeOem4Server, epoch).at(0);
    EXPECT_EQ(log[28], 28);
    EXPECT_EQ(log.size(), 44 + 22 * 28 + 4u);
}

TEST(Oem4ServerEncoder, TellsTheStationEveryTenSeconds) {
    Epoch epoch = sampleEpoch();
    EXPECT_EQ(framesOf(encodeOem4Server, epoch).size(), 1u);
    for (const auto& [time, text] :
         {std::pair{345'620'000, "SIMSTATION01"}, {345'630'000, "SIMSTATION01.000"}}) {
        epoch.millisecondsOfWeek = time;
        const std::vector<std::string> logs = framesOf(encodeOem4Server, epoch);
        ASSERT_EQ(logs.size(), 3u);
        EXPECT_EQ(leAt<std::uint16_t>(logs[1], 4), 913);
        EXPECT_EQ(leAt<std::uint16_t>(logs[1], 8), 28);
        EXPECT_NEAR(leAt<double>(logs[1], 32), 4285998.4015, 1e-4);
        EXPECT_NEAR(leAt<double>(logs[1], 40), 645901.0247, 1e-4);
        EXPECT_NEAR(leAt<double>(logs[1], 48), 4664062.1328, 1e-4);
        EXPECT_EQ(leAt<std::uint16_t>(logs[2], 4), 915);
        EXPECT_EQ(static_cast<unsigned>(logs[2][28 + 20]), std::string(text).size());
        EXPECT_EQ(logs[2].substr(28 + 24, logs[2].size() - 28 - 24 - 4), text);
    }
}

}  // namespace
}  // namespace vkcomm::sim
