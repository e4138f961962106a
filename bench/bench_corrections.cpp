// The credentials' encoding, both ways.
#include <benchmark/benchmark.h>

#include <cstring>

#include "bench/streams.h"
#include "vkcomm/net/base64.h"

namespace vkcomm::bench {
namespace {

// Larger than the nearest cache, so that no loop lives of it alone.
const Bytes& plain() {
    static const Bytes bytes = [] {
        Bytes made(3u << 20);
        unsigned value = 1;
        for (unsigned char& byte : made)
            byte = static_cast<unsigned char>((value = value * 1664525u + 1013904223u) >> 24);
        return made;
    }();
    return bytes;
}

void referenceCopy(benchmark::State& state) {
    Bytes copy(plain().size());
    for (auto _ : state) {
        std::memcpy(copy.data(), plain().data(), plain().size());
        benchmark::DoNotOptimize(copy.data());
        benchmark::ClobberMemory();
    }
    setBytes(state, plain());
}

void base64Encode(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(CBase64().Encode(plain()));
    setBytes(state, plain());
}

// Bytes are those that come out.
void base64Decode(benchmark::State& state) {
    const std::string text = CBase64().Encode(plain());
    Bytes out(text.size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(CBase64().Decode(text, out));
        benchmark::ClobberMemory();
    }
    setBytes(state, plain());
}

BENCHMARK(referenceCopy);
BENCHMARK(base64Encode);
BENCHMARK(base64Decode);

}  // namespace
}  // namespace vkcomm::bench
