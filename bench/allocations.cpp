#include "bench/allocations.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::uint64_t> calls{0};

}  // namespace

void* operator new(std::size_t size) {
    calls.fetch_add(1, std::memory_order_relaxed);
    if (void* memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }

void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

std::uint64_t vkcomm::bench::allocations() { return calls.load(std::memory_order_relaxed); }
