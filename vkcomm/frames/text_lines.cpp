#include "vkcomm/frames/text_lines.h"

#include "vkcomm/util/checksums.h"

namespace vkcomm {

namespace {

void appendCheck(std::string& line, unsigned char check) {
    appendUpperHex(line, ByteSpan(&check, 1));
    line += "\r\n";
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";
    const std::size_t first = text.find_first_not_of(kWhiteSpace);
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
}

}  // namespace

std::string starLine(std::string_view text) {
    std::string line(text);
    const unsigned char check = text.empty() ? 0 : xorOf(bytesOf(text.substr(1)));
    line += '*';
    appendCheck(line, check);
    return line;
}

std::string javadLine(std::string_view text) {
    std::string line(trimmed(text));
    line += '@';
    appendCheck(line, xorOf(bytesOf(line)));
    return line;
}

}  // namespace vkcomm
