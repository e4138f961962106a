// Settings of a receiver that are changed one by one, outputs, rates, masks, turned into the steps of its dialect.
//
// Everything is checked here: what a receiver of that dialect cannot be told gives no steps, and error says why.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "host/command_target.h"
#include "vkcomm/control/command_step.h"

namespace vkcomm {

// A setting to change. Each action uses some of the values.
struct Configuration {
    std::string action;            // "gsof", "baud", "mask", "unlog", "raw", "thales-init" or "reset"
    std::string port;              // as receivers of the dialect name it: 2, com2, b
    int baud = 0;                  // bit/s
    int rateCode = 3;              // 1 to 13, Trimble's frequency codes; 0 with raw: off
    int elevation = 10;            // degrees
    std::optional<int> pdop = {};  // 6 when not given
};

std::optional<CommandSteps> configurationSteps(const CommandTarget& target, const Configuration& choice,
                                               std::string& error);

// A port as receivers of the dialect name it, counted from 1 as CommandStep::newRate does (one more than the number in a
// Trimble file). Nothing, and why in error, for other texts and where ports have no names.
std::optional<int> receiverPort(const CommandTarget& target, const std::string& text, std::string& error);
// The way back: "com2", "b", "0"; empty where ports have no names.
std::string portName(const CommandTarget& target, int port);

// The family whose receivers alone know the action; empty when there are several.
std::string_view familyOfAction(std::string_view action);

}  // namespace vkcomm
