#include "apps/vkcomm/session_options.h"

#include <CLI/CLI.hpp>

#include "apps/vkcomm/output.h"
#include "vkcomm/platform/stop_signal.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

using namespace std::chrono_literals;

namespace {

constexpr auto kStep = 200ms;

struct Unit {
    std::string_view name;
    double milliseconds;
};

constexpr Unit kUnits[] = {{"ms", 1.0}, {"s", 1000.0}, {"m", 60'000.0}, {"h", 3'600'000.0}, {"", 1000.0}};

std::string checkFamily(const std::string& name) {
    return findFamily(name) ? "" : name + " is no receiver family";
}

// Names that people know a family by, beside its own.
constexpr std::pair<std::string_view, std::string_view> kAliases[] = {{"novatel", "oem4"},
                                                                      {"hemisphere", "csi"}};

std::unique_ptr<sim::LiveSimulator> startSimulator(const PortUrl& url, bool isRover, std::string& error) {
    sim::LiveOptions options;
    options.family = url.target;
    for (const auto& [alias, family] : kAliases)
        if (url.target == alias) options.family = family;
    options.rateHz = url.rateHz;
    options.seed = url.seed;
    options.isRover = isRover;
    error = sim::problemWith(options);
    if (!error.empty()) {
        error = url.text + ": " + error;
        return nullptr;
    }
    SystemError failure;
    auto server = openLocalServer(failure);
    if (!server) {
        error = failure.message();
        return nullptr;
    }
    auto simulator = std::make_unique<sim::LiveSimulator>(options, std::move(server));
    simulator->start();
    return simulator;
}

// Where a simulator can be opened, under the name the user gave it.
PortUrl addressOf(const PortUrl& url, const sim::LiveSimulator& simulator) {
    PortUrl address = url;
    address.kind = UrlKind::kSerial;
    address.target = simulator.address();
    address.baud = 115200;
    return address;
}

}  // namespace

std::optional<std::chrono::milliseconds> parseDuration(std::string_view text) {
    const std::size_t digits = std::min(text.find_first_not_of("0123456789."), text.size());
    for (const Unit& unit : kUnits) {
        if (digits == 0 || text.substr(digits) != unit.name) continue;
        const double time = parseDouble(text.substr(0, digits)) * unit.milliseconds;
        if (time > 1e12) return std::nullopt;
        return std::chrono::milliseconds(static_cast<long long>(time));
    }
    return std::nullopt;
}

std::string checkDuration(const std::string& text) {
    return parseDuration(text) ? "" : text + " is no time such as 10s, 500ms or 2m";
}

void addSessionOptions(CLI::App& verb, SessionChoice& choice) {
    verb.add_option("URL", choice.url, "The receiver: " + std::string(portUrlHelp()))->required();
    verb.add_option("--family", choice.family, "Receiver family; recognised when not given")
        ->check(checkFamily);
    verb.add_flag("--no-reopen", choice.noReopen, "End when the device goes away");
    verb.add_option("--lead-timeout", choice.leadTimeout,
                    "Give up what looks like the lead of a frame after this time; 0: never")
        ->check(checkDuration)
        ->capture_default_str();
    verb.add_option("--for", choice.runFor, "Stop after this time, such as 10s")->check(checkDuration);
}

OpenedSession openSession(const SessionChoice& choice, CommDevices* devices) {
    OpenedSession opened;
    std::string error;
    auto url = parsePortUrl(choice.url, error);
    if (url && url->kind == UrlKind::kSimulated)
        opened.simulator = startSimulator(*url, choice.simulatesRover, error);
    if (!url || (url->kind == UrlKind::kSimulated && !opened.simulator)) {
        complain(error);
        opened.status = kWrongUsage;
        return opened;
    }
    SessionOptions options;
    options.stream.family = choice.family.empty() ? nullptr : findFamily(choice.family);
    options.stream.staleLead = parseDuration(choice.leadTimeout).value_or(0ms);
    options.reopen = !choice.noReopen;
    options.devices = devices;
    const auto limit = parseDuration(choice.runFor);
    const auto end = systemClock().now() + limit.value_or(0ms);
    options.isStopped = [=] { return stopRequested() || (limit && systemClock().now() >= end); };
    opened.session = std::make_unique<ReceiverSession>(
        opened.simulator ? addressOf(*url, *opened.simulator) : *url, options);
    if (opened->open(error)) return opened;
    complain(error);
    opened.session.reset();
    opened.status = kFailed;
    return opened;
}

bool pumpSession(ReceiverSession& session, const SessionChoice& choice, const SessionSteps& steps,
                 const std::function<void(std::chrono::milliseconds now)>& each) {
    Clock& clock = systemClock();
    const auto start = clock.now();
    const auto limit = parseDuration(choice.runFor);
    for (;;) {
        const auto now = clock.now();
        if (stopRequested() || (limit && now - start >= *limit)) {
            session.finish(steps);
            each(clock.now());
            return true;
        }
        const auto step = limit ? std::min<std::chrono::milliseconds>(kStep, *limit - (now - start)) : kStep;
        if (!session.pump(step, steps)) return session.isFileDone();
        each(clock.now());
    }
}

}  // namespace vkcomm
