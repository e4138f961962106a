#include <CLI/CLI.hpp>
#include <array>
#include <memory>

#include "apps/vkcomm/commands.h"
#include "apps/vkcomm/output.h"
#include "apps/vkcomm/session_options.h"
#include "host/byte_source.h"
#include "host/record_lines.h"
#include "vkcomm/platform/byte_server.h"
#include "vkcomm/platform/stop_signal.h"

namespace vkcomm {

using namespace std::chrono_literals;

namespace {

struct Options {
    SessionChoice session;  // its URL is made of file and speed
    std::string file;
    std::string speed = "5000";
    bool pty = false;
    bool json = false;
};

constexpr const char* kFooter =
    R"(Plays a recording as if a receiver sent it: record by record here, or on a pseudo-terminal
that other programs open.
  vkcomm simulate nmea -o demo.bin
  vkcomm replay demo.bin --speed max
  vkcomm replay demo.bin --pty --speed 1000)";

constexpr auto kTick = 10ms;
constexpr auto kSettling = 300ms;  // whoever opens a port clears it first
constexpr std::size_t kLargestWrite = 4096;

int replayHere(Options options) {
    options.session.url = "file:" + options.file + "?speed=" + options.speed;
    const auto session = openSession(options.session);
    if (!session) return session.status;
    Output output;
    RecordLines lines;
    const SessionSteps steps{
        [&](const RoutedRecord& record) {
            if (options.json)
                lines.appendJson(output.buffer(), record);
            else
                lines.appendText(output.buffer(), record);
        },
        [](const SessionEvent& event) { complain(event.text); },
    };
    return pumpSession(*session, options.session, steps, [&](std::chrono::milliseconds) { output.flush(); })
               ? kDone
               : kFailed;
}

// Bytes nobody takes would be lost on a wire; a replay waits instead until a program has opened the other end.
int replayOnPty(const Options& options, std::size_t bytesPerSecond) {
    std::string problem;
    const auto source = ByteSource::open(options.file, problem);
    SystemError error;
    const auto server = source ? openPtyServer(error) : nullptr;
    if (!server) {
        complain(source ? error.message() : problem);
        return kFailed;
    }
    Output output;
    output.buffer() += server->address() + "\n";
    output.flush();

    Clock& clock = systemClock();
    while (server->clients() == 0 && !stopRequested())
        clock.sleep(kTick);
    clock.sleep(kSettling);
    const auto start = clock.now();
    std::vector<unsigned char> block(kLargestWrite);
    ByteSpan waiting;  // of block: not taken yet
    for (std::size_t sent = 0; !stopRequested();) {
        const auto elapsed = static_cast<std::size_t>((clock.now() - start).count());
        const std::size_t due = elapsed * bytesPerSecond / 1000 + 1;
        if (waiting.empty() && sent >= due) {
            clock.sleep(kTick);
            continue;
        }
        if (waiting.empty()) {
            const std::size_t wanted = std::min(due - sent, kLargestWrite);
            waiting = ByteSpan(block).first(source->read(std::span(block).first(wanted)));
        }
        if (waiting.empty()) break;
        if (server->clients() > 0) {
            const std::size_t taken = waiting.size() - server->write(waiting);
            waiting = waiting.subspan(taken);
            sent += taken;
        }
        if (!waiting.empty()) clock.sleep(kTick);
    }
    clock.sleep(1s);  // let the reader take the rest before its device goes away
    if (!source->error().empty()) complain(source->error());
    return source->error().empty() ? kDone : kFailed;
}

int replay(const Options& options) {
    std::string error;
    const auto url = parsePortUrl("file:x?speed=" + options.speed, error);
    if (!url) {
        complain("--speed must be a number of bytes a second, or max");
        return kWrongUsage;
    }
    return options.pty ? replayOnPty(options, static_cast<std::size_t>(*url->speed)) : replayHere(options);
}

}  // namespace

void addReplay(CLI::App& app, Run& run) {
    auto options = std::make_shared<Options>();
    CLI::App* verb = app.add_subcommand("replay", "Play a recording as if a receiver sent it");
    verb->footer(kFooter);
    verb->add_option("FILE", options->file, "A recording")->required();
    verb->add_option("--speed", options->speed, "Bytes a second, or max")->capture_default_str();
    auto* pty = verb->add_flag("--pty", options->pty, "On a pseudo-terminal, whose path is printed");
    verb->add_flag("--json", options->json, "One JSON object a record")->excludes(pty);
    verb->callback([options, &run] { run = [options] { return replay(*options); }; });
}

}  // namespace vkcomm
