// A simulated receiver that streams to whoever attaches, and obeys them, on a thread of its own.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "sim/commanded_receiver.h"
#include "sim/live_stream.h"
#include "sim/random.h"
#include "sim/rover_quality.h"
#include "vkcomm/platform/byte_server.h"
#include "vkcomm/platform/clock.h"
#include "vkcomm/platform/event.h"

namespace vkcomm::sim {

struct LiveTotals {
    LiveCounts frames;
    std::uint64_t bytesSent = 0;
    std::uint64_t bytesLost = 0;  // sent while nobody was attached, or to somebody who did not read
    std::uint64_t bytesReceived = 0;
    std::uint64_t bytesGarbled = 0;  // received at another rate than the port's
};

// What has become of the commands that were sent to the receiver.
struct CommandTally {
    std::uint64_t obeyed = 0;
    std::uint64_t refused = 0;
    std::string state;               // of the receiver, see CommandedReceiver
    std::vector<CommandNote> notes;  // oldest first, as many as are kept

    std::uint64_t count() const { return obeyed + refused; }
};

// What is sent to it is commands, whose answers go out behind a whole epoch, or corrections. With a rate given, a program
// whose line has another one than the receiver's port gets garbage and is not understood; a command may change the port's,
// as soon as it is answered. Operations may be called from any thread.
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

    // With the notes behind the first seen ones.
    CommandTally commands(std::uint64_t seen = 0) const;

private:
    void run(std::optional<std::chrono::milliseconds> unplugAfter);
    bool waitUntil(std::chrono::milliseconds due);
    void receive();
    void obey(ByteSpan bytes);
    void obeyAtRate(ByteSpan bytes, std::uint32_t rate, Reaction& reaction);
    void answer();
    void send(const LivePiece& piece);
    void write(ByteSpan bytes);
    std::uint32_t theirRate();
    std::uint32_t portRate() const;

    const std::string m_address;
    Clock& m_clock;
    LiveStream m_stream;  // of the thread, as are those up to m_betweenEpochs
    std::unique_ptr<ByteServer> m_server;
    RoverQuality m_rover;
    const std::uint32_t m_firstRate;
    std::uint32_t m_rate;                  // at which the receiver sends; 0: whatever theirs is
    Random m_random;                       // for garbage
    std::vector<unsigned char> m_answers;  // that wait for the end of an epoch
    bool m_betweenEpochs = true;
    Event m_stop;
    std::atomic<bool> m_isRunning = false;
    mutable std::mutex m_lock;
    LiveTotals m_totals;
    std::unique_ptr<CommandedReceiver> m_receiver;
    std::thread m_thread;
};

}  // namespace vkcomm::sim
