// The far end of a line: what stands in for a receiver serves its bytes here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "vkcomm/export.h"
#include "vkcomm/platform/system_error.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm {

// Nothing here waits or throws. The destructor unplugs whoever is attached. One thread at a time.
class VKCOMM_API ByteServer {
public:
    virtual ~ByteServer();

    // What a program opens: the path of a pseudo-terminal, or "tcp://address:port".
    virtual std::string address() const = 0;

    // Lets those who wait attach; the number of programs attached now (a pseudo-terminal: 0 or 1).
    virtual std::size_t clients() = 0;

    // Sends to everybody attached, as a wire does: who is not attached or does not read loses bytes. Gives the
    // number of bytes that somebody lost in this call.
    virtual std::size_t write(ByteSpan bytes) = 0;

    // The next bytes that somebody has sent; 0 when there are none.
    virtual std::size_t read(std::span<unsigned char> buffer) = 0;

    // Bits per second that whoever is attached has set for the line; 0 where lines have no rate.
    virtual std::uint32_t lineRate() { return 0; }
};

// A new pseudo-terminal, without echo and line editing. Null on failure.
VKCOMM_API std::unique_ptr<ByteServer> openPtyServer(SystemError& error);

// For programs of this machine: a pseudo-terminal where the system has them, else a TCP port that it alone reaches.
VKCOMM_API std::unique_ptr<ByteServer> openLocalServer(SystemError& error);

// Listens on a port of the given local address, as text; port 0 takes a free one. Null on failure.
VKCOMM_API std::unique_ptr<ByteServer> openTcpServer(const std::string& address, std::uint16_t port,
                                                     SystemError& error);

}  // namespace vkcomm
