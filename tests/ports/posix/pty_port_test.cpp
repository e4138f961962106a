// Ports on real pseudo-terminals: a disk that is full, a line that is stopped, and what many openings leave behind.
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <malloc.h>
#include <system_error>
#include <termios.h>
#include <unistd.h>

#include "tests/platform/far_end.h"
#include "vkcomm/platform/message_queue.h"
#include "vkcomm/ports/my_serial_port.h"

namespace vkcomm {
namespace {

using namespace test;
using namespace std::chrono_literals;

constexpr std::string_view kSentence =
    "$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47\r\n";

class PtyPort : public testing::Test {
protected:
    PtyPort() { renew(); }

    ~PtyPort() override { port.reset(); }

    // A port object, opened on the pseudo-terminal.
    void renew() {
        port = std::make_unique<CMySerialPort>();
        ASSERT_EQ(port->InitPort(&messages, portMap().numberOf(server->address()), 115200), 1);
        ASSERT_EQ(port->StartMonitoring(), 1);
        waitUntil([this] { return server->clients() == 1; });
    }

    Message awaitMessage() {
        for (;;)
            if (const auto message = messages.wait(1s)) return *message;
    }

    void expectRecord() {
        EXPECT_EQ(server->write(bytesOf(kSentence)), 0u);
        for (std::size_t count = 0; count < kSentence.size();) {
            const Message message = awaitMessage();
            EXPECT_EQ(message.id, WM_PORT_DATA);
            count += message.wParam;
        }
        EXPECT_EQ(port->Decoder().Read(), CNOut::RETURN_COMPLETE);
        EXPECT_EQ(port->Decoder().Size(), static_cast<int>(kSentence.size()));
    }

    void write(std::size_t size) {
        EXPECT_EQ(port->WriteToPort(everyByte(size).data(), size, 0, 0, 1), size);
    }

    MessageQueue messages;
    const std::unique_ptr<ByteServer> server = makeFarEnd(FarKind::kPty);
    std::unique_ptr<CMySerialPort> port;
};

TEST_F(PtyPort, GoesOnReceivingWhileTheDiskOfTheRawLogIsFull) {
    port->BeginSaveRawData(L"/dev/full", 0);
    for (std::uint64_t sentences = 1; sentences <= 3; ++sentences) {
        expectRecord();
        EXPECT_EQ(port->RawLogState().lost, sentences * kSentence.size());
    }
    EXPECT_EQ(port->RawLogState().written, 0u);
    EXPECT_EQ(port->RawLogState().error.code, static_cast<int>(std::errc::no_space_on_device));
}

class StoppedLine {
public:
    explicit StoppedLine(const std::string& path) : m_fd(::open(path.c_str(), O_RDWR | O_NOCTTY)) {
        EXPECT_EQ(::tcflow(m_fd, TCOOFF), 0);
    }

    ~StoppedLine() { ::close(m_fd); }

    void goOn() const { EXPECT_EQ(::tcflow(m_fd, TCOON), 0); }

private:
    const int m_fd;
};

TEST_F(PtyPort, AStoppedLineHoldsWritesUpUntilTheirTimeIsOverOrThePortCloses) {
    const StoppedLine line(server->address());
    write(1);
    EXPECT_EQ(awaitMessage().id, WM_PORT_WRITE_ERROR);
    EXPECT_EQ(port->LastError().code, static_cast<int>(std::errc::timed_out));

    line.goOn();
    write(300);
    EXPECT_EQ(readFromServer(*server, 300), everyByte(300));

    const StoppedLine again(server->address());
    write(4000);  // has time for most of a minute
    waitUntil([this] { return port->nQueueDepth() == 1; });
    port->vClosePort();
    EXPECT_EQ(port->bWriterRunning(), 0);
    EXPECT_EQ(port->Counters().threadsLeft, 0);
    EXPECT_EQ(port->Counters().written, 300u);
    EXPECT_EQ(messages.size(), 0u);
}

struct Holdings {
    std::ptrdiff_t descriptors;
    std::ptrdiff_t threads;
    std::size_t memory;  // in use by this thread's objects; sanitizers have another heap, and look themselves

    static std::ptrdiff_t entriesOf(const char* folder) {
        const std::filesystem::directory_iterator entries(folder);
        return std::distance(begin(entries), end(entries));
    }

    static Holdings now() {
        return {entriesOf("/proc/self/fd"), entriesOf("/proc/self/task"), ::mallinfo2().uordblks};
    }
};

TEST_F(PtyPort, TwoHundredOpeningsLeaveNothingBehind) {
    const auto cycle = [this] {
        expectRecord();
        write(10);
        EXPECT_EQ(readFromServer(*server, 10), everyByte(10));
        port.reset();
        renew();
    };
    for (int i = 0; i < 10; ++i)
        cycle();
    const Holdings before = Holdings::now();
    for (int i = 0; i < 200; ++i)
        cycle();
    const Holdings after = Holdings::now();
    EXPECT_LE(after.descriptors, before.descriptors);
    EXPECT_LE(after.threads, before.threads);
    EXPECT_LE(after.memory, before.memory + 200 * 16) << "not even a small block each time";
}

}  // namespace
}  // namespace vkcomm
