#include "host/decode_stream.h"

#include <algorithm>
#include <array>

namespace vkcomm {

namespace {

// The source in pieces of at most kLargestChunk bytes.
class Pieces {
public:
    Pieces(ByteSource& source, std::optional<int> chunk)
        : m_source(source),
          m_step(static_cast<std::size_t>(std::clamp(chunk.value_or(kLargestChunk), 1, kLargestChunk))),
          m_keepsLines(!chunk) {}

    // Empty at the end of the input. Valid until the next call.
    ByteSpan next() {
        if (m_end - m_at < m_step && !m_ended) refill();
        std::size_t size = std::min(m_step, m_end - m_at);
        const bool isLast = m_ended && m_at + size == m_end;
        if (m_keepsLines && !isLast && size > 1 && m_block[m_at + size - 1] == '\r') --size;
        const ByteSpan piece(m_block.data() + m_at, size);
        m_at += size;
        return piece;
    }

private:
    void refill() {
        std::copy(m_block.begin() + static_cast<std::ptrdiff_t>(m_at),
                  m_block.begin() + static_cast<std::ptrdiff_t>(m_end), m_block.begin());
        m_end -= m_at;
        m_at = 0;
        const std::size_t wanted = m_block.size() - m_end;
        const std::size_t got = m_source.read({m_block.data() + m_end, wanted});
        m_end += got;
        m_ended = got < wanted;
    }

    ByteSource& m_source;
    std::size_t m_step;
    bool m_keepsLines;
    std::array<unsigned char, 65536> m_block;
    std::size_t m_at = 0;
    std::size_t m_end = 0;
    bool m_ended = false;
};

// Gives the source piece by piece to use, which says false to stop.
template <typename Use>
bool inPieces(ByteSource& source, std::optional<int> chunk,
              const std::function<void(std::uint64_t)>& progress, Use use) {
    Pieces pieces(source, chunk);
    std::uint64_t total = 0;
    for (ByteSpan piece = pieces.next(); !piece.empty(); piece = pieces.next()) {
        if (!use(piece)) return false;
        total += piece.size();
        if (progress) progress(total);
    }
    return true;
}

class FrameReader final : public RecordReader {
public:
    explicit FrameReader(CNOut& decoder) : m_decoder(decoder) {}

    void feed(ByteSpan bytes) override { m_decoder.Set(bytes.data(), static_cast<int>(bytes.size())); }

    std::optional<RecordView> next() override { return recordIf(m_decoder.Read()); }

    std::optional<RecordView> nextAtEnd() override { return recordIf(m_decoder.ReadRest()); }

    DecoderCounters counters() const override { return m_decoder.Counters(); }

private:
    std::optional<RecordView> recordIf(CNOut::RETURN result) const {
        if (result != CNOut::RETURN_COMPLETE) return std::nullopt;
        return viewOf(m_decoder);
    }

    CNOut& m_decoder;
};

class JavadReader final : public RecordReader {
public:
    explicit JavadReader(CNOut& decoder) : m_lines(decoder) { m_framer.setGivesLines(true); }

    void feed(ByteSpan bytes) override {
        m_framer.feed(bytes);
        m_received += bytes.size();
    }

    std::optional<RecordView> next() override { return read(&JavadFramer::next); }

    std::optional<RecordView> nextAtEnd() override { return read(&JavadFramer::nextAtEnd); }

    DecoderCounters counters() const override {
        DecoderCounters counters = m_lines.Counters();
        counters.received = m_received;
        counters.dropped += m_framer.dropped();
        counters.records[LOG_NONE] += m_framer.messages();
        return counters;
    }

private:
    // A line is fed as a whole and read to its end.
    std::optional<RecordView> read(std::optional<JavadMessage> (JavadFramer::*nextMessage)()) {
        for (;;) {
            if (m_lines.ReadRest() == CNOut::RETURN_COMPLETE) return lineRecord();
            const auto message = (m_framer.*nextMessage)();
            if (!message) return std::nullopt;
            if (!message->id.empty()) return viewOf(*message);
            m_linesToStream = message->offset - m_linesFed;
            m_linesFed += message->bytes.size();
            m_lines.Set(message->bytes.data(), static_cast<int>(message->bytes.size()));
        }
    }

    RecordView lineRecord() const {
        RecordView record = viewOf(m_lines);
        record.offset += m_linesToStream;
        return record;
    }

    JavadFramer m_framer;
    CNOut& m_lines;
    std::uint64_t m_received = 0;
    std::uint64_t m_linesFed = 0;
    std::uint64_t m_linesToStream = 0;  // from an offset among the lines to that in the stream
};

}  // namespace

bool decodeStream(ByteSource& source, CNOut& decoder, std::optional<int> chunk, const DecodeSteps& steps) {
    const auto use = [&](ByteSpan piece) {
        decoder.Set(piece.data(), static_cast<int>(piece.size()));
        while (decoder.Read() == CNOut::RETURN_COMPLETE)
            if (!steps.record(decoder)) return false;
        return true;
    };
    if (!inPieces(source, chunk, steps.progress, use)) return false;
    while (decoder.ReadRest() == CNOut::RETURN_COMPLETE)
        if (!steps.record(decoder)) return false;
    return true;
}

std::unique_ptr<RecordReader> makeFrameReader(CNOut& decoder) {
    return std::make_unique<FrameReader>(decoder);
}

std::unique_ptr<RecordReader> makeJavadReader(CNOut& decoder) {
    return std::make_unique<JavadReader>(decoder);
}

bool readStream(ByteSource& source, RecordReader& reader, std::optional<int> chunk, const ReadSteps& steps) {
    const auto use = [&](ByteSpan piece) {
        reader.feed(piece);
        while (const auto record = reader.next())
            if (!steps.record(*record)) return false;
        return true;
    };
    if (!inPieces(source, chunk, steps.progress, use)) return false;
    while (const auto record = reader.nextAtEnd())
        if (!steps.record(*record)) return false;
    return true;
}

}  // namespace vkcomm
