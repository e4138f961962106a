// Counts how often the program asks for memory.
#pragma once

#include <atomic>
#include <cstdint>

extern std::atomic<std::uint64_t> allocations;
