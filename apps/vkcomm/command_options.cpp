#include "apps/vkcomm/command_options.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "apps/vkcomm/commands.h"
#include "apps/vkcomm/output.h"
#include "apps/vkcomm/session_options.h"
#include "host/command_report.h"
#include "host/command_set.h"
#include "host/receiver_commands.h"
#include "vkcomm/platform/stop_signal.h"

namespace vkcomm {

using namespace std::chrono_literals;

namespace {

constexpr auto kRecognition = 5s;

std::string checkWait(const std::string& text) {
    return parseDuration(text) ? "" : text + " is no time such as 2s or 500ms";
}

int wrongUsage(const std::string& why) {
    complain(why);
    return kWrongUsage;
}

// What is shown on standard output while commands run.
class Shown {
public:
    explicit Shown(bool json) : m_json(json) {}

    void preface(const CommandJob& job) { put(m_json ? job.jsonPreface : job.preface); }

    void begins(const Command& command) {
        if (!m_json) put(m_report.begin(command));
    }

    void ends(const Command& command, const CommandResult* result) {
        if (m_json)
            put(m_report.json(command, result));
        else if (result && result->outcome == CommandOutcome::kNotSent && result->problem.empty())
            put(m_report.begin(command) + CommandReport::end(command, *result));
        else if (result)
            put(CommandReport::end(command, *result));
    }

private:
    void put(const std::string& text) {
        m_output.buffer() += text;
        m_output.flush();
    }

    const bool m_json;
    CommandReport m_report;
    Output m_output;
};

// One run on an open port.
class CommandRun {
public:
    CommandRun(const CommandChoice& choice, const CommandJob& job, Shown& shown)
        : m_choice(choice), m_job(job), m_shown(shown), m_log(std::make_shared<LineLog>()),
          m_devices(systemCommDevices(), m_log) {}

    // The exit status of the process.
    int run(std::optional<CommandTarget> target) {
        if (!open()) return kFailed;
        if (!target && !(target = recognised())) return kFailed;
        CommandRunner runner(*m_opened, *m_log, *target, {parseDuration(m_choice.wait).value_or(2s)},
                             steps());
        std::string error;
        if (!runner.awaitRate(error)) return failed(error);
        if (!learnCommandSet(runner, *target)) return kFailed;
        const auto given = m_job.build(*target, error);
        if (!given) return wrongUsage(error);
        const CommandPlan plan = planOf(*target, *given);
        if (resetsReceiver(plan) && !m_choice.yes) return wrongUsage(kNeedsYes);
        m_shown.preface(m_job);
        const bool isGood = runner.run(plan);
        complain(summaryOf(runner.results()));
        note(summaryOf(runner.results()));
        if (m_opened.simulator) tellState(m_opened.simulator->commands().state);
        return isGood && isTranscriptWhole() ? kDone : kFailed;
    }

    static constexpr const char* kNeedsYes =
        "this sets the receiver back to its factory defaults, and what was set before is lost: add --yes";

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

    bool open() {
        SystemError error;
        if (!m_choice.transcript.empty() && !m_transcript.begin(m_choice.transcript, error)) {
            complain(error.message());
            return false;
        }
        SessionChoice session;
        session.url = m_choice.url;
        session.noReopen = true;
        note("opening " + m_choice.url);
        m_opened = openSession(session, &m_devices);
        return static_cast<bool>(m_opened);
    }

    std::optional<CommandTarget> recognised() {
        const auto end = systemClock().now() + kRecognition;
        const SessionSteps quiet{[](const RoutedRecord&) {}, [](const SessionEvent& e) { complain(e.text); }};
        while (!m_opened->stream().isRecognised() && systemClock().now() < end && !stopRequested())
            if (!m_opened->pump(50ms, quiet)) break;
        std::string error = "it sends nothing by which its family could be recognised";
        const ReceiverFamily* family =
            m_opened->stream().isRecognised() ? m_opened->stream().family() : nullptr;
        const auto target = family ? commandTarget(family->name, {}, error) : std::nullopt;
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
                if (m_transcript.isOpen()) m_transcript.add(chunk);
            },
            [] { return stopRequested().load(); },
        };
    }

