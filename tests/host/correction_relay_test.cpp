#include "host/correction_relay.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <mutex>
#include <utility>

#include "host/byte_text.h"
#include "host/relay_report.h"
#include "tests/net/fake_network.h"
#include "tests/ports/port_fixture.h"
#include "vkcomm/control/trimble_port.h"

namespace vkcomm {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using Texts = std::vector<std::string>;

TEST(CorrectionRoad, FollowsFromTheType) {
    std::string roads;
    for (int type = -1; type <= 20; ++type)
        roads += roadName(roadOf(static_cast<GPSOEMTYPE>(type)))[0];
    EXPECT_EQ(roads, "v"
                     "pppvvvvppv"
                     "vvvcpvvvpp"
                     "v");
    EXPECT_EQ(roadOf(std::nullopt), CorrectionRoad::kPlain);
}

// A road that takes as many blocks as it has places.
class Places final : public CorrectionSink {
public:
    bool isFree() override { return places > 0; }

    bool send(ByteSpan block) override {
        if (isDeaf) return false;
        --places;
        sent.emplace_back(textOf(block));
        return true;
    }

    LostBlocks takeLost() override { return std::exchange(lost, {}); }

    int places = 1000;
    bool isDeaf = false;
    LostBlocks lost;
    Texts sent;
};

struct Relay : testing::Test {
    Places road;
    CorrectionRelay relay{road, 3s};
    std::chrono::milliseconds now{1'000'000};

    void take(char letter, std::size_t size) { relay.take({std::string(size, letter), -1}, now); }

    // "a300b800" for each block that was sent.
    Texts sent() const {
        Texts shown;
        for (const std::string& block : road.sent) {
            std::string text;
            for (std::size_t at = 0; at < block.size();) {
                const std::size_t end = std::min(block.find_first_not_of(block[at], at), block.size());
                text += block[at] + std::to_string(end - at);
                at = end;
            }
            shown.push_back(text);
        }
        return shown;
    }
};

TEST_F(Relay, SendsAtOnceWhileTheRoadIsFree) {
    take('a', 300);
    EXPECT_TRUE(relay.turn(now));
    take('b', 20);
    EXPECT_TRUE(relay.turn(now));
    EXPECT_FALSE(relay.turn(now));
    EXPECT_THAT(sent(), ElementsAre("a300", "b20"));
}

TEST_F(Relay, GathersWholeMessagesIntoBlocks) {
    road.places = 0;
    take('a', 300);
    take('b', 800);  // 1100 together
    take('c', 1029);
    take('d', 100);  // does not fit behind c
    take('e', 2500);
    EXPECT_FALSE(relay.turn(now));
    road.places = 1;
    EXPECT_TRUE(relay.turn(now));
    EXPECT_THAT(sent(), ElementsAre("a300b800")) << "one place, one block";
    road.places = 10;
    relay.turn(now);
    EXPECT_THAT(sent(), ElementsAre("a300b800", "c1029", "d100", "e1100", "e1100", "e300"));
    EXPECT_EQ(relay.counters().sentBytes, 300U + 800U + 1029U + 100U + 2500U);
    EXPECT_EQ(relay.counters().sentBlocks, 6U);
    EXPECT_FALSE(relay.isWaiting());
}

TEST_F(Relay, DropsTheOldestWholeBlocks) {
    road.places = 0;
    for (const char letter : {'a', 'b', 'c', 'd'}) {
        take(letter, 1000);
        relay.turn(now);
        now += 1s;
    }
    relay.turn(now);
    EXPECT_EQ(relay.counters().droppedBlocks, 1U) << "a has waited for four seconds, b for three";
    EXPECT_EQ(relay.counters().droppedBytes, 1000U);
    road.places = 10;
    relay.turn(now);
    EXPECT_THAT(sent(), ElementsAre("b1000", "c1000", "d1000"));

    take('e', 10);
    now += 1min;
    relay.turn(now);
    EXPECT_EQ(sent().size(), 3U) << "too old, though the road is free";
    EXPECT_EQ(relay.counters().droppedBlocks, 2U);
}

TEST_F(Relay, ABlockThatIsNotTakenIsKept) {
    road.isDeaf = true;
    take('a', 10);
    EXPECT_FALSE(relay.turn(now));
    road.isDeaf = false;
    take('b', 10);
    EXPECT_TRUE(relay.turn(now));
    EXPECT_THAT(sent(), ElementsAre("a10b10"));
}

TEST_F(Relay, WhatItsRoadLosesWasNotSent) {
    take('a', 300);
    relay.turn(now);
    take('b', 20);
    relay.turn(now);
    road.lost = {1, 20};
    EXPECT_FALSE(relay.turn(now));
    EXPECT_EQ(relay.counters().sentBytes, 300U);
    EXPECT_EQ(relay.counters().lostBlocks, 1U);
    road.lost = {1, 300};
    relay.dropAll();
    EXPECT_EQ(relay.counters().lostBytes, 320U) << "in the end, too";
    EXPECT_EQ(relay.counters().sentBlocks, 0U);
}

TEST_F(Relay, SaysWhenMoreShouldWait) {
    road.places = 0;
    take('a', CorrectionRelay::kMostWaiting - 1);
    EXPECT_TRUE(relay.hasRoom());
    take('b', 1);
    EXPECT_FALSE(relay.hasRoom());
    road.places = 2;
    relay.turn(now);
    EXPECT_TRUE(relay.hasRoom());
}

// Ten kilobytes a second on a road for one: who brings them waits at first, then the oldest go.
TEST_F(Relay, DoesNotLagBehindForLong) {
    constexpr std::size_t kPiece = 250;
    std::deque<std::chrono::milliseconds> outside;  // when each piece came that waits before the relay
    std::deque<std::chrono::milliseconds> inside;   // and the numbers of all that it has taken
    std::size_t seen = 0;
    std::chrono::milliseconds lag{};
    for (int step = 0; step < 2400; ++step, now += 25ms) {
        outside.push_back(now);
        for (; !outside.empty() && relay.hasRoom(); outside.pop_front()) {
            take('a', kPiece);
            inside.push_back(outside.front());
        }
        if (outside.empty()) relay.drained();
        road.places = step % 40 == 0 ? 1 : 0;
        relay.turn(now);
        if (road.sent.size() == seen) continue;
        seen = road.sent.size();
        const auto gone = relay.counters().sentBytes + relay.counters().droppedBytes;
        if (step > 400) lag = std::max(lag, now - inside[static_cast<std::size_t>(gone / kPiece - 1)]);
    }
    EXPECT_LE(lag, 4s);
    EXPECT_TRUE(outside.empty());
    relay.dropAll();
    EXPECT_EQ(relay.counters().sentBytes + relay.counters().droppedBytes, 2400 * kPiece);

    take('b', CorrectionRelay::kMostWaiting);
    EXPECT_TRUE(relay.hasRoom()) << "behind until it was seen to keep up";
    relay.dropAll();
    relay.drained();
    relay.turn(now);
    take('b', CorrectionRelay::kMostWaiting);
    EXPECT_FALSE(relay.hasRoom());
}

// A control port on a fake device; the clock holds each pause until the test passes it.
struct PortRoad : testing::Test {
    FakeClock clock;
    FakeDevices devices;
    std::shared_ptr<FakeDevice> device;
    CTrimblePort port;
    std::string block;

