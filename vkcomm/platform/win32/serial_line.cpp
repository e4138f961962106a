// Serial ports by the system's communication calls, and the Bluetooth driver of handhelds.
//
// The handle is opened overlapped where the system can: otherwise a wait for events would hold up a write and the
// very call that ends the wait.
#include <algorithm>
#include <atomic>
#include <string_view>

#include "vkcomm/platform/win32/line.h"
#include "vkcomm/platform/win32/overlapped.h"
#include "vkcomm/util/numbers.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

namespace {

#ifdef UNDER_CE
constexpr DWORD kOpenFlags = 0;
#else
constexpr DWORD kOpenFlags = FILE_FLAG_OVERLAPPED;
#endif

DWORD outcomeOf(BOOL isDone) { return isDone != 0 ? ERROR_SUCCESS : ::GetLastError(); }

struct Cause {
    DWORD code;
    int openError;
    const char* cure;
};

constexpr Cause kCauses[] = {
    {ERROR_FILE_NOT_FOUND, kErrorNotFound, "is it plugged in and switched on?"},
    {ERROR_PATH_NOT_FOUND, kErrorNotFound, "is it plugged in and switched on?"},
    {ERROR_INVALID_NAME, kErrorNotFound, "it is no serial port; choose another name"},
    {ERROR_INVALID_FUNCTION, kErrorNotFound, "it is no serial port; choose another name"},
    // the system's answer when a port is open already, too
    {ERROR_ACCESS_DENIED, kErrorAccessDenied, "another program holds it, or you may not use it"},
    {ERROR_SHARING_VIOLATION, kErrorBusy, "another program holds it"},
};

Refusal explain(DWORD code) {
    const std::string words = systemError({}, static_cast<int>(code)).text;
    const Cause* cause = std::ranges::find(kCauses, code, &Cause::code);
    if (cause == std::end(kCauses)) return {kErrorNotFunctioning, code, words};
    return {cause->openError, code, words + "; " + cause->cure};
}

// Of "COM5", in any case; 0 for other text.
long comNumber(std::string_view place) {
    constexpr std::string_view kPrefix = "com";
    constexpr std::size_t kMostDigits = 4;
    const std::string_view digits = place.substr(std::min(kPrefix.size(), place.size()));
    const bool isCom =
        std::equal(kPrefix.begin(), kPrefix.end(), place.begin(), place.end() - std::ssize(digits),
                   [](char wanted, char given) { return wanted == (given | 0x20); });
    if (!isCom || digits.size() > kMostDigits || digits.find_first_not_of("0123456789") != digits.npos)
        return 0;
    return parseInteger(digits);
}

// Names with more than one digit are known only by their device path, which a handheld does not have.
std::wstring systemName(const std::string& place) {
    const long number = comNumber(place);
    if (number == 0) return toWide(place);
    std::string name("COM");
    appendInteger(name, number);
#ifndef UNDER_CE
    constexpr long kLastPlainName = 9;
    if (number > kLastPlainName) return toWide("\\\\.\\" + name);
#endif
    return toWide(name + ":");
}

DCB emptyControlBlock() {
    DCB block{};
    block.DCBlength = sizeof block;
    return block;
}

void store(const DCB& block, CommState& state) {
    state = CommState{};
    state.BaudRate = block.BaudRate;
    state.fBinary = block.fBinary;
    state.fDtrControl = block.fDtrControl;
    state.fRtsControl = block.fRtsControl;
    state.fTXContinueOnXoff = block.fTXContinueOnXoff;
    state.fOutX = block.fOutX;
    state.fInX = block.fInX;
    state.ByteSize = block.ByteSize;
    state.Parity = block.Parity;
    state.StopBits = block.StopBits;
}

// What CommState does not have stays as the driver has it.
void apply(const CommState& state, DCB& block) {
    block.BaudRate = state.BaudRate;
    block.fBinary = state.fBinary & 1;
    block.fParity = state.Parity != 0;
    block.fDtrControl = state.fDtrControl & 3;
    block.fRtsControl = state.fRtsControl & 3;
    block.fTXContinueOnXoff = state.fTXContinueOnXoff & 1;
    block.fOutX = state.fOutX & 1;
    block.fInX = state.fInX & 1;
    block.ByteSize = state.ByteSize;
    block.Parity = state.Parity;
    block.StopBits = state.StopBits;
}

class SerialLine : public Line {
public:
    explicit SerialLine(std::wstring name) : m_name(std::move(name)) {}

    SerialLine(const SerialLine&) = delete;
    SerialLine& operator=(const SerialLine&) = delete;

