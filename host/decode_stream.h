// Runs a byte source through a decoder, record by record.
#pragma once

#include <functional>
#include <optional>

#include "host/byte_source.h"
#include "vkcomm/decode/stream_decoder.h"

namespace vkcomm {

// A clock that does not wait: recordings need no pause for a radio.
class UnhurriedClock final : public Clock {
public:
    std::chrono::milliseconds now() override { return std::chrono::milliseconds(0); }

    void sleep(std::chrono::milliseconds) override {}
};

// Bytes handed to the decoder at a time: with what an incomplete frame may hold this never overflows its
// buffer.
inline constexpr int kLargestChunk = 8192;

struct DecodeSteps {
    // The decoder holds a record. False stops the run.
    std::function<bool(const CNOut&)> record;
    // After each chunk, with the bytes read so far. May be empty.
    std::function<void(std::uint64_t)> progress;
};

// Feeds source to decoder chunk bytes at a time (1 to kLargestChunk) and calls steps.record for each record,
// those behind an incomplete frame at the end of the input included. Without a chunk the pieces are large and
// never end in a CR while more is to come, so that no line is cut before its LF. False when a step stopped
// it; a read failure ends the input and is told by source.error().
bool decodeStream(ByteSource& source, CNOut& decoder, std::optional<int> chunk, const DecodeSteps& steps);

}  // namespace vkcomm
