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
          m_asItComes(!chunk) {}

    // Empty at the end of the input. Valid until the next call.
    ByteSpan next() {
        while (!m_ended && held() < wanted())
            refill();
        std::size_t size = std::min(m_step, held());
        if (m_asItComes && endsInCr(size) && !(m_ended && size == held())) --size;
        const ByteSpan piece(m_block.data() + m_at, size);
        m_at += size;
        return piece;
    }

private:
    std::size_t held() const { return m_end - m_at; }

    bool endsInCr(std::size_t size) const { return size > 0 && m_block[m_at + size - 1] == '\r'; }

    // A CR alone waits for what follows it.
    std::size_t wanted() const {
        if (!m_asItComes) return m_step;
        return held() == 1 && endsInCr(1) ? 2 : 1;
    }

    void refill() {
        std::copy(m_block.begin() + static_cast<std::ptrdiff_t>(m_at),
                  m_block.begin() + static_cast<std::ptrdiff_t>(m_end), m_block.begin());
        m_end -= m_at;
        m_at = 0;
        const std::size_t got = m_source.read(std::span(m_block).subspan(m_end));
        m_end += got;
        m_ended = got == 0;
    }

    ByteSource& m_source;
    std::size_t m_step;
    bool m_asItComes;
    std::array<unsigned char, 65536> m_block;
    std::size_t m_at = 0;
    std::size_t m_end = 0;
    bool m_ended = false;
};

class FrameReader final : public RecordReader {
public:
    explicit FrameReader(CNOut& decoder) : m_decoder(decoder) {}

    void feed(ByteSpan bytes) override { m_decoder.Set(bytes.data(), static_cast<int>(bytes.size())); }

    std::optional<RecordView> next() override { return recordIf(m_decoder.Read()); }

    std::optional<RecordView> nextAtEnd() override { return recordIf(m_decoder.ReadRest()); }

    std::size_t held() const override { return static_cast<std::size_t>(m_decoder.iBytesInRxBuf()); }

    bool giveUpLead() override { return m_decoder.bSkipLead() != 0; }

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

    std::size_t held() const override { return m_framer.held(); }

    bool giveUpLead() override { return m_framer.giveUpLead(); }

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

std::unique_ptr<RecordReader> makeFrameReader(CNOut& decoder) {
    return std::make_unique<FrameReader>(decoder);
}

std::unique_ptr<RecordReader> makeJavadReader(CNOut& decoder) {
    return std::make_unique<JavadReader>(decoder);
}

bool readStream(ByteSource& source, RecordReader& reader, std::optional<int> chunk, const ReadSteps& steps) {
    Pieces pieces(source, chunk);
    std::uint64_t total = 0;
    for (ByteSpan piece = pieces.next(); !piece.empty(); piece = pieces.next()) {
        reader.feed(piece);
        while (const auto record = reader.next())
            if (!steps.record(*record)) return false;
        total += piece.size();
        if (steps.progress) steps.progress(total);
    }
    while (const auto record = reader.nextAtEnd())
        if (!steps.record(*record)) return false;
    return true;
}

}  // namespace vkcomm
