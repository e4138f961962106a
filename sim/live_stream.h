// What a simulated receiver sends as time goes by, with the faults of a bad line on request.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "sim/damage.h"
#include "sim/recording.h"
#include "sim/rover_quality.h"

namespace vkcomm::sim {

struct LiveOptions {
    std::string family = "nmea";
    double rateHz = 1.0;  // epochs a second, 1 to 20
    std::uint64_t seed = 1;
    double dropPercent = 0.0;     // of the frames, left out
    double corruptPercent = 0.0;  // of the frames, broken as damaged recordings have them
    int splits = 1;               // writes that an epoch goes out in, cut anywhere, 1 to 100
    int delayMilliseconds = 0;    // the most by which an epoch is late, 0 to 60,000
    std::uint32_t baud = 0;       // of the receiver's port, at first; 0: rates do not matter
    bool isRover = false;         // the fix is what setFix says, not what a recording of this time has
    RoverTimes rover{};           // how soon corrections change it
};

// The families that can be live: those of recordings, and "tsip", which says nothing until it is asked.
std::vector<std::string_view> liveFamilies();

// What is wrong with the options, in a line for the user; empty when nothing is.
std::string problemWith(const LiveOptions& options);

// What goes out in one write.
struct LivePiece {
    std::int64_t dueMilliseconds = 0;  // since the start, never less than that of the piece before
    std::vector<unsigned char> bytes;
    bool endsEpoch = false;  // what else the receiver sends may stand behind it
};

struct LiveCounts {
    std::uint64_t whole = 0;  // frames sent as they should be
    std::uint64_t damaged = 0;
    std::uint64_t dropped = 0;

    friend bool operator==(const LiveCounts&, const LiveCounts&) = default;
};

// Same options (and fixes), same pieces; without end. Not thread-safe.
class LiveStream {
public:
    // problemWith(options) must be empty.
    explicit LiveStream(const LiveOptions& options);

    LivePiece next();

    // The time since the start before which the next piece is not due. A rover's epochs are made one by one, so
    // that one who waits for it tells the fix as it is then. Corruption leaves the last frame of each whole.
    std::int64_t earliestDue() const;

    // Of the epochs that next makes from now on; single before the first call. Only for a rover.
    void setFix(const Fix& fix) { m_fix = fix; }

    // Of the frames that have been given out whole up to now, with those dropped before them.
    const LiveCounts& counts() const { return m_counts; }

private:
    struct Planned {
        LivePiece piece;
        LiveCounts counts;  // to add when the piece is given
    };

    double epochMilliseconds() const { return 1000.0 / m_options.rateHz; }

    Epoch nextEpoch();
    void planBlock();
    Piece makeBlock(std::vector<std::size_t>& framesAnEpoch, std::vector<LiveCounts>& dropped);
    void planEpoch(ByteSpan bytes, const LiveCounts& counts);

    const LiveOptions m_options;
    const Family& m_family;
    const Truth m_truth;
    Damager m_damager;
    Random m_random;
    Fix m_fix{.quality = FixQuality::kSingle};
    std::int64_t m_epochsMade = 0;
    std::int64_t m_epochsPlanned = 0;
    std::int64_t m_lastDue = 0;
    std::deque<Planned> m_planned;
    LiveCounts m_counts;
};

}  // namespace vkcomm::sim
