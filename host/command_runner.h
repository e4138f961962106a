// Gives commands to a receiver one after another and waits for its answer to each.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "host/answer_reader.h"
#include "host/command_plan.h"
#include "host/line_log.h"
#include "host/receiver_session.h"

namespace vkcomm {

enum class CommandOutcome : std::uint8_t {
    kAnswered,
    kRefused,
    kSilent,   // no answer in time
    kSent,     // and no answer was needed
    kCutOff,   // the port closed, took no more bytes, or the user stopped, in the middle of it
    kNotSent,  // not a byte of it
};

// A short lower-case name, such as "not sent".
std::string_view outcomeName(CommandOutcome outcome);

// True for a command that has done what it should.
constexpr bool isSuccess(CommandOutcome outcome) {
    return outcome == CommandOutcome::kAnswered || outcome == CommandOutcome::kSent;
}

struct CommandResult {
    CommandOutcome outcome = CommandOutcome::kNotSent;
    std::vector<Answer> answers;
    std::uint64_t bytesSent = 0;
    std::string problem = {};  // of a command that did not succeed: why, where that is known
    int lineRate = 0;          // that this end of the line was set to with the receiver's; 0: none
};

struct RunnerOptions {
    std::chrono::milliseconds wait{2000};  // for each answer, from the last byte of the command
    Clock* clock = &systemClock();
    int linePort = 0;  // the receiver's port that the line ends at, counted from 1; 0: by its prompts
};

struct RunnerSteps {
    std::function<void(const Command&)> begins;
    std::function<void(const Command&, const CommandResult&)> ends;
    std::function<void(const LineChunk&)> chunk;  // everything on the line, in order
    std::function<bool()> isStopped;              // asked again and again
};

// One thread at a time, that of the session.
class CommandRunner {
public:
    // The session is open, does not reopen, and its devices keep the log. All must outlive the runner.
    CommandRunner(ReceiverSession& session, LineLog& log, const CommandTarget& target,
                  const RunnerOptions& options, RunnerSteps steps);

    // Waits until the rate of the line is known. False, and why in error, when it cannot be found.
    bool awaitRate(std::string& error);

    // Runs the commands in order and tells of each, also of those that were not sent. A refusal does not keep the
    // rest back; silence does, and a port that has closed. True when all succeeded.
    bool run(const CommandPlan& plan);

    // The results of the last run, one a command.
    const std::vector<CommandResult>& results() const { return m_results; }

private:
    CommandResult give(const Command& command);
    void awaitAnswer(const Command& command, CommandResult& result);
    bool takeAnswers(const Command& command, CommandResult& result);
    bool isUnasked(const Command& command, const Answer& answer, const CommandResult& result) const;
    void pump();
    void takeChunks();
    std::string whyNot(const CommandResult& result, const Command& command) const;
    void takeLinePort(const Command& command);
    bool isSerial() const;

    bool isCutOff() const { return m_isLost || (m_steps.isStopped && m_steps.isStopped()); }

    ReceiverSession& m_session;
    LineLog& m_log;
    const CommandTarget m_target;
    const RunnerOptions m_options;
    const RunnerSteps m_steps;
    AnswerReader m_reader;
    std::vector<CommandResult> m_results;
    std::chrono::milliseconds m_lastByte{};  // when something was last received
    const Command* m_rateCommand = nullptr;  // the last of this run that set the rate of a port
    int m_linePort = 0;
    bool m_isLost = false;
    std::string m_whyLost;
};

}  // namespace vkcomm
