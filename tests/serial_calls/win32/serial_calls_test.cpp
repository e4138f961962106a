// The system calls that a serial port leads to, seen by a driver in the test's place.
//
// The test is a program of its own because it puts functions of its own where the system's would be linked.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

#include "vkcomm/platform/message_queue.h"
#include "vkcomm/platform/win32/line.h"
#include "vkcomm/ports/my_serial_port.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {
namespace {

using testing::ElementsAre;

// One handle. Calls on a handle that was not opened overlapped follow each other, as the system keeps it: the one
// that comes while a wait is under way is held up. Here it ends the wait instead, so that the test goes on.
class Driver {
public:
    bool wasHeldUp = false;
    DCB block{};
    DWORD controlCount = 0;

    HANDLE open(const wchar_t* name, DWORD access, DWORD share, DWORD disposition, DWORD flags) {
        m_isOverlapped = (flags & FILE_FLAG_OVERLAPPED) != 0;
        handle = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
        note("CreateFileW", toUtf8(std::wstring_view(name)), access, share, disposition,
             flags & ~DWORD{FILE_FLAG_OVERLAPPED});
        return handle;
    }

    template <typename... Parts>
    void note(const char* call, const Parts&... parts) {
        std::ostringstream line;
        line << call;
        ((line << ' ' << parts), ...);
        const std::scoped_lock lock(m_lock);
        enter();
        m_calls.push_back(line.str());
        m_changed.notify_all();
    }

    BOOL wait(DWORD* events, OVERLAPPED* call) {
        std::unique_lock lock(m_lock);
        m_isWaiting = true;
        m_changed.notify_all();
        m_events = events;
        m_call = call;
        if (m_isOverlapped) {
            ::ResetEvent(call->hEvent);
            ::SetLastError(ERROR_IO_PENDING);
            return FALSE;
        }
        m_changed.wait(lock, [this] { return !m_isWaiting; });
        return TRUE;
    }

    // Ends the wait under way with no event.
    void endWait(DWORD code = ERROR_SUCCESS) {
        const std::scoped_lock lock(m_lock);
        if (!m_isWaiting) return;
        m_isWaiting = false;
        m_waitCode = code;
        *m_events = 0;
        if (m_isOverlapped) ::SetEvent(m_call->hEvent);
        m_changed.notify_all();
    }

    DWORD codeOf(const OVERLAPPED* call) {
        const std::scoped_lock lock(m_lock);
        return call == m_call ? m_waitCode : ERROR_SUCCESS;
    }

    void receive(const std::string& text) {
        const std::scoped_lock lock(m_lock);
        m_received += text;
    }

    std::size_t queued() {
        const std::scoped_lock lock(m_lock);
        return m_received.size();
    }

    std::string take(std::size_t size) {
        const std::scoped_lock lock(m_lock);
        std::string text = m_received.substr(0, size);
        m_received.erase(0, size);
        return text;
    }

    void awaitWaiting() {
        std::unique_lock lock(m_lock);
        m_changed.wait(lock, [this] { return m_isWaiting; });
    }

    void awaitCall(const std::string& call) {
        std::unique_lock lock(m_lock);
        m_changed.wait(lock, [&] { return std::ranges::find(m_calls, call) != m_calls.end(); });
    }

    std::vector<std::string> takeCalls() {
        const std::scoped_lock lock(m_lock);
        return std::exchange(m_calls, {});
    }

    HANDLE handle = nullptr;

private:
    void enter() {
        if (m_isOverlapped || !m_isWaiting) return;
        wasHeldUp = true;
        m_isWaiting = false;
    }

