// What a stream held: records by message, and what was lost.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>

#include "vkcomm/decode/stream_decoder.h"

namespace vkcomm {

class DecodeSummary {
public:
    void count(const CNOut& record);

    // A table for people, or one JSON object in a line; counters are the decoder's at the end. A file name
    // that is not empty stands in front.
    void appendText(std::string& out, std::string_view file, const DecoderCounters& counters) const;
    void appendJson(std::string& out, std::string_view file, const DecoderCounters& counters) const;

private:
    std::map<std::pair<LOG_TYPE, unsigned int>, std::uint64_t> m_counts;
};

}  // namespace vkcomm