    PortRoad() {
        port.vSetClock(clock);
        port.vSetDevices(devices);
        for (int i = 0; i < 1100; ++i)
            block += static_cast<char>(i * 7 % 253);
    }

    ~PortRoad() override {
        if (device) device->free();
    }

    void open(std::deque<WriteStep> writes = {}) {
        device = devices.add();
        device->passes = {vkcomm::block()};
        device->writes = std::move(writes);
        ASSERT_EQ(port.bOpenPort(nullptr, 3, 9600), 1);
    }
};

TEST_F(PortRoad, ThePlainRoadKeepsTwoInTheQueue) {
    const auto road = makePortSink(port, OEM_NOVATEL);
    EXPECT_FALSE(road->isFree()) << "the port is closed";
    EXPECT_FALSE(road->send(spanOf(block)));
    open({{WriteStep::kBlock, 0}});
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(road->isFree());
        EXPECT_TRUE(road->send(spanOf(block)));
    }
    EXPECT_FALSE(road->isFree());
}

TEST_F(PortRoad, TheSlowRoadsTakeOneBlockWhileTheQueueIsEmpty) {
    struct Case {
        GPSOEMTYPE type;
        std::string begin;  // of a piece
        std::size_t size;
        std::size_t head, tail;  // of a frame, around its corrections
    };

    open();
    std::size_t written = 0;
    for (const Case& c : {Case{OEM_NOVATEL_5, "$$VD", 64, 6, 3}, Case{OEM_TYPE_11, "$$RZ", 64, 6, 3},
                          Case{OEM_TYPE_13, "", 55, 0, 0}}) {
        const auto road = makePortSink(port, c.type);
        EXPECT_TRUE(road->isFree());
        EXPECT_TRUE(road->send(spanOf(block)));
        EXPECT_FALSE(road->isFree());
        EXPECT_EQ(port.nQueueDepth(), 20) << "none of the pieces is more than the writer takes";
        EXPECT_THAT(clock.passNext(20), testing::Each(50));
        device->awaitWrites(written += 20);
        std::string carried;
        for (std::size_t i = written - 20; i < written; ++i) {
            const std::string piece = device->written()[i];
            EXPECT_EQ(piece.substr(0, c.begin.size()), c.begin);
            EXPECT_EQ(piece.size(), c.size);
            carried += piece.substr(c.head, piece.size() - c.head - c.tail);
        }
        EXPECT_EQ(carried, block);
        while (!road->isFree())
            std::this_thread::yield();
    }
    EXPECT_EQ(port.Counters().skipped, 0U);
}

