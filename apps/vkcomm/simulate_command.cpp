#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

#include "apps/vkcomm/commands.h"
#include "apps/vkcomm/live_simulation.h"
#include "apps/vkcomm/output.h"
#include "apps/vkcomm/simulate_caster.h"
#include "sim/recording.h"

namespace vkcomm {

namespace {

constexpr const char* kFooter = R"(Writes a recording, or streams live to programs that open a port.
The same options give the same bytes on every machine.
  vkcomm simulate nmea -o demo.nmea --seconds 600 --rate 10
  vkcomm simulate oem4 --pty --rate 5 --corrupt 2 --for 1m
  vkcomm simulate oem4 -o - --damage 2 | vkcomm decode --family oem4 --summary -)";

constexpr const char* kFileGroup = "To a file";

struct FileCloser {
    void operator()(std::FILE* file) const {
        if (file != stdout) std::fclose(file);
    }
};

using File = std::unique_ptr<std::FILE, FileCloser>;

struct Totals {
    std::uint64_t bytes = 0;
    std::uint64_t frames = 0;
    std::uint64_t damaged = 0;
};

int failed(const std::string& path, const char* what) {
    complain(path + ": " + what + ": " + std::generic_category().message(errno));
    return kFailed;
}

int simulate(const sim::RecordingOptions& options, const std::string& path) {
    if (const std::string problem = sim::problemWith(options); !problem.empty()) {
        complain(problem);
        return kWrongUsage;
    }
    const File file(path == "-" ? stdout : std::fopen(path.c_str(), "wb"));
    if (!file) return failed(path, "cannot be written");

    sim::RecordingWriter writer(options);
    sim::Piece piece;
    Totals totals;
    Progress progress("simulating", std::nullopt);
    while (writer.next(piece)) {
        if (std::fwrite(piece.bytes.data(), 1, piece.bytes.size(), file.get()) != piece.bytes.size())
            return failed(path, "writing failed");
        totals.bytes += piece.bytes.size();
        totals.frames += piece.frames.size();
        for (const sim::Frame& frame : piece.frames)
            totals.damaged += frame.whole ? 0 : 1;
        progress.at(totals.bytes);
    }
    if (std::fflush(file.get()) != 0) return failed(path, "writing failed");
    std::fprintf(stderr, "%s: %llu bytes, %llu frames, %llu of them damaged\n", path.c_str(),
                 static_cast<unsigned long long>(totals.bytes),
                 static_cast<unsigned long long>(totals.frames),
                 static_cast<unsigned long long>(totals.damaged));
    return kDone;
}

struct Options {
    sim::RecordingOptions recording;
    std::string path;
    LiveSimulation live;
};

// The first option of the group that the user gave; empty when there is none.
std::string givenOf(const CLI::App& verb, const std::string& group) {
    const auto given = verb.get_options(
        [&](const CLI::Option* option) { return option->get_group() == group && option->count() > 0; });
    return given.empty() ? std::string() : given.front()->get_name();
}

int simulateFileOrLive(const Options& options, const CLI::App& verb) {
    const std::string ofFile = givenOf(verb, kFileGroup);
    const std::string ofLive = givenOf(verb, kLiveGroup);
    if (!ofFile.empty() && !ofLive.empty()) {
        complain(ofFile + " is for a file and " + ofLive + " for a live stream: choose one");
        return kWrongUsage;
    }
    if (!options.live.isChosen() && options.path.empty()) {
        complain("say where the receiver sends: -o FILE, --pty or --tcp PORT");
        return kWrongUsage;
    }
    if (!options.live.isChosen()) return simulate(options.recording, options.path);
    LiveSimulation live = options.live;
    live.stream.family = options.recording.family;
    live.stream.rateHz = options.recording.rateHz;
    live.stream.seed = options.recording.seed;
    return simulateLive(live);
}

}  // namespace

void addSimulate(CLI::App& app, Run& run) {
    auto options = std::make_shared<Options>();
    CLI::App* verb =
        app.add_subcommand("simulate", "Write what a simulated receiver sends, or stream it live");
    verb->footer(kFooter);
    const auto names = sim::liveFamilies();
    const std::vector<std::string> families(names.begin(), names.end());
    const CLI::Option* const family = verb->add_option("FAMILY", options->recording.family, "Receiver family")
                                          ->check(CLI::IsMember(families));
    verb->add_option("-o,--output", options->path, "File to write; - is standard output")->group(kFileGroup);
    verb->add_option("--rate", options->recording.rateHz, "Epochs a second")->capture_default_str();
    verb->add_option("--seed", options->recording.seed, "Another seed, another recording")
        ->capture_default_str();
    verb->add_option("--seconds", options->recording.seconds, "Length of the recording")
        ->capture_default_str()
        ->group(kFileGroup);
    verb->add_option("--damage", options->recording.damagePercent, "Percent of the frames to damage")
        ->capture_default_str()
        ->group(kFileGroup);
    addLiveOptions(*verb, options->live);
    addSimulateCaster(*verb, run);
    verb->callback([options, verb, family, &run] {
        if (!verb->get_subcommands().empty()) return;
        if (family->count() == 0) throw CLI::RequiredError("FAMILY");
        run = [options, verb] { return simulateFileOrLive(*options, *verb); };
    });
}

}  // namespace vkcomm
