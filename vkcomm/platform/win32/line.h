// What differs between the kinds of ports: serial driver, network connection, Bluetooth.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "vkcomm/platform/comm_device.h"
#include "vkcomm/platform/win32/handle.h"

namespace vkcomm {

// Why an open was refused: a kError… number, the system's number, and words that include the cure.
struct Refusal {
    int openError = 0;
    DWORD code = 0;
    std::string text;
};

// What a device that has gone fails with, whatever its driver says.
inline constexpr DWORD kGone = ERROR_DEVICE_NOT_CONNECTED;

// Operations give 0 or the system's error number, and mean what those of CommDevice mean; the same threads call
// them. None is called before open has succeeded.
class Line {
public:
    virtual ~Line() = default;

    // wake is set for good when all that waits is to end.
    virtual bool open(std::uint32_t attributes, HANDLE wake, Refusal& refusal) = 0;

    // Whether the other side waits while nothing is read.
    virtual bool peerWaits() const { return false; }

    // Of an open that succeeded: 0 or kErrorAlreadyExists.
    virtual int openError() const { return 0; }

    virtual DWORD getTimeouts(CommTimeouts& timeouts) = 0;
    virtual DWORD setTimeouts(const CommTimeouts& timeouts) = 0;
    virtual DWORD setEventMask(std::uint32_t mask) = 0;
    virtual DWORD setQueueSizes(std::uint32_t in, std::uint32_t out) = 0;
    virtual DWORD getState(CommState& state) = 0;
    virtual DWORD setState(const CommState& state) = 0;
    virtual DWORD purge(std::uint32_t flags) = 0;
    virtual DWORD setBreak(bool on) = 0;

    // Waits until released is set, too. A device that has gone has received something.
    virtual DWORD waitForEvent(std::uint32_t& events, HANDLE released) = 0;
    // At least 1 for a device that has gone.
    virtual DWORD queued(std::uint32_t& count) = 0;
    virtual DWORD read(std::span<unsigned char> buffer, std::size_t& size) = 0;
    virtual DWORD write(ByteSpan bytes, std::size_t& written) = 0;
    virtual DWORD control(std::uint32_t code, ByteSpan input, std::uint32_t length, std::uint32_t& outcome);

    // Lets go of what waits in the driver; wake is set already.
    virtual void release() {}
};

// The line of a place of the port map; null for text that is none. "STR1:" is the Bluetooth driver.
std::unique_ptr<Line> makeLine(const std::string& place);

// Null unless place is "COM5" or a device path ("\\.\CNCA0").
std::unique_ptr<Line> makeSerialLine(const std::string& place);
// Null unless place is "tcp://host:port", where an IPv6 address stands in brackets, or "bt:" and an address of six
// hexadecimal bytes.
std::unique_ptr<Line> makeSocketLine(const std::string& place);
// Where "STR1:" connects: the driver of a handheld, or the Bluetooth sockets of a desktop.
std::unique_ptr<Line> makeHandheldBluetoothDriver();
std::unique_ptr<Line> makeBluetoothSockets();

}  // namespace vkcomm
