// What the tables of NovAtel bases and rovers share. Part of the library's inside.
#pragma once

#include "vkcomm/control/command_step.h"
#include "vkcomm/control/line_tables.h"
#include "vkcomm/frames/receiver_type.h"

namespace vkcomm::detail {

// Correction formats as uVarekFormat numbers them.
inline constexpr FormatSet kCmrFormats = formats({0, 3, 6});
inline constexpr FormatSet kRtcmFormats = formats({1, 4});
inline constexpr FormatSet kRtcaFormats = formats({2, 5});
inline constexpr FormatSet kRtcm3Formats = formats({7});
inline constexpr FormatSet kRtcm1Formats = formats({8});

// The rate of a port by index; 9600 for an index outside 0 to 9.
PortRate novatelRate(int port, int baudIndex);

// An RTCA station, in quotes and filled up with blanks from the left to four characters.
std::string quotedId(std::wstring_view id);

// The line with its places filled, its CR LF behind it, in what the type needs around it.
void addNovatelLine(CommandSteps& steps, GPSOEMTYPE type, std::string_view line, const LineValues& values,
                    int delay);

}  // namespace vkcomm::detail
