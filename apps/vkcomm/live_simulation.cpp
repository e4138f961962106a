#include "apps/vkcomm/live_simulation.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <optional>

#include "apps/vkcomm/commands.h"
#include "apps/vkcomm/output.h"
#include "apps/vkcomm/session_options.h"
#include "sim/live_simulator.h"
#include "vkcomm/platform/stop_signal.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

using namespace std::chrono_literals;

namespace {

using Milliseconds = std::chrono::milliseconds;

struct TcpPlace {
    std::string address;
    std::uint16_t port;
};

// Without an address only programs of this machine can attach.
std::optional<TcpPlace> parseTcpPlace(const std::string& text) {
    const std::size_t colon = text.rfind(':');
    const std::string digits = colon == std::string::npos ? text : text.substr(colon + 1);
    const std::string address = colon == std::string::npos ? "127.0.0.1" : text.substr(0, colon);
    constexpr long kHighestPort = 65535;
    const bool isNumber = !digits.empty() && digits.find_first_not_of("0123456789") == std::string::npos;
    if (address.empty() || !isNumber || parseInteger(digits) > kHighestPort) return std::nullopt;
    return TcpPlace{address, static_cast<std::uint16_t>(parseInteger(digits))};
}

std::string checkTcpPlace(const std::string& text) {
    return parseTcpPlace(text) ? "" : text + " is neither PORT nor ADDRESS:PORT";
}

std::string checkDuration(const std::string& text) {
    return parseDuration(text) ? "" : text + " is no time such as 10s, 500ms or 2m";
}

std::unique_ptr<ByteServer> openServer(const LiveSimulation& choice, SystemError& error) {
    if (choice.pty) return openPtyServer(error);
    const std::optional<TcpPlace> place = parseTcpPlace(choice.tcp);
    return place ? openTcpServer(place->address, place->port, error) : nullptr;
}

// The first of the two ends that is chosen.
std::optional<Milliseconds> endOf(const LiveSimulation& choice) {
    const auto end = parseDuration(choice.runFor);
    const auto unplug = parseDuration(choice.unplugAfter);
    return end && unplug ? std::min(*end, *unplug) : end ? end : unplug;
}

void report(const std::string& address, const sim::LiveTotals& totals) {
    const auto number = [](std::uint64_t value) { return static_cast<unsigned long long>(value); };
    std::fprintf(
        stderr,
        "%s: %llu bytes sent, %llu of them taken by nobody, %llu received; frames: %llu whole, %llu damaged, "
        "%llu dropped\n",
        address.c_str(), number(totals.bytesSent), number(totals.bytesLost), number(totals.bytesReceived),
        number(totals.frames.whole), number(totals.frames.damaged), number(totals.frames.dropped));
}

}  // namespace

void addLiveOptions(CLI::App& verb, LiveSimulation& choice) {
    const CLI::Validator duration(checkDuration, "TIME");
    const CLI::Validator tcpPlace(checkTcpPlace, "[ADDRESS:]PORT");
    auto* pty = verb.add_flag("--pty", choice.pty, "On a pseudo-terminal, whose path is printed");
    CLI::Option* const options[] = {
        pty,
        verb.add_option("--tcp", choice.tcp, "On a TCP port (0: a free one), whose address is printed")
            ->check(tcpPlace)
            ->excludes(pty),
        verb.add_option("--for", choice.runFor, "End after this time")->check(duration),
        verb.add_option("--unplug-after", choice.unplugAfter, "Take the device away after this time")
            ->check(duration),
        verb.add_option("--drop", choice.stream.dropPercent, "Percent of the frames to leave out"),
        verb.add_option("--corrupt", choice.stream.corruptPercent, "Percent of the frames to break"),
        verb.add_option("--split", choice.stream.splits, "Writes that an epoch is cut into"),
        verb.add_option("--delay", choice.stream.delayMilliseconds,
                        "Most milliseconds that an epoch is late"),
    };
    for (CLI::Option* option : options)
        option->group(kLiveGroup);
}

int simulateLive(const LiveSimulation& choice) {
    if (const std::string problem = sim::problemWith(choice.stream); !problem.empty()) {
        complain(problem);
        return kWrongUsage;
    }
    SystemError error;
    auto server = openServer(choice, error);
    if (!server) {
        complain(error.message());
        return kFailed;
    }
    const std::atomic<bool>& isStopped = stopRequested();
    sim::LiveSimulator simulator(choice.stream, std::move(server));
    Output output;
    output.buffer() += simulator.address() + "\n";
    output.flush();
    simulator.start(endOf(choice));
    while (simulator.isRunning() && !isStopped)
        systemClock().sleep(20ms);
    simulator.stop();
    report(simulator.address(), simulator.totals());
    return kDone;
}

}  // namespace vkcomm
