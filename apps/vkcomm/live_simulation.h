// The live form of the verb simulate: a receiver on a pseudo-terminal or a TCP port.
#pragma once

#include <string>

#include "sim/live_stream.h"

namespace CLI {
class App;
}

namespace vkcomm {

// The group of the options in the help text.
inline constexpr const char* kLiveGroup = "Live";

struct LiveSimulation {
    bool pty = false;
    std::string tcp;  // PORT or ADDRESS:PORT; empty: none
    sim::LiveOptions stream;
    std::string runFor;  // durations; empty: until stopped
    std::string unplugAfter;

    bool isChosen() const { return pty || !tcp.empty(); }
};

void addLiveOptions(CLI::App& verb, LiveSimulation& choice);

// Streams until the end, and gives the exit status. Family, rate and seed of choice.stream must be set.
int simulateLive(const LiveSimulation& choice);

}  // namespace vkcomm
