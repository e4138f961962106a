// How good a simulated rover's position is, by the corrections that reach it.
#pragma once

#include <chrono>
#include <optional>

#include "sim/correction_frame.h"
#include "sim/truth.h"

namespace vkcomm::sim {

// Counted from the first valid correction of a series; a longer gap than lostAfter ends the series.
struct RoverTimes {
    std::chrono::milliseconds floatAfter{3000};
    std::chrono::milliseconds fixedAfter{8000};
    std::chrono::milliseconds lostAfter{5000};
};

// Single without corrections; with them float and then fixed, and single again when they stop. Times are those of
// any clock that does not go back. Not thread-safe.
class RoverQuality {
public:
    explicit RoverQuality(const RoverTimes& times = {}) : m_times(times) {}

    // Takes what arrives at the receiver, cut anywhere. Bytes that are no valid corrections count for nothing.
    void receive(ByteSpan bytes, std::chrono::milliseconds now);

    Fix at(std::chrono::milliseconds now) const;

    // Messages with corrections so far.
    std::uint64_t corrections() const { return m_corrections; }

private:
    const RoverTimes m_times;
    CorrectionFinder m_finder;
    std::uint64_t m_corrections = 0;
    std::optional<std::chrono::milliseconds> m_first, m_last;  // of the series
};

}  // namespace vkcomm::sim
