// How a command reaches the board it is meant for: as it is, inside the maker's frame, or through a NovAtel
// board. Pure functions; any thread. A command that the dialect has no road for gives no steps.
#pragma once

#include <string_view>

#include "vkcomm/control/command_step.h"
#include "vkcomm/frames/receiver_type.h"
#include "vkcomm/frames/trimble_commands.h"

namespace vkcomm {

// Text as it stands, its line end included.
VKCOMM_API CommandSteps plainText(std::string_view text, int delay);

// Javad and Thales lines: the checksum and the line end are added.
VKCOMM_API CommandSteps javadText(std::string_view text, int delay);
VKCOMM_API CommandSteps starText(std::string_view text, int delay);

// The text compiled into the maker's frame (see compileMakerText), delay 50 when 0 or less is given. Types 1 to
// 3 get the frame through a NovAtel pass-through line, which can hold 255 bytes; a longer frame gives no steps.
VKCOMM_API CommandSteps makerText(GPSOEMTYPE dialect, std::string_view text, int delay);

// A NovAtel line with its CR LF: as it stands to types 1, 18 and 19, as the maker's "RZ" text to types 5 and 6. One
// of more than 247 bytes, which that frame would cut, gives no steps there.
VKCOMM_API CommandSteps novatelText(GPSOEMTYPE type, std::string_view text, int delay);

// A Trimble packet, in "RZ" frames when the port's receiver is of type 15 or 16. Data of more than 255 bytes
// gives no steps.
VKCOMM_API CommandSteps trimbleSteps(GPSOEMTYPE portType, const TrimbleCommand& command, int delay);

// A CMC message: as it is to type 2, in "RZ" frames to types 11 and 12. Data of more than 255 bytes gives no
// steps.
VKCOMM_API CommandSteps cmcSteps(GPSOEMTYPE type, unsigned char id, bool repeated, ByteSpan data, int delay);

}  // namespace vkcomm
