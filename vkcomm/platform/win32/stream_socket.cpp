#include "vkcomm/platform/win32/stream_socket.h"

#include <algorithm>
#include <climits>
#include <utility>

#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using namespace std::chrono_literals;

// A moment, or none for kForever.
class Deadline {
public:
    explicit Deadline(milliseconds time) : m_isForever(time < 0ms), m_end(steady_clock::now() + time) {}

    bool isOver() const { return !m_isForever && steady_clock::now() >= m_end; }

    DWORD left() const {
        if (m_isForever) return INFINITE;
        const auto left = std::chrono::ceil<milliseconds>(m_end - steady_clock::now());
        return static_cast<DWORD>(std::clamp<long long>(left.count(), 0, INT_MAX));
    }

private:
    const bool m_isForever;
    const steady_clock::time_point m_end;
};

bool isSet(HANDLE event) { return ::WaitForSingleObject(event, 0) == WAIT_OBJECT_0; }

// 1 ready, 0 not within the time, -1 failed.
int selectOne(SOCKET socket, bool forWriting, milliseconds time) {
    fd_set sockets{1, {socket}};
    timeval limit{0, static_cast<long>(time.count()) * 1000};
    return ::select(0, forWriting ? nullptr : &sockets, forWriting ? &sockets : nullptr, nullptr, &limit);
}

int length(std::size_t size) { return static_cast<int>(std::min<std::size_t>(size, INT_MAX)); }

}  // namespace

Socket::Socket(int family, int type, int protocol) : Socket(::socket(family, type, protocol)) {}

// Watching a socket by an event makes it non-blocking; one that cannot be watched is of no use.
Socket::Socket(SOCKET accepted) : m_socket(accepted) {
    if (!isOpen() || ::WSAEventSelect(m_socket, m_changed.get(), FD_CONNECT | FD_READ | FD_CLOSE) == 0)
        return;
    const int code = ::WSAGetLastError();
    ::closesocket(std::exchange(m_socket, INVALID_SOCKET));
    ::WSASetLastError(code);
}

Socket::~Socket() {
    if (isOpen()) ::closesocket(m_socket);
}

int Socket::connect(const sockaddr* address, int size, milliseconds time, HANDLE wake) {
    if (::connect(m_socket, address, size) == 0) {
        m_hasConnected = true;
        return 0;
    }
    if (const int code = ::WSAGetLastError(); code != WSAEWOULDBLOCK) return code;
    const HANDLE awaited[] = {wake, m_changed.get()};
    const Deadline end(time);
    for (;;) {
        switch (::WaitForMultipleObjects(2, awaited, FALSE, end.left())) {
        case WAIT_OBJECT_0: return WSAEINTR;
        case WAIT_OBJECT_0 + 1: break;
        default: return WSAETIMEDOUT;
        }
        WSANETWORKEVENTS happened{};
        if (::WSAEnumNetworkEvents(m_socket, m_changed.get(), &happened) != 0) return ::WSAGetLastError();
        if ((happened.lNetworkEvents & FD_CONNECT) == 0) continue;
        m_hasConnected = happened.iErrorCode[FD_CONNECT_BIT] == 0;
        return happened.iErrorCode[FD_CONNECT_BIT];
    }
}

// The event tells of changes, which only a call that receives makes it tell again: whether there is something is
// looked at behind each reset and before each wait.
SocketState Socket::waitReadable(milliseconds time, HANDLE wake) {
    const HANDLE awaited[] = {wake, m_changed.get()};
    const Deadline end(time);
    for (;;) {
        if (isSet(wake)) return SocketState::kWoken;
        m_changed.reset();
        if (m_isShut) return SocketState::kReady;
        const int ready = selectOne(m_socket, false, 0ms);
        if (ready != 0) return ready > 0 ? SocketState::kReady : SocketState::kFailed;
        switch (::WaitForMultipleObjects(2, awaited, FALSE, end.left())) {
        case WAIT_TIMEOUT: return SocketState::kTimeout;
        case WAIT_FAILED: return SocketState::kFailed;
        default: break;
        }
    }
}

int Socket::receive(std::span<unsigned char> buffer, sockaddr* sender, int* senderSize) {
    void* bytes = buffer.data();
    const int size = length(buffer.size());
    const int count = ::recvfrom(m_socket, static_cast<char*>(bytes), size, 0, sender, senderSize);
    return count < 0 && ::WSAGetLastError() == WSAEMSGSIZE ? size : count;
}

std::size_t Socket::queued() const {
    u_long count = 0;
    return !m_isShut && ::ioctlsocket(m_socket, FIONREAD, &count) == 0 ? count : 0;
}

int Socket::send(ByteSpan bytes, const sockaddr* remote, int remoteSize) {
    const void* start = bytes.data();
    const auto* text = static_cast<const char*>(start);
    return remote ? ::sendto(m_socket, text, length(bytes.size()), 0, remote, remoteSize)
                  : ::send(m_socket, text, length(bytes.size()), 0);
}

// A socket has one event, which is the reader's: whoever finds no room, which is rare, looks again and again.
SocketState Socket::waitForRoom(milliseconds time, HANDLE wake) {
    constexpr milliseconds kLook = 20ms;
    const Deadline end(time);
    while (!isSet(wake)) {
        const int ready = selectOne(m_socket, true, kLook);
        if (ready != 0) return ready > 0 ? SocketState::kReady : SocketState::kFailed;
        if (end.isOver()) return SocketState::kTimeout;
    }
    return SocketState::kWoken;
}

// The system tells the event what the other end does, not what happens here.
void Socket::shutdown() {
    m_isShut = true;
    static_cast<void>(::shutdown(m_socket, SD_BOTH));
    m_changed.set();
}

Addresses findAddresses(const std::string& host, const std::string& service, const ADDRINFOW& wanted,
                        int& code) {
    ADDRINFOW* found = nullptr;
    code = ::GetAddrInfoW(toWide(host).c_str(), service.empty() ? nullptr : toWide(service).c_str(), &wanted,
                          &found);
    return Addresses(code == 0 ? found : nullptr);
}

int startWinsock() {
    static const int code = [] {
        WSADATA data{};
        return ::WSAStartup(MAKEWORD(2, 2), &data);
    }();
    return code;
}

}  // namespace vkcomm
