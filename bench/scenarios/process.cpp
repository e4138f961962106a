#include "bench/scenarios/process.h"

#include <atomic>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <new>
#include <unistd.h>

namespace {

std::atomic<std::size_t> blocks{0};

void* take(std::size_t size) noexcept {
    void* const memory = std::malloc(size);
    if (memory) blocks.fetch_add(1, std::memory_order_relaxed);
    return memory;
}

void release(void* memory) noexcept {
    if (memory) blocks.fetch_sub(1, std::memory_order_relaxed);
    std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) {
    if (void* memory = take(size)) return memory;
    throw std::bad_alloc();
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return take(size); }

void operator delete(void* memory) noexcept { release(memory); }

void operator delete(void* memory, std::size_t) noexcept { release(memory); }

void operator delete(void* memory, const std::nothrow_t&) noexcept { release(memory); }

namespace vkcomm::bench {

namespace {

std::size_t entriesOf(const char* folder) {
    const std::filesystem::directory_iterator entries(folder);
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

double residentMegabytes() {
    std::ifstream file("/proc/self/statm");
    double all = 0.0, resident = 0.0;
    file >> all >> resident;
    return resident * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1e6;
}

std::chrono::duration<double> timeOf(clockid_t clock) {
    std::timespec time{};
    ::clock_gettime(clock, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

}  // namespace

Holdings holdings() {
    Holdings now;
    now.heapBlocks = blocks;
    now.descriptors = entriesOf("/proc/self/fd");
    now.threads = entriesOf("/proc/self/task");
    now.residentMegabytes = residentMegabytes();
    return now;
}

std::chrono::duration<double> processTime() { return timeOf(CLOCK_PROCESS_CPUTIME_ID); }

std::chrono::duration<double> threadTime() { return timeOf(CLOCK_THREAD_CPUTIME_ID); }

}  // namespace vkcomm::bench
