// NMEA 0183 sentences of a simulated receiver: GGA, GSA, GSV, RMC, GST, ZDA and VTG.
//
// Times are UTC in hundredths of a second, cut, not rounded. Without a fix the position fields are empty.
#pragma once

#include "sim/framing.h"
#include "sim/piece.h"
#include "sim/truth.h"

namespace vkcomm::sim {

// Appends the sentences of one epoch, one frame each, CR LF included.
void encodeNmea(const Epoch& epoch, Piece& piece);

extern const Framing kNmeaFraming;

}  // namespace vkcomm::sim
