#include "host/command_runner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <clocale>
#include <condition_variable>
#include <locale>

#include "host/base_mark.h"
#include "host/command_report.h"
#include "host/command_set.h"
#include "host/receiver_commands.h"
#include "host/receiver_configuration.h"
#include "host/settings_kinds.h"
#include "host/station_setup.h"
#include "tests/host/literal_frames.h"
#include "vkcomm/settings/base_config.h"

namespace vkcomm {
namespace {

using namespace std::chrono_literals;
using namespace test;
using Texts = std::vector<std::string>;
using Outcomes = std::vector<CommandOutcome>;
using enum CommandOutcome;
using testing::ElementsAre;
using testing::HasSubstr;

// What a receiver does with one write: the reads that it leads to, or how much is taken before it is unplugged.
struct Turn {
    Texts replies;
    std::optional<std::size_t> unpluggedAfter = {};
};

// It is a second later whenever somebody looks.
class HastyClock final : public Clock {
public:
    std::chrono::milliseconds now() override { return ++m_looks * 1s; }

    void sleep(std::chrono::milliseconds) override {}

    bool wait(Event& event, std::chrono::milliseconds) override { return event.isSet(); }

    int looks() const { return m_looks; }

private:
    std::atomic<int> m_looks = 0;
};

// A receiver at the other end of the line. Writes beyond the script are taken in silence.
class ScriptedReceiver final : public CommDevice {
public:
    std::deque<Turn> turns;
    std::deque<std::string> pieces;  // to be read; at first what comes before any command
    std::string taken;
    std::vector<std::uint32_t> rates;    // that the line was set to
    std::function<void()> beforeTaking;  // of each write

    bool open(const std::wstring&, std::uint32_t) override { return true; }

    int openError() const override { return 0; }

    SystemError lastError() const override { return {"line", 5, "unplugged"}; }

    bool getTimeouts(CommTimeouts&) override { return true; }

    bool setTimeouts(const CommTimeouts&) override { return true; }

    bool setEventMask(std::uint32_t mask) override {
        change([&] { m_isReleased = mask == 0; });
        return true;
    }

    bool setQueueSizes(std::uint32_t, std::uint32_t) override { return true; }

    bool getState(CommState&) override { return true; }

    bool setState(const CommState& state) override {
        change([&] { rates.push_back(state.BaudRate); });
        return true;
    }

    bool purge(std::uint32_t) override { return true; }

    bool waitForEvent(std::uint32_t& events) override {
        std::unique_lock lock(m_lock);
        m_changed.wait(lock, [this] { return m_isReleased || m_isUnplugged || !pieces.empty(); });
        events = m_isReleased ? 0 : kEventReceived;
        return !m_isReleased;
    }

    bool bytesQueued(std::uint32_t& count) override {
        const std::scoped_lock lock(m_lock);
        count = pieces.empty() ? (m_isUnplugged ? 1 : 0) : static_cast<std::uint32_t>(pieces.front().size());
        return true;
    }

    std::size_t read(std::span<unsigned char> buffer) override {
        const std::scoped_lock lock(m_lock);
        if (pieces.empty()) return 0;
        const std::size_t count = std::min(buffer.size(), pieces.front().size());
        std::copy_n(pieces.front().begin(), count, buffer.begin());
        pieces.front().erase(0, count);
        if (pieces.front().empty()) pieces.pop_front();
        return count;
    }

    bool write(ByteSpan bytes, std::size_t& written) override {
        if (beforeTaking) beforeTaking();
        Turn turn;
        change([&] {
            if (!turns.empty()) {
                turn = turns.front();
                turns.pop_front();
            }
            written = turn.unpluggedAfter.value_or(bytes.size());
            taken.append(textOf(bytes.first(written)));
            pieces.insert(pieces.end(), turn.replies.begin(), turn.replies.end());
            m_isUnplugged = turn.unpluggedAfter.has_value();
        });
        return !turn.unpluggedAfter;
    }

    bool setBreak() override { return true; }

    bool clearBreak() override { return true; }

    bool control(std::uint32_t, const unsigned char*, std::uint32_t, std::uint32_t&) override {
        return false;
    }

