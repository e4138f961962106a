// Messages of a simulated CSI or Hemisphere receiver: $BIN 1, 2, 96 and 99, and the reply to JSHOW.
//
// It has twelve channels, for GPS and SBAS. Without a fix the position is zero.
#pragma once

#include "sim/piece.h"
#include "sim/truth.h"

namespace vkcomm::sim {

// Appends the JSHOW reply, a frame for each line.
void encodeCsiStart(const Epoch& epoch, Piece& piece);

// Appends the messages of one epoch: 1, 2, 99, 96.
void encodeCsi(const Epoch& epoch, Piece& piece);

}  // namespace vkcomm::sim
