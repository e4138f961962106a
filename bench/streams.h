// What the benchmarks share: simulated streams, and a run of the decoder over one.
#pragma once

#include <benchmark/benchmark.h>

#include <memory>
#include <string_view>
#include <vector>

#include "bench/allocations.h"
#include "host/receiver_family.h"
#include "sim/recording.h"
#include "vkcomm/decode/stream_decoder.h"

namespace vkcomm::bench {

using Bytes = std::vector<unsigned char>;

struct Input {
    Bytes bytes;
    std::uint64_t frames = 0;

    void add(const sim::Piece& piece) {
        bytes.insert(bytes.end(), piece.bytes.begin(), piece.bytes.end());
        frames += piece.frames.size();
    }
};

// Several times what a processor keeps in its caches.
inline constexpr int kSeconds = 40000;

inline sim::RecordingWriter writer(const char* family) {
    sim::RecordingOptions options;
    options.family = family;
    options.seconds = kSeconds;
    return sim::RecordingWriter(options);
}

inline Input recording(const char* family) {
    Input input;
    sim::RecordingWriter source = writer(family);
    for (sim::Piece piece; source.next(piece);)
        input.add(piece);
    return input;
}

inline void setBytes(benchmark::State& state, const Bytes& bytes) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}

inline std::uint32_t maskOf(std::string_view family) { return findFamily(family)->decodeMask; }

template <typename OnRecord>
void decodeIn(benchmark::State& state, const Input& input, std::uint32_t mask, OnRecord&& onRecord) {
    const Bytes& bytes = input.bytes;
    const auto chunk = static_cast<std::size_t>(state.range(0));
    const auto decoder = std::make_unique<CNOut>();
    decoder->vSetDecodeMask(mask);
    std::uint64_t records = 0;
    const auto decodeFirst = [&](std::size_t size) {
        for (std::size_t at = 0; at < size; at += chunk) {
            decoder->Set(bytes.data() + at, static_cast<int>(std::min(chunk, size - at)));
            while (decoder->Read() == CNOut::RETURN_COMPLETE) {
                onRecord(*decoder);
                ++records;
            }
        }
    };
    // what is kept from one record to the next gets its memory here
    decodeFirst(std::min<std::size_t>(0x10000, bytes.size()));
    decoder->Clear();
    records = 0;
    const std::uint64_t before = allocations();
    for (auto _ : state)
        decodeFirst(bytes.size());
    const std::uint64_t allocated = allocations() - before;
    setBytes(state, bytes);
    state.counters["allocs"] = static_cast<double>(allocated);
    if (allocated != 0) state.SkipWithError("decoding asked for memory");
    state.counters["records/s"] =
        benchmark::Counter(static_cast<double>(records), benchmark::Counter::kIsRate);
    if (records != static_cast<std::uint64_t>(state.iterations()) * input.frames)
        state.SkipWithError("records were lost");
}

}  // namespace vkcomm::bench
