// The standard streams and arguments of a program: whether a person watches, and which bytes pass.
#pragma once

#include "vkcomm/export.h"

namespace vkcomm {

// True when standard error is a terminal.
VKCOMM_API bool isErrorTerminal();
// The same of standard output.
VKCOMM_API bool isOutputTerminal();

// Lets every byte pass the standard streams unchanged, and a write to a closed pipe fail instead of ending the
// process.
VKCOMM_API void prepareStandardStreams();

// The arguments of the program in UTF-8, argc and argv being those of main; they live as long as the process. argc
// becomes their number.
VKCOMM_API char** utf8Arguments(int& argc, char** argv);

}  // namespace vkcomm
