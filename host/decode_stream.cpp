#include "host/decode_stream.h"

#include <algorithm>
#include <array>

namespace vkcomm {

bool decodeStream(ByteSource& source, CNOut& decoder, int chunk, const DecodeSteps& steps) {
    std::array<unsigned char, 65536> block;
    const auto step = static_cast<std::size_t>(std::clamp(chunk, 1, kLargestChunk));
    const std::size_t blockSize = block.size() / step * step;
    std::uint64_t total = 0;
    for (std::size_t count = blockSize; count == blockSize;) {
        count = source.read({block.data(), blockSize});
        for (std::size_t at = 0; at < count; at += step) {
            decoder.Set(block.data() + at, static_cast<int>(std::min(step, count - at)));
            while (decoder.Read() == CNOut::RETURN_COMPLETE)
                if (!steps.record(decoder)) return false;
        }
        total += count;
        if (steps.progress) steps.progress(total);
    }
    while (decoder.ReadRest() == CNOut::RETURN_COMPLETE)
        if (!steps.record(decoder)) return false;
    return true;
}

}  // namespace vkcomm
