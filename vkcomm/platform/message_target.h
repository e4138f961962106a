// Where the library posts its window messages.
//
// On Windows a target stands for a window handle; everywhere a MessageQueue is one. Hosts and tests may write
// their own.
#pragma once

#include <cstdint>

#include "vkcomm/export.h"

namespace vkcomm {

// Messages of ports. Deliberate: the data message has its number in lParam and the two errors have it in
// wParam; hosts are written for that.
inline constexpr unsigned int WM_PORT_DATA = 3041;  // wParam bytes received, lParam port number
// A device that said it had bytes and gave none, or a Bluetooth driver whose wait failed.
inline constexpr unsigned int WM_PORT_READ_ERROR = 3045;   // wParam port number, lParam the CSerialPort
inline constexpr unsigned int WM_PORT_WRITE_ERROR = 3046;  // wParam port number, lParam the CSerialPort

// Messages of sockets.
inline constexpr unsigned int WM_SOCKET_DATA = 1065;    // wParam bytes received, lParam the socket
inline constexpr unsigned int WM_SOCKET_CLOSED = 1066;  // wParam last receive count, lParam 0
inline constexpr unsigned int WM_SOCKET_STATUS = 1068;  // wParam 1 connected, 0 refused or closed, 2 error

// Operations may be called from any thread, several at once, and throw nothing. Whoever is given a target does
// not own it: it must outlive the port or socket, or their closing.
class VKCOMM_API MessageTarget {
public:
    virtual ~MessageTarget();

    // Takes the message and returns soon: it must not wait for the host's thread, which may be closing the very
    // port. A target that handles the message at once, on this thread, may call any operation of the port,
    // closing and deleting it included.
    virtual void post(unsigned int message, std::uintptr_t wParam, std::intptr_t lParam) = 0;

    // Drops the messages with that id and lParam which were posted and not fetched yet: their sender is closed.
    virtual void forget(unsigned int message, std::intptr_t lParam) = 0;
};

}  // namespace vkcomm
