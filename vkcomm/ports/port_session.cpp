#include "vkcomm/ports/port_session.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace vkcomm {

using namespace std::chrono_literals;

namespace {

constexpr auto kStartTime = 2000ms;
constexpr auto kStopSlice = 200ms;
constexpr int kStopSlices = 10;

}  // namespace

void PortMeter::note(SystemError error, int openError) {
    const std::scoped_lock lock(m_lock);
    m_error = std::move(error);
    m_openError = openError;
}

PortCounters PortMeter::counters() const {
    const std::scoped_lock lock(m_lock);
    return m_counters;
}

SystemError PortMeter::error() const {
    const std::scoped_lock lock(m_lock);
    return m_error;
}

int PortMeter::openError() const {
    const std::scoped_lock lock(m_lock);
    return m_openError;
}

PortSession::Running::Running(PortSession& session, Loop& loop) : m_session(session), m_loop(loop) {
    m_loop.ended.reset();
    m_loop.id = std::this_thread::get_id();
    m_loop.isRunning = true;
    m_loop.started.set();
}

PortSession::Running::~Running() {
    const std::scoped_lock lock(m_session.m_lock);
    if (m_loop.isLeft) m_session.m_setup.meter->count([](PortCounters& counters) { --counters.threadsLeft; });
    m_loop.isLeft = false;
    m_loop.isRunning = false;
    m_loop.ended.set();
}

bool PortSession::expect(std::shared_ptr<CommDevice> device) {
    const std::scoped_lock lock(m_lock);
    m_opening = std::move(device);
    return !m_isClosing;
}

bool PortSession::attach(std::shared_ptr<CommDevice> device) {
    {
        const std::scoped_lock lock(m_lock);
        m_opening.reset();
        if (!m_isClosing) {
            m_device = std::move(device);
            return true;
        }
    }
    device->close();
    return false;
}

void PortSession::attach(std::unique_ptr<ByteFile> file) {
    const std::scoped_lock lock(m_lock);
    m_file = std::move(file);
}

bool PortSession::hasFile() const {
    const std::scoped_lock lock(m_lock);
    return m_file != nullptr;
}

std::unique_ptr<ByteFile> PortSession::takeFile() {
    const std::scoped_lock lock(m_lock);
    return std::move(m_file);
}

std::shared_ptr<CommDevice> PortSession::opening() const {
    const std::scoped_lock lock(m_lock);
    return m_opening;
}

std::shared_ptr<CommDevice> PortSession::device() const {
    const std::scoped_lock lock(m_lock);
    return m_device;
}

bool PortSession::start() {
    if (m_setup.kind == PortKind::kClosed || !startLoop(m_reader, readerLoop())) return false;
    m_hasWriterThread = true;  // before the loop asks
    const bool isStarted = startLoop(m_writer, &PortSession::writeRequests);
    m_hasWriterThread = isStarted;
    return isStarted;
}

PortSession::Run PortSession::readerLoop() const {
    switch (m_setup.kind) {
    case PortKind::kBluetooth: return &PortSession::readBluetooth;
    case PortKind::kPlayback: return &PortSession::playBack;
    default: return &PortSession::readCom;
    }
}

bool PortSession::startLoop(Loop& loop, Run run) {
    {
        const std::scoped_lock lock(m_lock);
        if (m_isClosing) return false;
        try {
            if (!loop.thread.joinable())
                loop.thread = std::thread([self = shared_from_this(), run] { (self.get()->*run)(); });
        } catch (const std::system_error& error) {
            m_setup.meter->note(libraryError("cannot start a thread", error.code().value()));
            return false;
        }
    }
    m_setup.clock->wait(loop.started, kStartTime);
    return true;
}

void PortSession::close() {
    if (!beginClosing()) return;
    m_reader.stop.set();
    closeDevice();
    awaitEnd(m_reader, kStopSlices);
    awaitEnd(m_writer, 1);  // one that was writing ends now that the handle is closed
    detach();
    forgetMessages();
    m_closed.set();
}

// False when another has begun, and is done unless it waits for this very thread.
bool PortSession::beginClosing() {
    bool isPosting = false;
    {
        const std::scoped_lock lock(m_lock);
        if (!std::exchange(m_isClosing, true)) return true;
        isPosting = std::ranges::find(m_posting, std::this_thread::get_id()) != m_posting.end();
    }
    if (!isPosting && !isOwnThread()) m_closed.wait();
    return false;
}

void PortSession::closeDevice() {
    if (const auto opening = this->opening()) opening->close();
    const std::shared_ptr<CommDevice> device = this->device();
    if (!device) return;
    m_writer.stop.set();
    awaitEnd(m_writer, kStopSlices);
    device->setEventMask(0);
    device->purge(kPurgeClearWrite | kPurgeClearRead);
    device->close();
    const std::scoped_lock lock(m_lock);
    m_device.reset();
}

// A thread that closes its own port is not waited for.
void PortSession::awaitEnd(Loop& loop, int slices) {
    for (int slice = 0; slice < slices && loop.isRunning && loop.id != std::this_thread::get_id(); ++slice)
        m_setup.clock->wait(loop.ended, kStopSlice);
}

void PortSession::detach() {
    std::thread over[2];
    {
        std::unique_lock lock(m_lock);
        m_isDetached = true;
        m_posted.wait(lock, [this] { return !isPostedByAnother(); });
        over[0] = leave(m_reader);
        over[1] = leave(m_writer);
    }
    for (std::thread& each : over)
        if (each.joinable()) each.join();
    m_queue.close(discards());
}

// The thread to join if its loop is over. Otherwise the thread goes its own way and is counted until it ends.
std::thread PortSession::leave(Loop& loop) {
    if (loop.thread.joinable() && loop.started.isSet() && !loop.isRunning) return std::move(loop.thread);
    if (loop.thread.joinable()) {
        loop.thread.detach();
        loop.isLeft = true;
        m_setup.meter->count([](PortCounters& counters) { ++counters.threadsLeft; });
    }
    return {};
}

bool PortSession::isOwnThread() const {
    const std::thread::id self = std::this_thread::get_id();
    return (m_reader.isRunning && m_reader.id == self) || (m_writer.isRunning && m_writer.id == self);
}

void PortSession::forgetMessages() const {
    if (!m_setup.owner) return;
    m_setup.owner->forget(WM_PORT_DATA, static_cast<std::intptr_t>(m_setup.port));
    m_setup.owner->forget(WM_PORT_READ_ERROR, m_setup.sender);
    m_setup.owner->forget(WM_PORT_WRITE_ERROR, m_setup.sender);
}

void PortSession::pause(Loop& loop, Milliseconds time) {
    if (!loop.stop.isSet()) m_setup.clock->wait(loop.stop, time);
}

void PortSession::post(unsigned int message, std::uintptr_t wParam, std::intptr_t lParam) {
    {
        const std::scoped_lock lock(m_lock);
        if (m_isDetached || !m_setup.owner) return;
        m_posting.push_back(std::this_thread::get_id());
    }
    m_setup.owner->post(message, wParam, lParam);
    const std::scoped_lock lock(m_lock);
    m_posting.erase(std::ranges::find(m_posting, std::this_thread::get_id()));
    m_posted.notify_all();
}

// A target that closes the port in answer to a message does so inside the post of this thread.
bool PortSession::isPostedByAnother() const {
    const std::thread::id self = std::this_thread::get_id();
    return std::ranges::any_of(m_posting, [self](std::thread::id id) { return id != self; });
}

void PortSession::postError(unsigned int message) { post(message, m_setup.port, m_setup.sender); }

}  // namespace vkcomm