    // Asks the board for its version when what it is to be told depends on that.
    bool learnCommandSet(CommandRunner& runner, const CommandTarget& target) {
        if (!m_job.needsCommandSet || !m_job.needsCommandSet(target) || *m_job.commandSet != 0) return true;
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
    Shown& m_shown;
    const std::shared_ptr<LineLog> m_log;
    LoggedDevices m_devices;
    Transcript m_transcript;
    OpenedSession m_opened;
};

int dryRun(const CommandPlan& plan, const CommandJob& job, Shown& shown) {
    shown.preface(job);
    for (const Command& command : plan) {
        shown.begins(command);
        shown.ends(command, nullptr);
    }
    complain(
        std::string("dry run: nothing was sent") +
        (resetsReceiver(plan) ? "; sending it will need --yes, as the receiver loses its settings" : ""));
    return kDone;
}

// Empty when there is a port to open, or none is needed.
std::string problemWithUrl(const CommandChoice& choice) {
    if (choice.dryRun) return {};
    if (choice.url.empty()) return "say which receiver: " + std::string(portUrlHelp()) + "; or --dry-run";
    std::string error;
    const auto url = parsePortUrl(choice.url, error);
    if (!url) return error;
    return url->kind == UrlKind::kFile ? choice.url + " is a file; commands need a port" : std::string();
}

}  // namespace

void addTargetOptions(CLI::App& verb, CommandChoice& choice) {
    verb.add_option("--family", choice.family, "Receiver family: " + commandTargetHelp());
    verb.add_option("--type", choice.type, "Type of the receiver's board; the usual one when not given");
}

void addCommandOptions(CLI::App& verb, CommandChoice& choice) {
    verb.add_option("URL", choice.url, "The receiver: " + std::string(portUrlHelp()));
    addTargetOptions(verb, choice);
    auto* dry = verb.add_flag("--dry-run", choice.dryRun, "Show what would be sent, without a port");
    verb.add_flag("--yes", choice.yes, "Also what costs the receiver its settings");
    verb.add_flag("--json", choice.json, "One JSON object for each command");
    verb.add_option("--transcript", choice.transcript, "File for every byte sent and received, with times")
        ->excludes(dry);
    verb.add_option("--wait", choice.wait, "Longest wait for an answer")
        ->check(checkWait)
        ->capture_default_str();
}

int runCommands(const CommandChoice& choice, const CommandJob& job) {
    if (const std::string problem = problemWithUrl(choice); !problem.empty()) return wrongUsage(problem);
    std::optional<CommandTarget> target;
    std::string error;
    const bool isNamed = !choice.family.empty() || choice.type;
    if (isNamed && !(target = commandTarget(choice.family, choice.type, error))) return wrongUsage(error);
    if (!target && choice.dryRun) return wrongUsage("a dry run needs --family: " + commandTargetHelp());

    Shown shown(choice.json);
    const bool learns = target && job.needsCommandSet && job.needsCommandSet(*target) && *job.commandSet == 0;
    if (learns && choice.dryRun)
        return wrongUsage("these settings depend on the board's command set; give --command-set 1 or 2");
    if (target && !learns) {
        // What is wrong is told before a port is opened.
        const auto given = job.build(*target, error);
        if (!given) return wrongUsage(error);
        const CommandPlan plan = planOf(*target, *given);
        if (choice.dryRun) return dryRun(plan, job, shown);
        if (resetsReceiver(plan) && !choice.yes) return wrongUsage(CommandRun::kNeedsYes);
    }
    return CommandRun(choice, job, shown).run(target);
}

}  // namespace vkcomm
