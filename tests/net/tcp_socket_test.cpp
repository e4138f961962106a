#include "vkcomm/net/tcp_socket.h"

#include <gtest/gtest.h>

#include <numeric>
#include <thread>

#include "tests/net/fake_network.h"
#include "tests/net/socket_messages.h"
#include "vkcomm/net/vrs_socket.h"

namespace vkcomm {
namespace {

using test::Arrival;
using test::FakeNetwork;
using test::Messages;
using test::SleptTime;
using test::Texts;
using test::Wire;

struct Socket : testing::Test {
    Wire wire;
    FakeNetwork network{wire};
    SleptTime clock;
    Messages messages;
    CVRSSocket socket{clock};

    int open(int type = CCESocket::SOCKET_TCP) {
        return socket.Create(type, &messages) && socket.Connect(L"caster", 2101);
    }
};

TEST_F(Socket, RefusesWhatItCannotDo) {
    const unsigned char byte = 1;
    EXPECT_EQ(socket.Connect(L"caster", 2101), 0) << "not created";
    EXPECT_EQ(socket.Create(3, &messages), 0) << "no such type";
    ASSERT_EQ(socket.Create(CCESocket::SOCKET_TCP, &messages), 1);
    EXPECT_EQ(socket.Create(CCESocket::SOCKET_TCP, &messages), 0) << "open already";
    EXPECT_EQ(socket.Connect(L"caster", 65536), 0);
    EXPECT_EQ(socket.Connect(L"nowhere", 2101), 0);
    EXPECT_NE(socket.Error().message().find("nowhere"), std::string::npos);
    EXPECT_EQ(socket.Send(&byte, 1), -1) << "not connected";
    EXPECT_EQ(socket.GetSocketState(), CCESocket::SOCKET_CREATED) << "refusals change nothing";
    ASSERT_EQ(socket.Connect(L"caster", 65535), 1);
    EXPECT_EQ(socket.Connect(L"caster", 2101), 0) << "a stream connects once";
    EXPECT_EQ(socket.Send(&byte, 0), -1);
    CloseWSA();
    EXPECT_EQ(socket.Send(&byte, 1), -1) << "library not started";
    EXPECT_EQ(CCESocket(clock).Create(CCESocket::SOCKET_TCP, nullptr), 0);
    StartWSA(network);
}

TEST_F(Socket, TheNetworkIsStartedOnceAndStoppedOnce) {
    StartWSA(systemNetwork());
    EXPECT_EQ(open(), 1);
    EXPECT_EQ(wire.opened, 1) << "the second start changes nothing";
    socket.Disconnect();
    CloseWSA();
    CloseWSA();
    EXPECT_EQ(network.starts, 1);
    EXPECT_EQ(network.stops, 1);
    network.isThere = false;
    StartWSA(network);
    EXPECT_EQ(open(), 0) << "the system has none";
    network.isThere = true;
    StartWSA(network);
    EXPECT_EQ(open(), 1);
}

TEST_F(Socket, TellsWhatArrives) {
    struct Case {
        const char* name;
        bool connects;
        std::vector<Arrival> arrivals;
        int read0;
        Texts messages;
    };

    std::vector<Arrival> quietHundred(100);
    quietHundred.push_back({0, "x"});
    const std::vector<Case> cases{
        {"bytes", true, {{0, "abc"}, {0, "defghi"}}, 0, {"1068 1", "1065 3 object", "1065 6 object"}},
        {"refused", false, {}, 0, {"1068 0"}},
        {"broken", true, {{0, "abc"}, {-1, ""}}, 0, {"1068 1", "1065 3 object", "1068 2", "1066 -1"}},
        {"a hundred empty reads are nothing", true, quietHundred, 0, {"1068 1", "1065 1 object"}},
        {"one more is a closed peer", true, std::vector<Arrival>(101), 0, {"1068 1", "1068 0"}},
        {"and again", true, std::vector<Arrival>(202), 0, {"1068 1", "1068 0", "1068 0"}},
        {"unless told to keep quiet", true, std::vector<Arrival>(202), 1, {"1068 1"}},
    };
    for (const Case& c : cases) {
        Wire ownWire;
        CloseWSA();
        FakeNetwork own(ownWire);
        Messages told;
        CCESocket tested(clock);
        ownWire.connects = c.connects;
        ownWire.arrivals.assign(c.arrivals.begin(), c.arrivals.end());
        tested.vSetRead0Flag(c.read0);
        ASSERT_EQ(tested.Create(CCESocket::SOCKET_TCP, &told), 1) << c.name;
        ASSERT_EQ(tested.Connect(L"caster", 1), 1) << c.name;
        EXPECT_EQ(told.first(c.messages.size()), c.messages) << c.name;
        while (tested.IsReaderRunning()) {
            const std::lock_guard guard(ownWire.lock);
            if (ownWire.arrivals.empty()) break;
        }
        tested.Disconnect();
        EXPECT_EQ(told.all(), c.messages) << c.name << ": disconnecting posts nothing";
    }
    StartWSA(network);
}

TEST_F(Socket, SendsAllUnlessTheConnectionBreaks) {
    ASSERT_EQ(open(), 1);
    wire.mostPerSend = 4;
    EXPECT_EQ(socket.Send(L"GET /\x4E00\x010A"), 7);
    EXPECT_EQ(wire.sent, std::string("GET /\0\n", 7)) << "low 8 bits";
    wire.sendsLeft = 2;
    EXPECT_EQ(socket.Send(L"0123456789"), 8);
    EXPECT_EQ(socket.Send(L"0123456789"), -1);
    EXPECT_TRUE(socket.Error());
}

TEST_F(Socket, PiecesOfTwoSendsDoNotMix) {
    constexpr std::size_t kSize = 1000, kSends = 50;
    ASSERT_EQ(open(), 1);
    wire.mostPerSend = 1;
    const auto send = [this](wchar_t letter) {
        for (std::size_t i = 0; i < kSends; ++i)
            EXPECT_EQ(socket.Send(std::wstring(kSize, letter)), static_cast<int>(kSize));
    };
    std::thread other(send, L'a');
    send(L'b');
    other.join();
    ASSERT_EQ(wire.sent.size(), 2 * kSends * kSize);
    for (std::size_t at = 0; at < wire.sent.size(); at += kSize)
        EXPECT_EQ(wire.sent.substr(at, kSize), std::string(kSize, wire.sent[at])) << at;
}

TEST_F(Socket, LetsThePeerWaitForRoomButNotDatagrams) {
    const std::string block(2048, 'x');
    for (int i = 0; i < 9; ++i)
        wire.arrivals.push_back({0, block});
    ASSERT_EQ(open(), 1);
    EXPECT_EQ(messages.first(9).back(), "1065 2048 object") << "eight blocks fill the buffer";
    EXPECT_EQ(socket.GetDataSize(), 16384);
    std::vector<unsigned char> some(2047);
    EXPECT_EQ(socket.Read(some), 2047);
    EXPECT_EQ(socket.GetDataSize(), 16384 - 2047) << "one byte short of room";
    EXPECT_EQ(socket.Read(std::span(some).first(1)), 1);
    messages.first(10);
    EXPECT_EQ(socket.GetDataSize(), 16384);
    EXPECT_EQ(socket.LostBytes(), 0U);
    socket.Disconnect();
    EXPECT_EQ(socket.GetDataSize(), 16384) << "what was received stays";

    for (int i = 0; i < 9; ++i)
        wire.arrivals.push_back({0, block});
    ASSERT_EQ(open(CCESocket::SOCKET_UDP), 1);
    messages.first(10 + 9);
    EXPECT_EQ(socket.GetDataSize(), 0);
    EXPECT_EQ(socket.LostBytes(), 9U * 2048U);
    EXPECT_EQ(dottedText(socket.SenderAddress().GetIPAddr()), L"10.0.0.1");
}

// An unreachable peer ends the reading; connecting again begins it, from the handler of the failure too.
TEST_F(Socket, DatagramsAreReadAgainAfterAnotherConnect) {
    for (const bool isHandler : {true, false}) {
        Messages seen;
        CCESocket again(clock);
        std::atomic<int> answer = -1;
        wire.arrivals = {{-1, ""}};
        if (isHandler) seen.on("1068 2", [&] { answer = again.Connect(L"caster", 2101); });
        ASSERT_EQ(again.Create(CCESocket::SOCKET_UDP, &seen), 1);
        ASSERT_EQ(again.Connect(L"caster", 2101), 1);
        seen.first(2);
        if (!isHandler) answer = again.Connect(L"caster", 2101);
        while (answer < 0)
            std::this_thread::yield();
        EXPECT_EQ(answer, 1);
        {
            const std::lock_guard guard(wire.lock);
            wire.arrivals.push_back({0, "abc"});
        }
        wire.changed.notify_all();
        while (again.GetDataSize() < 3)
            std::this_thread::yield();
        EXPECT_EQ(again.IsReaderRunning(), 1);
    }
}

TEST_F(Socket, DisconnectsFromEveryState) {
    socket.Disconnect();
    ASSERT_EQ(socket.Create(CCESocket::SOCKET_TCP, &messages), 1);
    socket.Disconnect();
    EXPECT_EQ(socket.GetSocketState(), CCESocket::SOCKET_NONE);

    wire.connectBlocks = true;
    ASSERT_EQ(open(), 1);
    socket.Disconnect();
    EXPECT_EQ(messages.all(), Texts{}) << "while connecting";
    wire.connectBlocks = false;

    wire.onResolve = [this] { socket.Disconnect(); };
    EXPECT_EQ(open(), 0) << "while the name is looked up";
    EXPECT_EQ(socket.GetSocketState(), CCESocket::SOCKET_NONE);
    EXPECT_EQ(socket.IsReaderRunning(), 0);
    wire.onResolve = [] {};

    wire.closesGracefully = false;
    EXPECT_EQ(socket.Create(CCESocket::SOCKET_TCP, &messages), 0);
    EXPECT_TRUE(socket.Error());
    EXPECT_EQ(wire.lastCall(), "close");
    wire.closesGracefully = true;

    ASSERT_EQ(open(), 1);
    messages.first(1);
    socket.Disconnect();
    EXPECT_EQ(messages.all(), Texts{"1068 1"}) << "while waiting for bytes";
    EXPECT_EQ(socket.IsReaderRunning(), 0);
    const Texts closings(wire.calls.end() - 2, wire.calls.end());
    EXPECT_EQ(closings, (Texts{"shutdown", "close"}));
    const auto object = reinterpret_cast<std::intptr_t>(static_cast<CCESocket*>(&socket));
    EXPECT_EQ(messages.forgotten(), Messages::Forgotten(4, {WM_SOCKET_DATA, object})) << "once a socket";
}

TEST_F(Socket, ConnectEndsWhenAnotherThreadDisconnects) {
    const struct {
        const char* name;
        int type;
        bool isLookup;  // else in the half second behind it
        int answer;
    } cases[] = {
        {"stream, name looked up", CCESocket::SOCKET_TCP, true, 0},
        {"stream, half second", CCESocket::SOCKET_TCP, false, 1},
        {"datagrams, name looked up", CCESocket::SOCKET_UDP, true, 0},
        {"datagrams, half second", CCESocket::SOCKET_UDP, false, 1},
    };

    for (const auto& c : cases) {
        const auto disconnect = [this] { std::thread([this] { socket.Disconnect(); }).join(); };
        wire.onResolve = [&] {
            if (c.isLookup) disconnect();
        };
        clock.onSleep = [&](std::chrono::milliseconds time) {
            if (!c.isLookup && time == std::chrono::milliseconds(500)) disconnect();
        };
        EXPECT_EQ(open(c.type), c.answer) << c.name;
        EXPECT_EQ(socket.GetSocketState(), CCESocket::SOCKET_NONE) << c.name;
        EXPECT_EQ(socket.IsReaderRunning(), 0) << c.name;
        EXPECT_EQ(wire.lastCall(), "close") << c.name;
    }
}

TEST_F(Socket, DatagramsThatCannotBeConnectedCloseTheSocket) {
    wire.connects = false;
    EXPECT_EQ(open(CCESocket::SOCKET_UDP), 0);
    EXPECT_TRUE(socket.Error());
    EXPECT_EQ(socket.GetSocketState(), CCESocket::SOCKET_NONE);
    EXPECT_EQ(wire.lastCall(), "close");
    EXPECT_EQ(messages.all(), Texts{});
    wire.connects = true;
    EXPECT_EQ(open(CCESocket::SOCKET_UDP), 1) << "it can be created again";
}

TEST_F(Socket, MayBeDisconnectedOrDeletedWhileItPosts) {
    wire.arrivals = {{0, "abc"}, {0, "defg"}};
    messages.on("1065 3 object", [this] { socket.Disconnect(); });
    ASSERT_EQ(open(), 1);
    messages.first(2);
    while (socket.GetSocketState() != CCESocket::SOCKET_NONE)
        std::this_thread::yield();
    while (wire.lastCall() != "close")
        std::this_thread::yield();
    EXPECT_EQ(messages.all(), (Texts{"1068 1", "1065 3 object"}));

    wire.arrivals = {{0, "hi"}, {0, "lost"}};
    auto doomed = std::make_unique<CCESocket>(clock);
    std::atomic<bool> deleted{false};
    std::atomic<bool> mayDelete{false};
    messages.on("1065 2 object", [&] {
        while (!mayDelete.load())
            std::this_thread::yield();
        doomed.reset();
        deleted.store(true);
    });
    ASSERT_EQ(doomed->Create(CCESocket::SOCKET_TCP, &messages), 1);
    ASSERT_EQ(doomed->Connect(L"caster", 1), 1);
    mayDelete.store(true);
    while (!deleted.load())
        std::this_thread::yield();
    EXPECT_EQ(messages.all().back(), "1065 2 object");
    while (wire.lastCall() != "close")
        std::this_thread::yield();
}

TEST_F(Socket, CopiesSettingsNotConnections) {
    wire.arrivals = {{0, "abc"}};
    ASSERT_EQ(open(), 1);
    messages.first(2);
    socket.m_nThird = 7;
    const CVRSSocket copy(socket);
    EXPECT_EQ(copy.m_nThird, 7);
    EXPECT_EQ(copy.GetDataSize(), 3);
    EXPECT_EQ(copy.GetSocketState(), CCESocket::SOCKET_NONE);
    EXPECT_EQ(wire.opened, 1);
}

TEST_F(Socket, KnowsNamesAndAddresses) {
    EXPECT_EQ(socket.GetIPAddress(), L"") << "not open";
    ASSERT_EQ(socket.Create(CCESocket::SOCKET_TCP, nullptr), 1);
    EXPECT_EQ(socket.GetLocalName(), L"controller");
    EXPECT_EQ(socket.GetIPAddress(), L"127.0.0.1");
    EXPECT_EQ(socket.GetPortNumber(), 4242U);
    EXPECT_STREQ(socket.lpGetLocoalAddress(), "127.0.0.1");

    CSockAddrIn address;
    EXPECT_EQ(address.IsNull(), 1);
    EXPECT_EQ(address.CreateFrom(L"caster", 65536, network), 0);
    ASSERT_EQ(address.CreateFrom(L"caster", 2101, network), 1);
    EXPECT_EQ(address.GetIPAddr(), 0xC0A80001U);
    EXPECT_EQ(address.IsLower(CSockAddrIn(0xC0A80001U, 2102)), 1);
    EXPECT_EQ(address.IsGreater(CSockAddrIn(0xC0A80000U, 65535)), 1);
}

}  // namespace
}  // namespace vkcomm
