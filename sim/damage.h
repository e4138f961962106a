// Damages simulated recordings on purpose, and knows which frames it left whole.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sim/framing.h"
#include "sim/piece.h"
#include "sim/random.h"

namespace vkcomm::sim {

// Breaks a share of the frames (bits flipped, bytes dropped or inserted, the end cut off) and puts garbage in
// front of as many (random bytes, false heads that promise long frames). What comes out holds no whole frame
// but those marked whole, each as it went in; the garbage has no line feed, so that it ends no text line
// either. The same seed and pieces give the same damage. One object serves one recording.
class Damager {
public:
    // percent is the share of frames, 0 (nothing is changed) to 100. framing must outlive the object.
    Damager(const Framing& framing, double percent, std::uint64_t seed);

    // Damages piece in place. The last frame of every piece stays whole, so that damage never reaches into
    // the next piece; with endOfRecording a false head stands right in front of it.
    void damage(Piece& piece, bool endOfRecording);

private:
    Piece attempt(const Piece& piece, bool endOfRecording);
    void addGap(const Piece& piece, std::size_t first, std::size_t next, bool endOfRecording, Piece& out);
    void addBroken(ByteSpan frame, Piece& out);
    void addFalseHead(Piece& out);
    void mayAddGarbage(Piece& out);
    bool holdsFrame(ByteSpan bytes, std::size_t from, std::size_t to) const;
    bool holdsFalseFrame(const Piece& piece, bool endOfRecording) const;

    const Framing& m_framing;
    double m_share;
    Random m_random;
};

}  // namespace vkcomm::sim
