#include "vkcomm/platform/win32/line.h"

namespace vkcomm {

DWORD Line::control(std::uint32_t /*code*/, ByteSpan /*input*/, std::uint32_t /*length*/,
                    std::uint32_t& /*outcome*/) {
    return ERROR_NOT_SUPPORTED;
}

std::unique_ptr<Line> makeLine(const std::string& place) {
    if (place.starts_with("tcp://") || place.starts_with("bt:")) return makeSocketLine(place);
    if (place != "STR1:") return makeSerialLine(place);
#ifdef UNDER_CE
    return makeHandheldBluetoothDriver();
#else
    return makeBluetoothSockets();
#endif
}

}  // namespace vkcomm
