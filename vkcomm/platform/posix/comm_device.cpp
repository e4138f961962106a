#include "vkcomm/platform/comm_device.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <poll.h>
#include <sys/ioctl.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "vkcomm/platform/device_place.h"
#include "vkcomm/platform/posix/line.h"
#include "vkcomm/platform/wake_descriptor.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr auto kForever = -1ms;

// Which of the descriptors (each with its events) are ready; waits until one is, or time is up.
template <std::size_t N>
std::array<short, N> pollFor(std::array<pollfd, N> watched, std::chrono::milliseconds time) {
    int count = 0;
    do
        count = ::poll(watched.data(), watched.size(), static_cast<int>(time.count()));
    while (count < 0 && errno == EINTR);
    std::array<short, N> ready{};
    for (std::size_t i = 0; count > 0 && i < N; ++i)
        ready[i] = watched[i].revents;
    return ready;
}

// 0 for a connection whose peer has closed it and for a terminal that has gone, too.
std::uint32_t queuedIn(int fd) {
    int count = 0;
    return ::ioctl(fd, FIONREAD, &count) == 0 && count > 0 ? static_cast<std::uint32_t>(count) : 0;
}

class PosixCommDevice final : public CommDevice {
public:
    PosixCommDevice() { m_release.set(); }

    PosixCommDevice(const PosixCommDevice&) = delete;
    PosixCommDevice& operator=(const PosixCommDevice&) = delete;

    ~PosixCommDevice() override { shut(); }

    bool open(const std::wstring& name, std::uint32_t attributes) override;

    int openError() const override { return m_openError; }

    SystemError lastError() const override;

    bool getTimeouts(CommTimeouts& timeouts) override;
    bool setTimeouts(const CommTimeouts& timeouts) override;
    bool setEventMask(std::uint32_t mask) override;
    bool setQueueSizes(std::uint32_t in, std::uint32_t out) override;
    bool getState(CommState& state) override;
    bool setState(const CommState& state) override;
    bool purge(std::uint32_t flags) override;

    bool waitForEvent(std::uint32_t& events) override;
    bool bytesQueued(std::uint32_t& count) override;
    std::size_t read(std::span<unsigned char> buffer) override;
    bool write(ByteSpan bytes, std::size_t& written) override;

    bool setBreak() override;
    bool clearBreak() override;
    bool control(std::uint32_t code, const unsigned char* input, std::uint32_t length,
                 std::uint32_t& outcome) override;

    void close() override { shut(); }

    bool peerWaits() const override { return m_line && m_line->peerWaits(); }

private:
    class Use;

    using Time = std::optional<steady_clock::time_point>;

    void shut();
    bool refuse(const Refusal& refusal);
    bool succeed(const char* what, int code);
    template <typename Call>
    bool onLine(const char* what, Call call);
    Time writeEnd(std::size_t size) const;
    int writeSome(int fd, ByteSpan bytes, const Time& end, std::size_t& written);
    int waitForRoom(int fd, const Time& end);
    bool waitForData(std::uint32_t& outcome);
    bool connectTo(ByteSpan address, std::uint32_t& outcome);
    bool reset();

    std::string m_label;           // for people
    std::unique_ptr<Line> m_line;  // stays as open made it
    int m_openError = 0;
    WakeDescriptor m_release;  // set while there is no event mask, and for ever once closed
    WakeDescriptor m_closing;  // set once closed

    mutable std::mutex m_lock;  // for all that follows; never held during a call that waits
    std::condition_variable m_idle;
    std::shared_ptr<Descriptor> m_descriptor;  // null before open and after close
    bool m_isClosed = false;
    int m_uses = 0;
    std::uint32_t m_mask = 0;
    std::uint32_t m_queueIn = 0;  // 0: of any size
    CommTimeouts m_timeouts{CommTimeouts::kReturnAtOnce, 0, 0, 10, 1000};
    SystemError m_lastError;
};

