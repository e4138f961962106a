// Finds RTCM 3 messages in a stream of corrections, to count them and to cut the stream between them.
//
// A frame is D3h, six zero bits, a length of ten bits, the message (its number in the first twelve bits) and a
// CRC-24Q, all most significant bit first (RTCM 10403). Nothing of a message is decoded.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace vkcomm {

struct CorrectionBlock {
    std::string bytes;
    int message = -1;  // of an RTCM 3 message with a good check; -1: anything else
};

// One thread at a time. Every byte that is fed comes out in a block, in order.
//
// Nothing is held back before the first message with a good check, nor when none has come for kMostOthers bytes: what
// looks like the beginning of a frame in another format must not wait for an end that does not come.
class Rtcm3Scanner {
public:
    static constexpr std::size_t kLongestFrame = 3 + 1023 + 3;
    static constexpr std::size_t kMostOthers = 4 * kLongestFrame;

    // Takes bytes, cut anywhere, and appends what they complete to blocks: whole messages, and the bytes between them.
    // The beginning of a frame is held until the rest has come; where nothing is held back, the block that ends a
    // message may lack its beginning, which has gone before.
    void feed(std::string_view bytes, std::vector<CorrectionBlock>& blocks);
    // Gives out what is held: no more bytes will come for it.
    void flush(std::vector<CorrectionBlock>& blocks);

    // Good messages by number, and frames among them whose check was wrong.
    const std::map<int, std::uint64_t>& counts() const { return m_counts; }

    std::uint64_t badChecks() const { return m_badChecks; }

private:
    void give(std::string_view bytes, int message, std::vector<CorrectionBlock>& blocks);
    void noteOthers(std::size_t bytes);

    std::string m_held;
    std::size_t m_given = 0;   // bytes at the front of what is held that have gone out already
    bool m_isInStep = false;   // with the messages of the stream: what is held stays back
    std::size_t m_others = 0;  // bytes since the last good message
    std::map<int, std::uint64_t> m_counts;
    std::uint64_t m_badChecks = 0;
};

// CRC-24Q: polynomial 1864CFBh, initial value 0, not reflected.
std::uint32_t crc24q(std::string_view bytes);

}  // namespace vkcomm
