// The live form of the verb simulate: a receiver on a pseudo-terminal or a TCP port.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "sim/live_stream.h"

namespace CLI {
class App;
}

namespace vkcomm {

// The group of the options in the help text.
inline constexpr const char* kLiveGroup = "Live";

// PORT or ADDRESS:PORT; without an address only programs of this machine can attach.
struct TcpPlace {
    std::string address;
    std::uint16_t port;
};

std::optional<TcpPlace> parseTcpPlace(const std::string& text);

// What is wrong with the value of an option; empty when nothing is.
std::string checkTcpPlace(const std::string& text);

struct LiveSimulation {
    bool pty = false;
    std::string tcp;  // PORT or ADDRESS:PORT; empty: none
    sim::LiveOptions stream;
    std::string runFor;  // durations; empty: until stopped
    std::string unplugAfter;
    bool printState = false;  // whenever commands have come

    bool isChosen() const { return pty || !tcp.empty(); }
};

void addLiveOptions(CLI::App& verb, LiveSimulation& choice);

// Streams until the end, tells what commands have come, and gives the exit status. Family, rate and seed of choice.stream must be set.
int simulateLive(const LiveSimulation& choice);

}  // namespace vkcomm
