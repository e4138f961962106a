// Counts what the program asks of the heap.
#pragma once

#include <cstdint>

namespace vkcomm::bench {

// Calls of operator new so far, on any thread.
std::uint64_t allocations();

}  // namespace vkcomm::bench
