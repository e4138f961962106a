// Positions along a stream: as lines of comma-separated values, and as GGA sentences.
#pragma once

#include <string>
#include <string_view>

#include "host/receiver_snapshot.h"

namespace vkcomm {

// The names of the columns, line end included; with a column for the file in front if so asked.
std::string positionHeader(bool withFile);

// One line of those columns. What the receiver did not tell is empty; without a fix the quality is 0 and the
// position empty. A text in the file column is quoted where it needs it.
void appendPositionLine(std::string& out, std::string_view file, const ReceiverSnapshot& snapshot);

// gga with its time of day moved back by seconds, and its checksum to match: GPS time becomes UTC when seconds
// are the leap seconds. A sentence without a time comes back unchanged.
std::string ggaMovedBack(std::string_view gga, double seconds);

}  // namespace vkcomm
