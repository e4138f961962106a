#include "sim/command_front.h"

#include <algorithm>

namespace vkcomm::sim {

namespace {

bool isLineText(unsigned char byte) { return (byte >= ' ' && byte <= '~') || byte == '\t'; }

bool isFiller(unsigned char byte) { return byte == '\r' || byte == '\n' || byte == ' '; }

}  // namespace

Front lineFront(ByteSpan bytes) {
    const auto begin = std::ranges::find_if_not(bytes, isFiller);
    if (begin != bytes.begin()) return {FrontKind::kFiller, static_cast<std::size_t>(begin - bytes.begin())};
    const auto end = std::ranges::find_if_not(bytes, isLineText);
    if (end == bytes.begin()) return otherFront();
    if (end == bytes.end()) return {};
    const bool isEnd = *end == '\r' || *end == '\n';
    return {FrontKind::kCommand, static_cast<std::size_t>(end - bytes.begin()) + (isEnd ? 1 : 0)};
}

bool takeLineEnd(std::string_view& line) {
    const std::size_t end = line.find_first_of("\r\n");
    if (end == line.npos) return false;
    line = line.substr(0, end);
    return true;
}

}  // namespace vkcomm::sim
