#include <CLI/CLI.hpp>
#include <map>
#include <memory>

#include "apps/vkcomm/commands.h"
#include "apps/vkcomm/output.h"
#include "apps/vkcomm/station_options.h"
#include "host/station_setup.h"

namespace vkcomm {

namespace {

struct Options {
    CommandChoice command;
    StationChoice station;
    std::optional<int> ionosphere;
};

constexpr const char* kFooter =
    R"(The settings are those of vkcomm settings new rover (rover-javad for Javad receivers). --family is needed here.
  vkcomm rover sim:oem4 --family novatel
  vkcomm rover --dry-run --family javad --set uDifFormat=1 --set fElevMask=10)";

int rover(const Options& options) {
    const auto target = stationTarget(options.command);
    if (!target) return kWrongUsage;
    const std::string_view kind = roverSettingsKind(*target);
    if (kind.empty()) {
        complain(receiversText(*target) + " have no known rover setup");
        return kWrongUsage;
    }
    int status = kDone;
    auto settings = stationSettings(kind, options.station, status);
    if (!settings) return status;

    RoverSetup setup{settings->records.GetAt(0), options.station.commandSet, options.ionosphere};
    CommandJob job;
    job.build = [&](const CommandTarget& receiver, std::string& error) {
        return roverSteps(receiver, setup, error);
    };
    job.needsCommandSet = [&](const CommandTarget& receiver) {
        return roverNeedsCommandSet(receiver, setup);
    };
    job.commandSet = &setup.commandSet;
    return runCommands(options.command, job);
}

}  // namespace

void addRover(CLI::App& app, Run& run) {
    auto options = std::make_shared<Options>();
    CLI::App* verb = app.add_subcommand("rover", "Set a receiver up as a rover, which takes corrections");
    verb->footer(kFooter);
    addCommandOptions(*verb, options->command);
    addStationOptions(*verb, options->station);
    const std::map<std::string, int> conditions = {{"quiet", 0}, {"normal", 1}, {"disturbed", 2}};
    verb->add_option("--ionosphere", options->ionosphere, "NovAtel: quiet, normal or disturbed")
        ->transform(CLI::CheckedTransformer(conditions));
    verb->callback([options, &run] { run = [options] { return rover(*options); }; });
}

}  // namespace vkcomm
