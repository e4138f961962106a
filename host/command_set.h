// The generation of a NovAtel board's command set, by what the board says of itself.
#pragma once

#include "host/command_runner.h"

namespace vkcomm {

// From the answer to a VERSION log: 1 for OEM4 boards (software before 3.0), 2 for OEMV and later ones, 0 when the
// answer tells neither.
int novatelCommandSet(const CommandResult& version);

}  // namespace vkcomm