// Keeps the descriptor open, and close waiting, for the length of a call.
class PosixCommDevice::Use {
public:
    explicit Use(PosixCommDevice& device) : m_device(device) {
        const std::scoped_lock lock(device.m_lock);
        m_descriptor = device.m_descriptor;
        ++device.m_uses;
    }

    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

    ~Use() {
        const std::scoped_lock lock(m_device.m_lock);
        m_descriptor.reset();
        if (--m_device.m_uses == 0) m_device.m_idle.notify_all();
    }

    explicit operator bool() const { return m_descriptor != nullptr; }

    int fd() const { return m_descriptor->get(); }

private:
    PosixCommDevice& m_device;
    std::shared_ptr<Descriptor> m_descriptor;
};

bool PosixCommDevice::open(const std::wstring& name, std::uint32_t /*attributes*/) {
    const std::string port = toUtf8(name);
    const std::string place = placeOfDevice(port);
    m_label = port.ends_with(':') ? port.substr(0, port.size() - 1) : port;
    if (place != port) m_label += " (" + place + ")";
    m_line = makeLine(place);
    if (!m_line) return refuse({kErrorNotFound, ENODEV, "there is no port of that name"});
    if (m_release.descriptor() < 0 || m_closing.descriptor() < 0)
        return refuse({kErrorNotFunctioning, EMFILE, "the program has too many files open"});
    Refusal refusal;
    Descriptor descriptor = m_line->open(refusal, m_closing.descriptor());
    if (!descriptor) return refuse(refusal);
    std::unique_lock lock(m_lock);
    if (!m_isClosed) m_descriptor = std::make_shared<Descriptor>(std::move(descriptor));
    if (m_descriptor) return true;
    lock.unlock();
    return refuse({kErrorNotFunctioning, ECANCELED, "it is closed"});
}

bool PosixCommDevice::refuse(const Refusal& refusal) {
    m_openError = refusal.openError;
    const std::scoped_lock lock(m_lock);
    m_lastError = {"cannot open " + m_label, refusal.code, refusal.text};
    return false;
}

// Whoever waits is released first, then its descriptor is closed: a number that is closed under a waiting
// thread could be given to another file at once.
void PosixCommDevice::shut() {
    std::unique_lock lock(m_lock);
    m_isClosed = true;
    m_closing.set();
    const std::shared_ptr<Descriptor> descriptor = std::exchange(m_descriptor, nullptr);
    if (!descriptor) return;
    m_release.set();
    lock.unlock();
    m_line->prepareClose(descriptor->get());
    lock.lock();
    m_idle.wait(lock, [this] { return m_uses == 0; });
    lock.unlock();  // closing the descriptor may take a driver seconds
}

SystemError PosixCommDevice::lastError() const {
    const std::scoped_lock lock(m_lock);
    return m_lastError;
}

// Remembers a failure. ENODEV stands for a device that has gone.
bool PosixCommDevice::succeed(const char* what, int code) {
    if (code == 0) return true;
    const std::string words = code == EBADF    ? "it is closed"
                              : code == ENODEV ? "the device has gone; is it plugged in and switched on?"
                                               : std::generic_category().message(code);
    const std::scoped_lock lock(m_lock);
    m_lastError = {"cannot " + (what + (" " + m_label)), code, words};
    return false;
}

template <typename Call>
bool PosixCommDevice::onLine(const char* what, Call call) {
    const Use use(*this);
    return succeed(what, use ? call(use.fd()) : EBADF);
}

bool PosixCommDevice::getTimeouts(CommTimeouts& timeouts) {
    const std::scoped_lock lock(m_lock);
    timeouts = m_timeouts;
    return true;
}

