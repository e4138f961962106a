#include <CLI/CLI.hpp>
#include <memory>

#include "apps/vkcomm/command_run.h"
#include "apps/vkcomm/commands.h"
#include "apps/vkcomm/list_verbs.h"
#include "apps/vkcomm/output.h"
#include "apps/vkcomm/station_options.h"
#include "host/base_mark.h"
#include "host/settings_override.h"
#include "host/station_setup.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

namespace {

struct AntennaChoice {
    std::string name;
    std::string list;
    std::string height;
    std::string measuredTo;
};

struct Options {
    CommandChoice command;
    StationChoice station;
    AntennaChoice antenna;
    std::string position;
    std::string name;
};

constexpr const char* kFooter =
    R"(The position is that of the mark. The height of the antenna's phase centre above it is added once, and both heights
are shown. The antenna is that of the settings, or one of a list with the height measured to one of its points. The
settings are those of vkcomm settings new base (base-javad for Javad receivers). --family is needed here.
Receivers are given heights above the ellipsoid. NovAtel boards read the height of FIX POSITION as above mean sea level
unless their undulation is set to 0.
  vkcomm base sim:oem4 --family novatel --position 51.1234,7.1234,123.456 --antenna-height 1.6
  vkcomm base --dry-run --family trimble --position 51.1,7.1,123.4 --name HILL --set uTrimbleFormat=4
  vkcomm base sim:javad --family javad --position -33.8,151.2,50 --antenna "Zephyr 2" --antenna-list antennas.txt \
    --antenna-height 1.55 --measured-to bottom --transcript proof.txt)";

constexpr const char* kNovatelHeight =
    "NovAtel boards read the height of FIX POSITION as above mean sea level unless their undulation is 0: "
    "check the position that the board then tells";

constexpr const char* kPoints[] = {"bottom", "top", "middle", "phase-centre"};
constexpr int kPhaseCentre = 3;
constexpr ListFile kAntennas = {"antenna", "[ANTENNA]", CAntType::readList, CAntType::listText};

// False after complaining.
bool takeFromList(const AntennaChoice& choice, CAntType& antenna) {
    base::CMyObArray antennas;
    if (!readList(kAntennas, choice.list, antennas, IfMissing::kFails)) return false;
    const std::wstring name = toWide(choice.name);
    for (int i = 0; i < antennas.GetSize(); ++i) {
        const auto& entry = static_cast<const CAntType&>(*antennas.GetAt(i));
        if (entry.strName != name) continue;
        antenna = entry;
        return true;
    }
    notInList(choice.list, choice.name);
    return false;
}

int pointOf(const AntennaChoice& choice, const CAntType& antenna) {
    if (!choice.measuredTo.empty())
        return static_cast<int>(std::ranges::find(kPoints, choice.measuredTo) - std::begin(kPoints));
    const bool isKnown = antenna.fOffset != decltype(antenna.fOffset){};
    if (!choice.list.empty()) return CAntType::kBottom;
    return isKnown ? antenna.uMeasureTo : kPhaseCentre;
}

// False after complaining.
bool applyHeight(const AntennaChoice& choice, CAntType& antenna) {
    if (choice.height.empty()) return true;
    constexpr double kHighest = 100.0;
    const auto height = parseMetres(choice.height);
    if (!height || *height < 0.0 || *height > kHighest) {
        complain("an antenna height is 0 to 100 metres with a decimal point, not " + choice.height);
        return false;
    }
    const int point = pointOf(choice, antenna);
    const bool hasOffsets = !choice.list.empty() || antenna.fOffset != decltype(antenna.fOffset){};
    if (point != kPhaseCentre && !hasOffsets) {
        complain("the antenna's offset at its " + choice.measuredTo +
                 " is not known: give --antenna of a list");
        return false;
    }
    antenna.vSetAntHeight(*height, point);
    return true;
}

int setUpBase(const Options& options) {
    const auto target = stationTarget(options.command);
    if (!target) return kWrongUsage;
    const std::string_view kind = baseSettingsKind(*target);
    if (kind.empty()) {
        complain(receiversText(*target) + " of that type have no known base setup");
        return kWrongUsage;
    }
    std::string error;
    const auto mark = parseMark(options.position, error);
    if (!mark) {
        complain(error);
        return kWrongUsage;
    }
    int status = kDone;
    auto settings = stationSettings(kind, options.station, status);
    if (!settings) return status;
    BaseSetup setup{settings->records.GetAt(0), {}, options.name, options.station.commandSet};
    CAntType& antenna = antennaOfBase(*target, *setup.record);
    if (!options.antenna.list.empty() && !takeFromList(options.antenna, antenna)) return kWrongUsage;
    if (error = problemWithSettings(*findSettingsKind(kind), settings->records); !error.empty())
        return wrongUsage(error);
    if (!applyHeight(options.antenna, antenna)) return kWrongUsage;
    setup.phaseCentre = phaseCentre(*mark, antenna);

    CommandJob job;
    job.build = [&](const CommandTarget& receiver, std::string& why) {
        return baseSteps(receiver, setup, why);
    };
    job.needsCommandSet = [&](const CommandTarget& receiver) { return baseNeedsCommandSet(receiver, setup); };
    job.commandSet = &setup.commandSet;
    job.preface = markLines(*mark, antenna, !options.antenna.height.empty());
    if (target->dialect == Dialect::kNovatel) complain(kNovatelHeight);
    job.jsonPreface = markJson(*mark, antenna);
    return runCommands(options.command, job);
}

}  // namespace

void addBase(CLI::App& app, Run& run) {
    auto options = std::make_shared<Options>();
    CLI::App* verb = app.add_subcommand("base", "Set a receiver up as a base station");
    verb->footer(kFooter);
    addCommandOptions(*verb, options->command);
    addStationOptions(*verb, options->station);
    verb->add_option("--position", options->position,
                     "The mark: latitude,longitude,height in degrees and metres above the ellipsoid")
        ->required();
    verb->add_option("--name", options->name, "Trimble: name of the station, at most 8 characters");
    auto* height = verb->add_option("--antenna-height", options->antenna.height,
                                    "Metres from the mark to the point of --measured-to");
    auto* list =
        verb->add_option("--antenna-list", options->antenna.list, "List file of antennas")->needs(height);
    auto* antenna = verb->add_option("--antenna", options->antenna.name, "Antenna of the list")->needs(list);
    list->needs(antenna);
    verb->add_option("--measured-to", options->antenna.measuredTo,
                     "Point the height is measured to: bottom, top, middle or phase-centre; when not given, "
                     "the bottom of "
                     "an antenna of a list, else the settings' point, else the phase centre")
        ->check(CLI::IsMember(std::vector<std::string>(std::begin(kPoints), std::end(kPoints))))
        ->needs(height);
    verb->callback([options, &run] { run = [options] { return setUpBase(*options); }; });
}

}  // namespace vkcomm
