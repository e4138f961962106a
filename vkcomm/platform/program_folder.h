// Where the running program lies.
#pragma once

#include <string>

#include "vkcomm/export.h"

namespace vkcomm {

// The folder of the program's file, UTF-8, without a separator at its end unless it is the root; empty, which
// stands for the current folder, when the system does not tell.
VKCOMM_API std::string programFolder();

}  // namespace vkcomm
