// What a command sequence is made of. Sequences are built without a port, so that a host can show them before
// anything is sent; CTrimblePort sends them.
#pragma once

#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "vkcomm/frames/application_file_fields.h"
#include "vkcomm/frames/frame_bytes.h"

namespace vkcomm {

// One of the receiver's own ports, counted from 1 (com1, A and a are 1), and its rate in bits per second. A line that
// ends at this port must change with it.
struct PortRate {
    int port = 0;
    int baud = 0;
};

// One write to the port.
struct CommandStep {
    std::string what;           // for people: a line without its end, or what a packet does
    Bytes bytes;                // as they leave the port; never empty
    int delay = 0;              // milliseconds that the port waits after them
    bool wrapped = false;       // they travel inside the maker's frame or a NovAtel pass-through line
    bool drain = false;         // the write queue must be empty before the next step
    bool factoryReset = false;  // the receiver loses its settings
    std::optional<PortRate> newRate = {};  // what the receiver listens at from here on
    std::vector<FileField> fields = {};    // of a Trimble application file, on its first step
};

using CommandSteps = std::vector<CommandStep>;

inline void append(CommandSteps& steps, CommandSteps more) {
    steps.insert(steps.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

}  // namespace vkcomm
