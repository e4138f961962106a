// NovAtel's SENDHEX command: the receiver writes the bytes, given as hexadecimal digits, to one of its ports.
// Pure functions; any thread.
#pragma once

#include <string>

#include "vkcomm/frames/frame_bytes.h"

namespace vkcomm {

// "SENDHEX COM<port> <count> <digits>" CR LF.
VKCOMM_API std::string sendHexLine(int port, ByteSpan bytes);

// A maker frame on its way through a NovAtel board: SENDHEX to COM2 with the frame inside a log's header and
// tail. A frame of more than 255 bytes, whose length the header cannot hold, gives no line.
VKCOMM_API std::string passThroughLine(ByteSpan frame);

}  // namespace vkcomm
