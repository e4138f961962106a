// What a session makes of ports that fail: refused rates, write errors, a host that is slow, lost devices.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <random>
#include <thread>

#include "host/receiver_session.h"
#include "tests/decode/frames.h"
#include "tests/ports/fake_device.h"
#include "vkcomm/platform/byte_server.h"
#include "vkcomm/platform/event.h"
#include "vkcomm/platform/listener.h"

namespace vkcomm {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::Ge;
using testing::HasSubstr;
using testing::Lt;
using testing::Not;

const std::string kGga = "$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47\r\n";

// Short waits that are in vain are over almost at once and move the time by all that they were to take. Those of
// seconds are for threads to start and last as long as that takes.
class HastyClock final : public Clock {
public:
    std::chrono::milliseconds now() override { return std::chrono::milliseconds(m_now); }

    void sleep(std::chrono::milliseconds time) override { m_now += time.count(); }

    bool wait(Event& event, std::chrono::milliseconds time) override {
        if (event.wait(time < 1000ms ? 1ms : time)) return true;
        m_now += time.count();
        return false;
    }

private:
    std::atomic<std::int64_t> m_now{1000};
};

// Time stands still until it is moved.
class StillClock final : public Clock {
public:
    std::chrono::milliseconds now() override { return time; }

    void sleep(std::chrono::milliseconds) override {}

    std::chrono::milliseconds time{1000};
};

// Makes devices that are alike.
class AlikeDevices final : public CommDevices {
public:
    std::function<void(FakeDevice&)> setUp;
    std::vector<std::shared_ptr<FakeDevice>> made;

    std::shared_ptr<CommDevice> make() override {
        made.push_back(std::make_shared<FakeDevice>());
        setUp(*made.back());
        return made.back();
    }
};

class SessionFaults : public testing::Test {
protected:
    SessionFaults() {
        options.clock = &clock;
        options.devices = &devices;
    }

    void open(const std::string& address) {
        std::string error;
        const auto url = parsePortUrl(address, error);
        ASSERT_TRUE(url) << error;
        session = std::make_unique<ReceiverSession>(*url, options);
        ASSERT_TRUE(session->open(error)) << error;
    }

    // A session on a device that gives these passes and then nothing.
    void openWith(const std::deque<Pass>& passes) {
        devices.setUp = [=](FakeDevice& device) {
            device.passes = passes;
            device.passes.push_back(block());
        };
        open("com:7?baud=9600");
    }

    FakeDevice& device() { return *devices.made.back(); }

    bool pump(std::chrono::milliseconds time = 50ms) { return session->pump(time, steps); }

    template <typename Condition>
    void pumpUntil(Condition condition) {
        while (!condition() && pump()) {
        }
    }

    void pumpUntilTold(SessionNotice notice, std::ptrdiff_t times = 1) {
        pumpUntil([&] { return std::ranges::count(notices, notice) >= times; });
    }

