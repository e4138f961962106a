// Whether a person watches.
#pragma once

#include "vkcomm/export.h"

namespace vkcomm {

// True when standard error is a terminal.
VKCOMM_API bool isErrorTerminal();
// The same of standard output.
VKCOMM_API bool isOutputTerminal();

// Lets a write to a closed pipe fail instead of ending the process.
VKCOMM_API void ignoreClosedPipes();

}  // namespace vkcomm
