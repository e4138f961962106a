// A simulated receiver that streams to whoever attaches, on a thread of its own.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "sim/live_stream.h"
#include "vkcomm/platform/byte_server.h"
#include "vkcomm/platform/clock.h"
#include "vkcomm/platform/event.h"

namespace vkcomm::sim {

struct LiveTotals {
    LiveCounts frames;
    std::uint64_t bytesSent = 0;
    std::uint64_t bytesLost = 0;  // sent while nobody was attached, or to somebody who did not read
    std::uint64_t bytesReceived = 0;
};

// Whatever is sent to it is read and counted. Operations may be called from any thread.
class LiveSimulator {
public:
    // problemWith(options) must be empty, server not null. The clock must outlive the object.
    LiveSimulator(const LiveOptions& options, std::unique_ptr<ByteServer> server,
                  Clock& clock = systemClock());
    LiveSimulator(const LiveSimulator&) = delete;
    LiveSimulator& operator=(const LiveSimulator&) = delete;
    // Stops.
    ~LiveSimulator();

    // What a program opens to be served.
    const std::string& address() const { return m_address; }

    // Streams, once, for the given time; then the receiver is unplugged. Without a time it streams until stop.
    void start(std::optional<std::chrono::milliseconds> unplugAfter = std::nullopt);
    // Unplugs the receiver and waits for the thread.
    void stop();

    // False before the start and once the receiver is unplugged.
    bool isRunning() const { return m_isRunning; }

    LiveTotals totals() const;

private:
    void run(std::optional<std::chrono::milliseconds> unplugAfter);
    bool waitUntil(std::chrono::milliseconds due);
    void receive();
    void send(const LivePiece& piece);

    const std::string m_address;
    Clock& m_clock;
    LiveStream m_stream;                   // of the thread
    std::unique_ptr<ByteServer> m_server;  // of the thread once it runs
    Event m_stop;
    std::atomic<bool> m_isRunning = false;
    mutable std::mutex m_lock;
    LiveTotals m_totals;
    std::thread m_thread;
};

}  // namespace vkcomm::sim
