// A manual-reset event: set, it stays set and lets everybody through until it is reset.
//
// Any thread may call any operation. Waits with a time limit that a test shall be able to move go through
// Clock::wait; the ones here use real time.
#pragma once

#include <chrono>
#include <mutex>
#include <vector>

#include "vkcomm/export.h"

namespace vkcomm {

class VKCOMM_API Event {
public:
    Event() = default;
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    void set();
    void reset();
    bool isSet() const;

    void wait();
    // True when the event was set in time; zero and negative times only look.
    bool wait(std::chrono::milliseconds time);

private:
    class Sleeper;
    friend VKCOMM_API int waitForAny(Event& first, Event& second);

    void add(Sleeper& sleeper);
    void remove(Sleeper& sleeper);

    mutable std::mutex m_lock;
    std::vector<Sleeper*> m_sleepers;
    bool m_isSet = false;
};

// Waits until one of the events is set: 0 for the first, 1 for the second; the first when both are.
VKCOMM_API int waitForAny(Event& first, Event& second);

}  // namespace vkcomm
