#include "vkcomm/platform/posix/stream_socket.h"

#include <array>
#include <cerrno>
#include <poll.h>

namespace vkcomm {

namespace {

int pendingError(int fd) {
    int code = 0;
    socklen_t size = sizeof code;
    return ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &code, &size) == 0 ? code : errno;
}

}  // namespace

Descriptor makeStreamSocket(int family, int protocol) {
    return Descriptor(::socket(family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, protocol));
}

int connectStream(int fd, const sockaddr* address, socklen_t size, std::chrono::milliseconds time, int wake) {
    using std::chrono::steady_clock;
    if (::connect(fd, address, size) == 0) return 0;
    if (errno != EINPROGRESS && errno != EINTR) return errno;
    const auto end = steady_clock::now() + time;
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - steady_clock::now());
        if (left.count() <= 0) return ETIMEDOUT;
        std::array<pollfd, 2> watched{pollfd{fd, POLLOUT, 0}, pollfd{wake, POLLIN, 0}};
        if (::poll(watched.data(), watched.size(), static_cast<int>(left.count())) < 0 && errno != EINTR)
            return errno;
        if (watched[1].revents != 0) return ECANCELED;
        if (watched[0].revents != 0) return pendingError(fd);
    }
}

int ConnectionLine::getState(int /*fd*/, CommState& state) {
    state = m_state.get();
    return 0;
}

int ConnectionLine::setState(int /*fd*/, const CommState& state) {
    m_state.set(state);
    return 0;
}

int ConnectionLine::purge(int /*fd*/, std::uint32_t /*flags*/) { return 0; }

int ConnectionLine::setBreak(int /*fd*/, bool /*on*/) { return ENOTTY; }

std::ptrdiff_t ConnectionLine::write(int fd, ByteSpan bytes) {
    return ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

void ConnectionLine::prepareClose(int fd) { static_cast<void>(::shutdown(fd, SHUT_RDWR)); }

}  // namespace vkcomm
