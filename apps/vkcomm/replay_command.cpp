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

// Bytes nobody takes would be lost on a wire; a replay waits instead, and its time stands still, while no program
// has opened the other end.
class PtyReplay {
public:
    PtyReplay(ByteSource& source, ByteServer& server, std::uint64_t bytesPerSecond)
        : m_source(source), m_server(server), m_speed(bytesPerSecond), m_block(kLargestWrite) {}

    void run() {
        while (!stopRequested() && step()) {
        }
    }

private:
    using Milliseconds = std::chrono::milliseconds;

    // False at the end of the file.
    bool step() {
        Clock& clock = systemClock();
        if (m_server.clients() == 0) {
            m_isAttached = false;
            clock.sleep(kTick);
            return true;
        }
        if (!m_isAttached) {
            clock.sleep(kSettling);
            m_start = clock.now() - m_played;
            m_isAttached = true;
        }
        m_played = clock.now() - m_start;
        return write();
    }

    bool write() {
        const std::uint64_t due = static_cast<std::uint64_t>(m_played.count()) * m_speed / 1000 + 1;
        if (m_waiting.empty() && m_sent < due) {
            const auto wanted =
                static_cast<std::size_t>(std::min<std::uint64_t>(due - m_sent, kLargestWrite));
            m_waiting = ByteSpan(m_block).first(m_source.read(std::span(m_block).first(wanted)));
            if (m_waiting.empty()) return false;
        }
        const std::size_t taken = m_waiting.size() - m_server.write(m_waiting);
        m_waiting = m_waiting.subspan(taken);
        m_sent += taken;
        if (taken == 0) systemClock().sleep(kTick);
        return true;
    }

    ByteSource& m_source;
    ByteServer& m_server;
    const std::uint64_t m_speed;  // bytes per second
    std::vector<unsigned char> m_block;
    ByteSpan m_waiting;  // of the block: not taken yet
    std::uint64_t m_sent = 0;
    Milliseconds m_start{};
    Milliseconds m_played{};
    bool m_isAttached = false;
};

int replayOnPty(ByteSource& source, std::uint64_t bytesPerSecond) {
    SystemError error;
    const auto server = openPtyServer(error);
    if (!server) {
        complain(error.message());
        return kFailed;
    }
    Output output;
    output.buffer() += server->address() + "\n";
    output.flush();

    PtyReplay(source, *server, bytesPerSecond).run();
    systemClock().sleep(1s);  // let the reader take the rest before its device goes away
    if (!source.error().empty()) complain(source.error());
    return source.error().empty() ? kDone : kFailed;
}

int replay(const Options& options) {
    std::string error;
    const auto url = parsePortUrl("file:x?speed=" + options.speed, error);
    if (!url) {
        complain("--speed must be a number of bytes a second, or max");
        return kWrongUsage;
    }
    const auto source = ByteSource::open(options.file, error);
    if (source && source->peek(1).empty())
        error =
            source->error().empty() ? options.file + ": is empty, there is nothing to play" : source->error();
    if (!error.empty()) {
        complain(error);
        return kFailed;
    }
    return options.pty ? replayOnPty(*source, static_cast<std::uint64_t>(*url->speed)) : replayHere(options);
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