    void close() override {
        change([this] { m_isReleased = true; });
    }

private:
    template <typename Change>
    void change(Change change) {
        const std::scoped_lock lock(m_lock);
        change();
        m_changed.notify_all();
    }

    std::mutex m_lock;
    std::condition_variable m_changed;
    bool m_isReleased = false;
    bool m_isUnplugged = false;
};

class OneDevice final : public CommDevices {
public:
    explicit OneDevice(std::shared_ptr<CommDevice> device) : m_device(std::move(device)) {}

    std::shared_ptr<CommDevice> make() override { return m_device; }

private:
    const std::shared_ptr<CommDevice> m_device;
};

CommandTarget target(std::string_view family, std::optional<int> type = {}) {
    std::string error;
    const auto found = commandTarget(family, type, error);
    EXPECT_TRUE(found) << error;
    return found.value_or(CommandTarget{});
}

// Commands given to a scripted receiver.
struct Given {
    const std::shared_ptr<ScriptedReceiver> receiver = std::make_shared<ScriptedReceiver>();
    std::vector<CommandResult> results;
    std::string line;  // what went over it, "> text|" or "< text|" for each chunk
    bool isGood = false;
    bool isStopped = false;  // by the user, behind the first answer
    int linePort = 0;
    Clock* clock = &systemClock();

    Given& run(const CommandTarget& to, const CommandSteps& steps, std::chrono::milliseconds wait = 30s) {
        OneDevice device(receiver);
        const auto log = std::make_shared<LineLog>();
        LoggedDevices devices(device, log);
        SessionOptions options;
        options.reopen = false;
        options.devices = &devices;
        std::string error;
        ReceiverSession session(*parsePortUrl("serial:/dev/scripted?baud=9600", error), options);
        EXPECT_TRUE(session.open(error)) << error;
        RunnerSteps tell;
        tell.chunk = [this](const LineChunk& chunk) {
            line += (chunk.isSent ? "> " : "< ") + std::string(textOf(chunk.bytes)) + "|";
        };
        RunnerOptions running{wait, clock};
        running.linePort = linePort;
        bool hasEnded = false;
        tell.ends = [&](const auto&, const auto&) { hasEnded = true; };
        tell.isStopped = [&] { return isStopped && hasEnded; };
        CommandRunner runner(session, *log, to, running, tell);
        isGood = runner.run(planOf(to, steps));
        results = runner.results();
        return *this;
    }

    Outcomes outcomes() const {
        Outcomes all;
        for (const CommandResult& result : results)
            all.push_back(result.outcome);
        return all;
    }

