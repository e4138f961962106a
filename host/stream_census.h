// Which families' records the beginning of a stream holds, and a guess from that.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "host/receiver_family.h"

namespace vkcomm {

// Counts only frames with a check value and, of Javad messages, those the parser understands, so that noise
// counts for nothing. Bytes that are of no known family say nothing.
class StreamCensus {
public:
    // Takes that much of a stream's beginning to judge by.
    static constexpr std::size_t kEnough = 262144;

    explicit StreamCensus(ByteSpan beginning);

    // The family with most records, or null when there are none at all. Receivers of every family may send
    // sentences too, so ten sentences weigh as much as one record of another family.
    const ReceiverFamily* guess() const;

    // True when the guess cannot come from noise that a wrong rate makes: two records, or one with a check of 32
    // bits.
    bool isProof() const;

    // False for the families whose frames carry no check: they cannot be told from noise.
    static bool canTell(const ReceiverFamily& family) { return (family.decodeMask & kCheckedFrames) != 0; }

    // Whose positions to take when family is in use: its own; of the maker's receivers those of the board
    // inside; those of NMEA sentences when that is all there is.
    std::string_view positionsFrom(const ReceiverFamily& family) const;

    // Whether positions of that family were among the records, also inside those of a maker's receiver.
    bool hasPositions(std::string_view family) const;

    // "12 oem4, 3 nmea", or "none of a known family".
    std::string text() const;

private:
    static constexpr std::size_t kFamilies = 7;

    // In the order of kCounted.
    struct Count {
        std::uint64_t records = 0;
        std::uint64_t positions = 0;
        std::uint64_t carriedPositions = 0;
    };

    void countFrames(ByteSpan beginning);
    void countJavad(ByteSpan beginning);

    std::array<Count, kFamilies> m_counts{};
};

}  // namespace vkcomm
