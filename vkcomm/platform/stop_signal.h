// The wish of the user or the system that this program ends.
#pragma once

#include <atomic>

#include "vkcomm/export.h"

namespace vkcomm {

// True once the program was asked to end (SIGINT, SIGTERM; Ctrl-C, and on Windows the closing of its console or of the
// user's session, which leave it five seconds) since the first call, which turns these from ending the program into
// setting this flag; asked twice, it ends at once. For programs, not for libraries.
VKCOMM_API const std::atomic<bool>& stopRequested();

}  // namespace vkcomm
