// Frames of OEM4 binary logs: a 28-byte header, the body, a CRC-32; all fields are little-endian.
#pragma once

#include <cstdint>

#include "sim/framing.h"
#include "sim/piece.h"
#include "sim/truth.h"

namespace vkcomm::sim {

// Appends the log with that message number, which left COM1 at the time of epoch.
void addOem4Log(std::uint16_t id, const Epoch& epoch, ByteSpan body, Piece& piece);

extern const Framing kOem4Framing;

}  // namespace vkcomm::sim