TEST_F(PortRoad, WhatThePortDiscardsIsLost) {
    constexpr WriteStep kWhole{WriteStep::kWhole, 0}, kFails{WriteStep::kFail, 0},
        kHangs{WriteStep::kBlock, 0};
    std::deque<WriteStep> failsBehindABlock(20, kWhole);
    failsBehindABlock.push_back(kFails);

    struct Case {
        const char* name;
        std::optional<GPSOEMTYPE> type;
        std::deque<WriteStep> writes;
        int pauses;  // behind pieces, before the failure
        std::uint64_t sent, lost;
    };

    for (const Case& c :
         {Case{"all is well", {}, {kWhole, kWhole}, 0, 1600, 0},
          Case{"the second fails", {}, {kWhole, kFails}, 0, 1100, 500},
          Case{"the second is cut short", {}, {kWhole, {WriteStep::kShort, 9}}, 0, 1100, 500},
          Case{"the first fails", {}, {kFails, kWhole}, 0, 500, 1100},
          Case{"closed in the middle", {}, {kHangs}, 0, 0, 1600},
          Case{"the fourth frame fails", OEM_NOVATEL_5, {kWhole, kWhole, kWhole, kFails}, 3, 0, 1100},
          Case{"a frame of the second fails", OEM_NOVATEL_5, failsBehindABlock, 20, 1100, 500},
          Case{"a piece fails", OEM_TYPE_13, {kWhole, kFails}, 1, 0, 1100}}) {
        SCOPED_TRACE(c.name);
        open(c.writes);
        const auto road = makePortSink(port, c.type);
        CorrectionRelay relay(*road, 3s);
        const bool hangs = c.writes[0].kind == WriteStep::kBlock;
        const auto awaitWriter = [&] {
            device->awaitWriteBegun();
            while (!hangs && port.nQueueDepth() > 0)
                std::this_thread::yield();
        };
        relay.take({block, -1}, 1s);
        EXPECT_TRUE(relay.turn(1s));
        clock.passNext(c.pauses);
        awaitWriter();
        if (c.sent + c.lost > block.size()) {
            relay.take({block.substr(0, 500), -1}, 1s);
            EXPECT_TRUE(relay.turn(1s));
            awaitWriter();
        }
        auto closing = std::async(std::launch::async, [this] { port.vClosePort(); });
        if (hangs) clock.passNext(10);
        closing.wait();
        relay.turn(1s);
        EXPECT_EQ(relay.counters().sentBytes, c.sent);
        EXPECT_EQ(relay.counters().lostBytes, c.lost);
    }
}

TEST_F(PortRoad, ACasterFeedsAPort) {
    // A look-up may outlast who asked for it, so what it asks is never gone.
    static auto& wire = *new test::Wire;
    static auto& network = *new test::FakeNetwork(wire);
    wire.arrivals = {{0, "ICY 200 OK\r\n\r\n"}, {0, std::string(2000, 'a')}, {0, std::string(500, 'b')}};
    open();
    std::string error;
    CasterRelayOptions options;
    options.caster.version = NtripVersion::k1;
    options.network = &network;
    CasterRelay relay(parseCasterUrl("ntrip://caster/M", error).value(), port, options);
    relay.setPosition("GGA");
    ASSERT_TRUE(relay.start());
    const auto sent = [] {
        const std::lock_guard guard(wire.lock);
        return wire.sent;
    };
    while (relay.status().relay.sentBytes < 2500 || relay.status().caster.positions == 0 ||
           !sent().ends_with("GGA"))
        std::this_thread::yield();
    relay.stop();
    while (port.nQueueDepth() > 0)
        std::this_thread::yield();
    std::string written;
    for (const std::string& piece : device->written())
        written += piece;
    EXPECT_EQ(written, std::string(2000, 'a') + std::string(500, 'b'));
    EXPECT_EQ(relay.status().state, NtripState::kOver);
    EXPECT_EQ(relay.takeEvents().size(), 3U) << "connecting, accepted, streaming";
    EXPECT_EQ(relay.takeEvents().size(), 0U);
    CloseWSA();
}

TEST(RelayReport, TellsWhatFlows) {
    CasterRelayStatus status;
    status.state = NtripState::kStreaming;
    status.caster.bytes = 12'345;
    status.messages = {{1004, 12}, {1012, 11}};
    status.badChecks = 1;
    status.relay = {30, 12'000, 2, 345, 1, 55};
    status.age = 400ms;
    ReceiverSnapshot receiver;
    receiver.quality = 4;
    receiver.satellitesUsed = 9;
    EXPECT_EQ(relayLine(status, receiver),
              "streaming  12.3 kB  1004:12 1012:11 1 damaged  age 0.4 s  dropped 2 blocks  lost 1 blocks"
              "  receiver: RTK fixed, 9 satellites");
    const std::string json = relayJson(status, receiver, std::chrono::system_clock::time_point{});
    EXPECT_THAT(json, testing::StartsWith(R"({"utc":"1970-01-01T00:00:00.000Z","state":"streaming",)"));
    EXPECT_THAT(
        json,
        HasSubstr(
            R"("messages":[{"number":1004,"count":12},{"number":1012,"count":11}],"damaged":1,"age_s":0.400)"));
    for (int type = 1001; type < 1020; ++type)
        status.messages[type] = 1;
    EXPECT_THAT(relayLine(status, receiver), HasSubstr("1008:1 +11 types"));
}

}  // namespace
}  // namespace vkcomm