    // Deliberate: a wait that the driver was too dead to end is left to it for ever, since it may still write the
    // outcome.
    ~SerialLine() override {
        m_file.close();
        if (m_isWaiting && ::WaitForSingleObject(m_wait->call.ended(), kLastWords) != WAIT_OBJECT_0)
            static_cast<void>(m_wait.release());
    }

    bool open(std::uint32_t attributes, HANDLE wake, Refusal& refusal) override {
        m_wake = wake;
        ::SetLastError(ERROR_SUCCESS);
        m_file = Handle(::CreateFileW(m_name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                      attributes | kOpenFlags, nullptr));
        const DWORD code = ::GetLastError();
        if (m_file && code == ERROR_ALREADY_EXISTS) m_openError = kErrorAlreadyExists;
        const DWORD cause = m_file ? check() : code;
        if (cause != ERROR_SUCCESS) refusal = explain(cause);
        return cause == ERROR_SUCCESS;
    }

    int openError() const override { return m_openError; }

    DWORD getTimeouts(CommTimeouts& timeouts) override {
        COMMTIMEOUTS now{};
        const DWORD code = outcomeOf(::GetCommTimeouts(file(), &now));
        timeouts = {now.ReadIntervalTimeout, now.ReadTotalTimeoutMultiplier, now.ReadTotalTimeoutConstant,
                    now.WriteTotalTimeoutMultiplier, now.WriteTotalTimeoutConstant};
        return code;
    }

    DWORD setTimeouts(const CommTimeouts& timeouts) override {
        COMMTIMEOUTS wanted{timeouts.readInterval, timeouts.readMultiplier, timeouts.readConstant,
                            timeouts.writeMultiplier, timeouts.writeConstant};
        return outcomeOf(::SetCommTimeouts(file(), &wanted));
    }

    DWORD setEventMask(std::uint32_t mask) override { return outcomeOf(::SetCommMask(file(), mask)); }

    DWORD setQueueSizes(std::uint32_t in, std::uint32_t out) override {
        return outcomeOf(::SetupComm(file(), in, out));
    }

    DWORD getState(CommState& state) override {
        DCB block = emptyControlBlock();
        const DWORD code = outcomeOf(::GetCommState(file(), &block));
        if (code == ERROR_SUCCESS) store(block, state);
        return code;
    }

    DWORD setState(const CommState& state) override {
        DCB block = emptyControlBlock();
        if (::GetCommState(file(), &block) == 0) return ::GetLastError();
        apply(state, block);
        return outcomeOf(::SetCommState(file(), &block));
    }

    DWORD purge(std::uint32_t flags) override { return outcomeOf(::PurgeComm(file(), flags)); }

    DWORD setBreak(bool on) override {
        return outcomeOf(on ? ::SetCommBreak(file()) : ::ClearCommBreak(file()));
    }

    DWORD waitForEvent(std::uint32_t& events, HANDLE released) override {
        if (hasArrived()) {  // a driver tells what comes, not what an earlier read has left
            events = EV_RXCHAR;
            return ERROR_SUCCESS;
        }
        const DWORD code = waitInDriver(released, events);
        const bool isReleased = ::WaitForSingleObject(released, 0) == WAIT_OBJECT_0;
        if (!isReleased && isMistake(code)) return code;
        if (!isReleased && code != ERROR_SUCCESS && code != ERROR_OPERATION_ABORTED) m_isLost = true;
        if (events == 0 && !isReleased && hasArrived()) events = EV_RXCHAR;
        return ERROR_SUCCESS;
    }

    DWORD queued(std::uint32_t& count) override {
        if (!queuedBytes(count)) count = 1;
        return ERROR_SUCCESS;
    }

    DWORD read(std::span<unsigned char> buffer, std::size_t& size) override {
        OverlappedCall call;
        DWORD count = 0;
        const BOOL isDone =
            ::ReadFile(file(), buffer.data(), static_cast<DWORD>(buffer.size()), &count, call.pointer());
        const DWORD code = call.finish(file(), isDone != 0, m_wake, count);
        size = count;
        return count == 0 && isGone() ? kGone : code;
    }

    DWORD write(ByteSpan bytes, std::size_t& written) override {
        OverlappedCall call;
        DWORD count = 0;
        const BOOL isDone =
            ::WriteFile(file(), bytes.data(), static_cast<DWORD>(bytes.size()), &count, call.pointer());
        const DWORD code = call.finish(file(), isDone != 0, m_wake, count);
        written = count;
        return code != ERROR_SUCCESS && isGone() ? kGone : code;
    }

    // The wait that is under way ends with no event.
    void release() override { static_cast<void>(::SetCommMask(file(), 0)); }

protected:
    HANDLE file() const { return m_file.get(); }

