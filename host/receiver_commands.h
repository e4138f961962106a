// What a user asks of a receiver, turned into the steps of its dialect: a text or bytes as they are, questions,
// outputs, rates, masks.
//
// Everything is checked here: what a receiver of that dialect cannot be told gives no steps, and error says why.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "host/command_target.h"
#include "vkcomm/control/command_step.h"

namespace vkcomm {

// A line of the dialect without its checksum and line end, or a text for the maker's compiler.
std::optional<CommandSteps> textCommand(const CommandTarget& target, std::string_view text,
                                        std::string& error);

// Pairs of hexadecimal digits, with or without blanks, colons or commas between them: bytes for the board as they are.
std::optional<CommandSteps> hexCommand(const CommandTarget& target, std::string_view digits,
                                       std::string& error);

// "serial", "options", "status", "version" or "satellites".
std::optional<CommandSteps> questionSteps(const CommandTarget& target, std::string_view question,
                                          std::string& error);

// A setting to change. Each action uses some of the values.
struct Configuration {
    std::string action;  // "gsof", "baud", "mask", "unlog", "raw", "thales-init" or "reset"
    std::string port;    // as receivers of the dialect name it: 2, com2, b
    int baud = 0;        // bit/s
    int rateCode = 3;    // 1 to 13, Trimble's frequency codes; 0 with raw: off
    int elevation = 10;  // degrees
    int pdop = 6;
};

std::optional<CommandSteps> configurationSteps(const CommandTarget& target, const Configuration& choice,
                                               std::string& error);

// The family whose receivers alone know the action; empty when there are several.
std::string_view familyOfAction(std::string_view action);

}  // namespace vkcomm
