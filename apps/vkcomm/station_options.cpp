#include "apps/vkcomm/station_options.h"

#include <CLI/CLI.hpp>

#include "apps/vkcomm/commands.h"
#include "apps/vkcomm/output.h"
#include "apps/vkcomm/whole_file.h"
#include "host/settings_override.h"

namespace vkcomm {

namespace {

std::optional<Settings> readStation(const SettingsKind& kind, const std::string& path) {
    const auto bytes = readWhole(path);
    if (!bytes) return std::nullopt;
    SettingsProblem problem;
    auto settings = readSettings(kind, *bytes, problem);
    if (!settings)
        complain(path + ": " + problem.text + "; vkcomm settings check " + std::string(kind.name) +
                 " tells more");
    return settings;
}

Settings defaults(const SettingsKind& kind) {
    Settings settings{SettingsForm::kJson, {}};
    settings.records.Add(kind.create());
    return settings;
}

}  // namespace

void addStationOptions(CLI::App& verb, StationChoice& choice) {
    verb.add_option("--settings", choice.file, "Settings file of any form; default values when not given");
    verb.add_option("--set", choice.overrides, "NAME=VALUE instead of what the settings say")
        ->expected(1)
        ->take_all();
    verb.add_option("--command-set", choice.commandSet,
                    "NovAtel: 1 OEM4, 2 OEMV and later; the board is asked when not given")
        ->check(CLI::IsMember({1, 2}));
}

std::optional<CommandTarget> stationTarget(const CommandChoice& choice) {
    std::string error = "say which receiver: --family, known are " + commandTargetHelp();
    const bool isGiven = !choice.family.empty() || choice.type;
    const auto target = isGiven ? commandTarget(choice.family, choice.type, error) : std::nullopt;
    if (!target) complain(error);
    return target;
}

std::optional<Settings> stationSettings(std::string_view kindName, const StationChoice& choice, int& status) {
    const SettingsKind& kind = *findSettingsKind(kindName);
    auto settings = choice.file.empty() ? defaults(kind) : readStation(kind, choice.file);
    status = kFailed;
    if (!settings) return std::nullopt;
    std::string error;
    status = kWrongUsage;
    for (const std::string& assignment : choice.overrides)
        if (!overrideSetting(kind, assignment, settings->records, error)) {
            complain(error);
            return std::nullopt;
        }
    if (error = problemWithSettings(kind, settings->records); error.empty()) return settings;
    complain(error);
    return std::nullopt;
}

}  // namespace vkcomm
