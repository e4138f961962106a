// Closing: every state of the port by every thread that may call. docs/ports.md has the same table in words.
#include <filesystem>

#include "tests/ports/port_fixture.h"

namespace vkcomm {
namespace {

using testing::ElementsAre;
using Calls = std::vector<std::string>;

enum class Caller { kHost, kHostTwice, kDestructor, kOtherThread, kTwoThreads };

class Closing : public PortTest {
protected:
    Closing() { renew(); }

    void renew() {
        user = std::make_unique<CMySerialPort>();
        useFakes(*user);
        devices.next.clear();
        device = devices.add();
        device->passes = {block()};
    }

    void start() {
        ASSERT_EQ(user->InitPort(&owner, kPort, 9600), 1);
        ASSERT_EQ(user->StartMonitoring(), 1);
    }

    void startWriting(WriteStep::Kind kind, int delay) {
        device->writes = {{kind, 0}};
        if (!user->bWriterRunning()) start();
        for (const char* text : {"one", "two"})
            user->WriteToPort(bytesOf(text).data(), 3, delay, 0, 1);
        device->awaitWriteBegun();
        if (delay > 0) clock.awaitWaiter();
    }

    void startStuck() {
        device->isDeaf = true;
        start();
        device->awaitBlocked();
    }

    void startPlaying(const std::string& bytes) {
        files.readable[L"./data.bin"] = bytes;
        user->EnableVirtualPort(true);
        start();
    }

    void close(Caller caller) {
        switch (caller) {
        case Caller::kHostTwice: user->vClosePort(); [[fallthrough]];
        case Caller::kHost: user->vClosePort(); break;
        case Caller::kOtherThread: std::thread([this] { user->vClosePort(); }).join(); break;
        case Caller::kTwoThreads: {
            std::thread other([this] { user->vClosePort(); });
            user->vClosePort();
            other.join();
            break;
        }
        default: user.reset();
        }
    }

    void awaitLeft() const {
        while (user && user->Counters().threadsLeft > 0)
            std::this_thread::yield();
    }

