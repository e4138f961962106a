// Compiles command texts such as "RQ,B4,B1" into one of the maker's frames.
//
// The first two letters (A-Z, a-z) are the command, whatever else stands before or between them. Behind them a
// comma or a blank announces a field, and the next field letter, of either case, begins it:
//   B  a decimal number, its low byte         W  its low 16 bits         L  its low 32 bits (low byte first)
//   S  the rest of the text as it stands
// A field uses the announcement up: a letter that none precedes is ignored, as is every other character. A
// number that is missing or has more than 64 bits gives no bytes.
//
// Bounds: of the text the first 1023 characters count; the payload ends at 247 bytes, so that no frame passes
// 256. A NUL is a character like any other. Pure function; any thread.
#pragma once

#include <string_view>

#include "vkcomm/frames/frame_bytes.h"
#include "vkcomm/frames/receiver_type.h"

namespace vkcomm {

// The frame of the text. Texts with fewer than two letters give the dollar signs, the letter there is, the XOR
// and CR LF: "" gives 24 24 00 0D 0A.
VKCOMM_API Bytes compileMakerText(std::string_view text, GPSOEMTYPE dialect);

}  // namespace vkcomm
