// Corrections on their way to a receiver: by the road that its type asks for, never faster than it takes them.
//
// Three roads lead to a receiver. A board that is connected directly gets the bytes as they are, through the write
// queue of its port. Behind one of the maker's receivers they travel in VD frames, and for type 13 in bare pieces; these
// two roads carry 55 bytes every 50 ms and take a block only while the queue is empty.
//
// What comes is gathered into blocks that end where a message ends. A block that has waited too long is of no use to
// the receiver any more: it is dropped, whole, the oldest first, and counted. So is one that its road has taken and
// lost.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>

#include "host/rtcm3_scanner.h"
#include "vkcomm/frames/receiver_type.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm {

class CTrimblePort;

enum class CorrectionRoad : std::uint8_t { kPlain, kVd, kCors };

// A short lower-case name, such as "plain".
std::string_view roadName(CorrectionRoad road);

// Nothing: a receiver that is none of the maker's and no board of that list, connected directly.
CorrectionRoad roadOf(std::optional<GPSOEMTYPE> type);

struct LostBlocks {
    std::uint64_t blocks = 0;
    std::uint64_t bytes = 0;
};

// Where blocks go. Called by one thread.
class CorrectionSink {
public:
    virtual ~CorrectionSink() = default;

    // Whether a block would be taken now.
    virtual bool isFree() = 0;
    // Takes a block of at most kLongestBlock bytes; false when it was not taken. Does not wait.
    virtual bool send(ByteSpan block) = 0;
    // Of the blocks it has taken, those that are known since the last call not to have gone on their way whole.
    virtual LostBlocks takeLost() = 0;
};

// The road to a receiver behind that port, which must outlive it. Nobody else may give the port commands that wait
// while corrections travel by one of the slow roads: a block that meets a queue which is not empty is lost uncounted.
// Lost is what the port discards; when that hits requests of others too, blocks beside them may count that went out.
std::unique_ptr<CorrectionSink> makePortSink(CTrimblePort& port, std::optional<GPSOEMTYPE> type);

// What was taken is sent, dropped, lost or waits still.
struct RelayCounters {
    std::uint64_t sentBlocks = 0;  // those that are lost afterwards leave these two again
    std::uint64_t sentBytes = 0;
    std::uint64_t droppedBlocks = 0;
    std::uint64_t droppedBytes = 0;
    std::uint64_t lostBlocks = 0;
    std::uint64_t lostBytes = 0;
};

// One thread at a time. Nothing here waits.
class CorrectionRelay {
public:
    using Milliseconds = std::chrono::milliseconds;

    // What the slow roads take at once.
    static constexpr std::size_t kLongestBlock = 1100;
    // With this much waiting, hasRoom says no, for a while.
    static constexpr std::size_t kMostWaiting = 16384;

    // A block that has waited for longer than mostAge is dropped. The sink must outlive the relay.
    CorrectionRelay(CorrectionSink& sink, Milliseconds mostAge);

    // Takes a message, or bytes between messages; longer ones are cut.
    void take(const CorrectionBlock& correction, Milliseconds now);
    // Drops what is too old, and sends what can be sent. True when blocks were sent.
    bool turn(Milliseconds now);

    // False: who brings corrections should wait. What is taken all the same is kept. A road that is behind for longer
    // than mostAge will not catch up: then there always is room, and the oldest blocks that are too many are dropped.
    bool hasRoom() const { return m_isBehind || m_waitingBytes < kMostWaiting; }

    // Who brings corrections has no more of them for now.
    void drained() { m_isDrained = true; }

    // Drops all that waits, at the end.
    void dropAll();

    bool isWaiting() const { return !m_blocks.empty(); }

    const RelayCounters& counters() const { return m_counters; }

private:
    struct Block {
        std::string bytes;
        Milliseconds since;
    };

    void append(std::string_view bytes, Milliseconds now);
    void judgeRoad(Milliseconds now);
    void countLost();

    void dropOldest() { removeOldest(m_counters.droppedBlocks, m_counters.droppedBytes); }

    void removeOldest(std::uint64_t& blocks, std::uint64_t& bytes);

    CorrectionSink& m_sink;
    const Milliseconds m_mostAge;
    std::deque<Block> m_blocks;  // oldest first
    std::size_t m_waitingBytes = 0;
    std::optional<Milliseconds> m_fullSince;  // more may wait outside since
    bool m_isBehind = false;                  // and has for too long
    bool m_isDrained = true;                  // nothing waits outside
    RelayCounters m_counters;
};

}  // namespace vkcomm
