// A sequence of steps as commands: what belongs together, what the receiver is expected to answer, and what costs it
// its settings.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/command_target.h"
#include "host/record_view.h"
#include "vkcomm/control/command_step.h"

namespace vkcomm {

enum class Expectation : std::uint8_t {
    kNothing,  // this receiver does not answer
    kPerhaps,  // it is not known whether it does: silence is no failure
    kVerdict,  // it accepts or refuses
    kRecord,   // it sends a record
};

struct Command {
    std::string what;
    CommandSteps steps;  // more than one: a packet in several frames
    Expectation expects = Expectation::kVerdict;
    std::optional<MessageKind> record = {};  // of kRecord
    std::string label = {};                  // by which answers name it, see Answer::about; empty: by none
    std::string portName = {};  // of newRate, as the receiver names it; empty: the one it comes by
    bool moreAnswers = false;   // several lines, all of them answers
    bool resets = false;        // the receiver goes back to its factory defaults

    std::size_t size() const;     // bytes as they leave the port
    Bytes boardBytes() const;     // without the maker's frames around them
    std::string letters() const;  // of the maker's frame; empty without one
    std::optional<PortRate> newRate() const;
    std::string portText() const;  // of newRate: "port com2" or "this port"
};

using CommandPlan = std::vector<Command>;

// The commands in their order, but those that reset the receiver first.
CommandPlan planOf(const CommandTarget& target, CommandSteps steps);

bool resetsReceiver(const CommandPlan& plan);

}  // namespace vkcomm
