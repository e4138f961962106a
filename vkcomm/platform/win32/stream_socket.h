// Sockets that wait together with events.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <span>
#include <string>

#include "vkcomm/platform/win32/handle.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm {

inline constexpr auto kForever = std::chrono::milliseconds(-1);

enum class SocketState { kReady, kTimeout, kWoken, kFailed };

// A non-blocking socket, closed by its destructor. Calls that wait end when their event wake is set, and at once
// when it was set before. One thread connects, waits and receives, another sends. Failures are told as Winsock's
// numbers.
class Socket {
public:
    // isOpen() is false on failure, which WSAGetLastError tells.
    Socket(int family, int type, int protocol);
    explicit Socket(SOCKET accepted);
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    ~Socket();

    bool isOpen() const { return m_socket != INVALID_SOCKET; }

    SOCKET get() const { return m_socket; }

    // 0 or the number of the failure. While a stream connects nobody else may wait for it to be readable.
    int connect(const sockaddr* address, int size, std::chrono::milliseconds time, HANDLE wake);

    // Once connect has succeeded, for good.
    bool hasConnected() const { return m_hasConnected; }

    // Something to receive, the end of the connection included.
    SocketState waitReadable(std::chrono::milliseconds time, HANDLE wake);
    // Bytes received, 0 at the end; -1 on failure, with WSAEWOULDBLOCK when there is nothing. A datagram that is too long
    // is cut.
    int receive(std::span<unsigned char> buffer, sockaddr* sender = nullptr, int* senderSize = nullptr);
    // Bytes that wait to be received.
    std::size_t queued() const;

    // Bytes taken; -1 on failure, with WSAEWOULDBLOCK when there is no room.
    int send(ByteSpan bytes, const sockaddr* remote = nullptr, int remoteSize = 0);
    SocketState waitForRoom(std::chrono::milliseconds time, HANDLE wake);

    // Ends both directions; who waits to receive is released. Any thread.
    void shutdown();

private:
    SOCKET m_socket;
    KernelEvent m_changed;  // for the reading thread
    std::atomic<bool> m_hasConnected{false};
    std::atomic<bool> m_isShut{false};
};

struct AddressesDeleter {
    void operator()(ADDRINFOW* addresses) const { ::FreeAddrInfoW(addresses); }
};

using Addresses = std::unique_ptr<ADDRINFOW, AddressesDeleter>;

// The addresses that a name or the text of an address stands for, host and service in UTF-8; null on failure, which
// code tells. Waits for the resolver.
Addresses findAddresses(const std::string& host, const std::string& service, const ADDRINFOW& wanted,
                        int& code);

// Starts Winsock for as long as the process lives; 0 or the number of the failure.
int startWinsock();

}  // namespace vkcomm
