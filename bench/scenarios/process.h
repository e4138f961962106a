// What this process holds and has used.
#pragma once

#include <chrono>
#include <cstddef>

namespace vkcomm::bench {

struct Holdings {
    std::size_t descriptors = 0;
    std::size_t threads = 0;
    std::size_t heapBlocks = 0;  // of operator new
    double residentMegabytes = 0.0;
};

Holdings holdings();

// Processor time of all threads, and of the calling one.
std::chrono::duration<double> processTime();
std::chrono::duration<double> threadTime();

}  // namespace vkcomm::bench
