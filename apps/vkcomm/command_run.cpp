#include "apps/vkcomm/command_run.h"

#include <memory>
#include <utility>

#include "apps/vkcomm/commands.h"
#include "apps/vkcomm/session_options.h"
#include "host/command_set.h"
#include "host/receiver_commands.h"
#include "host/receiver_configuration.h"
#include "vkcomm/platform/stop_signal.h"

namespace vkcomm {

using namespace std::chrono_literals;

namespace {

constexpr auto kRecognition = 5s;
constexpr auto kQuietWait = 1s;  // of that, without a word

// One run on an open port.
class CommandRun {
public:
    CommandRun(const CommandChoice& choice, const CommandJob& job, ShownCommands& shown)
        : m_choice(choice), m_job(job), m_shown(shown), m_log(std::make_shared<LineLog>()),
          m_devices(systemCommDevices(), m_log) {}

    // The exit status of the process.
    int run(std::optional<CommandTarget> target) {
        if (!open()) return kFailed;
        if (!target && !(target = recognised())) return kFailed;
        std::string error;
        const auto linePort = linePortOf(m_choice, *target, error);
        if (!linePort) return wrongUsage(error);
        if (const std::string problem = problemBefore(*target); !problem.empty()) return wrongUsage(problem);
        RunnerOptions options{parseDuration(m_choice.wait).value_or(2s)};
        options.linePort = *linePort;
        CommandRunner runner(*m_opened, *m_log, *target, options, steps());
        if (!runner.awaitRate(error)) return failed(error);
        if (!beginTranscript() || !learnCommandSet(runner, *target)) return kFailed;
        const auto given = m_job.build(*target, error);
        if (!given) return wrongUsage(error);
        const CommandPlan plan = planOf(*target, *given);
        if (options.linePort == 0) tellOfRates(*target, plan);
        m_shown.preface(m_job);
        const bool isGood = runner.run(plan);
        complain(summaryOf(runner.results()));
        note(summaryOf(runner.results()));
        if (m_opened.simulator) tellState(m_opened.simulator->commands().state);
        const bool isKept = isTranscriptWhole();
        return m_shown.isWhole() && isKept && isGood ? kDone : kFailed;
    }

private:
    static int failed(const std::string& why) {
        complain(why);
        return kFailed;
    }

    static void tellState(const std::string& state) {
        complain(state.empty()
                     ? "the simulated receiver is as it was at first"
                     : "the simulated receiver is now set to\n" + state.substr(0, state.rfind('\n')));
    }

    // Boards that name the port of the line, and commands about that port alone, need no word.
    void tellOfRates(const CommandTarget& target, const CommandPlan& plan) const {
        const UrlKind kind = m_opened->url().kind;
        const bool isSerial = kind == UrlKind::kSerial || kind == UrlKind::kCom;
        if (target.dialect == Dialect::kNovatel || !isSerial || m_opened.simulator) return;
        for (const Command& command : plan)
            if (command.newRate() && !command.portName.empty())
                complain(command.portText() + " of the receiver will go to " +
                         std::to_string(command.newRate()->baud) +
                         " bit/s: if this line ends there, it follows with --line-port " + command.portName);
    }

    // What is wrong whatever the command set of the board is, before anything is sent.
    std::string problemBefore(const CommandTarget& target) {
        const bool isUnknown = needsCommandSet(target);
        if (isUnknown) *m_job.commandSet = 1;
        std::string error;
        const auto given = m_job.build(target, error);
        if (isUnknown) *m_job.commandSet = 0;
        if (!given) return error;
        return resetsReceiver(planOf(target, *given)) && !m_choice.yes ? kNeedsYes : std::string();
    }

    bool needsCommandSet(const CommandTarget& target) const {
        return m_job.needsCommandSet && m_job.needsCommandSet(target) && *m_job.commandSet == 0;
    }

    bool open() {
        SessionChoice session;
        session.url = m_choice.url;
        session.noReopen = true;
        m_began = std::chrono::system_clock::now();
        m_opened = openSession(session, &m_devices);
        return static_cast<bool>(m_opened);
    }

    // Only now: a run that cannot begin must not cost an older transcript.
    bool beginTranscript() {
        SystemError error;
        if (m_choice.transcript.empty()) return true;
        if (!m_transcript.begin(m_choice.transcript, error)) {
            complain(error.message());
            return false;
        }
        m_transcript.note("opening " + m_choice.url, m_began);
        for (const LineChunk& chunk : m_early)
            m_transcript.add(chunk);
        m_early.clear();
        return true;
    }

