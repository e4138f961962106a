// Answers to questions, taken from what the encoders of the families send.
#pragma once

#include <vector>

#include "sim/piece.h"
#include "sim/truth.h"

namespace vkcomm::sim {

// What questions are answered about: a moment at which the encoders send everything they have.
inline const Epoch& momentOfAnswers() {
    static const Epoch moment = Truth({}).at(12'000);
    return moment;
}

// Appends the frames for which isWanted holds.
template <typename IsWanted>
void addFrames(const Piece& piece, const IsWanted& isWanted, std::vector<unsigned char>& answer) {
    for (std::size_t i = 0; i < piece.frames.size(); ++i)
        if (const ByteSpan frame = piece.frameBytes(i); isWanted(frame))
            answer.insert(answer.end(), frame.begin(), frame.end());
}

}  // namespace vkcomm::sim
