// A simulated NTRIP caster, versions 1 and 2, on a thread of its own.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "sim/caster_protocol.h"
#include "sim/truth.h"
#include "vkcomm/platform/clock.h"
#include "vkcomm/platform/listener.h"

namespace vkcomm::sim {

struct CasterOptions {
    std::vector<CasterMount> mounts{{"SIM", false}, {"VRS", true}};
    std::string user{}, password{};  // both empty: open to everybody
    // What is streamed; null: the observations of a simulated reference station, every second.
    std::shared_ptr<const std::string> file{};
    double bytesPerSecond = 1000.0;  // of a file; 0: as fast as the client reads
    bool loop = false;               // a file again and again; else the connection ends with it
    std::uint64_t seed = 1;          // of the simulated station

    // Faults, in every connection, behind so many bytes of the stream.
    std::optional<std::uint64_t> closeAfter{};  // closes
    std::optional<std::uint64_t> stallAfter{};  // sends no more, but stays connected
    bool drips = false;                         // a byte a second from the first on
};

struct CasterTotals {
    std::uint64_t streams = 0;    // answered with a stream
    std::uint64_t refusals = 0;   // bad requests, wrong credentials, unknown mount points
    std::uint64_t tables = 0;     // source tables asked for
    std::uint64_t positions = 0;  // GGA sentences with a position
    std::uint64_t bytes = 0;      // of streams, taken by the system
};

// A client that does not read gets no more until it does. Operations may be called from any thread.
class Caster {
public:
    // host is the address that the listener listens on, for address(). The clock must outlive the object.
    Caster(const CasterOptions& options, std::unique_ptr<Listener> listener, const std::string& host,
           Clock& clock = systemClock());
    Caster(const Caster&) = delete;
    Caster& operator=(const Caster&) = delete;
    // Stops.
    ~Caster();

    // "ntrip://host:port", without a mount point.
    const std::string& address() const { return m_address; }

    // Serves, once, until stop, which closes all connections.
    void start();
    void stop();

    CasterTotals totals() const;

private:
    class Client;

    void run();

    const CasterOptions m_options;
    const Truth m_truth;
    const std::string m_address;
    Clock& m_clock;
    std::unique_ptr<Listener> m_listener;  // of the thread once it runs
    std::atomic<bool> m_isStopped = false;
    mutable std::mutex m_lock;
    CasterTotals m_totals;
    std::thread m_thread;
};

}  // namespace vkcomm::sim
