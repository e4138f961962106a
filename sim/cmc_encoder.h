// Messages of a simulated CMC Allstar receiver: 20, 33 and 49, and now and then 30, 45 and 75.
//
// It tracks GPS and SBAS, knows corrections but no RTK (any better fix is "differential, 3-D"), and sends GPS
// time, as those receivers do until they know the leap seconds. Without a fix the position is zero. Bytes
// whose meaning is not known, and what the simulation lacks, are zero.
#pragma once

#include "sim/piece.h"
#include "sim/truth.h"

namespace vkcomm::sim {

// Appends what comes once: 45, the identification.
void encodeCmcStart(const Epoch& epoch, Piece& piece);

// Appends the messages of one epoch; 30 and 75 every ten seconds.
void encodeCmc(const Epoch& epoch, Piece& piece);

}  // namespace vkcomm::sim
