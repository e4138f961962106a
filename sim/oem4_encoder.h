// OEM4 binary logs of a simulated NovAtel receiver: VERSION, BESTPOS, BESTVEL, PSRDOP and RANGECMP, every ten
// seconds SATVIS, every two minutes the RAWEPHEM of all GPS satellites.
//
// The height of BESTPOS is that above the sea, as such receivers send it. Without a fix the solution is
// "insufficient observations" and all zeros.
#pragma once

#include "sim/piece.h"
#include "sim/truth.h"

namespace vkcomm::sim {

// Appends what a receiver sends once when logging begins: VERSION.
void encodeOem4Start(const Epoch& epoch, Piece& piece);

// Appends the logs of one epoch, one frame each. RANGECMP holds L1 and L2 of the GPS satellites, at most 24
// records.
void encodeOem4(const Epoch& epoch, Piece& piece);

}  // namespace vkcomm::sim