    std::optional<CommandTarget> recognised() {
        const auto begin = systemClock().now();
        bool isTold = false;
        const SessionSteps quiet{[](const RoutedRecord&) {}, [](const SessionEvent& e) { complain(e.text); }};
        while (!m_opened->stream().isRecognised() && !stopRequested() && m_opened->pump(50ms, quiet)) {
            const auto waited = systemClock().now() - begin;
            if (waited >= kRecognition) break;
            if (waited >= kQuietWait && !std::exchange(isTold, true))
                complain(m_choice.url +
                         ": listening for what tells the receiver's family; --family saves that");
        }
        std::string error = stopRequested() ? "stopped before the receiver's family was recognised"
                                            : "it sends nothing by which its family could be recognised";
        const ReceiverFamily* family =
            m_opened->stream().isRecognised() ? m_opened->stream().family() : nullptr;
        auto target = family ? commandTarget(family->name, {}, error) : std::nullopt;
        if (target && target->dialect == Dialect::kNmea) {
            error = "it sends NMEA, which receivers of many families do";
            target.reset();
        }
        if (!target) complain(m_choice.url + ": " + error + "; give --family");
        return target;
    }

    RunnerSteps steps() {
        return {
            [this](const Command& command) {
                note("command: " + command.what);
                m_shown.begins(command);
            },
            [this](const Command& command, const CommandResult& result) {
                note(std::string(outcomeName(result.outcome)) + ": " + command.what);
                m_shown.ends(command, &result);
            },
            [this](const LineChunk& chunk) {
                if (m_transcript.isOpen())
                    m_transcript.add(chunk);
                else if (!m_choice.transcript.empty())
                    m_early.push_back(chunk);
            },
            [] { return stopRequested().load(); },
        };
    }

    // Asks the board for its version when what it is to be told depends on that.
    bool learnCommandSet(CommandRunner& runner, const CommandTarget& target) {
        if (!needsCommandSet(target)) return true;
        std::string error;
        const auto question = questionSteps(target, "version", error);
        const bool isAnswered = question && runner.run(planOf(target, *question));
        if (isAnswered) *m_job.commandSet = novatelCommandSet(runner.results().front());
        if (*m_job.commandSet == 0)
            complain("the generation of the board's command set is not known; give --command-set 1 or 2");
        return *m_job.commandSet != 0;
    }

    void note(const std::string& text) {
        if (m_transcript.isOpen()) m_transcript.note(text);
    }

    bool isTranscriptWhole() const {
        if (m_transcript.error()) complain("the transcript is cut: " + m_transcript.error().message());
        return !m_transcript.error();
    }

    const CommandChoice& m_choice;
    const CommandJob& m_job;
    ShownCommands& m_shown;
    const std::shared_ptr<LineLog> m_log;
    LoggedDevices m_devices;
    Transcript m_transcript;
    std::vector<LineChunk> m_early;  // what came before the transcript began
    std::chrono::system_clock::time_point m_began;
    OpenedSession m_opened;
};

}  // namespace

void ShownCommands::preface(const CommandJob& job) { put(m_json ? job.jsonPreface : job.preface); }

void ShownCommands::begins(const Command& command) {
    m_hasBegun = true;
    if (!m_json) put(m_report.begin(command));
}

void ShownCommands::ends(const Command& command, const CommandResult* result) {
    if (!m_json && !m_hasBegun) begins(command);
    m_hasBegun = false;
    if (m_json)
        put(m_report.json(command, result));
    else if (result)
        put(CommandReport::end(command, *result));
}

void ShownCommands::put(const std::string& text) {
    m_output.buffer() += text;
    m_isWhole = m_output.flush() && m_isWhole;
}

bool ShownCommands::isWhole() const {
    if (!m_isWhole) complain(outputFailure());
    return m_isWhole;
}

int wrongUsage(const std::string& why) {
    complain(why);
    return kWrongUsage;
}

// 0 when it is not given.
std::optional<int> linePortOf(const CommandChoice& choice, const CommandTarget& target, std::string& error) {
    return choice.linePort.empty() ? 0 : receiverPort(target, choice.linePort, error);
}

int runOnPort(const CommandChoice& choice, const CommandJob& job, std::optional<CommandTarget> target,
              ShownCommands& shown) {
    return CommandRun(choice, job, shown).run(target);
}

}  // namespace vkcomm
