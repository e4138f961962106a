// Sockets that are watched by an event.
#include "vkcomm/platform/win32/stream_socket.h"

#include <gtest/gtest.h>

#include <thread>

#include "tests/platform/far_end.h"
#include "vkcomm/platform/win32/line.h"

namespace vkcomm {
namespace {

using namespace test;
using namespace std::chrono_literals;

class StreamSocket : public testing::Test {
protected:
    KernelEvent wake;

    void SetUp() override { ASSERT_EQ(startWinsock(), 0); }
};

// The system tells nobody of a socket that is shut down here, least of all of one without a connection.
TEST_F(StreamSocket, ReleasesTheReaderWhenItIsShut) {
    for (const auto delay : {0ms, 50ms}) {
        Socket socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
        std::thread reader([&] {
            EXPECT_EQ(socket.waitReadable(kForever, wake.get()), SocketState::kReady);
            unsigned char byte[1];
            EXPECT_LT(socket.receive(byte), 1);
            EXPECT_EQ(socket.queued(), 0u);
        });
        std::this_thread::sleep_for(delay);
        socket.shutdown();
        reader.join();
    }
}

TEST_F(StreamSocket, DoesNotWaitForWhatCannotBeWaitedFor) {
    Socket socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
    EXPECT_EQ(socket.waitReadable(kForever, nullptr), SocketState::kFailed);
    SOCKET closed = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    ::closesocket(closed);
    EXPECT_FALSE(Socket(closed).isOpen());
}

TEST_F(StreamSocket, HasConnectedOnceTheOtherEndAnswers) {
    const auto server = makeFarEnd(FarKind::kTcp);
    const std::string place = server->address();
    int code = 0;
    const Addresses found = findAddresses("127.0.0.1", place.substr(place.rfind(':') + 1), ADDRINFOW{}, code);
    ASSERT_TRUE(found);
    Socket socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    EXPECT_FALSE(socket.hasConnected());
    EXPECT_EQ(socket.connect(found->ai_addr, static_cast<int>(found->ai_addrlen), kForever, wake.get()), 0);
    EXPECT_TRUE(socket.hasConnected());

    Socket refused(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    sockaddr_in nobody{};
    nobody.sin_family = AF_INET;
    nobody.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
    nobody.sin_port = ::htons(1);
    const void* place1 = &nobody;
    EXPECT_NE(refused.connect(static_cast<const sockaddr*>(place1), sizeof nobody, kForever, wake.get()), 0);
    EXPECT_FALSE(refused.hasConnected());

    wake.set();
    Socket stopped(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    EXPECT_EQ(stopped.connect(found->ai_addr, static_cast<int>(found->ai_addrlen), kForever, wake.get()),
              WSAEINTR);
}

TEST_F(StreamSocket, BluetoothWithoutAConnectionFailsAtAPaceAndEndsAtOnce) {
    const auto line = makeBluetoothSockets();
    Refusal refusal;
    if (!line->open(0, wake.get(), refusal)) GTEST_SKIP() << refusal.text;
    std::uint32_t outcome = 9;
    EXPECT_EQ(line->control(kControlWait, {}, 0, outcome), kGone);
    EXPECT_EQ(line->control(kControlReset, {}, 6, outcome), DWORD{ERROR_SUCCESS});
    wake.set();
    EXPECT_EQ(line->control(kControlWait, {}, 0, outcome), DWORD{ERROR_OPERATION_ABORTED});
}

}  // namespace
}  // namespace vkcomm