// Deliberate: reads that wait are refused. A reader waits for events, which another thread can end.
bool PosixCommDevice::setTimeouts(const CommTimeouts& timeouts) {
    const bool readsAtOnce = timeouts.readInterval == CommTimeouts::kReturnAtOnce &&
                             timeouts.readMultiplier == 0 && timeouts.readConstant == 0;
    return onLine("set such time-outs of", [&](int) {
        if (!readsAtOnce) return EINVAL;
        const std::scoped_lock lock(m_lock);
        m_timeouts = timeouts;
        return 0;
    });
}

bool PosixCommDevice::setEventMask(std::uint32_t mask) {
    const Use use(*this);
    if (!use) return succeed("set the events of", EBADF);
    const std::scoped_lock lock(m_lock);
    m_mask = mask;
    if (mask == 0)
        m_release.set();
    else if (m_descriptor)
        m_release.reset();
    return true;
}

// The queues are the system's own, which may hold more: what goes beyond the size is told only later.
bool PosixCommDevice::setQueueSizes(std::uint32_t in, std::uint32_t /*out*/) {
    const std::scoped_lock lock(m_lock);
    m_queueIn = in;
    return true;
}

bool PosixCommDevice::getState(CommState& state) {
    return onLine("read the settings of", [&](int fd) { return m_line->getState(fd, state); });
}

bool PosixCommDevice::setState(const CommState& state) {
    return onLine("make these settings of", [&](int fd) { return m_line->setState(fd, state); });
}

bool PosixCommDevice::purge(std::uint32_t flags) {
    return onLine("empty the queues of", [&](int fd) { return m_line->purge(fd, flags); });
}

bool PosixCommDevice::setBreak() {
    return onLine("send a break on", [&](int fd) { return m_line->setBreak(fd, true); });
}

bool PosixCommDevice::clearBreak() {
    return onLine("end the break on", [&](int fd) { return m_line->setBreak(fd, false); });
}

bool PosixCommDevice::waitForEvent(std::uint32_t& events) {
    events = 0;
    const Use use(*this);
    if (!use) return succeed("wait for", EBADF);
    bool wantsInput = false;
    {
        const std::scoped_lock lock(m_lock);
        wantsInput = (m_mask & kEventReceived) != 0;
    }
    const auto ready = pollFor(
        std::array{pollfd{wantsInput ? use.fd() : -1, POLLIN, 0}, pollfd{m_release.descriptor(), POLLIN, 0}},
        kForever);
    if (ready[1] == 0 && ready[0] != 0) events = kEventReceived;
    return true;
}

// A device that has gone is ready to be read but has nothing: one byte is said to be there, so that the reader
// tries and sees. The same answer is right when a byte has arrived in between.
bool PosixCommDevice::bytesQueued(std::uint32_t& count) {
    count = 0;
    return onLine("ask for the bytes of", [&](int fd) {
        count = queuedIn(fd);
        if (count == 0 && pollFor(std::array{pollfd{fd, POLLIN, 0}}, 0ms)[0] != 0) count = 1;
        const std::scoped_lock lock(m_lock);
        if (m_queueIn > 0) count = std::min(count, m_queueIn);
        return 0;
    });
}

std::size_t PosixCommDevice::read(std::span<unsigned char> buffer) {
    std::size_t size = 0;
    onLine("read from", [&](int fd) {
        std::ptrdiff_t count = 0;
        do
            count = ::read(fd, buffer.data(), buffer.size());
        while (count < 0 && errno == EINTR);
        if (count > 0) size = static_cast<std::size_t>(count);
        if (count >= 0) return count == 0 && !buffer.empty() ? ENODEV : 0;
        if (errno == EAGAIN) return 0;
        return errno == EIO ? ENODEV : errno;
    });
    return size;
}

PosixCommDevice::Time PosixCommDevice::writeEnd(std::size_t size) const {
    const std::scoped_lock lock(m_lock);
    const std::uint64_t time = m_timeouts.writeConstant + std::uint64_t{m_timeouts.writeMultiplier} * size;
    if (time == 0) return std::nullopt;
    return steady_clock::now() + std::chrono::milliseconds(time);
}

