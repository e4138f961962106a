// What a user tells or asks a receiver, turned into the steps of its dialect: a text or bytes as they are, questions.
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

// The same of a text that is known to be right; no steps where the dialect has no texts.
CommandSteps lineSteps(const CommandTarget& target, std::string_view text);

// Pairs of hexadecimal digits, with or without blanks, colons or commas between them: bytes for the board as they are.
std::optional<CommandSteps> hexCommand(const CommandTarget& target, std::string_view digits,
                                       std::string& error);

// "serial", "options", "status", "version" or "satellites".
std::optional<CommandSteps> questionSteps(const CommandTarget& target, std::string_view question,
                                          std::string& error);

// The questions that receivers of each family know, a line each, for help texts.
std::string questionsHelp();

}  // namespace vkcomm
