// The reading loops of a port: COM device, Bluetooth driver, playback file.
#include <algorithm>
#include <array>
#include <vector>

#include "vkcomm/ports/port_session.h"

namespace vkcomm {

using namespace std::chrono_literals;

namespace {

constexpr std::size_t kComBuffer = 8192;
constexpr std::size_t kLargestRead = 1 << 20;  // whatever the driver says is queued
constexpr std::size_t kReleasedRead = 255;
constexpr std::size_t kBluetoothBuffer = 256;
constexpr std::size_t kPlaybackBuffer = 8192;  // fits into the decoder beside the longest frame
constexpr auto kReaderPause = 200ms;
constexpr auto kNothingQueuedPause = 100ms;
constexpr auto kTick = 100ms;
constexpr auto kRoomPause = 1ms;
constexpr auto kHostPatience = 2000ms;
constexpr int kTicksPerSecond = 10;

std::size_t roomIn(const CNOut& decoder) {
    return static_cast<std::size_t>(CnBuffer::kCapacity - decoder.iBytesInRxBuf());
}

}  // namespace

unsigned int PortSession::readCom() {
    const Running running(*this, m_reader);
    std::array<unsigned char, kComBuffer> buffer{};
    while (const std::shared_ptr<CommDevice> device = this->device())
        if (!comPass(*device, buffer)) break;
    return kEnded;
}

bool PortSession::comPass(CommDevice& device, std::span<unsigned char> buffer) {
    std::uint32_t events = 0;
    device.waitForEvent(events);  // a failed wait counts as one that was released without an event
    if (m_reader.stop.isSet()) return false;

    std::size_t count = 0;
    if (events == 0) {
        count = readDevice(device, buffer.first(kReleasedRead));
        if (count == 0) pause(m_reader, kReaderPause);
    } else if ((events & kEventReceived) != 0) {
        std::uint32_t queued = 0;
        device.bytesQueued(queued);
        if (queued == 0) {
            pause(m_reader, kNothingQueuedPause);
            return true;
        }
        if (device.peerWaits()) {
            queued = std::min(queued, static_cast<std::uint32_t>(buffer.size()));
            if (!awaitHost(queued)) return false;
        }
        count = readQueued(device, buffer, queued);
        if (count == 0) reportReadError(device);
    }
    if (events != kEventReceived || count == 0) pause(m_reader, kReaderPause);
    return true;
}

std::size_t PortSession::readQueued(CommDevice& device, std::span<unsigned char> buffer, std::size_t queued) {
    if (queued <= buffer.size()) return readDevice(device, buffer.first(queued));
    std::vector<unsigned char> larger(std::min(queued, kLargestRead));
    return readDevice(device, larger);
}

std::size_t PortSession::readDevice(CommDevice& device, std::span<unsigned char> buffer) {
    const std::size_t count = device.read(buffer);
    if (count > 0) {
        handOn(buffer.first(count), Log::kYes);
        announce(count);
    }
    return count;
}

unsigned int PortSession::readBluetooth() {
    const Running running(*this, m_reader);
    while (const std::shared_ptr<CommDevice> device = this->device()) {
        std::uint32_t events = 0;
        const bool isWaited = device->control(kControlWait, nullptr, 0, events);
        if (m_reader.stop.isSet() || !this->device()) break;
        if (!isWaited) reportReadError(*device);
        const std::size_t total = (events & kEventDataReady) != 0 ? readAll(*device) : 0;
        if (total > 0) announce(total);
        // A driver that fails, or has nothing ready again and again, must not keep a processor busy.
        if (!isWaited || ((events & kEventDataReady) != 0 && total == 0)) pause(m_reader, kReaderPause);
    }
    return kEnded;
}

std::size_t PortSession::readAll(CommDevice& device) {
    std::array<unsigned char, kBluetoothBuffer> buffer{};
    std::size_t total = 0;
    while (!m_reader.stop.isSet()) {
        if (device.peerWaits() && !awaitHost(buffer.size())) break;
        const std::size_t count = device.read(buffer);
        if (count == 0) break;
        handOn(std::span(buffer).first(count), Log::kNo);
        total += count;
    }
    return total;
}

unsigned int PortSession::playBack() {
    const Running running(*this, m_reader);
    const auto chunk = static_cast<std::size_t>(std::max(1, m_setup.playbackSpeed / kTicksPerSecond));
    std::vector<unsigned char> buffer(std::min(chunk, kPlaybackBuffer));
    const std::unique_ptr<ByteFile> file = takeFile();
    while (file && !m_reader.stop.isSet() && playTick(*file, buffer, chunk))
        pause(m_reader, kTick);
    return kEnded;
}

// What one tick brings, in pieces where it is more than the buffer takes; false at the end of the file.
bool PortSession::playTick(ByteFile& file, std::span<unsigned char> buffer, std::size_t chunk) {
    for (std::size_t played = 0; played < chunk;) {
        const std::span<unsigned char> wanted = buffer.first(std::min(buffer.size(), chunk - played));
        SystemError error;
        const std::size_t count = file.read(wanted, error);
        if (error) m_setup.meter->note(error);
        if (count == 0 || !awaitRoom(count)) return false;
        handOn(wanted.first(count), Log::kNo);
        announce(count);
        if (count < wanted.size()) break;
        played += count;
    }
    return true;
}

// A host that reads slowly slows the playback down; bytes of a file need not be lost. False when told to stop.
bool PortSession::awaitRoom(std::size_t bytes) {
    while (!m_reader.stop.isSet()) {
        if (decoderRoom() >= bytes) return true;
        pause(m_reader, kRoomPause);
    }
    return false;
}

// It slows down the other side of a connection, too. But one that takes nothing is not waited for, until it does: the
// raw log goes on, the end of the connection is seen, and what finds no room is counted as on a line. False when told to
// stop.
bool PortSession::awaitHost(std::size_t bytes) {
    std::size_t room = m_roomLeft;
    Milliseconds since = m_setup.clock->now();
    while (!m_reader.stop.isSet()) {
        if (const std::size_t more = decoderRoom(); more > room) {
            room = more;
            since = m_setup.clock->now();
            m_isHostAway = false;
        }
        if (room >= bytes || m_isHostAway) return true;
        if (m_setup.clock->now() - since >= kHostPatience)
            m_isHostAway = true;
        else
            pause(m_reader, kRoomPause);
    }
    return false;
}

std::size_t PortSession::decoderRoom() const {
    const std::scoped_lock lock(m_lock);
    if (m_isDetached) return 0;
    return roomIn(m_setup.input->decoder);
}

void PortSession::handOn(ByteSpan bytes, Log log) {
    RawLog::File file;
    bool isOverflow = false;
    {
        const std::scoped_lock lock(m_lock);
        if (m_isDetached) return;
        isOverflow =
            m_setup.input->decoder.Set(bytes.data(), static_cast<int>(bytes.size())) != BUFFER_SET_OK;
        m_roomLeft = roomIn(m_setup.input->decoder);
        if (log == Log::kYes) file = m_setup.rawLog->file();
    }
    if (file) m_setup.rawLog->write(file, bytes);
    markReceived();
    m_setup.meter->count([&](PortCounters& counters) {
        counters.received += bytes.size();
        counters.overflows += isOverflow ? 1 : 0;
        counters.overflowBytes += isOverflow ? bytes.size() : 0;
    });
}

// Behind the log: whoever sees the flag finds the bytes there too.
void PortSession::markReceived() {
    const std::scoped_lock lock(m_lock);
    if (!m_isDetached) m_setup.input->isDataReceived = 1;
}

void PortSession::announce(std::size_t bytes) {
    post(WM_PORT_DATA, bytes, static_cast<std::intptr_t>(m_setup.port));
}

void PortSession::reportReadError(CommDevice& device) {
    m_setup.meter->note(device.lastError());
    m_setup.meter->count([](PortCounters& counters) { ++counters.readErrors; });
    postError(WM_PORT_READ_ERROR);
}

}  // namespace vkcomm
