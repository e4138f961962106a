// What a simulated receiver of the maker sends: the packets of the Trimble board within, wrapped in "$$"
// frames, and replies to the SI command.
#pragma once

#include <string_view>

#include "sim/framing.h"
#include "sim/piece.h"
#include "sim/truth.h"

namespace vkcomm::sim {

// Appends payload in frames: "$$", two letters, a selector, length, up to 55 bytes, XOR, CR LF. Empty payload
// gives no frame.
void addMakerFrames(std::string_view letters, ByteSpan payload, Piece& piece);

// Appends the reply to an SI command. It ends in a frame of fewer than 55 bytes, an empty one if need be.
void addSiReply(std::string_view text, Piece& piece);

// Appends the reply to an SI command, in two frames, and what the board sends first.
void encodeMakerStart(const Epoch& epoch, Piece& piece);

// Appends what the board sends in an epoch, in RZ frames; every minute an SI reply.
void encodeMaker(const Epoch& epoch, Piece& piece);

extern const Framing kMakerFraming;

}  // namespace vkcomm::sim
