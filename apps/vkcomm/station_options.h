// Options of the verbs that set up base and rover stations: where the settings come from.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/vkcomm/command_options.h"
#include "host/settings_file.h"

namespace vkcomm {

struct StationChoice {
    std::string file;  // empty: default values
    std::vector<std::string> overrides;
    int commandSet = 0;
};

void addStationOptions(CLI::App& verb, StationChoice& choice);

// The family and type of a station must be given, since its settings depend on them. Nothing after complaining.
std::optional<CommandTarget> stationTarget(const CommandChoice& choice);

// The one record of that kind, with every value meaning something. Nothing after complaining; status is then the
// exit status of the process.
std::optional<Settings> stationSettings(std::string_view kind, const StationChoice& choice, int& status);

}  // namespace vkcomm
