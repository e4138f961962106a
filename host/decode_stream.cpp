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

}  // namespace

bool decodeStream(ByteSource& source, CNOut& decoder, std::optional<int> chunk, const DecodeSteps& steps) {
    Pieces pieces(source, chunk);
    std::uint64_t total = 0;
    for (ByteSpan piece = pieces.next(); !piece.empty(); piece = pieces.next()) {
        decoder.Set(piece.data(), static_cast<int>(piece.size()));
        while (decoder.Read() == CNOut::RETURN_COMPLETE)
            if (!steps.record(decoder)) return false;
        total += piece.size();
        if (steps.progress) steps.progress(total);
    }
    while (decoder.ReadRest() == CNOut::RETURN_COMPLETE)
        if (!steps.record(decoder)) return false;
    return true;
}

}  // namespace vkcomm
