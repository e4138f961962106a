// Real serial ports with an echo at the far end. VKCOMM_TEST_COM names two of them ("3 4"); the far end of the first
// sends behind "rate?" the rate of the line that it sees, that of the second goes away as soon as it receives anything.
// Without the name there is nothing to test on.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <iterator>
#include <sstream>
#include <thread>

#include "tests/platform/far_end.h"
#include "vkcomm/platform/comm_device.h"
#include "vkcomm/platform/serial_ports.h"

namespace vkcomm {
namespace {

using namespace test;
using namespace std::chrono_literals;
using testing::HasSubstr;

// Time for a thread that begins to wait to get there: none, and more than any needs that is not held up.
constexpr std::chrono::milliseconds kDelays[] = {0ms, 5ms, 200ms};

class SerialLine : public testing::Test {
protected:
    unsigned int echoing = 0, leaving = 0;
    std::shared_ptr<CommDevice> device;

    void SetUp() override {
        const char* names = std::getenv("VKCOMM_TEST_COM");
        if (!names) GTEST_SKIP() << "VKCOMM_TEST_COM names no ports";
        std::istringstream(names) >> echoing >> leaving;
        device = openDevice("COM" + std::to_string(echoing));
    }

    static void write(CommDevice& to, const Bytes& bytes) {
        std::size_t written = 0;
        EXPECT_TRUE(to.write(bytes, written)) << to.lastError().message();
        EXPECT_EQ(written, bytes.size());
    }

