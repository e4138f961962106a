#include "vkcomm/platform/network.h"

#include <array>
#include <cstring>
#include <mutex>

#include "vkcomm/platform/win32/stream_socket.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

namespace {

using namespace std::chrono_literals;

// A peer that takes nothing for this long is gone.
constexpr auto kSendStall = 30'000ms;

sockaddr_in toSystem(const SocketAddress& address) {
    sockaddr_in system{};
    system.sin_family = AF_INET;
    system.sin_port = ::htons(address.port);
    system.sin_addr.s_addr = ::htonl(address.address);
    return system;
}

SocketAddress fromSystem(const sockaddr_in& system) {
    return {::ntohl(system.sin_addr.s_addr), ::ntohs(system.sin_port)};
}

// The socket calls take every family's address through the general type.
const sockaddr* general(const sockaddr_in& address) {
    return static_cast<const sockaddr*>(static_cast<const void*>(&address));
}

sockaddr* general(sockaddr_in& address) { return static_cast<sockaddr*>(static_cast<void*>(&address)); }

class WinSocket final : public NetSocket {
public:
    WinSocket(int type, int protocol) : m_socket(AF_INET, type, protocol) {}

    bool isOpen() const { return m_socket.isOpen(); }

    bool setGracefulClose() override {
        const BOOL on = TRUE;
        const linger graceful{};
        return done(set(SO_DONTLINGER, &on, sizeof on) && set(SO_LINGER, &graceful, sizeof graceful),
                    "cannot set how the socket closes");
    }

    bool connect(const SocketAddress& remote) override {
        const sockaddr_in address = toSystem(remote);
        const int code = m_socket.connect(general(address), sizeof address, kForever, m_wake.get());
        if (code != 0) ::WSASetLastError(code);
        return done(code == 0, "cannot connect");
    }

    SocketWait waitReadable(std::chrono::milliseconds time) override {
        switch (m_socket.waitReadable(time, m_wake.get())) {
        case SocketState::kReady: return SocketWait::kReady;
        case SocketState::kTimeout: return SocketWait::kTimeout;
        case SocketState::kWoken: return SocketWait::kInterrupted;
        default: fail("cannot wait for the socket"); return SocketWait::kFailed;
        }
    }

    int receive(std::span<unsigned char> buffer, SocketAddress* sender) override {
        for (;;) {
            sockaddr_in from{};
            int size = sizeof from;
            const int count = m_socket.receive(buffer, general(from), &size);
            if (count >= 0) {
                if (sender && from.sin_family == AF_INET) *sender = fromSystem(from);
                return count;
            }
            if (::WSAGetLastError() != WSAEWOULDBLOCK ||
                m_socket.waitReadable(kForever, m_wake.get()) != SocketState::kReady)
                return fail("cannot receive");
        }
    }

    int send(ByteSpan bytes) override { return sendTo(bytes, nullptr); }

    int sendTo(ByteSpan bytes, const SocketAddress& remote) override {
        const sockaddr_in address = toSystem(remote);
        return sendTo(bytes, &address);
    }

    void shutdown() override { m_socket.shutdown(); }

    void interrupt() override { m_wake.set(); }

    std::optional<SocketAddress> localAddress() const override {
        sockaddr_in address{};
        int size = sizeof address;
        if (::getsockname(m_socket.get(), general(address), &size) != 0) return std::nullopt;
        return fromSystem(address);
    }

    SystemError error() const override {
        const std::lock_guard guard(m_lock);
        return m_error;
    }

private:
    bool set(int option, const void* value, int size) {
        return ::setsockopt(m_socket.get(), SOL_SOCKET, option, static_cast<const char*>(value), size) == 0;
    }

    int sendTo(ByteSpan bytes, const sockaddr_in* remote) {
        for (;;) {
            const int count =
                remote ? m_socket.send(bytes, general(*remote), sizeof *remote) : m_socket.send(bytes);
            if (count >= 0) return count;
            if (::WSAGetLastError() != WSAEWOULDBLOCK) return fail("cannot send");
            const SocketState room = m_socket.waitForRoom(kSendStall, m_wake.get());
            if (room == SocketState::kReady) continue;
            ::WSASetLastError(room == SocketState::kTimeout ? WSAETIMEDOUT : WSAEINTR);
            return fail("cannot send");
        }
    }

    bool done(bool isDone, const char* what) {
        if (!isDone) fail(what);
        return isDone;
    }

    int fail(const char* what) {
        SystemError error = systemError(what, ::WSAGetLastError());
        const std::lock_guard guard(m_lock);
        m_error = std::move(error);
        return -1;
    }

    Socket m_socket;
    KernelEvent m_wake;
    mutable std::mutex m_lock;
    SystemError m_error;
};

class WinNetwork final : public Network {
public:
    bool start() override {
        WSADATA data{};
        if (::WSAStartup(MAKEWORD(2, 2), &data) == 0) return true;
        ::WSACleanup();
        return false;
    }

    void stop() override { ::WSACleanup(); }

    std::unique_ptr<NetSocket> open(SocketKind kind, SystemError& error) override {
        const bool isStream = kind == SocketKind::kStream;
        auto socket = std::make_unique<WinSocket>(isStream ? SOCK_STREAM : SOCK_DGRAM,
                                                  isStream ? IPPROTO_TCP : IPPROTO_UDP);
        if (socket->isOpen()) return socket;
        error = systemError("cannot open a socket", ::WSAGetLastError());
        return nullptr;
    }

    std::optional<std::uint32_t> resolve(const std::string& host) override {
        ADDRINFOW wanted{};
        wanted.ai_family = AF_INET;
        wanted.ai_socktype = SOCK_STREAM;
        if (host.empty()) return std::nullopt;
        int code = 0;
        const Addresses found = findAddresses(host, {}, wanted, code);
        sockaddr_in first{};
        if (!found || found->ai_addrlen < sizeof first) return std::nullopt;
        std::memcpy(&first, found->ai_addr, sizeof first);
        return fromSystem(first).address;
    }

    std::string hostName() override {
        std::array<wchar_t, 256> name{};
        auto size = static_cast<DWORD>(name.size());
        return ::GetComputerNameExW(ComputerNameDnsHostname, name.data(), &size) != 0
                   ? toUtf8(std::wstring_view(name.data(), size))
                   : std::string();
    }
};

}  // namespace

Network& systemNetwork() {
    static WinNetwork network;
    return network;
}

}  // namespace vkcomm
