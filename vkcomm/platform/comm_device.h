// What the port engine asks of a communication device, at the grain of the Windows serial calls, so that the
// order of its calls can be seen and tested. One object is one handle.
//
// Threads: one thread reads (waitForEvent, bytesQueued, read, or control with kControlWait), one writes; any
// other thread may at the same time change settings, call setEventMask(0), which releases waitForEvent, and
// close, which releases every call that waits; these then fail, as does each later call. An open that waits for the
// other side is released by close, too. The object must live until the last call has returned. Nothing throws.
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

// Numbers that CommDevice::openError gives on every system.
inline constexpr int kErrorNotFound = 2;         // no such device
inline constexpr int kErrorAccessDenied = 5;     // the user may not
inline constexpr int kErrorNotFunctioning = 31;  // any other cause
inline constexpr int kErrorBusy = 32;            // another program has it
inline constexpr int kErrorAlreadyExists = 183;  // with a device that did open: it was open already

// Attributes of open: a hint of random access, which serial drivers of handhelds are opened with.
inline constexpr std::uint32_t kRandomAccess = 0x10000000;

// Bits of event mask and event word.
inline constexpr std::uint32_t kEventReceived = 0x0001;   // COM: a character has arrived
inline constexpr std::uint32_t kEventDataReady = 0x0004;  // Bluetooth driver: data can be read

// Bits of purge.
inline constexpr std::uint32_t kPurgeAbortWrite = 1;
inline constexpr std::uint32_t kPurgeAbortRead = 2;
inline constexpr std::uint32_t kPurgeClearWrite = 4;
inline constexpr std::uint32_t kPurgeClearRead = 8;

// Codes of the Bluetooth driver "STR1:" for control. Deliberate: their outcome travels as the byte count.
inline constexpr std::uint32_t kControlConnect = 3;  // 6 bytes of address; outcome 1 is a failure
inline constexpr std::uint32_t kControlWait = 4;     // waits; the outcome is the event word
inline constexpr std::uint32_t kControlReset = 7;

// Milliseconds. The widest interval with both read totals 0: a read returns at once with what is there.
// A write has writeConstant + bytes * writeMultiplier.
struct CommTimeouts {
    static constexpr std::uint32_t kReturnAtOnce = 0xFFFFFFFF;

    std::uint32_t readInterval = 0;
    std::uint32_t readMultiplier = 0;
    std::uint32_t readConstant = 0;
    std::uint32_t writeMultiplier = 0;
    std::uint32_t writeConstant = 0;

    friend bool operator==(const CommTimeouts&, const CommTimeouts&) = default;
};

// The members of a device control block that the library sets, under the names that hosts know. What else a
// driver keeps stays as it is.
struct CommState {
    std::uint32_t DCBlength = 28;  // deliberate: the size of the Windows record, as hosts expect it
    std::uint32_t BaudRate = 0;    // bit/s
    std::uint32_t fBinary = 0;     // 0 or 1, as are all f...
    std::uint32_t fDtrControl = 0;
    std::uint32_t fRtsControl = 0;
    std::uint32_t fTXContinueOnXoff = 0;
    std::uint32_t fOutX = 0;
    std::uint32_t fInX = 0;
    unsigned char ByteSize = 0;  // data bits
    unsigned char Parity = 0;    // 0 none, 1 odd, 2 even, 3 mark, 4 space
    unsigned char StopBits = 0;  // 0 one, 1 one and a half, 2 two

    friend bool operator==(const CommState&, const CommState&) = default;
};

// A false result is explained by lastError.
class VKCOMM_API CommDevice {
public:
    virtual ~CommDevice();

    // Opens "COM5:" or "STR1:" for reading and writing, shared with nobody. Called once, before all others.
    virtual bool open(const std::wstring& name, std::uint32_t attributes) = 0;
    // Of open: when it failed a kError… number; when it did not, 0 or kErrorAlreadyExists.
    virtual int openError() const = 0;
    // Of the last call that failed, for people, with the number and words of the system. Any thread.
    virtual SystemError lastError() const = 0;

    virtual bool getTimeouts(CommTimeouts& timeouts) = 0;
    virtual bool setTimeouts(const CommTimeouts& timeouts) = 0;
    virtual bool setEventMask(std::uint32_t mask) = 0;
    virtual bool setQueueSizes(std::uint32_t in, std::uint32_t out) = 0;
    virtual bool getState(CommState& state) = 0;
    virtual bool setState(const CommState& state) = 0;
    virtual bool purge(std::uint32_t flags) = 0;

    // Waits for an event of the mask; events is 0 when setEventMask released the wait, and at once while the mask
    // is 0. A device that has gone reports a received character, then one byte queued, then reads nothing; again
    // at every call.
    virtual bool waitForEvent(std::uint32_t& events) = 0;
    virtual bool bytesQueued(std::uint32_t& count) = 0;
    // Bytes read, by the time-outs; 0 when there are none and on failure.
    virtual std::size_t read(std::span<unsigned char> buffer) = 0;
    // Waits at most as long as the time-outs say; written tells what has gone out, also on failure. True with
    // fewer bytes than given means that time was up.
    virtual bool write(ByteSpan bytes, std::size_t& written) = 0;

    virtual bool setBreak() = 0;
    virtual bool clearBreak() = 0;

    // A code of the driver with its input, which may be null whatever its length. kControlWait waits.
    virtual bool control(std::uint32_t code, const unsigned char* input, std::uint32_t length,
                         std::uint32_t& outcome) = 0;

    virtual void close() = 0;

    // True when nothing is lost while nobody reads: the other side waits, as over a connection. Any thread, after open.
    virtual bool peerWaits() const { return false; }
};

// Makes devices that are not open yet. Any thread.
class VKCOMM_API CommDevices {
public:
    virtual ~CommDevices();
    virtual std::shared_ptr<CommDevice> make() = 0;
};

// The devices of the machine; lives as long as the process.
VKCOMM_API CommDevices& systemCommDevices();

}  // namespace vkcomm
