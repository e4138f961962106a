// The writer: order, groups, delays, failures; and the operations that queue.
#include "tests/ports/port_fixture.h"

namespace vkcomm {
namespace {

using testing::ElementsAre;
using Texts = std::vector<std::string>;

class Writing : public PortTest {};

TEST_F(Writing, RefusesWithoutAWriter) {
    const auto device = deviceWith({});
    ASSERT_EQ(port.InitPort(&owner, kPort, 9600), 1);
    EXPECT_EQ(port.WriteToPort(bytesOf("x").data(), 1, 0, 0, 1), 0u);
    EXPECT_EQ(port.nQueueDepth(), 0);
    add("x", 0, 0);
    EXPECT_EQ(port.nQueueDepth(), 1);
    EXPECT_EQ(port.bWaitWriteBufferEmpty(), 0);
    EXPECT_TRUE(clock.sleeps.empty());
    CSerialPort::WriteChar(&port);
    EXPECT_THAT(owner.posted(), ElementsAre(errorMessage(WM_PORT_WRITE_ERROR)));
    EXPECT_EQ(port.nQueueDepth(), 0);
    EXPECT_TRUE(device->written().empty());
}

TEST_F(Writing, LinesHaveTheirChecksums) {
    const auto device = deviceWith({});
    open();
    port.vWriteToPort(L"log \u0142\r\n", 0, 0);
    port.vWriteThalesCmd(L"$PASHS,RST", 0, 0);
    port.vWriteThalesCmd(L"#PASHS,RST", 0, 0);
    port.vWriteJavadCmd(L" \tem,,def\r\n", 0, 0);
    port.vSwitchCommBreak(10, 0);
    port.vSwitchCommBreak(10, 1);
    port.vSwitchCommBreak(10, 2);
    CSerialWrite request(0x31, 1, 0, nullptr);
    port.WriteToPort(&request);
    port.WriteToPort(nullptr);
    device->awaitWrites(7);
    EXPECT_THAT(device->written(),
                ElementsAre("log B\r\n", "$PASHS,RST*20\r\n", "#PASHS,RST*20\r\n", "em,,def@2F\r\n",
                            "freset\r\n", "log bestposb ontime 1\r\n", std::string("@1\xCE\0\0\xBF", 6)));
}

TEST_F(Writing, TheHeadStaysUntilItsDelayIsOver) {
    const auto device = deviceWith({});
    open();
    write("a", 50);
    write("b", 0);
    clock.awaitWaiter();
    EXPECT_EQ(port.nQueueDepth(), 2);
    EXPECT_EQ(device->written(), Texts{"a"});
    EXPECT_EQ(port.bWaitWriteBufferEmpty(), 0);
    EXPECT_EQ(clock.sleeps, std::vector<int>(25, 300));
    EXPECT_EQ(clock.passNext(), 50);
    device->awaitWrites(2);
    while (port.nQueueDepth() > 0)
        std::this_thread::yield();
    EXPECT_EQ(port.bWaitWriteBufferEmpty(), 1);
    EXPECT_EQ(clock.sleeps.size(), 25u);
}

struct Piece {
    const char* text;
    unsigned long group;
};

struct GroupCase {
    const char* name;
    int before;  // single requests queued before the pieces
    std::vector<Piece> pieces;
    int behind;
    Texts written;  // of the pieces
};

TEST_F(Writing, ADeepQueueDropsNewCommandsWhole) {
    const GroupCase cases[] = {
        {"twenty deep", 0, {{"a1", 0x10000}, {"a2", 0x10000}}, 18, {"a1", "a2"}},
        {"more than twenty deep", 0, {{"a1", 0x10000}, {"a2", 0x10000}}, 19, {}},
        {"one below the border of ids", 0, {{"s", 0xFFFF}, {"a1", 0x10000}}, 30, {"s"}},
        {"the rest of a dropped command that the queue has become shallow for",
         0,
         {{"a1", 0x10000}, {"a2", 0x10000}, {"a3", 0x10000}},
         18,
         {}},
        {"of two dropped commands only the last is remembered",
         0,
         {{"a1", 0x10000}, {"b1", 0x10001}, {"a2", 0x10000}, {"b2", 0x10001}},
         18,
         {"a2"}},
        {"shallow by the time it comes", 10, {{"a1", 0x10000}}, 19, {"a1"}},
    };
    for (const GroupCase& each : cases) {
        const auto device = deviceWith({});
        open();
        for (int i = 0; i < each.before; ++i)
            add("-", 0, 0);
        for (const Piece& piece : each.pieces)
            add(piece.text, 0, piece.group);
        for (int i = 0; i < each.behind; ++i)
            add("-", 0, 0);
        port.vSetWriteEvent();
        const auto singles = static_cast<std::size_t>(each.before + each.behind);
        device->awaitWrites(singles + each.written.size());
        Texts written = device->written();
        std::erase(written, "-");
        EXPECT_EQ(written, each.written) << each.name;
        port.vClosePort();
    }
}

TEST_F(Writing, ACommandThatWasBegunIsFinished) {
    const auto device = deviceWith({});
    open();
    write("a1", 10, 0x10000);
    clock.awaitWaiter();
    for (int i = 0; i < 30; ++i)
        add(i < 2 ? "a" : "b", 0, i < 2 ? 0x10000 : 0x10001);
    add("end", 0, 0);
    port.vSetWriteEvent();
    clock.passNext();
    device->awaitWrites(4);
    EXPECT_THAT(device->written(), ElementsAre("a1", "a", "a", "end"));
    EXPECT_EQ(port.Counters().skipped, 28u);
    EXPECT_EQ(port.Counters().discarded, 28u);
}

struct FailureCase {
    const char* name;
    WriteStep step;
    int code;
};

TEST_F(Writing, AFailureDropsTheQueueAndTheWriterGoesOn) {
    const FailureCase cases[] = {
        {"fails", {WriteStep::kFail, 0}, 5},
        {"time was up", {WriteStep::kShort, 2}, static_cast<int>(std::errc::timed_out)},
    };
    for (const FailureCase& each : cases) {
        FakeOwner messages;
        const std::uint64_t before = port.Counters().discarded;
        const auto device = deviceWith({});
        device->writes = {{WriteStep::kWhole, 0}, each.step};
        ASSERT_EQ(port.InitPort(&messages, kPort, 9600), 1);
        ASSERT_EQ(port.StartMonitoring(), 1);
        for (const char* text : {"one", "two", "three"})
            add(text, 0, 0);
        port.vSetWriteEvent();
        EXPECT_THAT(messages.await(1), ElementsAre(errorMessage(WM_PORT_WRITE_ERROR))) << each.name;
        EXPECT_EQ(port.nQueueDepth(), 0) << each.name;
        const std::uint64_t discarded = port.Counters().discarded;
        EXPECT_EQ(discarded - before, 8u) << each.name << ": two and three";
        EXPECT_EQ(port.LastError().code, each.code) << each.name;
        write("four");
        device->awaitWrites(each.step.kind == WriteStep::kShort ? 3 : 2);
        EXPECT_EQ(device->written().back(), "four") << each.name;
        add("never", 0, 0);
        port.vClosePort();
        EXPECT_EQ(port.Counters().discarded - discarded, 5u) << each.name;
    }
}

TEST_F(Writing, AFailureForgetsWhichCommandWasDropped) {
    const auto device = deviceWith({});
    device->writes = {{WriteStep::kFail, 0}};
    open();
    add("a1", 0, 0x10000);
    for (int i = 0; i < 20; ++i)
        add("-", 0, 0);
    port.vSetWriteEvent();
    owner.await(1);
    EXPECT_EQ(port.Counters().skipped, 1u);
    write("a2", 0, 0x10000);
    write("end");
    device->awaitWrites(1);
    EXPECT_EQ(device->written().front(), "a2");
}

TEST_F(Writing, ManyThreadsKeepTheirOrder) {
    const auto device = deviceWith({});
    open();
    constexpr int kEach = 2000;
    std::vector<std::thread> writers;
    for (char name = 'a'; name < 'd'; ++name)
        writers.emplace_back([this, name] {
            for (int i = 0; i < kEach; ++i)
                write(name + std::to_string(i));
        });
    for (std::thread& each : writers)
        each.join();
    device->awaitWrites(3 * kEach);
    std::map<char, int> next;
    for (const std::string& text : device->written())
        EXPECT_EQ(text.substr(1), std::to_string(next[text[0]]++));
}

}  // namespace
}  // namespace vkcomm
