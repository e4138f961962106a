// Connecting stream sockets of any family.
#pragma once

#include <chrono>
#include <sys/socket.h>

#include "vkcomm/platform/posix/line.h"

namespace vkcomm {

// A new non-blocking stream socket; none on failure, which errno tells.
Descriptor makeStreamSocket(int family, int protocol);

// Connects within the given time, unless the descriptor wake (-1: none) becomes readable before. Gives 0 or
// the system's error number; the socket is of no further use then.
int connectStream(int fd, const sockaddr* address, socklen_t size, std::chrono::milliseconds time, int wake);

// A line without settings, over which bytes go both ways: what all connections have in common.
class ConnectionLine : public Line {
public:
    bool peerWaits() const final { return true; }

    int getState(int fd, CommState& state) final;
    int setState(int fd, const CommState& state) final;
    // Discards nothing: what arrives over a connection is never stale.
    int purge(int fd, std::uint32_t flags) final;
    int setBreak(int fd, bool on) final;
    std::ptrdiff_t write(int fd, ByteSpan bytes) final;
    void prepareClose(int fd) final;

private:
    StoredState m_state;
};

}  // namespace vkcomm