    std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<std::string> m_calls;
    bool m_isOverlapped = false;
    bool m_isWaiting = false;
    DWORD* m_events = nullptr;
    OVERLAPPED* m_call = nullptr;
    DWORD m_waitCode = ERROR_SUCCESS;
    std::string m_received;
};

Driver* driver = nullptr;

HANDLE WINAPI createFile(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES, DWORD disposition,
                         DWORD flags, HANDLE) {
    return driver->open(name, access, share, disposition, flags);
}

BOOL WINAPI waitCommEvent(HANDLE, LPDWORD events, LPOVERLAPPED call) { return driver->wait(events, call); }

BOOL WINAPI setCommMask(HANDLE, DWORD mask) {
    driver->note("SetCommMask", mask);
    if (mask == 0) driver->endWait();
    return TRUE;
}

BOOL WINAPI getCommTimeouts(HANDLE, LPCOMMTIMEOUTS times) {
    *times = {};
    driver->note("GetCommTimeouts");
    return TRUE;
}

BOOL WINAPI setCommTimeouts(HANDLE, LPCOMMTIMEOUTS times) {
    driver->note("SetCommTimeouts", times->ReadIntervalTimeout, times->ReadTotalTimeoutMultiplier,
                 times->ReadTotalTimeoutConstant, times->WriteTotalTimeoutMultiplier,
                 times->WriteTotalTimeoutConstant);
    return TRUE;
}

BOOL WINAPI setupComm(HANDLE, DWORD in, DWORD out) {
    driver->note("SetupComm", in, out);
    return TRUE;
}

BOOL WINAPI getCommState(HANDLE, LPDCB block) {
    *block = driver->block;
    driver->note("GetCommState");
    return TRUE;
}

BOOL WINAPI setCommState(HANDLE, LPDCB block) {
    driver->block = *block;
    driver->note("SetCommState", block->BaudRate);
    return TRUE;
}

BOOL WINAPI purgeComm(HANDLE, DWORD flags) {
    driver->note("PurgeComm", flags);
    return TRUE;
}

BOOL WINAPI clearCommError(HANDLE, LPDWORD, LPCOMSTAT status) {
    *status = {};
    status->cbInQue = static_cast<DWORD>(driver->queued());
    return TRUE;
}

BOOL WINAPI readFile(HANDLE, LPVOID bytes, DWORD size, LPDWORD count, LPOVERLAPPED call) {
    const std::string text = driver->take(size);
    driver->note("ReadFile", text);
    std::ranges::copy(text, static_cast<char*>(bytes));
    *count = static_cast<DWORD>(text.size());
    call->InternalHigh = text.size();
    ::SetEvent(call->hEvent);
    return TRUE;
}

BOOL WINAPI writeFile(HANDLE, LPCVOID bytes, DWORD size, LPDWORD count, LPOVERLAPPED call) {
    driver->note("WriteFile", std::string_view(static_cast<const char*>(bytes), size));
    *count = size;
    call->InternalHigh = size;
    ::SetEvent(call->hEvent);
    return TRUE;
}

BOOL WINAPI setCommBreak(HANDLE) {
    driver->note("SetCommBreak");
    return TRUE;
}

BOOL WINAPI clearCommBreak(HANDLE) {
    driver->note("ClearCommBreak");
    return TRUE;
}

BOOL WINAPI deviceIoControl(HANDLE, DWORD code, LPVOID input, DWORD size, LPVOID, DWORD, LPDWORD count,
                            LPOVERLAPPED) {
    const auto* bytes = static_cast<const unsigned char*>(input);
    std::string text;
    for (DWORD each = 0; bytes && each < size; ++each)
        text += std::to_string(bytes[each]) + ' ';
    driver->note("DeviceIoControl", code, text + "of", size);
    *count = driver->controlCount;
    return TRUE;
}

BOOL WINAPI cancelIo(HANDLE, LPOVERLAPPED) { return TRUE; }

BOOL WINAPI overlappedResult(HANDLE, LPOVERLAPPED call, LPDWORD count, BOOL) {
    ::WaitForSingleObject(call->hEvent, INFINITE);
    *count = static_cast<DWORD>(call->InternalHigh);
    const DWORD code = driver->codeOf(call);
    ::SetLastError(code);
    return code == ERROR_SUCCESS ? TRUE : FALSE;
}

}  // namespace

// What calls of the system are linked to.
extern "C" {
decltype(&::CreateFileW) __imp_CreateFileW = createFile;
decltype(&::WaitCommEvent) __imp_WaitCommEvent = waitCommEvent;
decltype(&::SetCommMask) __imp_SetCommMask = setCommMask;
decltype(&::GetCommTimeouts) __imp_GetCommTimeouts = getCommTimeouts;
decltype(&::SetCommTimeouts) __imp_SetCommTimeouts = setCommTimeouts;
decltype(&::SetupComm) __imp_SetupComm = setupComm;
decltype(&::GetCommState) __imp_GetCommState = getCommState;
decltype(&::SetCommState) __imp_SetCommState = setCommState;
decltype(&::PurgeComm) __imp_PurgeComm = purgeComm;
decltype(&::ClearCommError) __imp_ClearCommError = clearCommError;
decltype(&::ReadFile) __imp_ReadFile = readFile;
decltype(&::WriteFile) __imp_WriteFile = writeFile;
decltype(&::SetCommBreak) __imp_SetCommBreak = setCommBreak;
decltype(&::ClearCommBreak) __imp_ClearCommBreak = clearCommBreak;
decltype(&::DeviceIoControl) __imp_DeviceIoControl = deviceIoControl;
decltype(&::CancelIoEx) __imp_CancelIoEx = cancelIo;
decltype(&::GetOverlappedResult) __imp_GetOverlappedResult = overlappedResult;
}

namespace {

// A file that is there, for reading and writing, shared with nobody.
std::string opening(const std::string& name, DWORD attributes) {
    std::ostringstream line;
    line << "CreateFileW " << name << ' ' << (GENERIC_READ | GENERIC_WRITE) << " 0 " << OPEN_EXISTING << ' '
         << attributes;
    return line.str();
}

class SerialCalls : public testing::Test {
protected:
    Driver fake;
    CMySerialPort port;

    void SetUp() override { driver = &fake; }

