// Serial ports of POSIX systems: terminals, who may open them, and what opening costs.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <grp.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/platform/far_end.h"
#include "tests/platform/scratch_folder.h"
#include "vkcomm/platform/comm_device.h"

namespace vkcomm {
namespace {

using namespace test;
using testing::HasSubstr;

using EveryDevice = testing::TestWithParam<FarKind>;

TEST_P(EveryDevice, OpensAndClosesWithoutLeavingAnythingOpen) {
    const auto server = makeFarEnd(GetParam());
    auto device = openDevice(server->address());
    const auto openFiles = [] {
        const std::filesystem::directory_iterator files("/proc/self/fd");
        return std::distance(begin(files), end(files));
    };
    device->close();
    device.reset();
    server->clients();
    Bytes buffer(1);
    server->read(buffer);
    const auto before = openFiles();
    for (int cycle = 0; cycle < 200; ++cycle) {
        const auto other = openDevice(server->address());
        waitUntil([&] { return server->clients() >= 1; });
        other->close();
        waitUntil([&] { return server->read(buffer) == 0 && server->clients() == 0; });
    }
    EXPECT_EQ(openFiles(), before);
}

INSTANTIATE_TEST_SUITE_P(OnPosix, EveryDevice, testing::ValuesIn(kFarKinds),
                         [](const auto& kind) { return kind.param == FarKind::kPty ? "Pty" : "Tcp"; });

TEST(TtyDevice, TakesEveryRateAndNothingElse) {
    const auto server = makeFarEnd(FarKind::kPty);
    const auto device = openDevice(server->address());
    CommState state;
    ASSERT_TRUE(device->getState(state));
    for (const std::uint32_t baud : {300u, 600u, 1200u, 2400u, 4800u, 9600u, 19200u, 38400u, 57600u, 115200u,
                                     230400u, 460800u, 921600u}) {
        state.BaudRate = baud;
        EXPECT_TRUE(device->setState(state)) << baud;
        CommState now;
        EXPECT_TRUE(device->getState(now));
        EXPECT_EQ(now, state);
    }
    CommState bad = state;
    bad.BaudRate = 12345;
    EXPECT_FALSE(device->setState(bad));
    bad = state;
    bad.ByteSize = 9;
    EXPECT_FALSE(device->setState(bad));
    EXPECT_THAT(device->lastError().message(), HasSubstr("cannot make these settings of COM"));
    EXPECT_TRUE(device->getState(bad));
    EXPECT_EQ(bad, state);
}

TEST(TtyDevice, PurgeDiscardsWhatHasArrived) {
    const auto server = makeFarEnd(FarKind::kPty);
    const auto device = openDevice(server->address());
    server->write(everyByte(5));
    EXPECT_EQ(readFromDevice(*device, 1).size(), 5u);
    server->write(everyByte(5));
    std::uint32_t word = 0;
    ASSERT_TRUE(device->waitForEvent(word));
    EXPECT_TRUE(device->purge(kPurgeClearRead));
    EXPECT_TRUE(device->bytesQueued(word));
    EXPECT_EQ(word, 0u);
}

TEST(TtyDevice, HasBreaksButNoBluetoothDriver) {
    const auto server = makeFarEnd(FarKind::kPty);
    const auto device = openDevice(server->address());
    std::uint32_t outcome = 9;
    EXPECT_TRUE(device->setBreak());
    EXPECT_TRUE(device->clearBreak());
    EXPECT_FALSE(device->control(kControlWait, nullptr, 0, outcome));
    EXPECT_EQ(outcome, 0u);
}

// Rights count only for those who are not the superuser.
class AsNobody {
public:
    AsNobody() : m_was(::geteuid()) { EXPECT_EQ(::seteuid(m_was == 0 ? 65534 : m_was), 0); }

    ~AsNobody() { EXPECT_EQ(::seteuid(m_was), 0); }

private:
    const uid_t m_was;
};

// Why a place cannot be opened, as the user sees it, with the number in front.
std::string refusalOf(const std::wstring& name) {
    const auto device = systemCommDevices().make();
    if (device->open(name, 0)) return "0 opened";
    EXPECT_NE(device->lastError().code, 0);
    return std::to_string(device->openError()) + " " + device->lastError().message();
}

TEST(OpeningADevice, SaysWhichAndWhatToDo) {
    const ScratchFolder folder;
    folder.write("file", "no port");
    const auto closedPort = makeFarEnd(FarKind::kTcp)->address();

    portMap().map(77, "/dev/ttyNone7");

    struct Row {
        std::wstring name;
        const char* refusal;
    };

    const Row rows[] = {
        {L"COM77:", "2 cannot open COM77 (/dev/ttyNone7): No such file or directory; is it plugged in"},
        {comName(folder.path("file")), "it is no serial port"},
        {comName(folder.path("")), "it is no serial port"},
        {comName(closedPort), "Connection refused; is the receiver switched on"},
        {comName("tcp://no..host:5000"), "is the name right?"},
        {comName("tcp://127.0.0.1"), "2 cannot open COM"},
        {comName("bt:00:11:22:33:44"), "there is no port of that name"},
        {L"COM0:", "there is no port of that name"},
        {L"LPT1:", "2 cannot open LPT1: there is no port of that name"},
        {L"COM99999999999:", "there is no port of that name"},
    };
    for (const Row& row : rows)
        EXPECT_THAT(refusalOf(row.name), HasSubstr(row.refusal));
}

TEST(OpeningADevice, IsForOneAtATime) {
    const auto server = makeFarEnd(FarKind::kPty);
    const std::wstring name = comName(server->address());
    const auto device = openDevice(server->address());
    EXPECT_THAT(refusalOf(name), HasSubstr("32 cannot open COM"));
    EXPECT_THAT(refusalOf(name), HasSubstr("another program holds it; 'fuser " + server->address() + "'"));
    device->close();
    EXPECT_EQ(refusalOf(name), "0 opened");

    const int other = ::open(server->address().c_str(), O_RDWR | O_NOCTTY);
    ASSERT_EQ(::ioctl(other, TIOCEXCL), 0);
    EXPECT_THAT(refusalOf(name), HasSubstr("32 cannot open COM")) << "held by a program with other locks";
    ::close(other);
}

TEST(OpeningADevice, WithoutTheRightNamesTheGroup) {
    const auto server = makeFarEnd(FarKind::kPty);
    const std::string path = server->address();
    const group* dialout = ::getgrnam("dialout");
    const bool mayGive = ::geteuid() == 0 && dialout && ::chown(path.c_str(), 0, dialout->gr_gid) == 0;
    ASSERT_EQ(::chmod(path.c_str(), mayGive ? 0660 : 0), 0);
    const AsNobody nobody;
    EXPECT_THAT(refusalOf(comName(path)), HasSubstr("5 cannot open COM"));
    EXPECT_THAT(refusalOf(comName(path)),
                HasSubstr(mayGive ? "join the group dialout (sudo usermod -aG dialout"
                                  : "its owner must give you the right"));
}

TEST(OpeningADevice, BluetoothNeedsAKernelThatHasIt) {
    const std::string refusal = refusalOf(L"STR1:");
    EXPECT_THAT(refusal, testing::AnyOf("0 opened", HasSubstr("this system has no Bluetooth")));
}

}  // namespace
}  // namespace vkcomm
