// What the damage needs to know about a family's frames.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "vkcomm/util/bytes.h"

namespace vkcomm::sim {

// What stands at the front of some bytes.
enum class Match {
    kNone,
    kFrame,       // a whole frame that passes its check; more may follow it
    kUnfinished,  // the beginning of what may become one
};

struct Framing {
    // Never stricter than any reader. A family whose check cannot pass by chance (as a CRC-32) may say none
    // instead of unfinished.
    Match (*match)(ByteSpan bytes);
    // Bytes at the end of a frame that its check does not cover, so that changing them alone may go
    // unnoticed.
    std::size_t uncheckedTail;
    // Beginnings of frames that never end; a decoder must not lose the frames behind them.
    std::span<const std::string_view> falseHeads;
};

}  // namespace vkcomm::sim
