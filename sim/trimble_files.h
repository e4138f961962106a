// Application files of Trimble receivers: a file control block and records, as a simulated receiver reads them.
#pragma once

#include <string>

#include "sim/receiver_settings.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm::sim {

// Changes the settings as the file says. A file with anything wrong changes nothing; what it is, or nothing.
std::string applyFile(ByteSpan file, ReceiverSettings& settings);

}  // namespace vkcomm::sim
