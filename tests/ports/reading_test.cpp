// The three readers: what they hand on, what they post, how long they sleep.
#include "tests/ports/port_fixture.h"

namespace vkcomm {
namespace {

using testing::ElementsAre;

class Reading : public PortTest {};

struct PassCase {
    const char* name;
    std::deque<Pass> passes;
    std::vector<std::size_t> posted;  // bytes of the data messages; 0: a read error
    std::vector<int> sleeps;
    std::vector<std::size_t> reads;  // sizes asked for
};

TEST_F(Reading, ComPassesByEventWord) {
    const std::uint32_t kBoth = kEventReceived | 0x80;
    const std::string big(9000, 'x');
    const PassCase cases[] = {
        {"characters", {data("abc"), data("d")}, {3, 1}, {}, {3, 1}},
        {"released without characters", {{0, "", {}}}, {}, {200, 200}, {255}},
        {"released with characters", {{0, "ab", {}}}, {2}, {200}, {255}},
        {"nothing queued", {data("")}, {}, {100}, {}},
        {"queued but nothing read", {{kEventReceived, "", 1}}, {0}, {200}, {1}},
        {"characters and another event", {{kBoth, "ab", {}}}, {2}, {200}, {2}},
        {"another event alone", {{0x80, "ab", {}}}, {}, {200}, {}},
        {"more than the buffer", {data(big)}, {9000}, {}, {9000}},
        {"more than any driver holds", {{kEventReceived, "ab", 0xFFFFFFFF}}, {2}, {}, {1 << 20}},
    };
    for (const PassCase& each : cases) {
        FakeOwner messages;
        const auto device = deviceWith(each.passes);
        ASSERT_EQ(port.InitPort(&messages, kPort, 9600), 1);
        ASSERT_EQ(port.StartMonitoring(), 1);
        EXPECT_EQ(clock.passNext(static_cast<int>(each.sleeps.size())), each.sleeps) << each.name;
        device->awaitBlocked();
        std::vector<Posted> expected;
        for (const std::size_t bytes : each.posted)
            expected.push_back(bytes > 0 ? dataMessage(bytes) : errorMessage(WM_PORT_READ_ERROR));
        EXPECT_EQ(messages.posted(), expected) << each.name;
        EXPECT_EQ(device->reads(), each.reads) << each.name;
        port.vClosePort();
    }
}

TEST_F(Reading, RecordsComeOutOfTheDecoder) {
    deviceWith({data("$GPGGA,1"), data("23519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47\r\n")});
    open();
    owner.await(2);
    EXPECT_EQ(port.Decoder().Read(), CNOut::RETURN_COMPLETE);
    EXPECT_EQ(port.Decoder().Type(), LOG_NMEA);
    EXPECT_EQ(port.bDataReceived(), 1);
}

TEST_F(Reading, AHostThatNeverReadsLosesWhatDoesNotFitAndIsTold) {
    const auto device =
        deviceWith({data(std::string(16000, '?')), data(std::string(1000, '?')), data("abc")});
    open();
    device->awaitBlocked();
    EXPECT_EQ(port.Counters().received, 17003u);
    EXPECT_EQ(port.Counters().overflows, 1u);
    EXPECT_EQ(port.Counters().overflowBytes, 1000u);
    EXPECT_EQ(port.Decoder().iBytesInRxBuf(), 3);
    EXPECT_EQ(port.Decoder().Counters().dropped, 17000u);
}

// Two seconds, in steps of a millisecond; then the raw log has what the decoder has no room for.
TEST_F(Reading, AConnectionWaitsForAHostThatReadsButNotForOneThatDoesNot) {
    const std::string block(8000, '?');
    const auto device =
        deviceWith({data(block), data(block), data(block), data(block), data(block), data(block)});
    device->isConnection = true;
    ASSERT_EQ(port.InitPort(&owner, kPort, 9600), 1);
    port.BeginSaveRawData(L"raw", 0);
    ASSERT_EQ(port.StartMonitoring(), 1);
    clock.passNext(1000);
    EXPECT_EQ(port.Counters().received, 16000U);
    clock.awaitWaiter();
    std::vector<unsigned char> taken(8000);
    EXPECT_EQ(port.Decoder().eRead(taken.data(), 8000, 1), CNOut::RETURN_COMPLETE);
    clock.passNext();
    owner.await(3);
    EXPECT_EQ(port.Counters().overflows, 0U);

    clock.passNext(2000);
    device->awaitBlocked();
    EXPECT_EQ(port.Counters().overflows, 1U);
    EXPECT_EQ(port.Counters().received, 48000U);
    EXPECT_EQ(files.written.size(), 48000U);
}

static_assert(WM_PORT_DATA == 3041 && WM_PORT_READ_ERROR == 3045 && WM_PORT_WRITE_ERROR == 3046);

struct BluetoothPass {
    const char* name;
    std::deque<Pass> passes;
    std::vector<std::size_t> posted;
    std::vector<int> sleeps;
};

TEST_F(Reading, BluetoothPostsOncePerPassAndNeverSpins) {
    const BluetoothPass cases[] = {
        {"data in several reads", {{kEventDataReady, std::string(600, 'a'), {}}}, {600}, {}},
        {"another event", {{2, "abc", {}}}, {}, {}},
        {"ready but empty", {{kEventDataReady, "", {}}}, {}, {200}},
    };
    for (const BluetoothPass& each : cases) {
        FakeOwner messages;
        const auto device = deviceWith(each.passes);
        ASSERT_EQ(port.InitBTPort(&messages, nullptr), 1);
        port.BeginSaveRawData(L"raw", 0);
        ASSERT_EQ(port.StartMonitoring(), 1);
        EXPECT_EQ(clock.passNext(static_cast<int>(each.sleeps.size())), each.sleeps) << each.name;
        device->awaitBlocked();
        std::vector<Posted> expected;
        for (const std::size_t bytes : each.posted)
            expected.push_back({WM_PORT_DATA, bytes, 128});
        EXPECT_EQ(messages.posted(), expected) << each.name;
        EXPECT_EQ(files.written, "") << "the Bluetooth reader logs nothing";
        port.vClosePort();
    }
    unsigned long events = 9;
    EXPECT_EQ(port.WaitBTEvent(nullptr, &events), 0);
    EXPECT_THAT(clock.sleeps, ElementsAre(1000));
}

TEST_F(Reading, ALostBluetoothLinkIsReported) {
    devices.add();  // its script is at its end: every wait fails
    ASSERT_EQ(port.InitBTPort(&owner, nullptr), 1);
    ASSERT_EQ(port.StartMonitoring(), 1);
    EXPECT_THAT(clock.passNext(2), ElementsAre(200, 200));
    EXPECT_EQ(owner.await(2)[1].id, WM_PORT_READ_ERROR);
    EXPECT_EQ(owner.posted()[1].wParam, 128u);
}

struct PlaybackCase {
    const char* name;
    int speed;
    std::size_t fileSize;
    std::vector<std::size_t> posted;
    int ticks;
};

TEST_F(Reading, PlaybackByTicks) {
    const PlaybackCase cases[] = {
        {"empty", 200, 0, {}, 0},
        {"slowest", 5, 3, {1, 1, 1}, 3},
        {"senseless speed", -70, 2, {1, 1}, 2},
        {"default", 200, 45, {20, 20, 5}, 3},
        {"more than a piece in a tick", 90000, 12000, {8192, 808, 3000}, 2},
    };
    for (const PlaybackCase& each : cases) {
        FakeOwner messages;
        files.readable[L"play"] = std::string(each.fileSize, '?');
        port.SetVirtualPortFile(L"play");
        port.SetVirtualPortSpeed(each.speed);
        port.EnableVirtualPort(true);
        ASSERT_EQ(port.InitPort(&messages, kPort, 0), 1) << each.name;
        ASSERT_EQ(port.StartMonitoring(), 1) << each.name;
        while (port.bWriterRunning())  // it ends by itself: there is nothing to write to
            std::this_thread::yield();
        EXPECT_EQ(port.WriteToPort(bytesOf("x").data(), 1, 0, 0, 1), 0u);
        EXPECT_EQ(clock.passNext(each.ticks), std::vector<int>(static_cast<std::size_t>(each.ticks), 100));
        CSerialPort::VirtualPortThread(&port);  // no file for a second reader: returns at once
        port.vClosePort();
        std::vector<std::size_t> posted;
        for (const Posted& message : messages.posted())
            posted.push_back(message.wParam);
        EXPECT_EQ(posted, each.posted) << each.name;
    }
    port.SetVirtualPortFile(L"missing");
    EXPECT_EQ(port.InitPort(&owner, kPort, 0), 0);
    EXPECT_EQ(port.LastError().text, "missing");
}

TEST_F(Reading, PlaybackWaitsForRoom) {
    files.readable[L"./data.bin"] = std::string(20000, '?');
    port.SetVirtualPortSpeed(100000);
    port.EnableVirtualPort(true);
    ASSERT_EQ(port.InitPort(&owner, kPort, 0), 1);
    ASSERT_EQ(port.StartMonitoring(), 1);
    clock.passNext(5);  // one tick of 10000 bytes, then no room for 8192 more
    clock.awaitWaiter();
    EXPECT_EQ(port.Counters().received, 10000u);
    while (port.Decoder().Read() == CNOut::RETURN_COMPLETE)
        continue;
    port.Decoder().Clear();
    clock.passNext(2);
    owner.await(4);
    EXPECT_EQ(port.Counters().overflows, 0u);
    while (port.bReaderRunning())
        std::this_thread::yield();
    EXPECT_EQ(port.Counters().received, 20000u);
}

struct RawLogCase {
    const char* name;
    unsigned int flags;
    std::size_t diskSize;
    std::string written;
    std::uint64_t lost;
    std::vector<std::string> calls;
};

TEST_F(Reading, RawLogCopiesWhatComReceives) {
    const RawLogCase cases[] = {
        {"replaced", 0, 100, "abcdef", 0, {"open 4097"}},
        {"appended", 0x2000, 100, "abcdef", 0, {"open 12289", "seekToEnd"}},
        {"appended with another flag", 0x2040, 100, "abcdef", 0, {"open 12353"}},
        {"full disk", 0, 4, "abcd", 2, {"open 4097"}},
    };
    for (const RawLogCase& each : cases) {
        files.written.clear();
        files.calls.clear();
        files.diskSize = each.diskSize;
        const auto device = deviceWith({data("abc"), data("def")});
        ASSERT_EQ(port.InitPort(&owner, kPort, 9600), 1);
        port.BeginSaveRawData(L"raw", each.flags);
        ASSERT_EQ(port.StartMonitoring(), 1);
        device->awaitBlocked();
        port.vClosePort();
        EXPECT_EQ(files.written, each.written) << each.name;
        EXPECT_EQ(files.calls, each.calls) << each.name;
        EXPECT_EQ(port.RawLogState().lost, each.lost) << each.name;
        EXPECT_EQ(port.RawLogState().error.code, each.lost > 0 ? 28 : 0) << each.name;
        EXPECT_EQ(port.bFileOpened(), 0) << each.name;
    }
    EXPECT_EQ(port.Counters().received, 24u) << "reception goes on";
}

// On the real file system; a device that is always full, and what cannot be opened.
TEST(PortFiles, Faults) {
    CSerialPort port;
    port.EnableVirtualPort(true);
    for (const wchar_t* path : {L"/no/such/file", L"/"}) {
        port.SetVirtualPortFile(path);
        EXPECT_EQ(port.InitPort(nullptr, 1, 0), 0) << path;
        EXPECT_NE(port.LastError().code, 0);
        port.BeginSaveRawData(path, 0);
        EXPECT_EQ(port.bFileOpened(), 1) << "begun, though nothing is kept";
        EXPECT_NE(port.RawLogState().error.code, 0);
    }
    SystemError error;
    const auto file = systemByteFiles().open(L"/dev/full", kFileWrite, error);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->write(bytesOf("abc"), error), 0u);
    EXPECT_NE(error.code, 0);
}

}  // namespace
}  // namespace vkcomm
