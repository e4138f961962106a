#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>

#include "apps/vkcomm/caster_options.h"
#include "apps/vkcomm/commands.h"
#include "apps/vkcomm/output.h"
#include "apps/vkcomm/session_options.h"
#include "host/caster_relay.h"
#include "host/position_lines.h"
#include "host/relay_report.h"
#include "vkcomm/platform/stop_signal.h"
#include "vkcomm/platform/terminal.h"

namespace vkcomm {

using namespace std::chrono_literals;

namespace {

constexpr auto kStep = 200ms;
constexpr auto kBetweenLines = 1000ms;
// A line that would wrap is cut off by the terminal instead.
constexpr std::string_view kLineBegin = "\r\x1B[?7l";
constexpr std::string_view kLineEnd = "\x1B[K\x1B[?7h";
constexpr std::string_view kLineGone = "\r\x1B[K";

struct Options {
    CasterChoice caster;
    SessionChoice session;
    std::string ggaEvery = "10s";
    std::optional<int> type;
    double leapSeconds = 18.0;
    bool keepTrying = false;
    bool json = false;
};

constexpr const char* kFooter =
    R"(Corrections go to the receiver as they come. Where the receiver is goes up to the caster while it has a fix. A connection
that fails is made again, after a pause that grows; a refusal such as a wrong password ends the relay.
  vkcomm simulate caster --tcp 2101 &
  vkcomm relay ntrip://127.0.0.1/SIM "sim:oem4" --for 10s)";

class Relaying {
public:
    explicit Relaying(const Options& options)
        : m_options(options), m_isLive(!options.json && isOutputTerminal()) {}

    int run() {
        const auto caster = casterOf(m_options.caster);
        if (!caster || !isUsable(*caster)) return kWrongUsage;
        m_session = openSession(m_options.session);
        if (!m_session) return kFailed;
        if (!isRoadKnown()) return kWrongUsage;
        m_relay = std::make_unique<CasterRelay>(*caster, m_session->port(), relayOptions());
        if (!m_relay->start()) {
            complain("cannot start another thread");
            return kFailed;
        }
        const bool isDone = pump();
        m_relay->stop();
        show();
        if (m_isLive) put("\n");
        return isDone && m_relay->status().caster.bytes > 0 ? kDone : kFailed;
    }

private:
    bool isUsable(const CasterUrl& caster) const {
        if (caster.mount.empty())
            complain("which mount point? vkcomm sourcetable lists those of a caster");
        else
            return true;
        return false;
    }

    // The maker's receivers want corrections by a road of their own, which follows from the board inside.
    bool isRoadKnown() const {
        const ReceiverFamily* family = m_session->stream().family();
        if (m_options.type || !family || family->name != "maker") return true;
        complain("--type says which board is in one of the maker's receivers");
        return false;
    }

    CasterRelayOptions relayOptions() const {
        CasterRelayOptions options;
        options.caster.version = versionOf(m_options.caster);
        options.caster.ggaEvery = parseDuration(m_options.ggaEvery).value_or(10s);
        options.caster.keepTrying = m_options.keepTrying;
        if (m_options.type) options.receiver = static_cast<GPSOEMTYPE>(*m_options.type);
        return options;
    }

    // True when the time is over or the user has stopped it.
    bool pump() {
        const SessionSteps steps{
            [this](const RoutedRecord& record) { take(record); },
            [this](const SessionEvent& event) {
                if (event.notice == SessionNotice::kLost) m_relay->setPosition("");
                say(event.text);
            },
        };
        const auto start = systemClock().now();
        const auto limit = parseDuration(m_options.session.runFor);
        m_nextLine = start + kBetweenLines;
        for (;;) {
            const auto now = systemClock().now();
            if (stopRequested() || (limit && now - start >= *limit)) return true;
            if (!m_session->pump(kStep, steps) || m_relay->isOver() || !isRoadKnown()) break;
            sayEvents();
            if (now >= m_nextLine) show();
        }
        sayEvents();
        return false;
    }

    void take(const RoutedRecord& record) {
        const RecordRouter& router = m_session->stream().router();
        if (router.isPosition(record)) m_relay->setPosition(positionOf(router.receiver()));
    }

    // Nothing without a fix.
    std::string positionOf(const FamilyParser& receiver) const {
        const ReceiverSnapshot snapshot = receiver.snapshot();
        if (!snapshot.position || snapshot.quality == 0) return {};
        std::string gga = receiver.gga();
        if (snapshot.time && snapshot.time->scale == TimeScale::kGps)
            gga = ggaMovedBack(gga, m_options.leapSeconds);
        return gga.substr(0, gga.find_last_not_of("\r\n") + 1) + "\r\n";
    }

    void sayEvents() {
        for (const NtripEvent& event : m_relay->takeEvents())
            if (event.notice != NtripNotice::kAccepted) say(event.text);
    }

    void say(const std::string& text) {
        if (m_isLive) put(kLineGone);
        complain(text);
    }

    void show() {
        m_nextLine = systemClock().now() + kBetweenLines;
        const CasterRelayStatus status = m_relay->status();
        const ReceiverSnapshot receiver = m_session->stream().router().receiver().snapshot();
        if (m_options.json) return put(relayJson(status, receiver));
        const std::string line = relayLine(status, receiver);
        put(m_isLive ? std::string(kLineBegin) + line + std::string(kLineEnd) : line + "\n");
    }

    void put(std::string_view text) {
        m_output.buffer() += text;
        m_output.flush();
    }

    const Options& m_options;
    const bool m_isLive;
    Output m_output;
    OpenedSession m_session;
    std::unique_ptr<CasterRelay> m_relay;  // its port is the session's
    std::chrono::milliseconds m_nextLine{};
};

}  // namespace

namespace {

// Casters ban clients that tell them more often.
std::string checkGgaEvery(const std::string& text) {
    const auto every = parseDuration(text);
    return every && *every > 0s && *every < 1s ? text + " is below 1s" : checkDuration(text);
}

// A range alone lets "nan" pass.
std::string checkNumber(const std::string& text) {
    return text.find_first_not_of("0123456789.") == text.npos ? "" : text + " is no number of seconds";
}

}  // namespace

void addRelay(CLI::App& app, Run& run) {
    auto options = std::make_shared<Options>();
    options->session.simulatesRover = true;
    CLI::App* verb = app.add_subcommand("relay", "Bring corrections from a caster to a receiver");
    verb->footer(kFooter);
    addCasterOptions(*verb, options->caster);
    addSessionOptions(*verb, options->session);
    verb->add_option("--gga-every", options->ggaEvery,
                     "How often the caster is told where the receiver is; 0: never")
        ->check(checkGgaEvery)
        ->capture_default_str();
    verb->add_option("--leap-seconds", options->leapSeconds,
                     "GPS time minus UTC, for receivers that tell GPS time")
        ->check(checkNumber)
        ->check(CLI::Range(0.0, 1000.0))
        ->capture_default_str();
    verb->add_option(
            "--type", options->type,
            "Type of the receiver, 0 to 19, when it is one of the maker's; others are connected directly")
        ->check(CLI::Range(0, 19));
    verb->add_flag("--keep-trying", options->keepTrying, "Ask again also when the caster has refused");
    verb->add_flag("--json", options->json, "One JSON object a second");
    verb->callback([options, &run] { run = [options] { return Relaying(*options).run(); }; });
}

}  // namespace vkcomm