    Texts answers() const {
        Texts all;
        for (const CommandResult& result : results)
            for (const Answer& answer : result.answers)
                all.push_back(answer.text);
        return all;
    }
};

CommandSteps textsFor(const CommandTarget& to, const Texts& texts) {
    CommandSteps steps;
    std::string error;
    for (const std::string& text : texts)
        append(steps, textCommand(to, text, error).value_or(CommandSteps{}));
    return steps;
}

const std::string kOk = "\r\n<OK\r\n[COM1]";

TEST(CommandRunner, KnowsTheAnswersOfEachFamily) {
    const std::string withAck = trimble(0x40, "\x06\x15\x06");  // as bytes of a packet they answer nothing

    struct Case {
        const char* name;
        CommandTarget to;
        const char* text;  // "x…" are bytes in hexadecimal digits
        Texts replies;
        CommandOutcome outcome;
        const char* answer;
    };

    const Case cases[] = {
        {"novatel", target("novatel"), "ecutoff 5", {kOk}, kAnswered, "<OK"},
        {"novatel, byte by byte",
         target("novatel"),
         "ecutoff 5",
         {"\r", "\n<", "O", "K\r", "\n"},
         kAnswered,
         "<OK"},
        {"novatel, refused",
         target("novatel"),
         "ecutof 5",
         {"<ERROR:Invalid Command\r\n[COM1]"},
         kRefused,
         "<ERROR:Invalid Command"},
        {"novatel, logs between",
         target("novatel"),
         "ecutoff 5",
         {kBestpos, kBestpos + "<OK\r\n" + kBestpos},
         kAnswered,
         "<OK"},
        {"novatel, inside a log",
         target("novatel"),
         "ecutoff 5",
         {oem4(42, "\r\n<OK\r\n[COM1]" + std::string(58, ' '))},
         kSilent,
         ""},
        {"novatel in frames",
         target("", 5),
         "ecutoff 5",
         {maker("RZ", kOk.substr(0, 5)), maker("RZ", kOk.substr(5))},
         kAnswered,
         "<OK"},
        {"a log is no answer before its OK", target("novatel"), "log bestposb once", {kBestpos}, kSilent, ""},
        {"trimble", target("trimble"), "x02006400 6403", {"\x06"}, kAnswered, "ACK"},
        {"trimble, refused", target("trimble"), "x02006400 6403", {"\x15"}, kRefused, "NAK"},
        {"trimble, packets around",
         target("trimble"),
         "x02006400 6403",
         {withAck + "\x06" + withAck},
         kAnswered,
         "ACK"},
        {"trimble, inside a packet", target("trimble"), "x02006400 6403", {withAck, withAck}, kSilent, ""},
        {"trimble in frames", target("", 15), "x02006400 6403", {maker("RZ", "\x06")}, kAnswered, "ACK"},
        {"frames about something else",
         target("", 15),
         "x02006400 6403",
         {maker("RG", "\x01"), maker("SI", "")},
         kSilent,
         ""},
        {"javad", target("javad"), "%a%set,x,1", {"RE003%a%\r\n"}, kAnswered, "RE003%a%"},
        {"javad, refused",
         target("javad"),
         "%a%set,x,1",
         {"ER00D%a%{4,wrong}\r\n"},
         kRefused,
         "ER00D%a%{4,wrong}"},
        {"javad, about another",
         target("javad"),
         "%b%set,x,1",
         {"ER00D%a%{4,wrong}\r\n", "RE003%b%\r\n"},
         kAnswered,
         "RE003%b%"},
        {"tsip, among others",
         target("tsip"),
         "x101F1003",
         {"\x10\x41\x45\x10\x03\x10", "\x45\x10\x10\x03\x10\x03"},
         kAnswered,
         "packet 45h data=1003"},
        {"javad, only errors answer", target("javad"), "set,x,1", {}, kSent, ""},
        {"thales", target("thales"), "$PASHS,SPD,A,5", {"$PASHR,ACK*3D\r\n"}, kAnswered, "$PASHR,ACK*3D"},
        {"thales, refused",
         target("thales"),
         "$PASHS,SPD,Q,5",
         {"$PASHR,NAK*30\r\n"},
         kRefused,
         "$PASHR,NAK*30"},
        {"thales, asked",
         target("thales"),
         "$PASHQ,RID",
         {sentence("PASHR,ACK"), sentence("PASHR,RID,UZ,30,ZE21")},
         kAnswered,
         "$PASHR,ACK*3D"},
        {"cmc", target("cmc"), "x0153AC0100 0101", {cmc(126, "\x53\x01")}, kAnswered, "ACK"},
        {"cmc, about another", target("cmc"), "x0153AC0100 0101", {cmc(126, "\x50\x01")}, kSilent, ""},
        {"nmea, refused", target("nmea"), "$PASHS,FUN", {"$PASHR,NAK*30\r\n"}, kRefused, "$PASHR,NAK*30"},
        {"csi", target("csi"), "$JASC,GPGGA,1", {"$>", "\r\n"}, kAnswered, "$>"},
        {"csi, what it sends anyway",
         target("csi"),
         "$JT",
         {"$>JSHOW,AGE,1800\r\n$>JT,SX1g\r\n"},
         kAnswered,
         "$>JT,SX1g"},
        {"csi, refused",
         target("csi"),
         "$JRAD,1",
         {"$>JRAD,1,FAILED,Present Location Not Stable\r\n"},
         kRefused,
         "$>JRAD,1,FAILED,Present Location Not Stable"},
        {"maker",
         target("maker"),
         "ST,B1",
         {maker("SI", "x"), maker("ST", "\x01")},
         kAnswered,
         "ST payload=01"},
        {"maker, refused",
         target("maker"),
         "ST,B9",
         {maker("ST", std::string(1, '\0'))},
         kRefused,
         "ST payload=00"},
        {"maker, silent", target("maker"), "ST,B1", {}, kSent, ""},
        {"nmea", target("nmea"), "$PXYZ,1", {}, kSent, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::string error;
        const std::string_view text = c.text;
        const auto steps =
            text[0] == 'x' ? hexCommand(c.to, text.substr(1), error) : textCommand(c.to, text, error);
        ASSERT_TRUE(steps) << error;
        Given given;
        given.receiver->turns = {{c.replies}};
        const bool staysSilent = c.outcome == kSilent || c.replies.empty();
        given.run(c.to, *steps, staysSilent ? 100ms : 30000ms);
        EXPECT_EQ(given.outcomes(), Outcomes{c.outcome});
        EXPECT_EQ(given.isGood, c.outcome == kAnswered || c.outcome == kSent);
        const Texts answers = given.answers();
        EXPECT_EQ(answers.empty() ? "" : answers.front(), c.answer);
    }
}

TEST(AnswerReader, FindsTheSameHoweverTheBytesAreCut) {
    struct Case {
        const char* family;
        std::string bytes;
        Texts answers;
    };

    const Case cases[] = {
        {"novatel",
         kBestpos + "\xAA" + kOk + kRangecmp + "<ERROR:no\r\n" + maker("RZ", "<O") + maker("RZ", "K\r\n"),
         {"<OK", "<ERROR:no", "<OK"}},
        {"trimble",
         trimble(0x40, "\x06\x15") + "\x06" + trimble(7, "") + "\x15\x02" + maker("RZ", "\x06"),
         {"ACK", "NAK", "ACK"}},
        {"csi",
         "$>$>\r\n$\r\n$GP$>JT,X\r\n" + kBinNavigation + "$>JRAD,1P,OK\r\n",
         {"$>$>", "$>JT,X", "$>JRAD,1P,OK"}},
        {"javad", "RE002%%\r\nER00A%%{1,\"no\"}\r\n", {"RE002%%", "ER00A%%{1,\"no\"}"}},
    };
    for (const Case& c : cases)
        for (const std::size_t size : {std::size_t{1}, std::size_t{2}, std::size_t{7}, std::size_t{100000}}) {
            AnswerReader reader(target(c.family));
            for (std::size_t at = 0; at < c.bytes.size(); at += size)
                reader.feed(spanOf(std::string_view(c.bytes).substr(at, size)));
            reader.pause();
            Texts answers;
            while (const auto answer = reader.next())
                answers.push_back(answer->text);
            EXPECT_EQ(answers, c.answers) << c.family << ", pieces of " << size;
        }
}

TEST(CommandRunner, WaitsForTheRecordThatWasAskedFor) {
    const CommandTarget novatel = target("novatel");
    Given given;
    given.receiver->pieces = {kBestpos};
    given.receiver->turns = {{{kBestpos, kOk, kRangecmp, kBestpos.substr(0, 50), kBestpos.substr(50)}}};
    given.run(novatel, textsFor(novatel, {"log bestposb once"}));
    EXPECT_EQ(given.outcomes(), Outcomes{kAnswered});
    EXPECT_THAT(given.answers(), ElementsAre("<OK", HasSubstr("BESTPOS gps_week=")));
    EXPECT_THAT(given.results[0].answers[1].json, HasSubstr("\"latitude_deg\":"));

    const CommandTarget trimbleType15 = target("trimble", 15);
    std::string error;
    const std::string reply = trimble(7, std::string(45, '0'));
    Given asked;
    asked.receiver->turns = {{{maker("RZ", reply.substr(0, 20)), kBestpos, maker("RZ", reply.substr(20))}}};
    asked.run(trimbleType15, questionSteps(trimbleType15, "serial", error).value_or(CommandSteps{}));
    EXPECT_EQ(asked.outcomes(), Outcomes{kAnswered});
    EXPECT_THAT(asked.answers(), ElementsAre(HasSubstr("RSERIAL serial=00000000")));
}

TEST(CommandRunner, GivesManyBytesTheTimeThatTheyNeed) {
    HastyClock clock;
    Given given;
    given.clock = &clock;
    given.receiver->turns = {{{kOk}}};
    given.receiver->beforeTaking = [&clock] {  // longer than a line may take
        while (clock.looks() < 15)
            std::this_thread::yield();
    };
    std::string digits, error;
    for (int i = 0; i < 60'000; ++i)
        digits += "5A";
    given.run(target("novatel"), hexCommand(target("novatel"), digits, error).value_or(CommandSteps{}), 10h);
    EXPECT_EQ(given.outcomes(), Outcomes{kAnswered}) << given.results.front().problem;
}

TEST(CommandRunner, KeepsNoFloodOfAnswers) {
    const CommandTarget to = target("novatel");
    Given given;
    given.receiver->turns = {{Texts(500, kOk)}};
    given.receiver->turns.front().replies.push_back(kBestpos);
    given.run(to, textsFor(to, {"log bestposb once"}));
    EXPECT_EQ(given.outcomes(), Outcomes{kAnswered});
    EXPECT_EQ(given.answers().size(), 101U);
    EXPECT_THAT(given.answers().back(), HasSubstr("BESTPOS"));
}

TEST(CommandRunner, GoesOnBehindARefusalAndStopsAtSilence) {
    const CommandTarget to = target("novatel");
    Given given;
    given.receiver->turns = {{{kOk}}, {{"<ERROR:no\r\n"}}, {{kOk}}, {}};
    given.run(to, textsFor(to, {"one", "two", "three", "four", "five"}), 100ms);
    EXPECT_EQ(given.outcomes(), (Outcomes{kAnswered, kRefused, kAnswered, kSilent, kNotSent}));
    EXPECT_FALSE(given.isGood);
    EXPECT_EQ(given.receiver->taken, "one\r\ntwo\r\nthree\r\nfour\r\n");
    EXPECT_EQ(summaryOf(given.results), "5 commands: 2 answered, 1 refused, 1 silent, 1 not sent");
}

TEST(CommandRunner, TellsWhatWasSentOfASequenceThatTheLineCutsOff) {
    const CommandTarget to = target("novatel");
    for (const std::size_t size : {std::size_t{0}, std::size_t{4}, std::size_t{12}}) {
        Given given;
        given.receiver->turns = {{{kOk}}, {{}, size}};
        given.run(to, textsFor(to, {"ecutoff 5", "fix none 01", "unlogall"}));
        EXPECT_EQ(given.outcomes(), (Outcomes{kAnswered, size == 0 ? kNotSent : kCutOff, kNotSent})) << size;
        EXPECT_EQ(given.results[1].bytesSent, size);
        EXPECT_THAT(given.results[1].problem, HasSubstr("unplugged"));
        EXPECT_EQ(given.receiver->taken, "ecutoff 5\r\n" + std::string("fix none 01\r\n").substr(0, size));
        const std::string cut = std::string("fix none 01\r\n").substr(0, size);
        EXPECT_EQ(given.line, "> ecutoff 5\r\n|< " + kOk + "|" + (size == 0 ? "" : "> " + cut + "|"));
    }
}

TEST(CommandRunner, TheUserStopsItBetweenAnswers) {
    const CommandTarget to = target("novatel");
    Given given;
    given.isStopped = true;
    given.receiver->turns = {{{kOk}}, {}};
    given.run(to, textsFor(to, {"one", "two", "three"}));
    EXPECT_EQ(given.results[0].outcome, kAnswered);
    EXPECT_EQ(given.results[1].problem, "stopped");
    EXPECT_EQ(given.results[2].outcome, kNotSent);
    EXPECT_FALSE(given.isGood);
}

TEST(CommandRunner, FollowsTheRateOfThePortThatTheLineEndsAt) {
    const CommandTarget to = target("novatel");
    std::string error;
    const auto steps = configurationSteps(to, {.action = "baud", .port = "com2", .baud = 57600}, error);
    ASSERT_TRUE(steps) << error;
    for (const int port : {0, 1, 2}) {
        Given given;
        given.linePort = port;
        given.receiver->turns = {{{kOk}}};
        given.run(to, *steps);
        EXPECT_EQ(given.outcomes(), Outcomes{kAnswered}) << "answered at the old rate";
        EXPECT_EQ(given.receiver->rates.back(), port == 2 ? 57600U : 9600U) << port;
    }
    Given named;  // by the board's prompt
    named.receiver->turns = {{{"<OK\r\n[COM2]"}}, {{"<OK\r\n[COM2]"}}};
    CommandSteps two = textsFor(to, {"ecutoff 5"});
    append(two, *steps);
    named.run(to, two);
    EXPECT_EQ(named.receiver->rates.back(), 57600U);
    EXPECT_EQ(named.results.back().lineRate, 57600);
    for (const char* family : {"trimble", "csi"}) {  // by the file's number, and without a word
        Given other;
        other.linePort = receiverPort(target(family), "0", error).value_or(0);
        other.receiver->turns = {{{family[0] == 't' ? "\x06" : "$>\r\n"}}};
        const Configuration baud{.action = "baud", .port = "0", .baud = 57600};
        other.run(target(family), configurationSteps(target(family), baud, error).value_or(CommandSteps{}));
        EXPECT_EQ(other.outcomes(), Outcomes{kAnswered});
        EXPECT_EQ(other.receiver->rates.back(), 57600U) << family;
    }
    Given lost;
    lost.run(to, *steps, 100ms);
    EXPECT_EQ(lost.outcomes(), Outcomes{kSilent});
    EXPECT_THAT(lost.results[0].problem,
                HasSubstr("port com2 of the receiver was set to 57600 bit/s: a line that "
                          "ends there needs --line-port, and ?baud=57600 from now on"));
    for (const auto& [family, port] : {std::pair{"novatel", "com2"}, {"javad", "b"}, {"trimble", "1"}}) {
        EXPECT_EQ(receiverPort(target(family), port, error), 2);
        EXPECT_EQ(portName(target(family), 2), port);
    }
    EXPECT_FALSE(receiverPort(target("csi"), "1", error));
}

TEST(CommandPlan, PutsResetsFirstAndKeepsFramesTogether) {
    const CommandTarget javad = target("javad");
    CommandPlan plan = planOf(javad, textsFor(javad, {"%%dm", "%%init,/dev/nvm/a", "%%em,x"}));
    ASSERT_EQ(plan.size(), 3U);
    EXPECT_EQ(plan[0].what, "%%init,/dev/nvm/a");
    EXPECT_TRUE(plan[0].resets);
    EXPECT_EQ(plan[1].what, "%%dm");

    std::string error;
    Configuration gsof{.action = "gsof", .port = "2"};
    const CommandTarget wrapped = target("", 16);
    plan = planOf(wrapped, configurationSteps(wrapped, gsof, error).value_or(CommandSteps{}));
    ASSERT_EQ(plan.size(), 1U);
    EXPECT_EQ(plan[0].steps.size(), 2U);
    EXPECT_TRUE(resetsReceiver(plan));
    EXPECT_EQ(textOf(plan[0].boardBytes()).substr(0, 3), std::string_view("\x02\0\x64", 3));

    for (const auto& [family, text] : {std::pair{"novatel", "FRESET"},
                                       {"thales", "$PASHS,INI,5,5,1,0"},
                                       {"csi", "$JRESET"},
                                       {"trimble", "x0200580058 03"},
                                       {"trimble", "x020064070000000306 0101 7503"},
                                       {"novatel", "#FRESETA,COM1,0,1.0;STANDARD"},
                                       {"novatel", "x667265736574 0d0a"},
                                       {"novatel", "xAA44121C14000220"},
                                       {"trimble", "x020006000603 020058005803"},
                                       {"trimble", "x05 020058005803"},
                                       {"javad", "x2525696E69742C2F6465762F6E766D2F61 0d0a"},
                                       {"thales", "x24 5041534853 2C 494E49 0d0a"},
                                       {"tsip", "x101E461003"},
                                       {"maker", "x2424525A 0106 020058005803 0F 0d0a"}}) {
        const CommandTarget to = target(family);
        const bool isHex = text[0] == 'x';
        const auto steps = isHex ? hexCommand(to, text + 1, error) : textCommand(to, text, error);
        EXPECT_TRUE(steps && resetsReceiver(planOf(to, *steps))) << text;
    }
    const CommandTarget novatel = target("novatel");
    EXPECT_FALSE(resetsReceiver(planOf(novatel, textsFor(novatel, {"log freset", "unlogall"}))));
}

TEST(CommandSet, FollowsTheBoardsVersion) {
    const auto setOf = [](const std::string& hardware, const std::string& software) {
        CommandResult result;
        result.answers = {{AnswerKind::kAccepted, "<OK"},
                          {AnswerKind::kRecord, "",
                           R"({"hardware":")" + hardware + R"(","software":")" + software + "\"}"}};
        return novatelCommandSet(result);
    };
    EXPECT_EQ(setOf("OEM4g2-3.00-2T", "2.310"), 1);
    EXPECT_EQ(setOf("OEMV3G-3.00-2T", "3.000A19"), 2);
    EXPECT_EQ(setOf("OM7MR-1.00", "OM7MR0200RN"), 2);
    EXPECT_EQ(setOf("else", "1.2"), 1);
    EXPECT_EQ(setOf("else", "3.6"), 2);
    EXPECT_EQ(setOf("else", "?"), 0);
    EXPECT_EQ(novatelCommandSet({}), 0);
}

TEST(ReceiverCommands, RefuseWhatCannotBeSent) {
    const std::string longText(1024, 'x');

    struct Case {
        const char* family;
        std::string text;
        const char* error;
    };

    const Case cases[] = {
        {"novatel", "", "empty"},
        {"novatel", longText, "1023"},
        {"novatel", std::string("a\0b", 3), "control characters"},
        {"novatel", "ecutoff 5\r\nfreset", "control characters"},
        {"maker", "1,B2", "two letters"},
        {"maker", "RZ,S" + std::string(248, 'x'), "too long"},
        {"maker", "RZ,Sfreset", "--type 5 or 6"},
        {"trimble", "hello", "no text commands"},
    };
    for (const Case& c : cases) {
        std::string error;
        EXPECT_FALSE(textCommand(target(c.family), c.text, error)) << c.text;
        EXPECT_THAT(error, HasSubstr(c.error));
    }
    std::string error;
    EXPECT_FALSE(textCommand(target("", 5), std::string(248, 'x'), error)) << "the frame would cut it";
    EXPECT_TRUE(textCommand(target("", 5), std::string(240, 'x'), error)) << error;
    for (const char* digits : {"", "0", "0g", "00 1", "0x00"})
        EXPECT_FALSE(hexCommand(target("trimble"), digits, error)) << digits;
    for (const std::size_t size : {1U, 54U, 55U, 56U, 110U, 255U, 4096U}) {
        std::string digits;
        for (std::size_t i = 0; i < size; ++i)
            digits += "5a ";
        const auto framed = hexCommand(target("", 15), digits, error);
        ASSERT_TRUE(framed) << error;
        const CommandPlan plan = planOf(target("", 15), *framed);
        ASSERT_EQ(plan.size(), 1U);
        EXPECT_EQ(plan[0].boardBytes(), Bytes(size, 0x5A));
    }
}

TEST(BaseMark, AddsTheAntennaOnceAndTakesNoOtherPlaces) {
    std::string error;
    const auto mark = parseMark("51.123456789,-7.25,123.4", error);
    ASSERT_TRUE(mark) << error;
    CAntType antenna;
    antenna.strName = L"Zephyr 2";
    antenna.fOffset = {0.053F, 0.02F, 0.037F};
    antenna.vSetAntHeight(1.5, CAntType::kBottom);
    EXPECT_DOUBLE_EQ(phaseCentre(*mark, antenna).height, 124.953) << "no trace of single precision";
    const std::string lines = markLines(*mark, antenna);
    EXPECT_THAT(lines, HasSubstr("123.400 m"));
    EXPECT_THAT(lines, HasSubstr("124.953 m"));
    EXPECT_THAT(lines, HasSubstr("1.500 m to its bottom and 0.053 m from there"));

    for (const char* text :
         {"", "51,7", "51,7,1,2", "91,7,1", "51,361,1", "51,7,-1001", "51,7,2e7", "51,7,30000000", "nan,7,1",
          "51,inf,1", "51,7,", "0x51,7,1", "51;7;1", "51,1,7,2,100,5", "51 ,7,1", "--51,7,1"})
        EXPECT_FALSE(parseMark(text, error)) << text;
}

// A comma for the point, as in Germany, whether or not the machine has that locale.
struct Comma : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }

