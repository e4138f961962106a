// A piece of simulated receiver output: bytes, and where the frames in them stand.
#pragma once

#include <cstddef>
#include <vector>

#include "vkcomm/util/bytes.h"

namespace vkcomm::sim {

// One frame: its place in the piece, and whether it stands there undamaged. A damaged frame's place is that
// of what is left of it.
struct Frame {
    std::size_t offset = 0;
    std::size_t size = 0;
    bool whole = true;
};

// Frames in order of offset, without overlap; bytes that belong to no frame are garbage.
struct Piece {
    std::vector<unsigned char> bytes;
    std::vector<Frame> frames;

    void addFrame(ByteSpan frame, bool whole = true) {
        frames.push_back({bytes.size(), frame.size(), whole});
        addBytes(frame);
    }

    void addBytes(ByteSpan garbage) { bytes.insert(bytes.end(), garbage.begin(), garbage.end()); }

    // The bytes of frame index, which must exist; valid until the piece changes.
    ByteSpan frameBytes(std::size_t index) const {
        return ByteSpan(bytes).subspan(frames[index].offset, frames[index].size);
    }

    // Takes the piece back to an earlier size.
    void truncate(std::size_t byteCount, std::size_t frameCount) {
        bytes.resize(byteCount);
        frames.resize(frameCount);
    }
};

}  // namespace vkcomm::sim
