// Opening: the order of the calls to the device, and which failures count.
#include "tests/ports/port_fixture.h"

namespace vkcomm {
namespace {

using testing::ElementsAre;
using Calls = std::vector<std::string>;

const std::string kOpen = "open COM5: 268435456";
const std::string kTimeouts = "setTimeouts 4294967295 0 0 10 1000";
const std::string kMask = "setEventMask 1";
const std::string kQueues = "setQueueSizes 8192 8192";
const std::string kState = "setState 9600 8 0 0 1 0 0 0 0 0";

struct OpenCase {
    const char* name;
    int openNumber;
    std::set<std::string> failing;
    int result;
    Calls calls;
};

class OpenPort : public PortTest {};

TEST_F(OpenPort, CallsInOrderAndForgivesAPortThatWasOpen) {
    const Calls whole = {kOpen, "getTimeouts", kTimeouts, kMask, kQueues, "getState", kState, "purge 15"};
    const Calls shared = {kOpen, "getTimeouts", kTimeouts, kMask, "getState", kState, "purge 15"};
    const OpenCase cases[] = {
        {"plain", 0, {}, 1, whole},
        {"cannot be opened", 2, {"open"}, 0, {kOpen}},
        {"time-outs fail", 0, {"setTimeouts"}, 0, {kOpen, "getTimeouts", kTimeouts}},
        {"mask fails", 0, {"setEventMask"}, 0, {kOpen, "getTimeouts", kTimeouts, kMask}},
        {"state fails",
         0,
         {"setState"},
         0,
         {kOpen, "getTimeouts", kTimeouts, kMask, kQueues, "getState", kState}},
        {"what does not count fails", 0, {"getTimeouts", "setQueueSizes", "getState", "purge"}, 1, whole},
        {"already open", kErrorAlreadyExists, {}, 1, shared},
        {"already open, nothing taken",
         kErrorAlreadyExists,
         {"setTimeouts", "setEventMask", "setState", "purge"},
         1,
         shared},
    };
    for (const OpenCase& each : cases) {
        const auto device = devices.add();
        device->openNumber = each.openNumber;
        device->failing = each.failing;
        EXPECT_EQ(port.InitPort(&owner, kPort, 9600), each.result) << each.name;
        EXPECT_EQ(device->calls(), each.calls) << each.name;
        EXPECT_EQ(port.LastError().code != 0, each.result == 0) << each.name;
        const bool isOpen = each.calls.size() > 1;
        EXPECT_EQ(port.bIsValid(), isOpen) << each.name << ": a refused setting leaves the handle open";
        EXPECT_EQ(port.nOpenError(), isOpen ? 0 : each.openNumber) << each.name;
        port.vClosePort();
        EXPECT_EQ(device->calls().size(), each.calls.size() + (isOpen ? 3 : 0)) << each.name;
    }
}

TEST_F(OpenPort, OpeningAgainClosesFirst) {
    const auto first = deviceWith({});
    const auto second = deviceWith({});
    open();
    open();
    const Calls calls = first->calls();
    EXPECT_THAT(Calls(calls.end() - 3, calls.end()), ElementsAre("setEventMask 0", "purge 12", "close"));
    EXPECT_EQ(second->calls().back(), "purge 15");
}

struct BluetoothCase {
    const char* name;
    bool hasAddress;
    std::deque<std::uint32_t> connects;
    int result;
    Calls calls;
};

TEST_F(OpenPort, BluetoothConnectsOnceMoreBehindAReset) {
    const std::string connect = "control 3 address 6";
    const std::string reset = "control 7 address 6";
    const BluetoothCase cases[] = {
        {"as it is connected", false, {}, 1, {"open STR1: 0"}},
        {"connects", true, {0}, 1, {"open STR1: 0", connect}},
        {"connects behind a reset", true, {1, 7}, 1, {"open STR1: 0", connect, reset, connect}},
        {"does not connect", true, {1, 1}, 0, {"open STR1: 0", connect, reset, connect}},
    };
    const unsigned char address[6] = {1, 2, 3, 4, 5, 6};
    for (const BluetoothCase& each : cases) {
        const auto device = devices.add();
        device->outcomes[kControlConnect] = each.connects;
        EXPECT_EQ(port.InitBTPort(&owner, each.hasAddress ? address : nullptr), each.result) << each.name;
        EXPECT_EQ(device->calls(), each.calls) << each.name;
        EXPECT_EQ(port.uPortNumber(), 128u);
        port.vResetBTPort();
        EXPECT_EQ(device->calls().back(), "control 7 null 6") << each.name;
    }
}

TEST_F(OpenPort, ChangesTheRateOnlyWhenItDiffers) {
    const auto device = deviceWith({});
    open();
    const unsigned char bytes[] = {'$', 'G'};
    port.Decoder().Set(bytes, 2);
    EXPECT_EQ(port.bChangeBaudrate(9600), 0);
    EXPECT_EQ(port.Decoder().iBytesInRxBuf(), 0);
    EXPECT_EQ(device->calls().back(), "getState");
    EXPECT_EQ(port.bChangeBaudrate(115200), 1);
    EXPECT_EQ(device->calls().back(), "setState 115200 8 0 0 1 0 0 0 0 0");
    EXPECT_EQ(port.strGetBaud(), L"115200");
    device->failing = {"getState"};
    EXPECT_EQ(port.bChangeBaudrate(9600), 0);
    EXPECT_EQ(port.GetDCB().BaudRate, 115200u);
}

TEST_F(OpenPort, BreaksHaveTheirTimes) {
    const auto device = deviceWith({});
    port.vBreakCmd();
    EXPECT_TRUE(clock.sleeps.empty()) << "closed";
    open();
    const std::size_t before = device->calls().size();
    port.vBreakCmd();
    EXPECT_THAT(clock.sleeps, ElementsAre(260, 1500, 260, 100));
    for (const int action : {0, 7, 1, 8, 2})
        port.vSwitchCommBreak(static_cast<unsigned char>(action), 0);
    const Calls calls = device->calls();
    EXPECT_THAT(Calls(calls.begin() + static_cast<std::ptrdiff_t>(before), calls.end()),
                ElementsAre("setBreak", "clearBreak", "setBreak", "clearBreak", "setBreak", "setBreak",
                            "clearBreak", "clearBreak"));
}

}  // namespace
}  // namespace vkcomm
