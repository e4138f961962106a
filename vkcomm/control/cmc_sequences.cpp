#include <array>

#include "vkcomm/control/base_sequences.h"
#include "vkcomm/control/command_carriers.h"

namespace vkcomm {

namespace {

constexpr int kDelay = 50;

constexpr std::array<unsigned char, 2> kBefore = {0, 0};
constexpr std::array<unsigned char, 2> kBehind = {1, 1};
constexpr std::array<unsigned char, 21> kOutput = {143, 30, 0, 0x20, 0, 0, 0, 0, 0, 0, 0, 0, 3};

Bytes positionData(const BLH& position) {
    Bytes data = {'U', 'G', 'P', 'S', '-', 'B', 0xEB, 0x17};
    data.resize(32);
    storeLe(data.data() + 8, position.height);
    storeLe(data.data() + 16, position.latitude);
    storeLe(data.data() + 24, position.longitude);
    return data;
}

}  // namespace

CommandSteps cmcBase(const BLH& position) {
    if (!basePositionProblem(position).empty()) return {};
    CommandSteps steps;
    append(steps, cmcSteps(OEM_CMC, 91, false, kBefore, kDelay));
    append(steps, cmcSteps(OEM_CMC, 80, false, positionData(position), kDelay));
    append(steps, cmcSteps(OEM_CMC, 91, false, kBehind, kDelay));
    append(steps, cmcSteps(OEM_CMC, 83, false, kOutput, kDelay));
    return steps;
}

}  // namespace vkcomm