    char do_thousands_sep() const override { return '.'; }

    std::string do_grouping() const override { return "\3"; }
};

TEST(StationSetup, GivesTheSameBytesInEveryLocale) {
    const auto everything = [] {
        std::string bytes, error;
        const auto mark = parseMark("51.123456789,-7.25,1123.4", error);
        for (const auto& [family, type] :
             {std::pair{"novatel", 1}, {"novatel", 5}, {"trimble", 0}, {"cmc", 2}, {"javad", -2}}) {
            const CommandTarget to = target(family, type < 0 ? std::nullopt : std::optional(type));
            const auto record = findSettingsKind(baseSettingsKind(to))->create();
            const auto steps = baseSteps(to, {record.get(), mark.value_or(BLH{}), {}, 2}, error);
            EXPECT_TRUE(steps) << error;
            CommandReport report;
            for (const vkcomm::Command& command : planOf(to, steps.value_or(CommandSteps{})))
                bytes += report.begin(command) + CommandReport().json(command, nullptr);
            const auto baud = configurationSteps(to, {.action = "baud", .port = "2", .baud = 115200}, error);
            for (const CommandStep& step : baud.value_or(CommandSteps{}))
                bytes += textOf(step.bytes);
        }
        CRoverConfig rover;
        rover.fElevMask = 12.5F;
        for (const CommandStep& step :
             roverSteps(target("novatel"), {&rover, 2, 1}, error).value_or(CommandSteps{}))
            bytes += textOf(step.bytes);
        return bytes + markLines(*mark, CAntType()) + markJson(*mark, CAntType());
    };
    const std::string plain = everything();
    EXPECT_THAT(plain, HasSubstr("fix position 51.12345679 -7.25000000 1123.400"));
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Comma));
    const std::string c = std::setlocale(LC_ALL, nullptr);
    for (const char* name : {"de_DE.UTF-8", "de_DE", "fr_FR.UTF-8"})
        if (std::setlocale(LC_ALL, name)) break;
    EXPECT_EQ(everything(), plain);
    std::setlocale(LC_ALL, c.c_str());
    std::locale::global(before);
}

