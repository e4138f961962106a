#include "vkcomm/platform/listener.h"

#include <memory>

#include "vkcomm/platform/win32/stream_socket.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

std::optional<std::size_t> outcome(int count) {
    if (count >= 0) return static_cast<std::size_t>(count);
    if (::WSAGetLastError() == WSAEWOULDBLOCK) return 0;
    return std::nullopt;
}

class WinConnection final : public Connection {
public:
    explicit WinConnection(SOCKET accepted) : m_socket(accepted) {
        const BOOL on = TRUE;
        const void* value = &on;
        static_cast<void>(
            ::setsockopt(accepted, IPPROTO_TCP, TCP_NODELAY, static_cast<const char*>(value), sizeof on));
    }

    std::optional<std::size_t> read(std::span<unsigned char> buffer) override {
        const int count = m_socket.receive(buffer);
        if (count == 0 && !buffer.empty()) return std::nullopt;
        return outcome(count);
    }

    std::optional<std::size_t> write(ByteSpan bytes) override { return outcome(m_socket.send(bytes)); }

private:
    Socket m_socket;
};

class WinListener final : public Listener {
public:
    explicit WinListener(std::unique_ptr<Socket> socket) : m_socket(std::move(socket)) {}

    std::uint16_t port() const override {
        sockaddr_storage address{};
        int size = sizeof address;
        void* place = &address;
        if (::getsockname(m_socket->get(), static_cast<sockaddr*>(place), &size) != 0) return 0;
        return ::ntohs(address.ss_family == AF_INET6 ? static_cast<sockaddr_in6*>(place)->sin6_port
                                                     : static_cast<sockaddr_in*>(place)->sin_port);
    }

    std::unique_ptr<Connection> accept(std::chrono::milliseconds time) override {
        fd_set sockets{1, {m_socket->get()}};
        const auto milliseconds = static_cast<long>(time.count());
        timeval limit{milliseconds / 1000, milliseconds % 1000 * 1000};
        if (::select(0, &sockets, nullptr, nullptr, time.count() < 0 ? nullptr : &limit) <= 0) return nullptr;
        const SOCKET accepted = ::accept(m_socket->get(), nullptr, nullptr);
        return accepted == INVALID_SOCKET ? nullptr : std::make_unique<WinConnection>(accepted);
    }

private:
    const std::unique_ptr<Socket> m_socket;
};

// 0 or the number of the failure. Others are kept from listening on the same port, which is no matter of course here.
int listenOn(SOCKET socket, const ADDRINFOW& address) {
    constexpr int kBacklog = 16;
    const BOOL on = TRUE;
    const void* value = &on;
    static_cast<void>(
        ::setsockopt(socket, SOL_SOCKET, SO_EXCLUSIVEADDRUSE, static_cast<const char*>(value), sizeof on));
    const bool done = ::bind(socket, address.ai_addr, static_cast<int>(address.ai_addrlen)) == 0 &&
                      ::listen(socket, kBacklog) == 0;
    return done ? 0 : ::WSAGetLastError();
}

}  // namespace

std::unique_ptr<Listener> openListener(const std::string& address, std::uint16_t port, SystemError& error) {
    std::string service;
    appendInteger(service, port);
    const std::string what = "cannot listen on " + address + ":" + service;
    ADDRINFOW wanted{};
    wanted.ai_socktype = SOCK_STREAM;
    wanted.ai_flags = AI_NUMERICHOST | AI_PASSIVE;
    int code = startWinsock();
    const Addresses found = code == 0 ? findAddresses(address, service, wanted, code) : nullptr;
    if (!found) {
        error = systemError(what, WSAEADDRNOTAVAIL);
        return nullptr;
    }
    auto socket = std::make_unique<Socket>(found->ai_family, SOCK_STREAM, IPPROTO_TCP);
    code = socket->isOpen() ? listenOn(socket->get(), *found) : ::WSAGetLastError();
    if (code == 0) return std::make_unique<WinListener>(std::move(socket));
    error = systemError(what, code);
    return nullptr;
}

}  // namespace vkcomm
