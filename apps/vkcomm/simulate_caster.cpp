#include "apps/vkcomm/simulate_caster.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>

#include "apps/vkcomm/live_simulation.h"
#include "apps/vkcomm/output.h"
#include "apps/vkcomm/secret_arguments.h"
#include "apps/vkcomm/session_options.h"
#include "apps/vkcomm/whole_file.h"
#include "sim/caster.h"
#include "vkcomm/platform/stop_signal.h"

namespace vkcomm {

using namespace std::chrono_literals;

namespace {

constexpr const char* kFooter = R"(Prints the address of each mount point, and totals at the end.
  vkcomm simulate caster --tcp 2101 --user me:secret
  vkcomm simulate caster --tcp 0 --file base.rtcm3 --loop --for 10m)";

struct Options {
    std::string tcp;
    std::string path;  // empty: the simulated station
    bool simulated = false;
    std::string user;  // NAME:PASSWORD; empty: open to everybody
    std::vector<std::string> mounts{"SIM"};
    std::vector<std::string> networks{"VRS"};
    std::string runFor;
    std::uint64_t closeAfter = 0, stallAfter = 0;
    const CLI::Option* closes = nullptr;
    const CLI::Option* stalls = nullptr;
    sim::CasterOptions caster;
};

std::string checkUser(const std::string& text) {
    return text.find(':') == text.npos ? "is not of the form NAME:PASSWORD" : "";
}

std::string checkMount(const std::string& text) {
    const bool isWord =
        !text.empty() && std::ranges::all_of(text, [](char c) { return c > ' ' && c < 0x7F; });
    return isWord && text.find_first_of(";/") == text.npos ? "" : "a mount point is one word without ; and /";
}

// Nothing after complaining.
std::optional<sim::CasterOptions> casterOptions(const Options& options) {
    sim::CasterOptions caster = options.caster;
    const std::string user = revealed(options.user);
    caster.user = user.substr(0, user.find(':'));
    caster.password = user.empty() ? "" : user.substr(user.find(':') + 1);
    caster.mounts.clear();
    for (const std::string& name : options.mounts)
        caster.mounts.push_back({name, false});
    for (const std::string& name : options.networks)
        caster.mounts.push_back({name, true});
    if (options.closes->count() > 0) caster.closeAfter = options.closeAfter;
    if (options.stalls->count() > 0) caster.stallAfter = options.stallAfter;
    if (options.path.empty()) return caster;
    auto bytes = readWhole(options.path);
    if (!bytes) return std::nullopt;
    caster.file = std::make_shared<const std::string>(*std::move(bytes));
    return caster;
}

void report(const std::string& address, const sim::CasterTotals& totals) {
    const auto number = [](std::uint64_t value) { return static_cast<unsigned long long>(value); };
    std::fprintf(stderr, "%s: %llu streams, %llu bytes; %llu positions, %llu source tables, %llu refused\n",
                 address.c_str(), number(totals.streams), number(totals.bytes), number(totals.positions),
                 number(totals.tables), number(totals.refusals));
}

void printAddresses(const sim::Caster& caster, const std::vector<sim::CasterMount>& mounts) {
    Output output;
    for (const sim::CasterMount& mount : mounts)
        output.buffer() += caster.address() + "/" + mount.name + "\n";
    output.flush();
}

int simulateCaster(const Options& options) {
    const auto choice = casterOptions(options);
    const auto place = parseTcpPlace(options.tcp);
    if (!choice || !place) return kFailed;
    SystemError error;
    auto listener = openListener(place->address, place->port, error);
    if (!listener) {
        complain(error.message());
        return kFailed;
    }
    const std::atomic<bool>& isStopped = stopRequested();
    sim::Caster caster(*choice, std::move(listener), place->address);
    caster.start();
    printAddresses(caster, choice->mounts);
    const auto duration = parseDuration(options.runFor);
    const auto end = systemClock().now() + duration.value_or(0ms);
    while (!isStopped && !(duration && systemClock().now() >= end))
        systemClock().sleep(20ms);
    caster.stop();
    report(caster.address(), caster.totals());
    return kDone;
}

void addFaults(CLI::App& verb, Options& options) {
    constexpr const char* kGroup = "Faults";
    options.closes =
        verb.add_option("--close-after", options.closeAfter, "Close behind so many bytes of a stream")
            ->group(kGroup);
    options.stalls = verb.add_option("--stall-after", options.stallAfter,
                                     "Send nothing more behind so many bytes, but stay connected")
                         ->group(kGroup);
    verb.add_flag("--drip", options.caster.drips, "Send a byte a second")->group(kGroup);
}

}  // namespace

void addSimulateCaster(CLI::App& simulate, Run& run) {
    auto options = std::make_shared<Options>();
    CLI::App* verb =
        simulate.add_subcommand("caster", "Serve corrections as an NTRIP caster, versions 1 and 2");
    verb->footer(kFooter);
    const CLI::Validator duration(checkDuration, "TIME");
    const CLI::Validator tcpPlace(checkTcpPlace, "[ADDRESS:]PORT");
    const CLI::Validator user(checkUser, "NAME:PASSWORD");
    const CLI::Validator mount(checkMount, "NAME");
    verb->add_option("--tcp", options->tcp, "Port to listen on (0: a free one)")->required()->check(tcpPlace);
    CLI::Option* const file =
        verb->add_option("--file", options->path, "Stream this file, to everybody from its beginning");
    verb->add_flag("--sim", options->simulated, "Stream a simulated reference station: the default")
        ->excludes(file);
    verb->add_option("--bytes-per-second", options->caster.bytesPerSecond,
                     "Speed of a file; 0 as fast as it is read")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    verb->add_flag("--loop", options->caster.loop, "A file again and again");
    verb->add_option("--user", options->user, "Who may have a stream; without it everybody")->check(user);
    verb->add_option("--mount", options->mounts, "Mount points")->check(mount)->capture_default_str();
    verb->add_option("--vrs", options->networks, "Mount points that wait for a position")
        ->check(mount)
        ->capture_default_str();
    verb->add_option("--seed", options->caster.seed, "Another seed, another station")->capture_default_str();
    verb->add_option("--for", options->runFor, "End after this time")->check(duration);
    addFaults(*verb, *options);
    verb->callback([options, &run] { run = [options] { return simulateCaster(*options); }; });
}

}  // namespace vkcomm
