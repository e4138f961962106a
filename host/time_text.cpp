#include "host/time_text.h"

#include <cmath>

#include "vkcomm/gpstime/gps_time.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

std::string timeText(const std::optional<ReceiverTime>& time) {
    if (!time) return "-";
    long year = 0;
    long month = 0;
    long day = 0;
    long hour = 0;
    long minute = 0;
    double second = 0.0;
    const double milliseconds = std::round(time->seconds * 1000.0) / 1000.0;
    gps_to_ymdhms(time->week.value_or(0), milliseconds, &year, &month, &day, &hour, &minute, &second);
    std::string text;
    if (time->week) appendFormat(text, "%04ld-%02ld-%02ld ", year, month, day);
    appendFormat(text, "%02ld:%02ld:%06.3f", hour, minute, std::floor(second * 1000.0 + 0.5) / 1000.0);
    return text;
}

}  // namespace vkcomm
