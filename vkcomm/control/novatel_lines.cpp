#include "vkcomm/control/novatel_lines.h"

#include <algorithm>

#include "vkcomm/control/command_carriers.h"
#include "vkcomm/frames/baud_rates.h"

namespace vkcomm::detail {

PortRate novatelRate(int port, int baudIndex) {
    constexpr int kUsualBaud = 9600;
    return {port, baudOfIndex(baudIndex, kUsualBaud)};
}

std::string quotedId(std::wstring_view id) {
    constexpr std::size_t kWidth = 4;
    const std::string text = recordText(id);
    return '"' + std::string(kWidth - std::min(kWidth, text.size()), ' ') + text + '"';
}

void addNovatelLine(CommandSteps& steps, GPSOEMTYPE type, std::string_view line, const LineValues& values,
                    int delay) {
    append(steps, novatelText(type, fillLine(line, values) + "\r\n", delay));
}

}  // namespace vkcomm::detail