    void close() { m_file.close(); }

    // Whether what was opened is what it should be.
    virtual DWORD check() {
        DCB block = emptyControlBlock();
        return outcomeOf(::GetCommState(file(), &block));
    }

private:
    static constexpr DWORD kLastWords = 1000;  // milliseconds

    // A driver writes it whenever it likes while a wait is under way.
    struct PendingWait {
        OverlappedCall call;
        DWORD events = 0;
    };

    // Of two waits at once, or on a handle that is none: neither says anything of the device. With any other number a
    // driver tells that its device has gone, and each has one of its own for that.
    static bool isMistake(DWORD code) {
        return code == ERROR_INVALID_PARAMETER || code == ERROR_INVALID_HANDLE;
    }

    // False when the device has gone.
    bool queuedBytes(std::uint32_t& count) const {
        DWORD errors = 0;
        COMSTAT status{};
        const bool isDone = !m_isLost && ::ClearCommError(file(), &errors, &status) != 0;
        count = isDone ? status.cbInQue : 0;
        return isDone;
    }

    bool isGone() const {
        std::uint32_t count = 0;
        return !queuedBytes(count);
    }

    // Something to read, or the device has gone, which a reader shall find out by reading.
    bool hasArrived() const {
        std::uint32_t count = 0;
        return !queuedBytes(count) || count > 0;
    }

    // Some drivers leave a wait as it is when the device goes or when bytes came between two waits: it is looked at
    // from time to time.
    DWORD waitInDriver(HANDLE released, std::uint32_t& events) {
        constexpr DWORD kLook = 500;
        if (!m_isWaiting) {
            m_wait->events = 0;
            const DWORD code = outcomeOf(::WaitCommEvent(file(), &m_wait->events, m_wait->call.pointer()));
            if (code == ERROR_SUCCESS) events = m_wait->events;
            if (code != ERROR_IO_PENDING) return code;
            m_isWaiting = true;
        }
        const HANDLE awaited[] = {m_wait->call.ended(), released};
        while (::WaitForMultipleObjects(2, awaited, FALSE, kLook) == WAIT_TIMEOUT)
            if (hasArrived()) {
                events = EV_RXCHAR;
                return ERROR_SUCCESS;
            }
        return endWait(events);
    }

    // What has released the waiter has emptied the mask, which ends the wait in a driver that is well.
    DWORD endWait(std::uint32_t& events) {
        const bool hasEnded = ::WaitForSingleObject(m_wait->call.ended(), 0) == WAIT_OBJECT_0;
        if (!hasEnded) m_wait->call.cancel(file());
        if (!hasEnded && ::WaitForSingleObject(m_wait->call.ended(), kLastWords) != WAIT_OBJECT_0)
            return ERROR_OPERATION_ABORTED;
        m_isWaiting = false;
        DWORD count = 0;
        const DWORD code = m_wait->call.result(file(), count);
        if (code == ERROR_SUCCESS) events = m_wait->events;
        return code;
    }

    const std::wstring m_name;
    Handle m_file;
    HANDLE m_wake = nullptr;
    int m_openError = 0;
    std::atomic<bool> m_isLost{false};  // the driver has said so, which it may do once only
    // of the thread that waits
    std::unique_ptr<PendingWait> m_wait = std::make_unique<PendingWait>();
    bool m_isWaiting = false;
};

// The driver "STR1:" of handhelds. Its codes wait in the driver until they are done or the handle is closed.
class HandheldBluetoothLine final : public SerialLine {
public:
    HandheldBluetoothLine() : SerialLine(L"STR1:") {}

    DWORD control(std::uint32_t code, ByteSpan input, std::uint32_t length, std::uint32_t& outcome) override {
        DWORD count = 0;
        void* bytes = const_cast<unsigned char*>(input.data());  // the driver only reads
        const BOOL isDone = ::DeviceIoControl(file(), code, bytes, length, nullptr, 0, &count, nullptr);
        outcome = count;
        return outcomeOf(isDone);
    }

    void release() override { close(); }

private:
    DWORD check() override { return ERROR_SUCCESS; }
};

}  // namespace

std::unique_ptr<Line> makeSerialLine(const std::string& place) {
    const bool isDevicePath = place.starts_with("\\\\.\\");
    if (!isDevicePath && comNumber(place) == 0) return nullptr;
    return std::make_unique<SerialLine>(systemName(place));
}

std::unique_ptr<Line> makeHandheldBluetoothDriver() { return std::make_unique<HandheldBluetoothLine>(); }

}  // namespace vkcomm
