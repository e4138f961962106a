// GREIS messages of a simulated Javad receiver, with GPS, SBAS and GLONASS: ~~, RD, GT, PO, PV, SG, DP, PS,
// SI, NN, EL, AZ, EC and ::.
//
// All times are GPS times; the week of GT has rolled over at 1024, as receivers send it. Without a fix the
// position, its sigmas and the velocity are zero.
#pragma once

#include "sim/piece.h"
#include "sim/truth.h"

namespace vkcomm::sim {

// Appends what comes once: MF, and the reply to a command that asked for the receiver's model.
void encodeJavadStart(const Epoch& epoch, Piece& piece);

// Appends the messages of one epoch. :: ends it.
void encodeJavad(const Epoch& epoch, Piece& piece);

}  // namespace vkcomm::sim
