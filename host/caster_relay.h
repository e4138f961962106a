// A caster's corrections flowing to a receiver, on a thread of their own.
//
// Threads: start, stop and destruction from one thread; everything else from any. The port's own threads and the host's
// are never held up.
#pragma once

#include <atomic>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "host/correction_relay.h"
#include "host/ntrip_client.h"

namespace vkcomm {

struct CasterRelayOptions {
    NtripOptions caster;
    std::optional<GPSOEMTYPE> receiver;        // see roadOf
    std::chrono::milliseconds mostAge{3000};   // a block that has waited for longer is dropped
    std::chrono::milliseconds ggaAge{10'000};  // an older position is none
    // Both must live as long as the program; null: the machine's network.
    Clock* clock = &systemClock();
    Network* network = nullptr;
};

struct CasterRelayStatus {
    NtripState state = NtripState::kIdle;
    NtripFailure failure = NtripFailure::kNone;  // the last one; none while corrections come
    NtripTotals caster;
    std::map<int, std::uint64_t> messages;  // of RTCM 3 with a good check, by number
    std::uint64_t badChecks = 0;
    RelayCounters relay;
    std::optional<std::chrono::milliseconds> age;  // since corrections came last
};

class CasterRelay {
public:
    // The port must outlive it; see makePortSink for who else may use it.
    CasterRelay(const CasterUrl& caster, CTrimblePort& port, const CasterRelayOptions& options);
    // Ends the thread at once, whatever it waits for.
    ~CasterRelay();

    // Begins to connect, anew after a stop or the end. False when threads cannot be started.
    bool start();
    // Hangs up. What still waits for its road is dropped and counted.
    void stop();

    // Where the receiver is: a GGA sentence with its line end, or nothing when it has no fix.
    void setPosition(std::string gga);

    CasterRelayStatus status() const;
    // What has happened since the last call, in order. Of more than a thousand the oldest are lost.
    std::vector<NtripEvent> takeEvents();

    // True when the caster has refused for good.
    bool isOver() const { return m_isOver.load(); }

private:
    void run();
    void publish();
    std::string position() const;
    void note(const NtripEvent& event);

    const CasterRelayOptions m_options;
    Clock& m_clock;
    NtripClient m_client;
    const std::unique_ptr<CorrectionSink> m_sink;
    CorrectionRelay m_relay;
    std::thread m_thread;
    std::atomic<bool> m_isEnding{false};
    std::atomic<bool> m_isOver{false};

    mutable std::mutex m_lock;  // of what follows
    CasterRelayStatus m_status;
    std::vector<NtripEvent> m_events;
    std::string m_gga;
    std::chrono::milliseconds m_ggaAt{};
};

}  // namespace vkcomm