    // A driver may also wake its waiter without an event, or for bytes that are read already.
    static Bytes read(CommDevice& from, std::size_t size) {
        Bytes bytes;
        while (bytes.size() < size) {
            std::uint32_t events = 0;
            EXPECT_TRUE(from.waitForEvent(events)) << from.lastError().message();
            Bytes piece(4096);
            piece.resize(from.read(piece));
            bytes.insert(bytes.end(), piece.begin(), piece.end());
        }
        return bytes;
    }
};

TEST_F(SerialLine, CarriesEveryByteWhileAnotherThreadWaits) {
    const Bytes sent = everyByte(20'000);
    std::thread writer([&] {
        for (std::size_t at = 0; at < sent.size(); at += 500)
            write(*device, Bytes(sent.begin() + static_cast<std::ptrdiff_t>(at),
                                 sent.begin() + static_cast<std::ptrdiff_t>(at + 500)));
    });
    EXPECT_EQ(read(*device, sent.size()), sent);
    writer.join();
}

TEST_F(SerialLine, AnEmptyMaskReleasesTheWaiterAndLaterWaitsWork) {
    for (const auto delay : kDelays) {
        std::atomic<bool> begins{false};
        std::thread waiter([&] {
            std::uint32_t events = 99;
            begins = true;
            EXPECT_TRUE(device->waitForEvent(events)) << device->lastError().message();
            EXPECT_EQ(events, 0u);
        });
        waitUntil([&] { return begins.load(); });
        std::this_thread::sleep_for(delay);
        EXPECT_TRUE(device->setEventMask(0));
        waiter.join();
        EXPECT_TRUE(device->setEventMask(kEventReceived));
        write(*device, everyByte(3));
        EXPECT_EQ(read(*device, 3), everyByte(3));
    }
}

TEST_F(SerialLine, CloseReleasesTheWaiter) {
    for (const auto delay : kDelays) {
        std::atomic<bool> begins{false};
        std::thread waiter([&] {
            std::uint32_t events = 0;
            begins = true;
            while (device->waitForEvent(events)) {
            }
        });
        waitUntil([&] { return begins.load(); });
        std::this_thread::sleep_for(delay);
        device->close();
        waiter.join();
        EXPECT_THAT(device->lastError().message(), HasSubstr("it is closed"));
        device = openDevice("COM" + std::to_string(echoing));  // which is free again
    }
}

TEST_F(SerialLine, KeepsItsSettingsAndGivesThemToTheDriver) {
    CommState state;
    ASSERT_TRUE(device->getState(state));
    EXPECT_EQ(state.BaudRate, 115200u);
    for (const std::uint32_t baud : {4800u, 9600u, 38400u, 57600u, 115200u}) {
        state.BaudRate = baud;
        EXPECT_TRUE(device->setState(state)) << baud;
        CommState now;
        EXPECT_TRUE(device->getState(now));
        EXPECT_EQ(now.BaudRate, baud);
        EXPECT_EQ(now.ByteSize, 8);
        const std::string rate = "rate?" + std::to_string(baud) + "\n";
        write(*device, Bytes(rate.begin(), rate.begin() + 5));
        Bytes told;
        while (told.empty() || told.back() != '\n')
            std::ranges::copy(read(*device, 1), std::back_inserter(told));
        EXPECT_EQ(std::string(told.begin(), told.end()), rate);
    }
    CommTimeouts timeouts;
    EXPECT_TRUE(device->getTimeouts(timeouts));
    EXPECT_EQ(timeouts, (CommTimeouts{CommTimeouts::kReturnAtOnce, 0, 0, 10, 1000}));
    EXPECT_TRUE(device->setQueueSizes(8192, 8192));
}

TEST_F(SerialLine, HasBreaksButNoBluetoothDriver) {
    std::uint32_t outcome = 9;
    EXPECT_TRUE(device->setBreak()) << device->lastError().message();
    EXPECT_TRUE(device->clearBreak()) << device->lastError().message();
    EXPECT_FALSE(device->control(kControlWait, nullptr, 0, outcome));
    EXPECT_EQ(outcome, 0u);
}

TEST_F(SerialLine, IsForOneAtATime) {
    const auto second = systemCommDevices().make();
    if (second->open(comName("COM" + std::to_string(echoing)), 0)) GTEST_SKIP() << "Wine shares ports";
    EXPECT_THAT(second->openError(), testing::AnyOf(kErrorAccessDenied, kErrorBusy));
    EXPECT_THAT(second->lastError().message(), HasSubstr("another program holds it"));
}

TEST_F(SerialLine, IsListed) {
    EXPECT_THAT(listSerialPorts(),
                testing::Contains(testing::Field(&SerialPortInfo::path, "COM" + std::to_string(echoing))));
}

TEST_F(SerialLine, ThatVanishesIsSeenByTheReaderAndCanBeClosed) {
    const auto gone = openDevice("COM" + std::to_string(leaving));
    std::thread reader([&] {
        for (;;) {
            std::uint32_t events = 0, queued = 0;
            EXPECT_TRUE(gone->waitForEvent(events));
            EXPECT_TRUE(gone->bytesQueued(queued));
            Bytes buffer(255);
            if (events == kEventReceived && queued == 1 && gone->read(buffer) == 0) break;
        }
    });
    write(*gone, everyByte(1));
    reader.join();
    EXPECT_THAT(gone->lastError().message(), HasSubstr("the device has gone"));
    gone->close();
}

TEST(OpeningADevice, SaysWhichAndWhatToDo) {
    const std::string closedPort = makeFarEnd(FarKind::kTcp)->address();

    const struct {
        std::wstring name;
        const char* refusal;
    } rows[] = {
        {L"COM98:", "cannot open COM98: "},
        {L"COM98:", "is it plugged in"},
        {comName(closedPort), "is the receiver switched on"},
        {comName("tcp://no..host:5000"), "is the name right?"},
        {comName("tcp://127.0.0.1"), "there is no port of that name"},
        {comName("bt:00:11:22:33:44"), "there is no port of that name"},
        {L"COM0:", "there is no port of that name"},
        {L"LPT1:", "cannot open LPT1: there is no port of that name"},
    };

    for (const auto& row : rows) {
        const auto device = systemCommDevices().make();
        EXPECT_FALSE(device->open(row.name, 0));
        EXPECT_EQ(device->openError(), kErrorNotFound);
        EXPECT_THAT(device->lastError().message(), HasSubstr(row.refusal));
    }
}

}  // namespace
}  // namespace vkcomm
