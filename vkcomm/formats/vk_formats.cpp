#include "vkcomm/formats/vk_formats.h"

namespace vkcomm {

int VarekReceiver::bProcessVarekSICmd(const unsigned char* frame) {
    constexpr std::size_t kBeforePayload = 6;
    if (!frame) return 0;
    return bProcessVarekSICmd(ByteSpan(frame, kBeforePayload + frame[5]));
}

}  // namespace vkcomm
