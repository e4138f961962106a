// What a simulated reference station sends to rovers: RTCM 3 (RTCM 10403).
#pragma once

#include "sim/piece.h"
#include "sim/truth.h"

namespace vkcomm::sim {

inline constexpr std::int64_t kStationEvery = 10'000;  // milliseconds of the week

// Appends the observations of an epoch: message 1004 (GPS on L1 and L2), then 1010 (GLONASS on L1); where it is due,
// 1006 (the station and its antenna) before them.
void encodeRtcm3(const Epoch& epoch, Piece& piece);

// Appends message 1006 alone, for a rover that has just come.
void encodeRtcm3Station(Piece& piece);

// A message in its frame; it has at most 1,023 bytes.
void addRtcm3Frame(ByteSpan message, Piece& piece);

}  // namespace vkcomm::sim
