// The maker's double-dollar frame, which carries two-letter commands and bytes for the board inside:
//
//   $$ | two letters | selector of the dialect | payload length | payload | XOR of all behind the $$ | CR LF
//
// Pure functions; any thread.
#pragma once

#include <string_view>
#include <vector>

#include "vkcomm/frames/frame_bytes.h"
#include "vkcomm/frames/receiver_type.h"

namespace vkcomm {

// Bytes that are split are cut into payloads of this length.
inline constexpr std::size_t kMakerPayload = 55;

// Longest payload of a frame that is not split, so that no frame passes 256 bytes.
inline constexpr std::size_t kLongestMakerPayload = 247;

// One frame. Of letters the first two count; nothing is built from fewer or from a payload that is too long.
VKCOMM_API Bytes makerFrame(std::string_view letters, unsigned char selector, ByteSpan payload);

// The bytes cut into payloads and a last shorter one; none of them is empty.
VKCOMM_API std::vector<ByteSpan> makerPieces(ByteSpan bytes);

// Bytes for the board: one frame when there are at most 55, else full frames and a last one that holds the
// rest. Deliberate: that rest may be empty, and its frame is sent all the same; receivers in the field are driven
// so.
VKCOMM_API std::vector<Bytes> makerFrames(std::string_view letters, GPSOEMTYPE dialect, ByteSpan bytes);

// Corrections for the board, letters VD (RZ for types 11 and 12); no frame is empty, no bytes give no frame.
VKCOMM_API std::vector<Bytes> correctionFrames(GPSOEMTYPE dialect, ByteSpan bytes);

}  // namespace vkcomm
