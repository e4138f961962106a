// Frames of corrections as they arrive at a simulated receiver: RTCM 3, CMR, CMR+ and RTCM 2.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "vkcomm/util/bytes.h"

namespace vkcomm::sim {

enum class CorrectionMatch {
    kNone,        // no frame begins here
    kUnfinished,  // the beginning of what may become one
    kOther,  // a whole frame that passes its check, with nothing to correct by: a station, orbits, a text
    kCorrections,  // one with observations or corrections
};

struct CorrectionLook {
    CorrectionMatch match = CorrectionMatch::kNone;
    std::size_t size = 0;  // of the whole frame
};

// What stands at the front of some bytes; there must be one.
CorrectionLook lookForCorrections(ByteSpan bytes);

// Finds the frames in a stream. Not thread-safe.
class CorrectionFinder {
public:
    // Takes bytes, cut anywhere; the number of frames with corrections that are complete with these.
    std::uint64_t feed(ByteSpan bytes);

private:
    std::vector<unsigned char> m_held;  // the beginning of a frame
};

}  // namespace vkcomm::sim