    void write(const std::string& text) {
        const void* bytes = text.data();
        port.WriteToPort(static_cast<const unsigned char*>(bytes), static_cast<unsigned long>(text.size()), 0,
                         0, 1);
    }
};

TEST_F(SerialCalls, OpeningIsThoseOfTheManualInTheirOrder) {
    fake.block.BaudRate = 4800;
    fake.block.fOutX = 1;
    fake.block.XonChar = 17;
    ASSERT_EQ(port.InitPort(nullptr, 3, 115200), 1);
    EXPECT_THAT(fake.takeCalls(),
                ElementsAre(opening("COM3:", FILE_FLAG_RANDOM_ACCESS), "GetCommState", "GetCommTimeouts",
                            "SetCommTimeouts 4294967295 0 0 10 1000", "SetCommMask 1", "SetupComm 8192 8192",
                            "GetCommState", "GetCommState", "SetCommState 115200", "PurgeComm 15"))
        << "that it is a serial port is asked first; what the driver keeps to itself is asked again";
    EXPECT_EQ(fake.block.ByteSize, 8);
    EXPECT_EQ(fake.block.fBinary, 1u);
    EXPECT_EQ(fake.block.fOutX, 0u);
    EXPECT_EQ(fake.block.XonChar, 17) << "what is not set stays as the driver has it";
    port.vClosePort();
    EXPECT_THAT(fake.takeCalls(), ElementsAre("SetCommMask 0", "PurgeComm 12", "SetCommMask 0"));
    EXPECT_EQ(::WaitForSingleObject(fake.handle, 0), WAIT_FAILED) << "the handle is closed";
}

TEST_F(SerialCalls, LargeNumbersNeedTheDevicePath) {
    port.InitPort(nullptr, 12, 9600);
    EXPECT_EQ(fake.takeCalls().front(), opening("\\\\.\\COM12", FILE_FLAG_RANDOM_ACCESS));
}

TEST_F(SerialCalls, NothingIsHeldUpByTheWaitForEvents) {
    ASSERT_EQ(port.InitPort(nullptr, 3, 9600), 1);
    ASSERT_EQ(port.StartMonitoring(), 1);
    fake.awaitWaiting();
    write("log\r\n");
    fake.awaitCall("WriteFile log\r\n");
    EXPECT_EQ(port.bChangeBaudrate(57600), 1);
    port.vSwitchCommBreak(0, 0);
    fake.awaitCall("SetCommBreak");
    port.vSwitchCommBreak(1, 0);
    fake.awaitCall("ClearCommBreak");
    port.vClosePort();
    EXPECT_FALSE(fake.wasHeldUp);
    EXPECT_EQ(port.bReaderRunning(), 0);
}

TEST_F(SerialCalls, DriversThatTellLessThanTheyShould) {
    const struct {
        const char* name;
        std::function<void(Driver&)> happens;
        unsigned int message;
        std::uintptr_t wParam;
    } rows[] = {
        {"no event though there are bytes",
         [](Driver& each) {
             each.receive("$GGA,");
             each.endWait();
         },
         WM_PORT_DATA, 5},
        {"nothing of bytes between two waits", [](Driver& each) { each.receive("$GGA,"); }, WM_PORT_DATA, 5},
        {"that the device has gone, once and by a number of its own",
         [](Driver& each) { each.endWait(ERROR_ACCESS_DENIED); }, WM_PORT_READ_ERROR, 3},
    };

    for (const auto& row : rows) {
        Driver own;
        driver = &own;
        MessageQueue queue;
        CMySerialPort tested;
        ASSERT_EQ(tested.InitPort(&queue, 3, 9600), 1);
        ASSERT_EQ(tested.StartMonitoring(), 1);
        own.awaitWaiting();
        row.happens(own);
        std::optional<Message> message;
        while (!message)
            message = queue.wait(std::chrono::seconds(1));
        EXPECT_EQ(message->id, row.message) << row.name;
        EXPECT_EQ(message->wParam, row.wParam) << row.name;
        tested.vClosePort();
    }
}

TEST_F(SerialCalls, TheBluetoothDriverOfAHandheldIsLedByCodes) {
    const auto line = makeHandheldBluetoothDriver();
    Refusal refusal;
    ASSERT_TRUE(line->open(0, nullptr, refusal)) << refusal.text;
    const unsigned char address[] = {0, 18, 238, 1, 2, 3};
    std::uint32_t outcome = 0;
    fake.controlCount = 4;
    EXPECT_EQ(line->control(kControlConnect, address, sizeof address, outcome), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(outcome, 4u) << "the count of bytes is the outcome";
    line->control(kControlWait, {}, 0, outcome);
    line->control(kControlReset, {}, sizeof address, outcome);
    line->release();
    EXPECT_THAT(fake.takeCalls(), ElementsAre(opening("STR1:", 0), "DeviceIoControl 3 0 18 238 1 2 3 of 6",
                                              "DeviceIoControl 4 of 0", "DeviceIoControl 7 of 6"));
    EXPECT_EQ(::WaitForSingleObject(fake.handle, 0), WAIT_FAILED) << "only closing the handle ends its wait";
}

}  // namespace
}  // namespace vkcomm
