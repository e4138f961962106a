#include "vkcomm/platform/comm_device.h"

#include <condition_variable>
#include <mutex>
#include <utility>

#include "vkcomm/platform/device_place.h"
#include "vkcomm/platform/win32/line.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

namespace {

// Passes each call on to the line while the device is open, and lets close wait until nobody is inside any more.
class Win32CommDevice final : public CommDevice {
public:
    Win32CommDevice() { m_release.set(); }

    Win32CommDevice(const Win32CommDevice&) = delete;
    Win32CommDevice& operator=(const Win32CommDevice&) = delete;

    ~Win32CommDevice() override { shut(); }

    bool open(const std::wstring& name, std::uint32_t attributes) override;

    int openError() const override { return m_openError; }

    SystemError lastError() const override {
        const std::scoped_lock lock(m_lock);
        return m_lastError;
    }

    bool getTimeouts(CommTimeouts& timeouts) override {
        return onLine("read the time-outs of", [&](Line& line) { return line.getTimeouts(timeouts); });
    }

    bool setTimeouts(const CommTimeouts& timeouts) override {
        return onLine("set such time-outs of", [&](Line& line) { return line.setTimeouts(timeouts); });
    }

    bool setEventMask(std::uint32_t mask) override;

    bool setQueueSizes(std::uint32_t in, std::uint32_t out) override {
        return onLine("set the queues of", [&](Line& line) { return line.setQueueSizes(in, out); });
    }

    bool getState(CommState& state) override {
        return onLine("read the settings of", [&](Line& line) { return line.getState(state); });
    }

    bool setState(const CommState& state) override {
        return onLine("make these settings of", [&](Line& line) { return line.setState(state); });
    }

    bool purge(std::uint32_t flags) override {
        return onLine("empty the queues of", [&](Line& line) { return line.purge(flags); });
    }

    bool waitForEvent(std::uint32_t& events) override {
        events = 0;
        return onLine("wait for", [&](Line& line) {
            return m_release.isSet() ? ERROR_SUCCESS : line.waitForEvent(events, m_release.get());
        });
    }

    bool bytesQueued(std::uint32_t& count) override {
        count = 0;
        return onLine("ask for the bytes of", [&](Line& line) { return line.queued(count); });
    }

    std::size_t read(std::span<unsigned char> buffer) override {
        std::size_t size = 0;
        onLine("read from", [&](Line& line) { return line.read(buffer, size); });
        return size;
    }

    bool write(ByteSpan bytes, std::size_t& written) override {
        written = 0;
        return onLine("write to", [&](Line& line) { return line.write(bytes, written); });
    }

    bool setBreak() override {
        return onLine("send a break on", [&](Line& line) { return line.setBreak(true); });
    }

    bool clearBreak() override {
        return onLine("end the break on", [&](Line& line) { return line.setBreak(false); });
    }

    bool control(std::uint32_t code, const unsigned char* input, std::uint32_t length,
                 std::uint32_t& outcome) override {
        outcome = 0;
        const ByteSpan bytes = input ? ByteSpan(input, length) : ByteSpan();
        return onLine("control", [&](Line& line) { return line.control(code, bytes, length, outcome); });
    }

    void close() override { shut(); }

    bool peerWaits() const override {
        const std::scoped_lock lock(m_lock);
        return m_line && m_line->peerWaits();
    }

private:
    void shut();
    bool refuse(const Refusal& refusal);
    bool succeed(const char* what, DWORD code);
    template <typename Call>
    bool onLine(const char* what, Call call);

    std::string m_label;  // for people
    int m_openError = 0;
    KernelEvent m_release;  // set while there is no event mask, and for ever once closed
    KernelEvent m_closing;  // set once closed

    mutable std::mutex m_lock;  // for all that follows; never held during a call that waits
    std::condition_variable m_idle;
    std::shared_ptr<Line> m_line;  // null before open and after close
    bool m_isClosed = false;
    int m_uses = 0;
    SystemError m_lastError;
};

bool Win32CommDevice::open(const std::wstring& name, std::uint32_t attributes) {
    const std::string port = toUtf8(name);
    const std::string place = placeOfDevice(port);
    m_label = port.ends_with(':') ? port.substr(0, port.size() - 1) : port;
    if (place != port && place != m_label) m_label += " (" + place + ")";
    const std::shared_ptr<Line> line = makeLine(place);
    if (!line) return refuse({kErrorNotFound, ERROR_FILE_NOT_FOUND, "there is no port of that name"});
    if (!m_release || !m_closing)
        return refuse({kErrorNotFunctioning, ERROR_NO_SYSTEM_RESOURCES, "the system has no handles left"});
    Refusal refusal;
    if (!line->open(attributes, m_closing.get(), refusal)) return refuse(refusal);
    m_openError = line->openError();
    std::unique_lock lock(m_lock);
    if (!m_isClosed) m_line = line;
    if (m_line) return true;
    lock.unlock();
    return refuse({kErrorNotFunctioning, ERROR_OPERATION_ABORTED, "it is closed"});
}

bool Win32CommDevice::refuse(const Refusal& refusal) {
    m_openError = refusal.openError;
    const std::scoped_lock lock(m_lock);
    m_lastError = {"cannot open " + m_label, static_cast<int>(refusal.code), refusal.text};
    return false;
}

// Whoever waits is released first; the handle is closed behind the last of them.
void Win32CommDevice::shut() {
    std::unique_lock lock(m_lock);
    m_isClosed = true;
    m_closing.set();
    const std::shared_ptr<Line> line = std::exchange(m_line, nullptr);
    if (!line) return;
    m_release.set();
    lock.unlock();
    line->release();
    lock.lock();
    m_idle.wait(lock, [this] { return m_uses == 0; });
    lock.unlock();  // closing the handle may take a driver seconds
}

bool Win32CommDevice::succeed(const char* what, DWORD code) {
    if (code == ERROR_SUCCESS) return true;
    SystemError error = systemError("cannot " + (what + (" " + m_label)), static_cast<int>(code));
    if (code == ERROR_INVALID_HANDLE) error.text = "it is closed";
    if (code == kGone) error.text = "the device has gone; is it plugged in and switched on?";
    const std::scoped_lock lock(m_lock);
    m_lastError = std::move(error);
    return false;
}

// A call that fails because the device is closed under it says so.
template <typename Call>
bool Win32CommDevice::onLine(const char* what, Call call) {
    std::shared_ptr<Line> line;
    {
        const std::scoped_lock lock(m_lock);
        line = m_line;
        ++m_uses;
    }
    DWORD code = line ? call(*line) : ERROR_INVALID_HANDLE;
    if (code != ERROR_SUCCESS && m_closing.isSet()) code = ERROR_INVALID_HANDLE;
    const bool isDone = succeed(what, code);
    const std::scoped_lock lock(m_lock);
    line.reset();
    if (--m_uses == 0) m_idle.notify_all();
    return isDone;
}

bool Win32CommDevice::setEventMask(std::uint32_t mask) {
    return onLine("set the events of", [&](Line& line) {
        const DWORD code = line.setEventMask(mask);
        const std::scoped_lock lock(m_lock);
        if (mask == 0)
            m_release.set();
        else if (m_line)
            m_release.reset();
        return code;
    });
}

class Win32CommDevices final : public CommDevices {
public:
    std::shared_ptr<CommDevice> make() override { return std::make_shared<Win32CommDevice>(); }
};

}  // namespace

CommDevices& systemCommDevices() {
    static Win32CommDevices devices;
    return devices;
}

}  // namespace vkcomm
