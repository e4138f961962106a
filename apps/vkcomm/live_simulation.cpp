#include "apps/vkcomm/live_simulation.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <optional>

#include "apps/vkcomm/commands.h"
#include "apps/vkcomm/output.h"
#include "apps/vkcomm/session_options.h"
#include "host/port_url.h"
#include "sim/live_simulator.h"
#include "vkcomm/platform/stop_signal.h"

namespace vkcomm {

using namespace std::chrono_literals;

namespace {

using Milliseconds = std::chrono::milliseconds;

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

std::string indented(std::string_view lines) {
    std::string text;
    for (std::size_t end = 0; !lines.empty(); lines.remove_prefix(end))
        text.append("  ").append(lines.substr(0, end = std::min(lines.find('\n'), lines.size() - 1) + 1));
    return text;
}

// The commands of the report one by one, or the refused ones only; then what the receiver is set to.
void reportCommands(const sim::CommandTally& commands, bool withObeyed) {
    std::string text;
    for (const sim::CommandNote& note : commands.notes)
        if (!note.isObeyed())
            text += "refused: " + note.command + " (" + note.problem + ")\n";
        else if (withObeyed)
            text += "obeyed: " + note.command + '\n';
    text += "the receiver is set to:" + std::string(commands.state.empty() ? " nothing" : "") + '\n';
    text += indented(commands.state);
    std::fputs(text.c_str(), stderr);
}

void reportTotalOfCommands(const sim::CommandTally& commands) {
    std::fprintf(stderr, "%llu commands obeyed, %llu refused\n",
                 static_cast<unsigned long long>(commands.obeyed),
                 static_cast<unsigned long long>(commands.refused));
}

// Until the simulator ends or the user does.
void watch(const sim::LiveSimulator& simulator, bool printState) {
    const std::atomic<bool>& isStopped = stopRequested();
    std::uint64_t seen = 0;
    while (simulator.isRunning() && !isStopped) {
        systemClock().sleep(20ms);
        if (!printState) continue;
        const sim::CommandTally commands = simulator.commands(seen);
        if (commands.count() != seen) reportCommands(commands, true);
        seen = commands.count();
    }
}

}  // namespace

std::optional<TcpPlace> parseTcpPlace(const std::string& text) {
    constexpr long kFreePort = 0;
    const std::string whole = text.find(':') == text.npos ? "127.0.0.1:" + text : text;
    const auto place = hostAndPort(whole, kFreePort);
    if (!place || place->host.empty()) return std::nullopt;
    return TcpPlace{std::string(place->host), place->port};
}

std::string checkTcpPlace(const std::string& text) {
    return parseTcpPlace(text) ? "" : text + " is neither PORT nor ADDRESS:PORT";
}

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
        verb.add_option(
            "--baud", choice.stream.baud,
            "Rate of the receiver's port, which commands may change; at another one nobody understands "
            "it (with --pty)"),
        verb.add_flag("--print-state", choice.printState,
                      "Print each command that arrives, and what the receiver is set to then"),
        verb.add_flag("--rover", choice.stream.isRover,
                      "Get float and fixed only by the corrections that arrive"),
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
    stopRequested();
    sim::LiveSimulator simulator(choice.stream, std::move(server));
    Output output;
    output.buffer() += simulator.address() + "\n";
    output.flush();
    simulator.start(endOf(choice));
    watch(simulator, choice.printState);
    simulator.stop();
    report(simulator.address(), simulator.totals());
    const sim::CommandTally commands = simulator.commands();
    if (commands.count() == 0) return kDone;
    reportTotalOfCommands(commands);
    reportCommands(commands, false);
    return kDone;
}

}  // namespace vkcomm
