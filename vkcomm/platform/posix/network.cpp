#include "vkcomm/platform/network.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <mutex>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "vkcomm/platform/wake_descriptor.h"

namespace vkcomm {

namespace {

using namespace std::chrono_literals;

// A peer that takes nothing for this long is gone.
constexpr auto kSendStall = 30'000ms;
constexpr auto kForever = -1ms;

sockaddr_in toSystem(const SocketAddress& address) {
    sockaddr_in system{};
    system.sin_family = AF_INET;
    system.sin_port = htons(address.port);
    system.sin_addr.s_addr = htonl(address.address);
    return system;
}

SocketAddress fromSystem(const sockaddr_in& system) {
    return {ntohl(system.sin_addr.s_addr), ntohs(system.sin_port)};
}

// The socket calls take every family's address through the general type.
const sockaddr* general(const sockaddr_in& address) {
    return static_cast<const sockaddr*>(static_cast<const void*>(&address));
}

sockaddr* general(sockaddr_in& address) { return static_cast<sockaddr*>(static_cast<void*>(&address)); }

class PosixSocket final : public NetSocket {
public:
    explicit PosixSocket(int fd) : m_fd(fd) {}

    PosixSocket(const PosixSocket&) = delete;
    PosixSocket& operator=(const PosixSocket&) = delete;

    ~PosixSocket() override { ::close(m_fd); }

    bool setGracefulClose() override {
        const linger graceful{};
        return done(::setsockopt(m_fd, SOL_SOCKET, SO_LINGER, &graceful, sizeof graceful) == 0,
                    "cannot set how the socket closes");
    }

    bool connect(const SocketAddress& remote) override {
        const sockaddr_in address = toSystem(remote);
        if (::connect(m_fd, general(address), sizeof address) == 0) return true;
        if (errno != EINPROGRESS && errno != EINTR) return done(false, "cannot connect");
        switch (waitFor(POLLOUT, kForever)) {
        case SocketWait::kReady: return connectionStands();
        case SocketWait::kInterrupted: errno = ECANCELED; break;
        default: break;
        }
        return done(false, "cannot connect");
    }

    SocketWait waitReadable(std::chrono::milliseconds time) override {
        const SocketWait result = waitFor(POLLIN, time);
        if (result == SocketWait::kFailed) fail("cannot wait for the socket");
        return result;
    }

    int receive(std::span<unsigned char> buffer, SocketAddress* sender) override {
        sockaddr_in from{};
        socklen_t size = sizeof from;
        for (;;) {
            const ssize_t count = ::recvfrom(m_fd, buffer.data(), buffer.size(), 0, general(from), &size);
            if (count >= 0) {
                if (sender && size >= sizeof from) *sender = fromSystem(from);
                return static_cast<int>(count);
            }
            if (errno == EINTR) continue;
            if (errno != EAGAIN || waitFor(POLLIN, kForever) != SocketWait::kReady)
                return fail("cannot receive");
        }
    }

    int send(ByteSpan bytes) override { return sendTo(bytes, nullptr); }

    int sendTo(ByteSpan bytes, const SocketAddress& remote) override {
        const sockaddr_in address = toSystem(remote);
        return sendTo(bytes, &address);
    }

    void shutdown() override { ::shutdown(m_fd, SHUT_RDWR); }

    void interrupt() override { m_wake.set(); }

    std::optional<SocketAddress> localAddress() const override {
        sockaddr_in address{};
        socklen_t size = sizeof address;
        if (::getsockname(m_fd, general(address), &size) != 0) return std::nullopt;
        return fromSystem(address);
    }

    SystemError error() const override {
        const std::lock_guard guard(m_lock);
        return m_error;
    }

private:
    // An interruption is looked at first, so that it holds for ever.
    SocketWait waitFor(short events, std::chrono::milliseconds time) {
        std::array<pollfd, 2> watched{pollfd{m_wake.descriptor(), POLLIN, 0}, pollfd{m_fd, events, 0}};
        for (;;) {
            const int count = ::poll(watched.data(), watched.size(), static_cast<int>(time.count()));
            if (count < 0 && errno == EINTR) continue;
            if (count < 0) return SocketWait::kFailed;
            if (watched[0].revents != 0) return SocketWait::kInterrupted;
            return count == 0 ? SocketWait::kTimeout : SocketWait::kReady;
        }
    }

    bool connectionStands() {
        int cause = 0;
        socklen_t size = sizeof cause;
        if (::getsockopt(m_fd, SOL_SOCKET, SO_ERROR, &cause, &size) != 0) cause = errno;
        errno = cause;
        return done(cause == 0, "cannot connect");
    }

    int sendTo(ByteSpan bytes, const sockaddr_in* remote) {
        for (;;) {
            const ssize_t count = ::sendto(m_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL,
                                           remote ? general(*remote) : nullptr, remote ? sizeof *remote : 0);
            if (count >= 0) return static_cast<int>(count);
            if (errno == EINTR) continue;
            if (errno != EAGAIN) return fail("cannot send");
            const SocketWait wait = waitFor(POLLOUT, kSendStall);
            if (wait == SocketWait::kReady) continue;
            errno = wait == SocketWait::kTimeout ? ETIMEDOUT : ECANCELED;
            return fail("cannot send");
        }
    }

    bool done(bool isDone, const char* what) {
        if (!isDone) fail(what);
        return isDone;
    }

    int fail(const char* what) {
        SystemError error = systemError(what, errno);
        const std::lock_guard guard(m_lock);
        m_error = std::move(error);
        return -1;
    }

    const int m_fd;
    WakeDescriptor m_wake;
    mutable std::mutex m_lock;
    SystemError m_error;
};

class PosixNetwork final : public Network {
public:
    bool start() override { return true; }

    void stop() override {}

    std::unique_ptr<NetSocket> open(SocketKind kind, SystemError& error) override {
        const int type = kind == SocketKind::kStream ? SOCK_STREAM : SOCK_DGRAM;
        const int protocol = kind == SocketKind::kStream ? IPPROTO_TCP : IPPROTO_UDP;
        const int fd = ::socket(AF_INET, type | SOCK_CLOEXEC | SOCK_NONBLOCK, protocol);
        if (fd >= 0) return std::make_unique<PosixSocket>(fd);
        error = systemError("cannot open a socket", errno);
        return nullptr;
    }

    std::optional<std::uint32_t> resolve(const std::string& host) override {
        addrinfo wanted{};
        wanted.ai_family = AF_INET;
        wanted.ai_socktype = SOCK_STREAM;
        addrinfo* found = nullptr;
        if (host.empty() || ::getaddrinfo(host.c_str(), nullptr, &wanted, &found) != 0) return std::nullopt;
        const std::unique_ptr<addrinfo, void (*)(addrinfo*)> all(found, ::freeaddrinfo);
        sockaddr_in first{};
        if (all->ai_addrlen < sizeof first) return std::nullopt;
        std::copy_n(static_cast<const unsigned char*>(static_cast<const void*>(all->ai_addr)), sizeof first,
                    static_cast<unsigned char*>(static_cast<void*>(&first)));
        return fromSystem(first).address;
    }

    std::string hostName() override {
        std::array<char, 256> name{};
        return ::gethostname(name.data(), name.size() - 1) == 0 ? std::string(name.data()) : std::string();
    }
};

}  // namespace

Network& systemNetwork() {
    static PosixNetwork network;
    return network;
}

}  // namespace vkcomm
