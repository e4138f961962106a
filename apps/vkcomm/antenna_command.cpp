#include <CLI/CLI.hpp>
#include <memory>

#include "apps/vkcomm/commands.h"
#include "apps/vkcomm/list_verbs.h"
#include "host/settings_json.h"
#include "vkcomm/settings/antenna_type.h"
#include "vkcomm/util/nearest_float.h"
#include "vkcomm/util/numbers.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

namespace {

struct Options {
    std::string file;
    std::string name;
    std::array<double, 3> offsets{};
    bool json = false;
};

constexpr const char* kFooter =
    R"(The list file has an [ANTENNA] entry for each antenna type. Distances are metres from a point of the antenna
to its phase centre.
  vkcomm antenna add antennas.txt "Zephyr 2" --bottom 0.053 --top 0.020 --middle 0.037
  vkcomm antenna list antennas.txt
  vkcomm antenna remove antennas.txt "Zephyr 2")";

constexpr ListFile kFile = {"antenna", "[ANTENNA]", CAntType::readList, CAntType::listText};

int list(const Options& options) {
    base::CMyObArray antennas;
    if (!readList(kFile, options.file, antennas, IfMissing::kFails)) return kFailed;
    if (options.json)  // the list keeps no heights
        return show(
            settingsJsonLines(*findSettingsKind("antenna"), antennas, {"uMeasureTo", "fPhaseHeight"}));
    std::string lines;
    for (int i = 0; i < antennas.GetSize(); ++i) {
        const auto& antenna = static_cast<const CAntType&>(*antennas.GetAt(i));
        for (const float offset : antenna.fOffset)
            appendFormat(lines, "%9.3f", double{offset});
        lines += "  " + quotedText(toUtf8(antenna.strName)) + "\n";
    }
    return show(lines.empty() ? lines : "   bottom      top   middle  name\n" + lines);
}

int add(const Options& options) {
    CAntType antenna;
    antenna.strName = toWide(options.name);
    std::ranges::transform(options.offsets, antenna.fOffset.begin(), nearestFloat);
    if (!isStorable(antenna, "antenna", options.name)) return kWrongUsage;
    base::CMyObArray antennas;
    if (!readList(kFile, options.file, antennas, IfMissing::kIsEmpty)) return kFailed;
    const bool isNew = CAntType::bAddOneAntType(antenna, &antennas) == 1;
    return writeList(kFile, options.file, antennas, (isNew ? "added " : "updated ") + options.name);
}

int remove(const Options& options) {
    base::CMyObArray antennas;
    if (!readList(kFile, options.file, antennas, IfMissing::kFails)) return kFailed;
    const std::wstring name = toWide(options.name);
    const int before = antennas.GetSize();
    for (int i = before - 1; i >= 0; --i)
        if (static_cast<const CAntType&>(*antennas.GetAt(i)).strName == name) antennas.RemoveAt(i);
    if (antennas.GetSize() == before) return notInList(options.file, options.name);
    return writeList(kFile, options.file, antennas, "removed " + options.name);
}

}  // namespace

void addAntenna(CLI::App& app, Run& run) {
    auto options = std::make_shared<Options>();
    CLI::App* const antenna = app.add_subcommand("antenna", "List and change a list of antenna types");
    const auto addVerb = [&](const char* name, const char* about, int (*verb)(const Options&)) {
        return addListVerb(*antenna, name, about, "FILE", options->file, kFooter,
                           [options, &run, verb] { run = [options, verb] { return verb(*options); }; });
    };
    antenna->require_subcommand(1);
    antenna->footer(kFooter);

    addVerb("list", "Show the antennas", list)->add_flag("--json", options->json, "One JSON object a line");

    CLI::App* verb = addVerb("add", "Add an antenna, or give a known one other distances", add);
    verb->add_option("NAME", options->name, "Antenna type")->required();
    verb->add_option("--bottom", options->offsets[CAntType::kBottom], "Bottom to phase centre, metres");
    verb->add_option("--top", options->offsets[CAntType::kTop], "Top to phase centre, metres");
    verb->add_option("--middle", options->offsets[CAntType::kMiddle], "Middle to phase centre, metres");

    addVerb("remove", "Remove an antenna", remove)
        ->add_option("NAME", options->name, "Antenna type")
        ->required();
}

}  // namespace vkcomm
