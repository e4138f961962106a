// The devices of the machine, over pseudo-terminals and loopback connections.
#include "vkcomm/platform/comm_device.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/far_end.h"

namespace vkcomm {
namespace {

using namespace test;
using testing::HasSubstr;

constexpr std::size_t kMoreThanAnySystemHolds = 20'000'000;

class Device : public testing::TestWithParam<FarKind> {
protected:
    std::unique_ptr<ByteServer> server = makeFarEnd(GetParam());
    std::shared_ptr<CommDevice> device = openDevice(server->address());

    void SetUp() override {
        waitUntil([this] { return server->clients() == 1; });
    }

    // A write that can never end by itself: nobody reads, and there is no time limit.
    std::thread writeForEver() {
        EXPECT_TRUE(device->setTimeouts({CommTimeouts::kReturnAtOnce, 0, 0, 0, 0}));
        return std::thread([this] {
            const Bytes bytes(kMoreThanAnySystemHolds);
            std::size_t written = 0;
            EXPECT_FALSE(device->write(bytes, written));
            EXPECT_LT(written, bytes.size());
        });
    }

    void expectGone() {
        for (int time = 0; time < 2; ++time) {
            std::uint32_t events = 0, queued = 0;
            Bytes buffer(255);
            EXPECT_TRUE(device->waitForEvent(events));
            EXPECT_EQ(events, kEventReceived);
            EXPECT_TRUE(device->bytesQueued(queued));
            EXPECT_EQ(queued, 1u);
            EXPECT_EQ(device->read(buffer), 0u);
            EXPECT_THAT(device->lastError().message(), HasSubstr("the device has gone"));
        }
    }
};

TEST_P(Device, CarriesEveryByteBothWays) {
    const Bytes sent = everyByte(600);
    EXPECT_EQ(server->write(sent), 0u);
    EXPECT_EQ(readFromDevice(*device, sent.size()), sent);
    std::size_t written = 0;
    EXPECT_TRUE(device->write(sent, written));
    EXPECT_EQ(written, sent.size());
    EXPECT_EQ(readFromServer(*server, sent.size()), sent);
}

TEST_P(Device, WritesMoreThanTheSystemTakesAtOnce) {
    const Bytes sent = everyByte(1'000'000);
    std::thread writer([&] {
        std::size_t written = 0;
        EXPECT_TRUE(device->write(sent, written));
        EXPECT_EQ(written, sent.size());
    });
    EXPECT_EQ(readFromServer(*server, sent.size()), sent);
    writer.join();
}

TEST_P(Device, StopsWritingWhenTimeIsUp) {
    EXPECT_TRUE(device->setTimeouts({CommTimeouts::kReturnAtOnce, 0, 0, 0, 20}));
    const Bytes bytes(kMoreThanAnySystemHolds);
    std::size_t written = 0;
    EXPECT_TRUE(device->write(bytes, written));
    EXPECT_GT(written, 0u);
    EXPECT_LT(written, bytes.size());
}

TEST_P(Device, AnEmptyMaskReleasesTheWaiter) {
    std::thread waiter([this] {
        std::uint32_t events = 99;
        EXPECT_TRUE(device->waitForEvent(events));
        EXPECT_EQ(events, 0u);
    });
    EXPECT_TRUE(device->setEventMask(0));
    waiter.join();
    EXPECT_TRUE(device->setEventMask(kEventReceived));
    server->write(everyByte(3));
    EXPECT_EQ(readFromDevice(*device, 3), everyByte(3));
}

TEST_P(Device, CloseReleasesReaderAndWriterAndAllFailsAfterwards) {
    std::thread reader([this] {
        std::uint32_t events = 0;
        while (device->waitForEvent(events)) {
        }
    });
    std::thread writer = writeForEver();
    waitUntil([this] {
        Bytes buffer(1);
        return server->read(buffer) == 1;
    });
    device->close();
    reader.join();
    writer.join();

    std::uint32_t word = 7;
    std::size_t written = 7;
    CommState state;
    Bytes buffer(8);
    EXPECT_FALSE(device->waitForEvent(word));
    EXPECT_FALSE(device->bytesQueued(word));
    EXPECT_EQ(word, 0u);
    EXPECT_EQ(device->read(buffer), 0u);
    EXPECT_FALSE(device->write(buffer, written));
    EXPECT_EQ(written, 0u);
    EXPECT_FALSE(device->getState(state));
    EXPECT_FALSE(device->setState(state));
    EXPECT_FALSE(device->setTimeouts({CommTimeouts::kReturnAtOnce, 0, 0, 0, 0}));
    EXPECT_FALSE(device->setEventMask(kEventReceived));
    EXPECT_FALSE(device->purge(15));
    EXPECT_FALSE(device->setBreak());
    EXPECT_THAT(device->lastError().message(), HasSubstr("it is closed"));
    device->close();
}

TEST_P(Device, ThatVanishesIsSeenByTheReader) {
    std::thread reader([this] { expectGone(); });
    server.reset();
    reader.join();
    std::size_t written = 0;
    const Bytes bytes = everyByte(8);
    waitUntil([&] { return !device->write(bytes, written); });  // a connection takes some before it knows
    EXPECT_THAT(device->lastError().message(), HasSubstr("cannot write to COM"));
}

TEST_P(Device, ThatVanishesEndsAWriteThatWaits) {
    std::thread writer = writeForEver();
    waitUntil([this] {
        Bytes buffer(1);
        return server->read(buffer) == 1;
    });
    server.reset();
    writer.join();
}

TEST_P(Device, MayVanishWhileItIsClosed) {
    std::thread unplug([this] { server.reset(); });
    device->close();
    unplug.join();
}

INSTANTIATE_TEST_SUITE_P(OverEveryKindOfLine, Device, testing::ValuesIn(kFarKinds),
                         [](const auto& kind) { return kind.param == FarKind::kPty ? "Pty" : "Tcp"; });

}  // namespace
}  // namespace vkcomm
