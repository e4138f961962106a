// Sockets and names, as the socket classes ask for them: IPv4, one object a socket.
//
// Calls that wait (connect, waitReadable, send) return as soon as another thread calls interrupt(), and from
// then on at once; that is how a reader thread is stopped. Nothing throws.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "vkcomm/export.h"
#include "vkcomm/platform/system_error.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm {

// An IPv4 address and port, both in the host's byte order: 127.0.0.1 is 0x7F000001.
struct SocketAddress {
    std::uint32_t address = 0;
    std::uint16_t port = 0;

    // NOLINTNEXTLINE(modernize-use-nullptr): the zero in it is no pointer
    friend auto operator<=>(const SocketAddress&, const SocketAddress&) = default;
};

enum class SocketKind { kStream, kDatagram };
enum class SocketWait { kReady, kTimeout, kInterrupted, kFailed };

// A socket is closed by its destructor. interrupt() may come from any thread; connect, waitReadable and
// receive are for one reading thread, send and sendTo for one writing thread at a time.
class VKCOMM_API NetSocket {
public:
    virtual ~NetSocket();

    // Close returns at once and what was sent still goes out (the graceful close).
    virtual bool setGracefulClose() = 0;

    // Waits until connected, refused or interrupted. A datagram socket then hears this peer only.
    virtual bool connect(const SocketAddress& remote) = 0;

    virtual SocketWait waitReadable(std::chrono::milliseconds time) = 0;
    // Bytes received; 0 when the peer has closed (an empty datagram too); -1 on failure. sender, if not null,
    // is set for datagrams.
    virtual int receive(std::span<unsigned char> buffer, SocketAddress* sender) = 0;

    // Bytes the system has taken, waiting at most 30 s for room; -1 on failure or interruption.
    virtual int send(ByteSpan bytes) = 0;
    virtual int sendTo(ByteSpan bytes, const SocketAddress& remote) = 0;

    // Ends both directions; a thread that waits is released.
    virtual void shutdown() = 0;
    virtual void interrupt() = 0;

    virtual std::optional<SocketAddress> localAddress() const = 0;
    // Of the last call that failed.
    virtual SystemError error() const = 0;
};

class VKCOMM_API Network {
public:
    virtual ~Network();

    // Before and after all other calls; start() is false where the system has no sockets.
    virtual bool start() = 0;
    virtual void stop() = 0;

    // Null on failure, which error tells.
    virtual std::unique_ptr<NetSocket> open(SocketKind kind, SystemError& error) = 0;

    // The first IPv4 address of a name or of dotted text; nothing when it does not resolve. Waits for the
    // resolver.
    virtual std::optional<std::uint32_t> resolve(const std::string& host) = 0;
    // Empty on failure.
    virtual std::string hostName() = 0;
};

// The network of the machine; lives as long as the process.
VKCOMM_API Network& systemNetwork();

}  // namespace vkcomm
