// Base and rover setups of every family from their settings record, with everything checked that a receiver would
// refuse or, worse, take.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "host/command_target.h"
#include "vkcomm/base/object.h"
#include "vkcomm/control/command_step.h"
#include "vkcomm/datum/geodetic.h"
#include "vkcomm/settings/antenna_type.h"

namespace vkcomm {

// The kind of settings record (see settings_kinds.h) that such a receiver is set up from; empty when there is no
// setup for it.
std::string_view baseSettingsKind(const CommandTarget& target);
std::string_view roverSettingsKind(const CommandTarget& target);

// The antenna in a record of a base kind.
CAntType& antennaOfBase(const CommandTarget& target, base::CObject& record);

struct BaseSetup {
    base::CObject* record = nullptr;  // of baseSettingsKind; its values mean something
    BLH phaseCentre;
    std::string name;    // of the station, 8 characters; Trimble only
    int commandSet = 0;  // of a NovAtel board
};

// Nothing, and why in error, when it cannot be.
std::optional<CommandSteps> baseSteps(const CommandTarget& target, const BaseSetup& setup,
                                      std::string& error);

struct RoverSetup {
    base::CObject* record = nullptr;  // of roverSettingsKind
    int commandSet = 0;
    std::optional<int> ionosphere;  // 0 quiet, 1 normal, 2 disturbed; NovAtel only
};

std::optional<CommandSteps> roverSteps(const CommandTarget& target, const RoverSetup& setup,
                                       std::string& error);

// True when the steps differ by the command set of a NovAtel board.
bool baseNeedsCommandSet(const CommandTarget& target, const BaseSetup& setup);
bool roverNeedsCommandSet(const CommandTarget& target, const RoverSetup& setup);

}  // namespace vkcomm
