// Simulated receivers on real pseudo-terminals and connections, read as a host reads them.
#include "sim/live_simulator.h"

#include <gtest/gtest.h>

#include "host/receiver_family.h"
#include "tests/platform/far_end.h"
#include "vkcomm/decode/stream_decoder.h"

namespace vkcomm::sim {
namespace {

using namespace std::chrono_literals;
using namespace test;

// Whoever waits on it gets there at once.
class HastyClock final : public Clock {
public:
    std::chrono::milliseconds now() override { return m_now.load(); }

    void sleep(std::chrono::milliseconds time) override { m_now.store(m_now.load() + time); }

    bool wait(Event& event, std::chrono::milliseconds time) override {
        sleep(time);
        return event.isSet();
    }

private:
    std::atomic<std::chrono::milliseconds> m_now{0ms};
};

struct Counted {
    std::uint64_t logs = 0;
    std::uint64_t obeyed = 0;
    std::uint64_t refused = 0;

    void add(const CNOut& decoder) {
        logs += decoder.Type() == LOG_OEM4_BINARY;
        obeyed += decoder.Type() == LOG_REPLY_OK;
        refused += decoder.Type() == LOG_REPLY_ERROR;
    }
};

// The records of the OEM4 receiver at the other end, until it is unplugged.
Counted countAll(CommDevice& device) {
    CNOut decoder;
    decoder.vSetDecodeMask(vkcomm::findFamily("oem4")->decodeMask);
    Counted counted;
    for (Bytes bytes = readFromDevice(device, 1); !bytes.empty(); bytes = readFromDevice(device, 1)) {
        decoder.Set(bytes.data(), static_cast<int>(bytes.size()));
        while (decoder.Read() == CNOut::RETURN_COMPLETE)
            counted.add(decoder);
    }
    while (decoder.ReadRest() == CNOut::RETURN_COMPLETE)
        counted.add(decoder);
    return counted;
}

struct Served {
    std::shared_ptr<CommDevice> device;
    std::unique_ptr<LiveSimulator> simulator;
};

// Attached before the first byte is sent, so that none is lost.
Served serve(FarKind kind, const LiveOptions& options, Clock& clock) {
    auto server = makeFarEnd(kind);
    auto device = openDevice(server->address());
    waitUntil([&] { return server->clients() == 1; });
    return {std::move(device), std::make_unique<LiveSimulator>(options, std::move(server), clock)};
}

// 16 kB in one go fit any connection.
TEST(LiveSimulator, EveryWholeFrameArrivesWhateverTheFaults) {
    const LiveOptions cases[] = {
        {.family = "oem4", .rateHz = 20, .seed = 5},
        {.family = "oem4", .rateHz = 20, .seed = 6, .splits = 9, .delayMilliseconds = 70},
        {.family = "oem4", .rateHz = 20, .seed = 7, .dropPercent = 25, .corruptPercent = 40, .splits = 3},
    };
    for (const LiveOptions& options : cases) {
        HastyClock clock;
        const auto [device, simulator] = serve(FarKind::kTcp, options, clock);
        simulator->start(1000ms);
        const std::uint64_t records = countAll(*device).logs;
        simulator->stop();
        const LiveTotals totals = simulator->totals();
        EXPECT_EQ(totals.bytesLost, 0u);
        EXPECT_EQ(records, totals.frames.whole) << "seed " << options.seed;
        EXPECT_GT(records, 30u);
        EXPECT_FALSE(simulator->isRunning());
    }
}

TEST(LiveSimulator, TakesWhatIsSentToIt) {
    HastyClock clock;
    const auto [device, simulator] = serve(kFarKinds[0], {}, clock);
    simulator->start();
    const Bytes sent = everyByte(100'000);
    std::size_t written = 0;
    EXPECT_TRUE(device->write(sent, written));
    waitUntil([&, &served = *simulator] { return served.totals().bytesReceived == sent.size(); });
    simulator->stop();
}

bool say(CommDevice& device, std::string_view text) {
    std::size_t written = 0;
    return device.write(ByteSpan(reinterpret_cast<const unsigned char*>(text.data()), text.size()), written);
}

// No answer breaks a frame, in however many writes an epoch goes out.
TEST(LiveSimulator, AnswersBetweenEpochs) {
    constexpr int kTimes = 40;
    const LiveOptions options{
        .family = "oem4", .rateHz = 20, .seed = 8, .splits = 9, .delayMilliseconds = 70};
    HastyClock clock;
    const auto [device, simulator] = serve(FarKind::kTcp, options, clock);
    std::string commands;
    for (int i = 0; i < kTimes; ++i)
        commands += "ecutoff 12\r\nlog versionb once\r\nfreboot\r\n";
    EXPECT_TRUE(say(*device, commands));
    simulator->start(1000ms);
    const Counted counted = countAll(*device);
    simulator->stop();
    EXPECT_EQ(counted.logs, simulator->totals().frames.whole + kTimes);
    EXPECT_EQ(counted.obeyed, 2u * kTimes);
    EXPECT_EQ(counted.refused, 1u * kTimes);

    const CommandTally tally = simulator->commands();
    EXPECT_EQ(tally.count(), 3u * kTimes);
    EXPECT_EQ(tally.state, "elevation mask: 12\n");
    EXPECT_EQ(tally.notes.size(), 3u * kTimes);
    ASSERT_EQ(simulator->commands(3 * kTimes - 2).notes.size(), 2u);
    EXPECT_EQ(simulator->commands(3 * kTimes - 1).notes[0].command, "freboot");
    EXPECT_TRUE(simulator->commands(3 * kTimes + 1).notes.empty());
}

// A command changes the rate; what follows at the old one is lost.
TEST(LiveSimulator, UnderstandsOnlyTheRateOfItsPort) {
    if (kFarKinds[0] != FarKind::kPty) GTEST_SKIP() << "connections have no rate";
    const auto [device, simulator] = serve(FarKind::kPty, {.family = "oem4", .baud = 115200}, systemClock());
    const auto arrived = [&, &served = *simulator](std::size_t size) {
        waitUntil([&] { return served.totals().bytesReceived == size; });
        return served.commands();
    };
    simulator->start();
    const std::string_view change = "com com1 57600\r", lost = "\necutoff 5\r\n", heard = "ecutoff 7\r\n";
    EXPECT_TRUE(say(*device, change) && say(*device, lost));
    EXPECT_EQ(arrived(change.size() + lost.size()).state, "port com1: 57600 baud\n");
    EXPECT_EQ(simulator->totals().bytesGarbled, lost.size());

    CommState line;
    EXPECT_TRUE(device->getState(line));
    line.BaudRate = 57600;
    EXPECT_TRUE(device->setState(line) && say(*device, heard));
    EXPECT_EQ(arrived(change.size() + lost.size() + heard.size()).state,
              "elevation mask: 7\nport com1: 57600 baud\n");
    const std::string_view reset = "freset\r";
    EXPECT_TRUE(say(*device, reset));
    arrived(change.size() + lost.size() + heard.size() + reset.size());
    line.BaudRate = 115200;
    EXPECT_TRUE(device->setState(line) && say(*device, heard));
    EXPECT_EQ(arrived(change.size() + lost.size() + 2 * heard.size() + reset.size()).state,
              "elevation mask: 7\n");
    EXPECT_EQ(simulator->totals().bytesGarbled, lost.size());
    simulator->stop();
}

TEST(LiveSimulator, ServesEverybodyOnItsPortAndNobody) {
    HastyClock clock;
    auto server = makeFarEnd(FarKind::kTcp);
    ByteServer& far = *server;
    const auto first = openDevice(far.address());
    auto second = systemCommDevices().make();
    ASSERT_TRUE(second->open(comName(far.address()), 0));
    EXPECT_TRUE(second->setEventMask(kEventReceived));
    waitUntil([&] { return far.clients() == 2; });
    far.write(everyByte(100));
    EXPECT_EQ(readFromDevice(*first, 100), everyByte(100));
    EXPECT_EQ(readFromDevice(*second, 100), everyByte(100));

    first->close();
    second->close();
    waitUntil([&] {
        Bytes none(1);
        return far.read(none) == 0 && far.clients() == 0;
    });
    LiveSimulator simulator({}, std::move(server), clock);
    simulator.start(10s);
    waitUntil([&] { return !simulator.isRunning(); });
    EXPECT_EQ(simulator.totals().bytesLost, simulator.totals().bytesSent);
}

}  // namespace
}  // namespace vkcomm::sim
