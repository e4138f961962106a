// The clock that all waiting in the library goes through.
#pragma once

#include <chrono>

#include "vkcomm/export.h"

namespace vkcomm {

// Now and sleep. A host uses systemClock(); tests and file readers give an object of their own that moves as
// they like. Implementations must be safe to call from any thread.
class VKCOMM_API Clock {
public:
    virtual ~Clock() = default;

    // Monotonic time since an arbitrary start.
    virtual std::chrono::milliseconds now() = 0;
    // Blocks the calling thread for the given time; zero and negative times return at once.
    virtual void sleep(std::chrono::milliseconds time) = 0;
};

// The clock of the machine; lives as long as the process.
VKCOMM_API Clock& systemClock();

}  // namespace vkcomm
