#include "sim/live_simulator.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vkcomm::sim {

using namespace std::chrono_literals;

LiveSimulator::LiveSimulator(const LiveOptions& options, std::unique_ptr<ByteServer> server, Clock& clock)
    : m_address(server->address()), m_clock(clock), m_stream(options), m_server(std::move(server)) {}

LiveSimulator::~LiveSimulator() { stop(); }

void LiveSimulator::start(std::optional<std::chrono::milliseconds> unplugAfter) {
    m_isRunning = true;
    m_thread = std::thread([this, unplugAfter] { run(unplugAfter); });
}

void LiveSimulator::stop() {
    m_stop.set();
    if (m_thread.joinable()) m_thread.join();
}

LiveTotals LiveSimulator::totals() const {
    const std::scoped_lock lock(m_lock);
    return m_totals;
}

void LiveSimulator::run(std::optional<std::chrono::milliseconds> unplugAfter) {
    const auto start = m_clock.now();
    for (;;) {
        const LivePiece piece = m_stream.next();
        const std::chrono::milliseconds due(piece.dueMilliseconds);
        const bool isLast = unplugAfter && due >= *unplugAfter;
        if (!waitUntil(start + (isLast ? *unplugAfter : due)) || isLast) break;
        send(piece);
    }
    m_server.reset();
    m_isRunning = false;
}

// Meanwhile takes what is sent, so that nobody's write is held up for long. False when stopped.
bool LiveSimulator::waitUntil(std::chrono::milliseconds due) {
    constexpr auto kLongest = 20ms;
    for (auto now = m_clock.now(); now < due; now = m_clock.now()) {
        if (m_clock.wait(m_stop, std::min<std::chrono::milliseconds>(due - now, kLongest))) return false;
        receive();
    }
    return !m_stop.isSet();
}

void LiveSimulator::receive() {
    std::array<unsigned char, 4096> buffer;
    while (const std::size_t size = m_server->read(buffer)) {
        const std::scoped_lock lock(m_lock);
        m_totals.bytesReceived += size;
    }
}

void LiveSimulator::send(const LivePiece& piece) {
    const std::size_t lost = m_server->write(piece.bytes);
    const std::scoped_lock lock(m_lock);
    m_totals.bytesSent += piece.bytes.size();
    m_totals.bytesLost += lost;
    m_totals.frames = m_stream.counts();
}

}  // namespace vkcomm::sim
