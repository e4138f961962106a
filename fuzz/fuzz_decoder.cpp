// Whatever arrives, and however it is cut: no crash, the decoder's laws hold, and the records are the same.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "tests/decode/laws.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vkcomm::test;
    if (size < 8) return 0;
    // The first bytes choose mask, tilde frames and where the input is cut.
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const Law law{byteOf(input[0]) % 4 == 0
                      ? kArrivalDoesNotMatter &
                            (byteOf(input[1]) << 16 | byteOf(input[2]) << 8 | byteOf(input[3]))
                      : kArrivalDoesNotMatter,
                  byteOf(input[0]) % 2 == 1};
    std::uint32_t cut = byteOf(input[4]) << 8 | byteOf(input[5]);
    const std::size_t most = 1 + byteOf(input[6]) * 4u;
    const std::string_view stream = input.substr(7);

    const Decoded whole = decodeUnderLaw(stream, law, [] { return std::size_t{8192}; });
    const Decoded split = decodeUnderLaw(stream, law, [&] {
        cut = cut * 1664525u + 1013904223u;
        return 1 + (cut >> 8) % most;
    });
    const bool same = whole.records == split.records;
    if (whole.broken || split.broken || !same) {
        std::fprintf(stderr, "law broken: %s%s%s\n", whole.broken.value_or("").c_str(),
                     split.broken.value_or("").c_str(), same ? "" : " split input gives other records");
        std::abort();
    }
    return 0;
}
