// What a port has seen, for the host to show.
#pragma once

#include <cstdint>

#include "vkcomm/platform/system_error.h"

namespace vkcomm {

// Since the port object was made.
struct PortCounters {
    std::uint64_t received = 0;       // bytes from the device or the playback file
    std::uint64_t overflows = 0;      // blocks that found no room in the decoder, which then lost all it held
    std::uint64_t overflowBytes = 0;  // bytes of those blocks; what was held counts as dropped in the decoder
    std::uint64_t written = 0;        // bytes the device has taken
    std::uint64_t skipped = 0;        // requests passed over under back-pressure
    std::uint64_t discarded = 0;      // bytes of requests passed over, or cut short by a failure or a close
    std::uint64_t readErrors = 0;     // as many as WM_PORT_READ_ERROR
    std::uint64_t writeErrors = 0;    // as many as WM_PORT_WRITE_ERROR
    int threadsLeft = 0;              // threads that a close did not wait for and that have not ended yet
};

// Of the raw log that was begun last.
struct RawLogStatus {
    std::uint64_t written = 0;  // bytes
    std::uint64_t lost = 0;     // bytes that the file did not take
    SystemError error;          // the first failure, of opening or writing
};

}  // namespace vkcomm
