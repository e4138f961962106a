// Times of receivers, for people.
#pragma once

#include <optional>
#include <string>

#include "host/receiver_snapshot.h"

namespace vkcomm {

// "2009-12-18 23:07:00.000", the time of day alone without a week, "-" without a time.
std::string timeText(const std::optional<ReceiverTime>& time);

constexpr const char* scaleText(TimeScale scale) { return scale == TimeScale::kGps ? "gps" : "utc"; }

}  // namespace vkcomm
