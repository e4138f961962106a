// Stream connections that others make to this program.
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

// A connection that stands; its destructor closes it. Nothing waits or throws. One thread at a time.
class VKCOMM_API Connection {
public:
    virtual ~Connection();

    // Bytes read, 0 when none are there; nothing when the peer has closed or the connection broke.
    virtual std::optional<std::size_t> read(std::span<unsigned char> buffer) = 0;
    // Bytes taken, fewer than given when there is no room; nothing when the connection is gone.
    virtual std::optional<std::size_t> write(ByteSpan bytes) = 0;
};

class VKCOMM_API Listener {
public:
    virtual ~Listener();

    virtual std::uint16_t port() const = 0;
    // The next connection, waiting for it at most the given time; null when there is none.
    virtual std::unique_ptr<Connection> accept(std::chrono::milliseconds time) = 0;
};

// Listens on a port of the given local address, as text; port 0 takes a free one. Null on failure.
VKCOMM_API std::unique_ptr<Listener> openListener(const std::string& address, std::uint16_t port,
                                                  SystemError& error);

}  // namespace vkcomm