    HastyClock clock;
    AlikeDevices devices;
    SessionOptions options;
    std::vector<std::string> records;
    std::vector<SessionNotice> notices;
    std::vector<std::string> texts;
    const SessionSteps steps{
        [this](const RoutedRecord& routed) { records.emplace_back(textOf(routed.record.bytes)); },
        [this](const SessionEvent& event) {
            notices.push_back(event.notice);
            texts.push_back(event.text);
        },
    };
    std::unique_ptr<ReceiverSession> session;  // closed before what it uses goes
};

TEST_F(SessionFaults, FindsTheRateOfAReceiverOnALineThatRefusesSome) {
    struct Case {
        unsigned int highest;  // that the line takes
        unsigned int right;
    };

    for (const Case& c : {Case{115200, 2400}, Case{57600, 57600}, Case{9600, 1200}}) {
        bool isTurn = false;
        devices.setUp = [&](FakeDevice& made) {
            made.accepts = [&c](const CommState& state) { return state.BaudRate <= c.highest; };
            made.source = [&c, &isTurn](const CommState& state) {
                isTurn = !isTurn;
                return state.BaudRate == c.right && isTurn ? data(kGga) : Pass{0, {}, {}, false};
            };
        };
        open("com:7");
        pumpUntilTold(SessionNotice::kRateFound);
        EXPECT_EQ(session->rate(), c.right);
        EXPECT_EQ(device().driver.BaudRate, c.right);
        EXPECT_THAT(texts, Contains("the receiver talks at " + std::to_string(c.right) + " bit/s"));
        for (const std::string& text : texts)
            EXPECT_THAT(text, Not(HasSubstr("921600"))) << "which the line does not take";
        pumpUntil([this] { return !records.empty(); });
        EXPECT_EQ(records.front(), kGga);
        session.reset();
        notices.clear();
        texts.clear();
        records.clear();
    }
}

// A few sentences a second say little of the family, but all of the rate.
TEST_F(SessionFaults, FindsTheRateOfAQuietReceiverAtTheFirstVisit) {
    devices.setUp = [this](FakeDevice& made) {
        made.source = [this, due = 0ms](const CommState& state) mutable {
            if (state.BaudRate != 9600 || clock.now() < due) return Pass{0, {}, {}, false};
            due = clock.now() + 1000ms;
            return data(kGga + kGga);
        };
    };
    open("com:7");
    pumpUntilTold(SessionNotice::kRateFound);
    EXPECT_EQ(std::ranges::count(notices, SessionNotice::kRateTried), 1) << "9600 is the second rate";
    pumpUntil([this] { return records.size() >= 2; });
}

// Switched off and on again, a receiver may talk at the rate it is delivered with.
TEST_F(SessionFaults, FindsTheRateAgainWhenTheReceiverHasChangedIt) {
    std::atomic<unsigned> right = 9600;
    devices.setUp = [&](FakeDevice& made) {
        made.source = [&, isTurn = false](const CommState& state) mutable {
            isTurn = !isTurn;
            if (!isTurn) return Pass{0, {}, {}, false};
            return data(state.BaudRate == right ? kGga : std::string(40, '\xF8'));
        };
    };
    open("com:7");
    pumpUntilTold(SessionNotice::kRateFound);
    pumpUntil([this] { return !records.empty(); });
    right = 19200;
    pumpUntilTold(SessionNotice::kRateFound, 2);
    EXPECT_EQ(session->rate(), 19200U);
    EXPECT_THAT(texts, Contains("what comes is not understood any more; looking for the rate again"));
    records.clear();
    pumpUntil([this] { return !records.empty(); });
    EXPECT_EQ(records.front(), kGga);
}

// A listener that accepts nobody answers no more once its queue is full.
TEST_F(SessionFaults, AWishToStopEndsAnOpeningThatNobodyAnswers) {
    SystemError failure;
    const auto listener = openListener("127.0.0.1", 0, failure);
    ASSERT_TRUE(listener) << failure.message();
    std::string error;
    const auto url = parsePortUrl("tcp://127.0.0.1:" + std::to_string(listener->port()), error);
    std::atomic<int> asked = 0;
    SessionOptions stoppable;
    stoppable.isStopped = [&] { return ++asked > 2; };
    std::vector<std::unique_ptr<ReceiverSession>> queued;
    do {
        asked = 0;
        queued.push_back(std::make_unique<ReceiverSession>(*url, stoppable));
    } while (queued.back()->open(error));
    EXPECT_EQ(error, url->text + ": opening was given up");
}

TEST_F(SessionFaults, TellsOfAFailedWriteAndGoesOn) {
    openWith({data(kGga)});
    device().writes = {{WriteStep::kFail, 0}};
    session->port().WriteToPort(bytesOf("x").data(), 1, 0, 0, 1);
    pumpUntilTold(SessionNotice::kWriteFailed);
    EXPECT_THAT(texts, Contains(HasSubstr("writing failed: ")));
    EXPECT_TRUE(session->isOpen());
    pumpUntil([this] { return !records.empty(); });
    session->port().WriteToPort(bytesOf("y").data(), 1, 0, 0, 1);
    device().awaitWrites(1);
}

// A megabyte into a buffer of sixteen thousand bytes while the host does something else.
TEST_F(SessionFaults, TellsOnceWhatASlowHostHasLost) {
    std::deque<Pass> passes(200, data(std::string(5000, '?')));
    passes.push_back(data(kGga + kGga));
    openWith(passes);
    device().awaitBlocked();
    pumpUntil([this] { return !records.empty(); });
    EXPECT_EQ(std::ranges::count(notices, SessionNotice::kOverflow), 1);
    const PortCounters counters = session->port().Counters();
    EXPECT_EQ(counters.received, 200 * 5000 + 2 * kGga.size());
    EXPECT_GT(counters.overflows, 0U);
    EXPECT_LE(session->stream().counters().received, std::uint64_t{CnBuffer::kCapacity});
    EXPECT_THAT(records, ElementsAre(kGga, kGga));
}

// Devices that open, report errors and give nothing; the last of them gives a record.
TEST_F(SessionFaults, WaitsLongerEachTimeUntilBytesCome) {
    options.firstRetry = 1000ms;
    options.lastRetry = 8000ms;
    const Pass gone{kEventReceived, {}, 1, false};
    devices.setUp = [&](FakeDevice& made) {
        made.passes = {gone, gone, gone, block()};
        if (devices.made.size() == 6) made.passes.push_front(data(kGga));
    };
    open("com:7?baud=9600");
    std::vector<std::chrono::milliseconds> waits;
    for (std::ptrdiff_t losses = 1; losses <= 6; ++losses) {
        pumpUntilTold(SessionNotice::kLost, losses);
        const auto lost = clock.now();
        pumpUntilTold(SessionNotice::kOpened, losses);
        waits.push_back(clock.now() - lost);
    }
    const auto about = [](std::chrono::milliseconds time) { return AllOf(Ge(time), Lt(time + 1000ms)); };
    EXPECT_THAT(waits, ElementsAre(about(1000ms), about(2000ms), about(4000ms), about(8000ms), about(8000ms),
                                   about(1000ms)));
    EXPECT_EQ(session->reopened(), 6U);
}

// A link to pseudo-terminals, as a system gives a plugged device always the same name.
class PluggedSession : public SessionFaults {
protected:
    PluggedSession() { options.devices = nullptr; }

