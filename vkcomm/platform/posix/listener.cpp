#include "vkcomm/platform/listener.h"

#include <cerrno>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>

#include "vkcomm/platform/posix/stream_socket.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

std::optional<std::size_t> outcome(std::ptrdiff_t count) {
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno == EAGAIN || errno == EINTR) return 0;
    return std::nullopt;
}

class PosixConnection final : public Connection {
public:
    explicit PosixConnection(Descriptor fd) : m_fd(std::move(fd)) {
        const int on = 1;
        static_cast<void>(::setsockopt(m_fd.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on));
    }

    std::optional<std::size_t> read(std::span<unsigned char> buffer) override {
        const std::ptrdiff_t count = ::recv(m_fd.get(), buffer.data(), buffer.size(), 0);
        if (count == 0 && !buffer.empty()) return std::nullopt;
        return outcome(count);
    }

    std::optional<std::size_t> write(ByteSpan bytes) override {
        return outcome(::send(m_fd.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL));
    }

private:
    const Descriptor m_fd;
};

class PosixListener final : public Listener {
public:
    explicit PosixListener(Descriptor fd) : m_fd(std::move(fd)) {}

    std::uint16_t port() const override {
        sockaddr_storage address{};
        socklen_t size = sizeof address;
        void* place = &address;
        if (::getsockname(m_fd.get(), static_cast<sockaddr*>(place), &size) != 0) return 0;
        return ntohs(address.ss_family == AF_INET6 ? static_cast<sockaddr_in6*>(place)->sin6_port
                                                   : static_cast<sockaddr_in*>(place)->sin_port);
    }

    std::unique_ptr<Connection> accept(std::chrono::milliseconds time) override {
        pollfd watched{m_fd.get(), POLLIN, 0};
        if (::poll(&watched, 1, static_cast<int>(time.count())) <= 0) return nullptr;
        Descriptor fd(::accept4(m_fd.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
        return fd ? std::make_unique<PosixConnection>(std::move(fd)) : nullptr;
    }

private:
    const Descriptor m_fd;
};

// 0 or the system's error number.
int listenOn(int fd, const addrinfo& address) {
    constexpr int kBacklog = 16;
    const int on = 1;
    static_cast<void>(::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on));
    const bool done = ::bind(fd, address.ai_addr, address.ai_addrlen) == 0 && ::listen(fd, kBacklog) == 0;
    return done ? 0 : errno;
}

}  // namespace

std::unique_ptr<Listener> openListener(const std::string& address, std::uint16_t port, SystemError& error) {
    std::string service;
    appendInteger(service, port);
    const std::string what = "cannot listen on " + address + ":" + service;
    addrinfo wanted{};
    wanted.ai_socktype = SOCK_STREAM;
    wanted.ai_flags = AI_NUMERICSERV | AI_NUMERICHOST | AI_PASSIVE;
    addrinfo* found = nullptr;
    if (::getaddrinfo(address.c_str(), service.c_str(), &wanted, &found) != 0) {
        error = systemError(what, EADDRNOTAVAIL);
        return nullptr;
    }
    const std::unique_ptr<addrinfo, void (*)(addrinfo*)> addresses(found, ::freeaddrinfo);
    Descriptor fd = makeStreamSocket(found->ai_family, found->ai_protocol);
    const int code = fd ? listenOn(fd.get(), *found) : errno;
    if (code == 0) return std::make_unique<PosixListener>(std::move(fd));
    error = systemError(what, code);
    return nullptr;
}

}  // namespace vkcomm
