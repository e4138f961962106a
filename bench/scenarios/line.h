// A receiver's end of a line and a port opened on it.
#pragma once

#include <memory>
#include <thread>
#include <vector>

#include "sim/recording.h"
#include "vkcomm/control/trimble_port.h"
#include "vkcomm/platform/byte_server.h"
#include "vkcomm/platform/message_queue.h"
#include "vkcomm/platform/port_map.h"

namespace vkcomm::bench {

struct Line {
    std::unique_ptr<ByteServer> server;
    std::unique_ptr<CTrimblePort> port;  // closed before its server goes

    unsigned int number() const { return portMap().numberOf(server->address()); }

    // Opens and starts the port; returns when the receiver sees it.
    bool open(MessageTarget& owner) const {
        if (!port->bOpenPort(&owner, number(), 115200)) return false;
        while (server->clients() == 0)
            std::this_thread::yield();
        return true;
    }
};

// Without a server when the system has no more of them.
inline Line makeLine() {
    SystemError error;
    return {openPtyServer(error), std::make_unique<CTrimblePort>()};
}

// Whole frames of a simulated receiver, at least that many bytes.
inline sim::Piece framesOf(const char* family, std::size_t bytes) {
    const sim::Piece recording = sim::makeRecording({.family = family, .seconds = 60});
    sim::Piece frames;
    for (std::size_t i = 0; frames.bytes.size() < bytes; ++i)
        frames.addFrame(recording.frameBytes(i % recording.frames.size()));
    return frames;
}

}  // namespace vkcomm::bench
