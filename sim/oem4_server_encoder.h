// What a simulated NovAtel reference station sends to a correction server: observations (912), its position
// (913) and a text (915), as OEM4 binary logs.
//
// Bytes whose meaning is not known are zero.
#pragma once

#include "sim/piece.h"
#include "sim/truth.h"

namespace vkcomm::sim {

// Appends the observations of one epoch, the GPS satellites alone; every ten seconds the other two as well.
// The text is of 12 and 16 bytes in turn, the two lengths there are.
void encodeOem4Server(const Epoch& epoch, Piece& piece);

}  // namespace vkcomm::sim
