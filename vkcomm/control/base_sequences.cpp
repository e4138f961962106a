#include "vkcomm/control/base_sequences.h"

#include <array>
#include <cmath>
#include <numbers>

#include "vkcomm/control/command_carriers.h"
#include "vkcomm/control/rover_sequences.h"

namespace vkcomm {

namespace {

constexpr int kCmcDelay = 50;

Bytes cmcPosition(const BLH& position) {
    Bytes data = {'U', 'G', 'P', 'S', '-', 'B', 0xEB, 0x17};
    data.resize(32);
    storeLe(data.data() + 8, position.height);
    storeLe(data.data() + 16, position.latitude);
    storeLe(data.data() + 24, position.longitude);
    return data;
}

constexpr std::array<unsigned char, 2> kCmcBefore = {0, 0};
constexpr std::array<unsigned char, 2> kCmcBehind = {1, 1};
constexpr std::array<unsigned char, 21> kCmcOutput = {143, 30, 0, 0x20, 0, 0, 0, 0, 0, 0, 0, 0, 3};

}  // namespace

std::string basePositionProblem(const BLH& position) {
    constexpr double kLatitude = std::numbers::pi / 2 + 1e-12;
    constexpr double kLongitude = std::numbers::pi * 2 + 1e-12;
    if (!std::isfinite(position.latitude) || !std::isfinite(position.longitude) ||
        !std::isfinite(position.height))
        return "the position is not a number";
    if (std::abs(position.latitude) > kLatitude) return "the latitude is beyond 90 degrees";
    if (std::abs(position.longitude) > kLongitude) return "the longitude is beyond 360 degrees";
    if (position.height < -1000.0 || position.height > 20e6)
        return "the height is outside -1000 m to 20,000 km";
    return {};
}

std::string roverMaskProblem(double elevation, double pdop) {
    // written so that NaN is outside
    if (!(elevation >= 0.0 && elevation <= 90.0)) return "the elevation mask is outside 0 to 90 degrees";
    if (!(pdop >= 0.0 && pdop <= 255.0)) return "the PDOP mask is outside 0 to 255";
    return {};
}

CommandSteps cmcBase(const BLH& position) {
    if (!basePositionProblem(position).empty()) return {};
    CommandSteps steps;
    append(steps, cmcSteps(OEM_CMC, 91, false, kCmcBefore, kCmcDelay));
    append(steps, cmcSteps(OEM_CMC, 80, false, cmcPosition(position), kCmcDelay));
    append(steps, cmcSteps(OEM_CMC, 91, false, kCmcBehind, kCmcDelay));
    append(steps, cmcSteps(OEM_CMC, 83, false, kCmcOutput, kCmcDelay));
    return steps;
}

}  // namespace vkcomm
