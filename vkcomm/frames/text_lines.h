// Lines of text with a checksum behind them. Pure functions; any thread.
#pragma once

#include <string>
#include <string_view>

#include "vkcomm/frames/frame_bytes.h"

namespace vkcomm {

// The text, '*', the XOR of all characters but the first as two upper-case hexadecimal digits, CR LF: Thales
// commands and NMEA sentences. A text of one character or none has the checksum 00.
VKCOMM_API std::string starLine(std::string_view text);

// The text without white space at its ends, '@', the XOR of all characters including the '@' as two upper-case
// hexadecimal digits, CR LF: Javad commands. Deliberate: Javad's manual describes a rotating checksum for the same
// place; receivers in the field are driven with this one.
VKCOMM_API std::string javadLine(std::string_view text);

}  // namespace vkcomm
