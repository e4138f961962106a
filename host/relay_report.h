// How corrections flow from a caster to a receiver, as a line for people or a JSON object.
#pragma once

#include <chrono>
#include <string>

#include "host/caster_relay.h"
#include "host/receiver_snapshot.h"

namespace vkcomm {

// One line without its end: state, bytes, messages, age of the corrections, what the receiver makes of them.
std::string relayLine(const CasterRelayStatus& status, const ReceiverSnapshot& receiver);

// Everything as one JSON object and a line end, with the time it is told.
std::string relayJson(const CasterRelayStatus& status, const ReceiverSnapshot& receiver,
                      std::chrono::system_clock::time_point now = std::chrono::system_clock::now());

}  // namespace vkcomm