    void SetUp() override {
        std::filesystem::create_directory(m_folder);
        plugIn();
    }

    void TearDown() override {
        session.reset();
        std::filesystem::remove_all(m_folder);
    }

    void plugIn() {
        SystemError error;
        server = openPtyServer(error);
        ASSERT_TRUE(server) << error.message();
        std::filesystem::remove(path);
        std::filesystem::create_symlink(server->address(), path);
    }

    void unplug() {
        server.reset();
        std::filesystem::remove(path);
    }

    void send(std::string_view bytes) {
        while (server->clients() == 0)
            std::this_thread::yield();
        EXPECT_EQ(server->write(spanOf(bytes)), 0U);
        m_sent += bytes.size();
    }

    void awaitReceived() {
        while (session->port().Counters().received < m_sent)
            std::this_thread::yield();
    }

private:
    const std::filesystem::path m_folder = std::filesystem::path(testing::TempDir()) /
                                           ("vkcomm_plugged_" + std::to_string(std::random_device()()));
    std::uint64_t m_sent = 0;

protected:
    const std::filesystem::path path = m_folder / "receiver";
    std::unique_ptr<ByteServer> server;
    StillClock still;
};

TEST_F(PluggedSession, GivesTheLastRecordsBeforeALossAndComesBack) {
    open("serial:" + path.string() + "?baud=9600");
    send(kGga + kGga + kGga);
    pumpUntil([this] { return records.size() == 3; });
    send(kGga + kGga.substr(0, kGga.size() - 1));  // the last one without its LF
    awaitReceived();
    unplug();
    pumpUntilTold(SessionNotice::kLost);
    EXPECT_THAT(records, ElementsAre(kGga, kGga, kGga, kGga, kGga));
    EXPECT_THAT(texts.back(), HasSubstr(path.string()));
    EXPECT_FALSE(session->isOpen());
    pumpUntilTold(SessionNotice::kNotOpened);
    plugIn();
    pumpUntilTold(SessionNotice::kOpened);
    send(kGga);
    pumpUntil([this] { return records.size() == 6; });
    EXPECT_EQ(session->reopened(), 1U);
}

// The line has not paused, however often the host looks.
TEST_F(PluggedSession, AHostThatOnlyLooksEndsNoLineBeforeItsLf) {
    options.clock = &still;
    options.stream.family = findFamily("nmea");
    open("serial:" + path.string() + "?baud=9600");
    const auto look = [this] {
        awaitReceived();
        for (int times = 0; times < 20; ++times)
            pump(0ms);
    };
    send(kGga.substr(0, kGga.size() - 1));
    look();
    EXPECT_TRUE(records.empty());
    send("\n" + kGga.substr(0, kGga.size() - 1));
    look();
    EXPECT_THAT(records, ElementsAre(kGga));
    still.time += 50ms;
    look();
    EXPECT_THAT(records, ElementsAre(kGga, kGga)) << "a line that pauses has ended";
    EXPECT_EQ(session->stream().counters().dropped, 0U);
}

TEST_F(PluggedSession, AFileThatCannotBeReadToItsEndIsNotDone) {
    open("file:/proc/self/mem?speed=max");  // opens, and fails to read
    pumpUntilTold(SessionNotice::kLost);
    EXPECT_FALSE(session->isFileDone());
    EXPECT_FALSE(pump());
}

TEST_F(SessionFaults, NeedsARateForFamiliesThatNothingTellsFromNoise) {
    options.stream.family = findFamily("tsip");
    std::string error;
    ReceiverSession hunting(*parsePortUrl("com:7", error), options);
    EXPECT_FALSE(hunting.open(error));
    EXPECT_THAT(error, HasSubstr("com:7?baud=9600"));
    openWith({data("\x10\x41\x10\x03")});
    pumpUntil([this] { return !records.empty(); });  // without waiting for more to judge by
}

}  // namespace
}  // namespace vkcomm
