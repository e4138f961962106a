// Packets of a simulated Trimble receiver: GENOUT with GSOF records 1, 2, 3, 6, 9, 12 and 14, RECSTAT1,
// RETSVDATA, RETOPT, RETSERIAL and BREAKRET.
//
// Every fifth second the GENOUT report has record 8 too and comes in several pages. Without a fix it has only
// time and satellites. Of RECSTAT1 nothing is known but the number of satellites; the rest is blanks.
#pragma once

#include "sim/piece.h"
#include "sim/truth.h"

namespace vkcomm::sim {

// Appends the answers to a host that asks who is there: BREAKRET with the text of a break reply, RETSERIAL
// and RETOPT.
void encodeTrimbleStart(const Epoch& epoch, Piece& piece);

// Appends the packets of one epoch: RECSTAT1 and GENOUT, every ten seconds the satellite flags, every two
// minutes an ephemeris of each GPS satellite.
void encodeTrimble(const Epoch& epoch, Piece& piece);

}  // namespace vkcomm::sim
