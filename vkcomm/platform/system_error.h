// A failure of the operating system, as a host can show it.
#pragma once

#include <string>

#include "vkcomm/export.h"

namespace vkcomm {

struct SystemError {
    std::string what;  // what could not be done, and with what: "cannot open /dev/ttyS0"
    int code = 0;      // the system's number of the cause; 0: nothing failed
    std::string text;  // the system's words for it

    explicit operator bool() const { return code != 0; }

    // "what: text", empty when nothing failed.
    std::string message() const { return code == 0 ? std::string() : what + ": " + text; }
};

// The failure that the system numbers code (errno on POSIX, GetLastError on Windows), in the system's words.
VKCOMM_API SystemError systemError(std::string what, int code);

// The failure that the C library told in errno, in its words.
VKCOMM_API SystemError libraryError(std::string what, int code);

}  // namespace vkcomm