bool PosixCommDevice::write(ByteSpan bytes, std::size_t& written) {
    written = 0;
    const Time end = writeEnd(bytes.size());
    return onLine("write to", [&](int fd) {
        int code = 0;
        while (code == 0 && written < bytes.size())
            code = writeSome(fd, bytes.subspan(written), end, written);
        return code == ETIMEDOUT ? 0 : code;
    });
}

int PosixCommDevice::writeSome(int fd, ByteSpan bytes, const Time& end, std::size_t& written) {
    const std::ptrdiff_t count = m_line->write(fd, bytes);
    if (count > 0) written += static_cast<std::size_t>(count);
    if (count > 0 || (count < 0 && errno == EINTR)) return 0;
    if (count < 0 && errno != EAGAIN) return errno == EIO || errno == EPIPE ? ENODEV : errno;
    return waitForRoom(fd, end);
}

int PosixCommDevice::waitForRoom(int fd, const Time& end) {
    auto left = kForever;
    if (end) {
        left = std::chrono::ceil<std::chrono::milliseconds>(*end - steady_clock::now());
        if (left <= 0ms) return ETIMEDOUT;
    }
    const auto ready =
        pollFor(std::array{pollfd{fd, POLLOUT, 0}, pollfd{m_closing.descriptor(), POLLIN, 0}}, left);
    return ready[1] != 0 ? EBADF : 0;
}

bool PosixCommDevice::control(std::uint32_t code, const unsigned char* input, std::uint32_t length,
                              std::uint32_t& outcome) {
    outcome = 0;
    if (!m_line || !m_line->isDriver()) return succeed("control", ENOTTY);
    switch (code) {
    case kControlConnect: return connectTo(input ? ByteSpan(input, length) : ByteSpan(), outcome);
    case kControlWait: return waitForData(outcome);
    case kControlReset: return reset();
    default: return succeed("control", EINVAL);
    }
}

// A link that is not connected, or no longer, fails at a pace that a reader can afford to try again at.
bool PosixCommDevice::waitForData(std::uint32_t& outcome) {
    constexpr auto kPace = 1000ms;
    const Use use(*this);
    if (!use) return succeed("wait for", EBADF);
    const pollfd closing{m_closing.descriptor(), POLLIN, 0};
    const auto ready = pollFor(std::array{pollfd{use.fd(), POLLIN, 0}, closing}, kForever);
    if (ready[1] != 0) return succeed("wait for", EBADF);
    if ((ready[0] & POLLIN) != 0 && queuedIn(use.fd()) > 0) {
        outcome = kEventDataReady;
        return true;
    }
    pollFor(std::array{closing}, kPace);
    return succeed("wait for", ENODEV);
}

bool PosixCommDevice::connectTo(ByteSpan address, std::uint32_t& outcome) {
    const bool connected =
        onLine("connect", [&](int fd) { return m_line->connect(fd, address, m_closing.descriptor()); });
    outcome = connected ? 0 : 1;
    return connected;
}

// A socket connects once: a new one takes its place, and who waits for the old one sees its end.
bool PosixCommDevice::reset() {
    Refusal refusal;
    Descriptor fresh = m_line->open(refusal, m_closing.descriptor());
    if (!fresh) return succeed("reset", refusal.code);
    std::shared_ptr<Descriptor> old;  // closed last, behind the lock
    const Use use(*this);
    if (!use) return succeed("reset", EBADF);
    m_line->prepareClose(use.fd());
    const std::scoped_lock lock(m_lock);
    old = m_descriptor;
    if (m_descriptor) m_descriptor = std::make_shared<Descriptor>(std::move(fresh));
    return true;
}

class PosixCommDevices final : public CommDevices {
public:
    std::shared_ptr<CommDevice> make() override { return std::make_shared<PosixCommDevice>(); }
};

}  // namespace

CommDevices& systemCommDevices() {
    static PosixCommDevices devices;
    return devices;
}

}  // namespace vkcomm