    std::unique_ptr<CMySerialPort> user;
    std::shared_ptr<FakeDevice> device;
};

TEST_F(Closing, EveryStateByEveryThreadOfTheHost) {
    struct {
        const char* name;
        std::function<void()> enter;
        int waits;        // slices of 200 ms that the close waits in vain
        int threadsLeft;  // when it returns
    } const states[] = {
        {"never opened", [] {}, 0, 0},
        {"open failed",
         [this] {
             device->failing = {"open"};
             EXPECT_EQ(user->InitPort(&owner, kPort, 9600), 0);
         },
         0, 0},
        {"open, not monitored", [this] { EXPECT_EQ(user->InitPort(&owner, kPort, 9600), 1); }, 0, 0},
        {"reader waits for an event",
         [this] {
             start();
             device->awaitBlocked();
         },
         0, 0},
        {"reader sleeps",
         [this] {
             device->passes = {data(""), block()};
             start();
             clock.awaitWaiter();
         },
         0, 0},
        {"writer in a delay", [this] { startWriting(WriteStep::kWhole, 60000); }, 0, 0},
        {"writer writes", [this] { startWriting(WriteStep::kBlock, 0); }, 10, 0},
        {"driver holds the reader", [this] { startStuck(); }, 10, 1},
        {"driver holds both",
         [this] {
             startStuck();
             startWriting(WriteStep::kBlock, 0);
         },
         21, 2},
        {"playing a file",
         [this] {
             startPlaying("???");
             clock.awaitWaiter();
         },
         0, 0},
        {"file played",
         [this] {
             startPlaying("");
             while (user->bReaderRunning())
                 std::this_thread::yield();
         },
         0, 0},
    };

    for (const Caller caller :
         {Caller::kHost, Caller::kHostTwice, Caller::kDestructor, Caller::kOtherThread, Caller::kTwoThreads})
        for (const auto& each : states) {
            SCOPED_TRACE(std::string(each.name) + ", caller " + std::to_string(static_cast<int>(caller)));
            renew();
            each.enter();
            const std::size_t opening = device->calls().size();
            const bool hadDevice = opening > 1;
            auto closed = std::async(std::launch::async, [&] { close(caller); });
            if (each.threadsLeft == 1) device->awaitClosed();  // the writer has gone until then
            EXPECT_EQ(clock.passNext(each.waits),
                      std::vector<int>(static_cast<std::size_t>(each.waits), 200));
            closed.get();
            EXPECT_EQ(device->calls().size(), opening + (hadDevice ? 3 : 0));
            if (user) {
                EXPECT_EQ(user->Counters().threadsLeft, each.threadsLeft);
                EXPECT_EQ(user->nQueueDepth(), 0);
                EXPECT_EQ(user->bIsValid(), 0);
                EXPECT_EQ(user->StartMonitoring(), 0);
            }
            device->free();  // what the driver held goes on now, on whatever is left
            awaitLeft();
        }
}

// The device may be waiting for the other side, or take its time whatever is done, and open in the end.
TEST_F(Closing, WhileAnotherThreadOpens) {
    for (const Caller caller : {Caller::kHost, Caller::kOtherThread, Caller::kTwoThreads})
        for (const bool isDeaf : {false, true}) {
            SCOPED_TRACE((isDeaf ? "deaf, caller " : "caller ") + std::to_string(static_cast<int>(caller)));
            renew();
            device->isOpeningLong = true;
            device->isDeaf = isDeaf;
            auto opened = std::async(std::launch::async, [&] { return user->InitPort(&owner, kPort, 9600); });
            device->awaitBlocked();
            close(caller);
            EXPECT_EQ(device->calls().back(), "close");
            device->free();
            EXPECT_EQ(opened.get(), 0);
            EXPECT_EQ(user->bIsValid(), 0);
            EXPECT_EQ(user->StartMonitoring(), 0);
            EXPECT_EQ(device->calls().size(), isDeaf ? 3U : 2U) << "what opened after all is closed again";
        }
}

struct HandlerCase {
    const char* name;
    unsigned int message;
    unsigned int (*loop)(void*);  // to run on a thread of the test; null: monitored
    bool deletes;
};

// The owner handles the message on the port's own thread, and closes or deletes the port there.
TEST_F(Closing, FromAMessageHandler) {
    const HandlerCase cases[] = {
        {"reader closes", WM_PORT_DATA, nullptr, false},
        {"writer closes", WM_PORT_WRITE_ERROR, nullptr, false},
        {"reader deletes", WM_PORT_DATA, &CSerialPort::CommThread, true},
        {"writer deletes", WM_PORT_WRITE_ERROR, &CSerialPort::WriteThread, true},
    };
    for (const HandlerCase& each : cases) {
        SCOPED_TRACE(each.name);
        renew();
        device->passes = {data("abc"), block()};
        device->writes = {{WriteStep::kFail, 0}};
        FakeOwner messages;
        std::atomic<bool> isHandled = false;
        messages.handler = [&](const Posted& message) {
            if (message.id != each.message) return;
            if (each.deletes) {
                user.reset();
            } else {
                user->vClosePort();
                EXPECT_EQ(user->bIsValid(), 0);
            }
            isHandled = true;
        };
        ASSERT_EQ(user->InitPort(&messages, kPort, 9600), 1);
        user->AddToPort(bytesOf("x").data(), 1, 0, 0);
        user->vSetWriteEvent();
        if (each.loop) {
            std::thread(each.loop, user.get()).join();
        } else {
            user->StartMonitoring();  // 0 when the handler was faster
        }
        while (!isHandled)
            std::this_thread::yield();
        awaitLeft();
        EXPECT_EQ(device->calls().back(), "close");
    }
}

TEST_F(Closing, AHandlerReopensItsPort) {
    FakeOwner messages;
    std::promise<void> handled;
    device->passes = {{kEventReceived, "", 1}};
    deviceWith({data("fresh")});
    messages.handler = [&](const Posted& message) {
        if (message.id != WM_PORT_READ_ERROR) return;
        EXPECT_EQ(user->InitPort(&messages, kPort, 9600), 1);
        EXPECT_EQ(user->StartMonitoring(), 1);
        handled.set_value();
    };
    ASSERT_EQ(user->InitPort(&messages, kPort, 9600), 1);
    user->StartMonitoring();
    handled.get_future().wait();
    messages.await(2);
    EXPECT_EQ(user->Decoder().iBytesInRxBuf(), 5);
    user->vClosePort();
    awaitLeft();
}

TEST_F(Closing, HostAndHandlerAtOnce) {
    device->passes = {data("abc"), block()};
    owner.handler = [&](const Posted&) { user->vClosePort(); };
    ASSERT_EQ(user->InitPort(&owner, kPort, 9600), 1);
    user->StartMonitoring();
    owner.await(1);
    user->vClosePort();
    EXPECT_EQ(user->bIsValid(), 0);
    EXPECT_EQ(device->calls().back(), "close");
    awaitLeft();
}

TEST_F(Closing, WaitsForAMessageThatIsBeingPosted) {
    device->passes = {data("abc"), block()};
    std::promise<void> posting, released;
    owner.handler = [&](const Posted&) {
        posting.set_value();
        released.get_future().wait();
    };
    start();
    posting.get_future().wait();
    auto closed = std::async(std::launch::async, [&] { user->vClosePort(); });
    clock.passNext(10);
    EXPECT_EQ(closed.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    released.set_value();
    closed.get();
    awaitLeft();
}

// The host's own thread writes, and handles the failure there, while another thread closes.
TEST_F(Closing, AHandlerOfAnyThreadMayCloseMeanwhile) {
    device->writes = {{WriteStep::kFail, 0}};
    std::future<void> closed;
    owner.handler = [&](const Posted&) {
        closed = std::async(std::launch::async, [&] { user->vClosePort(); });
        device->awaitClosed();
        user->vClosePort();
    };
    ASSERT_EQ(user->InitPort(&owner, kPort, 9600), 1);
    user->AddToPort(bytesOf("x").data(), 1, 0, 0);
    CSerialPort::WriteChar(user.get());
    closed.get();
    EXPECT_EQ(user->bIsValid(), 0);
}

TEST_F(Closing, ALateReaderReachesNothingOfThePort) {
    device->passes = {{kEventReceived, "late", {}, true}};
    startStuck();
    auto closed = std::async(std::launch::async, [&] { user->vClosePort(); });
    device->awaitClosed();
    clock.passNext(10);
    closed.get();
    device->free();
    awaitLeft();
    EXPECT_EQ(user->Decoder().iBytesInRxBuf(), 0);
    EXPECT_TRUE(owner.posted().empty());
}

TEST_F(Closing, TakesItsMessagesBack) {
    start();
    const auto sender = reinterpret_cast<std::intptr_t>(static_cast<CSerialPort*>(user.get()));
    user->vClosePort();
    EXPECT_THAT(owner.forgotten(),
                ElementsAre(Posted{WM_PORT_DATA, 0, kPort}, Posted{WM_PORT_READ_ERROR, 0, sender},
                            Posted{WM_PORT_WRITE_ERROR, 0, sender}));
}

TEST_F(Closing, LoopsOnTheHostsOwnThreads) {
    user->vClosePort();
    device->passes = {data("abc"), block()};
    ASSERT_EQ(user->InitPort(&owner, kPort, 9600), 1);
    auto reader = std::async(std::launch::async, [&] { return CSerialPort::CommThread(user.get()); });
    auto writer = std::async(std::launch::async, [&] { return CSerialPort::WriteThread(user.get()); });
    owner.await(1);
    while (!user->bWriterRunning())
        std::this_thread::yield();
    user->vClosePort();
    EXPECT_EQ(reader.get(), 0u);
    EXPECT_EQ(writer.get(), 100u);
}

std::size_t entriesOf(const char* folder) {
    const std::filesystem::directory_iterator entries(folder);
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

TEST_F(Closing, TwoHundredTimesWithoutALeak) {
    const auto cycle = [&] {
        renew();
        device->passes = {data("abc"), block()};
        start();
        user->WriteToPort(bytesOf("x").data(), 1, 5, 0, 1);
        user->vClosePort();
        EXPECT_EQ(device.use_count(), 1) << "somebody still holds the device";
    };
    cycle();
    const std::size_t threads = entriesOf("/proc/self/task");
    const std::size_t descriptors = entriesOf("/proc/self/fd");
    for (int i = 0; i < 200; ++i)
        cycle();
    // the system may take a moment to clear away the last threads and what they held
    EXPECT_LT(entriesOf("/proc/self/task"), threads + 20);
    EXPECT_LT(entriesOf("/proc/self/fd"), descriptors + 20);
}

}  // namespace
}  // namespace vkcomm
