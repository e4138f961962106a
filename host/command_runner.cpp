#include "host/command_runner.h"

#include <array>
#include <utility>

namespace vkcomm {

using namespace std::chrono_literals;

namespace {

constexpr std::array<std::string_view, 6> kOutcomeNames = {"answered", "refused", "silent",
                                                           "sent",     "cut off", "not sent"};

constexpr auto kStep = 20ms;
// Once through all rates, and once more for a receiver that was slow to begin.
constexpr auto kRateSearch = BaudHunt::timeOfRounds(2);
// A line that stands still longer holds a lead byte that was none.
constexpr auto kLinePause = 400ms;
// How long a port may take for one command beyond the delays in it, and for each byte of it, which is what the port
// itself gives a write.
constexpr auto kWriting = 10s;
constexpr auto kWritingByte = 10ms;
// Kept of one command while its record does not come.
constexpr std::size_t kMostAnswers = 100;
// Behind one answer of several.
constexpr auto kMoreAnswers = 300ms;

std::chrono::milliseconds writingTime(const Command& command) {
    std::chrono::milliseconds sum = kWriting;
    for (const CommandStep& step : command.steps)
        sum += std::chrono::milliseconds(step.delay) + step.bytes.size() * kWritingByte;
    return sum;
}

}  // namespace

std::string_view outcomeName(CommandOutcome outcome) {
    return kOutcomeNames[static_cast<std::size_t>(outcome)];
}

CommandRunner::CommandRunner(ReceiverSession& session, LineLog& log, const CommandTarget& target,
                             const RunnerOptions& options, RunnerSteps steps)
    : m_session(session), m_log(log), m_target(target), m_options(options), m_steps(std::move(steps)),
      m_reader(target) {}

bool CommandRunner::awaitRate(std::string& error) {
    const PortUrl& url = m_session.url();
    const auto end = m_options.clock->now() + kRateSearch;
    while (isSerial() && !url.baud && !m_session.rate()) {
        if (isCutOff() || m_options.clock->now() >= end) {
            error = m_isLost ? m_whyLost
                             : url.text + ": the receiver sends nothing by which its rate could be found; "
                                          "add it, such as ?baud=115200";
            return false;
        }
        pump();
    }
    return true;
}

bool CommandRunner::run(const CommandPlan& plan) {
    m_results.clear();
    m_rateCommand = nullptr;
    bool isGoing = true, isGood = true;
    for (const Command& command : plan) {
        CommandResult result;
        takeChunks();
        if (isGoing) {
            if (m_steps.begins) m_steps.begins(command);
            result = give(command);
        }
        isGood = isGood && isSuccess(result.outcome);
        isGoing = isGoing && (isSuccess(result.outcome) || result.outcome == CommandOutcome::kRefused);
        if (m_steps.ends) m_steps.ends(command, result);
        m_results.push_back(std::move(result));
    }
    return isGood;
}

CommandResult CommandRunner::give(const Command& command) {
    CommandResult result;
    m_reader.forget();  // nothing that came before is an answer to this
    m_reader.want(command.record);
    if (command.newRate()) m_rateCommand = &command;
    takeLinePort(command);
    const std::uint64_t before = m_log.sent();
    const bool isTaken = m_session.port().nSendSteps(command.steps) == static_cast<int>(command.steps.size());
    if (command.newRate() && command.newRate()->port == m_linePort) result.lineRate = command.newRate()->baud;

    // The port may still wait behind the command before.
    const auto end = m_options.clock->now() + writingTime(command);
    while (isTaken && m_log.sent() - before < command.size() && !isCutOff() && m_options.clock->now() < end)
        pump();
    result.bytesSent = std::min<std::uint64_t>(m_log.sent() - before, command.size());
    if (result.bytesSent == command.size())
        awaitAnswer(command, result);
    else
        result.outcome = result.bytesSent > 0 ? CommandOutcome::kCutOff : CommandOutcome::kNotSent;
    if (!isSuccess(result.outcome)) result.problem = whyNot(result, command);
    return result;
}

bool CommandRunner::isSerial() const {
    const UrlKind kind = m_session.url().kind;
    return kind == UrlKind::kSerial || kind == UrlKind::kCom;
}

// Where it is not given: a board that answers names the port it answers on, and some commands are about no other.
void CommandRunner::takeLinePort(const Command& command) {
    m_linePort = m_options.linePort;
    const auto rate = command.newRate();
    if (m_linePort == 0 && rate && isSerial())
        m_linePort = command.portName.empty() ? rate->port : m_reader.promptPort();
    m_session.port().vSetLinePort(m_linePort);
}

void CommandRunner::awaitAnswer(const Command& command, CommandResult& result) {
    result.outcome = CommandOutcome::kSent;
    if (command.expects == Expectation::kNothing) return;
    const auto end = m_options.clock->now() + m_options.wait;
    while (!takeAnswers(command, result)) {
        const bool isOver = m_options.clock->now() >= end;
        if (!isOver && !isCutOff()) {
            pump();
        } else if (command.expects == Expectation::kPerhaps && isOver) {
            return;
        } else {
            result.outcome = isCutOff() ? CommandOutcome::kCutOff : CommandOutcome::kSilent;
            return;
        }
    }
    const auto more = m_options.clock->now() + kMoreAnswers;
    while (command.moreAnswers && m_options.clock->now() < more && !isCutOff()) {
        pump();
        takeAnswers(command, result);
    }
}

// True once they decide the command.
bool CommandRunner::takeAnswers(const Command& command, CommandResult& result) {
    bool isDecided = false;
    while (auto answer = m_reader.next()) {
        const bool isRefused = answer->kind == AnswerKind::kRefused;
        const bool isRecord = answer->kind == AnswerKind::kRecord;
        if (isUnasked(command, *answer, result)) continue;
        isDecided = isDecided || isRefused || isRecord || command.expects != Expectation::kRecord;
        if (isRefused || (isDecided && result.outcome == CommandOutcome::kSent))
            result.outcome = isRefused ? CommandOutcome::kRefused : CommandOutcome::kAnswered;
        if (isDecided || result.answers.size() < kMostAnswers) result.answers.push_back(std::move(*answer));
        if (isDecided && !command.moreAnswers) break;
    }
    return isDecided;
}

// What the receiver sends anyway: the maker's frames about something else, a log that does not stand behind the OK
// for it, the page of settings.
bool CommandRunner::isUnasked(const Command& command, const Answer& answer,
                              const CommandResult& result) const {
    if (answer.letters != (answer.letters.empty() ? "" : command.letters())) return true;
    if (!answer.about.empty() && answer.about != command.label) return true;
    if (m_target.dialect == Dialect::kNovatel)
        return answer.kind == AnswerKind::kRecord && result.answers.empty();
    constexpr std::string_view kPage = "$>JSHOW";
    return m_target.dialect == Dialect::kCsi && answer.text.starts_with(kPage) && !command.moreAnswers;
}

void CommandRunner::pump() {
    const SessionSteps steps{
        [](const RoutedRecord&) {},
        [this](const SessionEvent& event) {
            const bool isEnd = event.notice == SessionNotice::kLost ||
                               event.notice == SessionNotice::kWriteFailed ||
                               event.notice == SessionNotice::kEnded;
            if (!isEnd || m_isLost) return;
            m_isLost = true;
            m_whyLost = event.text;
        },
    };
    if (!m_session.pump(kStep, steps) && !m_isLost) {
        m_isLost = true;
        m_whyLost = m_session.url().text + " has closed";
    }
    takeChunks();
}

void CommandRunner::takeChunks() {
    const auto now = m_options.clock->now();
    for (const LineChunk& chunk : m_log.take()) {
        if (m_steps.chunk) m_steps.chunk(chunk);
        if (chunk.isSent) continue;
        m_reader.feed(chunk.bytes);
        m_lastByte = now;
    }
    if (now - m_lastByte < kLinePause) return;
    m_reader.pause();
    m_lastByte = now;
}

std::string CommandRunner::whyNot(const CommandResult& result, const Command& command) const {
    if (m_isLost) return m_whyLost;
    if (isCutOff()) return "stopped";
    if (result.bytesSent < command.size()) return "the port took no more";
    if (result.outcome != CommandOutcome::kSilent || !m_rateCommand) return {};
    const PortRate rate = *m_rateCommand->newRate();
    const std::string baud = std::to_string(rate.baud);
    const std::string set = m_rateCommand->portText() + " of the receiver was set to " + baud + " bit/s";
    return rate.port == m_linePort
               ? set + ", and this line with it"
               : set + ": a line that ends there needs --line-port, and ?baud=" + baud + " from now on";
}

}  // namespace vkcomm