TEST(StationSetup, RefusesStationsThatAFormatCannotName) {
    struct Case {
        const char* family;
        const wchar_t* station;
        unsigned char format;
        bool isGood;
    };

    const Case cases[] = {
        {"novatel", L"31", 0, true},   {"novatel", L"32", 0, false},
        {"novatel", L"1023", 1, true}, {"novatel", L"1024", 1, false},
        {"novatel", L"ABCD", 2, true}, {"novatel", L"ABCDE", 2, false},
        {"novatel", L"4095", 7, true}, {"novatel", L"4096", 7, false},
        {"novatel", L"x", 0, false},   {"trimble", L"31", 4, true},
        {"trimble", L"32", 4, false},  {"trimble", L"1023", 1, true},
        {"trimble", L"-1", 1, false},  {"novatel", L"1\r\nfreset", 0, false},
    };
    for (const Case& c : cases) {
        CBaseConfig config;
        config.uVarekFormat = config.uTrimbleFormat = c.format;
        config.strStationID = c.station;
        std::string error;
        EXPECT_EQ(baseSteps(target(c.family), {&config, BLH{0.9, 0.1, 100.0}, {}, 2}, error).has_value(),
                  c.isGood)
            << c.family << ' ' << int{c.format} << ' ' << error;
    }
    CBaseConfig config;
    std::string error;
    EXPECT_FALSE(baseSteps(target("trimble"), {&config, BLH{}, "NINECHARS", 0}, error));
    EXPECT_THAT(error, HasSubstr("at most 8 characters"));
    config.uVarekFormat = 7;
    EXPECT_FALSE(baseSteps(target("novatel"), {&config, BLH{}, {}, 0}, error))
        << "the command set is not known";
    EXPECT_TRUE(baseSteps(target("novatel", 18), {&config, BLH{}, {}, 0}, error)) << error;
}

}  // namespace
}  // namespace vkcomm
