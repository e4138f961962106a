// Runs a byte source through a reader of records.
//
// There are two kinds of stream: those whose frames CNOut knows, and those of Javad receivers, whose messages
// are found first, by JavadFramer; CNOut then gets the lines of text between them. RecordReader is both.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "host/byte_source.h"
#include "host/record_view.h"
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

// Bytes in, records out. One thread at a time.
class RecordReader {
public:
    virtual ~RecordReader() = default;

    // At most kLargestChunk bytes; next must have said that there is nothing more.
    virtual void feed(ByteSpan bytes) = 0;
    // The next record, valid until the next call; nothing when more bytes are needed.
    virtual std::optional<RecordView> next() = 0;
    // next for the end of the input: what is not whole is given up.
    virtual std::optional<RecordView> nextAtEnd() = 0;
    // Bytes that were fed and are in no record yet.
    virtual std::size_t held() const = 0;
    // After next gave nothing: gives up the first byte of the frame that is not whole, so that next goes on
    // behind it. False when there is none.
    virtual bool giveUpLead() = 0;
    // In a Javad stream records[LOG_NONE] counts its messages, and line ends between them are neither part of
    // records nor dropped.
    virtual DecoderCounters counters() const = 0;
};

// decoder, already masked; it must outlive the reader.
std::unique_ptr<RecordReader> makeFrameReader(CNOut& decoder);
// Its lines of text go through decoder.
std::unique_ptr<RecordReader> makeJavadReader(CNOut& decoder);

struct ReadSteps {
    // False stops the run.
    std::function<bool(const RecordView&)> record;
    // After each chunk, with the bytes read so far. May be empty.
    std::function<void(std::uint64_t)> progress;
};

// Feeds source to reader chunk bytes at a time (1 to kLargestChunk) and calls steps.record for each record,
// those behind an incomplete frame at the end of the input included. Without a chunk the pieces are what has
// come, but never end in a CR while more is to come, so that no line is cut before its LF. False when a step
// stopped it; a read failure ends the input and is told by source.error().
bool readStream(ByteSource& source, RecordReader& reader, std::optional<int> chunk, const ReadSteps& steps);

}  // namespace vkcomm
