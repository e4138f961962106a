// What a simulated caster sends to one client, as time goes by.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "sim/truth.h"

namespace vkcomm::sim {

// One thread at a time.
class CorrectionFeed {
public:
    virtual ~CorrectionFeed() = default;

    // Appends what is due now and was not given before, not much more than room bytes. now does not go back.
    virtual void append(std::chrono::milliseconds now, std::size_t room, std::string& out) = 0;
    // True when nothing will follow.
    virtual bool ended() const = 0;
};

// RTCM 3 from the simulated reference station: the station and the current second at once, then every second. now
// is the time since the truth began. A second in which nobody asks is left out.
std::unique_ptr<CorrectionFeed> makeSimulatedFeed(const Truth& truth);

// The bytes of a file from its beginning, at a steady speed from the first append on; with loop again and again.
// Without a speed as fast as there is room.
std::unique_ptr<CorrectionFeed> makeFileFeed(std::shared_ptr<const std::string> bytes, double bytesPerSecond,
                                             bool loop);

}  // namespace vkcomm::sim
