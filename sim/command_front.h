// What stands at the front of the bytes that a simulated receiver has been sent.
#pragma once

#include <cstddef>
#include <string_view>

#include "vkcomm/util/bytes.h"

namespace vkcomm::sim {

enum class FrontKind {
    kUnfinished,  // the beginning of what may become a command
    kCommand,     // a whole one, right or wrong
    kFiller,      // nothing: line ends, blanks between commands
    kOther,       // no beginning of a command
};

struct Front {
    FrontKind kind = FrontKind::kUnfinished;
    std::size_t size = 0;  // not 0 unless unfinished
};

// A line of plain text: a command up to and with its CR, LF or both; one that breaks off before another byte that is
// no text is a command too, without line end.
Front lineFront(ByteSpan bytes);

// The line without its end; false when it has none.
bool takeLineEnd(std::string_view& line);

// A frame of a known size, a command as soon as it is whole.
constexpr Front frameFront(ByteSpan bytes, std::size_t size) {
    return bytes.size() < size ? Front{} : Front{FrontKind::kCommand, size};
}

constexpr Front otherFront(std::size_t size = 1) { return {FrontKind::kOther, size}; }

}  // namespace vkcomm::sim
