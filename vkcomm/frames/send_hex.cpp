#include "vkcomm/frames/send_hex.h"

namespace vkcomm {

namespace {

constexpr std::size_t kLongestPassed = 255;

std::string sendHexHead(int port, std::size_t count) {
    return "SENDHEX COM" + integerText(port) + ' ' + integerText(static_cast<long long>(count)) + ' ';
}

}  // namespace

std::string sendHexLine(int port, ByteSpan bytes) {
    std::string line = sendHexHead(port, bytes.size());
    appendUpperHex(line, bytes);
    return line += "\r\n";
}

std::string passThroughLine(ByteSpan frame) {
    if (frame.size() > kLongestPassed) return {};
    const auto length = static_cast<unsigned char>(frame.size());
    std::string line = sendHexHead(2, frame.size() + 14);
    line += "AA44120A00000000";
    appendUpperHex(line, ByteSpan(&length, 1));
    line += "00";
    appendUpperHex(line, frame);
    return line += "00000000\r\n";
}

}  // namespace vkcomm
