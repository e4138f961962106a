// The clock that all waiting in the library goes through.
#pragma once

#include <chrono>

#include "vkcomm/export.h"

namespace vkcomm {

class Event;

// Now and sleep. A host uses systemClock(); tests and file readers give an object of their own that moves as
// they like. Implementations must be safe to call from any thread.
class VKCOMM_API Clock {
public:
    virtual ~Clock();

    // Monotonic time since an arbitrary start.
    virtual std::chrono::milliseconds now() = 0;
    // Blocks the calling thread for the given time; zero and negative times return at once.
    virtual void sleep(std::chrono::milliseconds time) = 0;
    // Sleeps until the event is set, at most the given time; true when it is set. This one uses real time: a
    // clock that moves otherwise replaces it.
    virtual bool wait(Event& event, std::chrono::milliseconds time);
};

// The clock of the machine; lives as long as the process.
VKCOMM_API Clock& systemClock();

}  // namespace vkcomm
