// What a stream held: records by message, how often and when, and what was lost.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "host/receiver_snapshot.h"
#include "host/record_view.h"

namespace vkcomm {

class DecodeSummary {
public:
    // time: when the record was made, where that is known.
    void count(const RecordView& record, const std::optional<ReceiverTime>& time);

    // A table for people, or one JSON object in a line; counters are the decoder's at the end. A file name
    // that is not empty stands in front. The rate is that of the records with a time, from the first to the
    // last; it is absent where there is no time or it does not go forward.
    void appendText(std::string& out, std::string_view file, const DecoderCounters& counters) const;
    void appendJson(std::string& out, std::string_view file, const DecoderCounters& counters) const;

private:
    struct Message {
        std::uint64_t count = 0;
        std::uint64_t timed = 0;
        std::optional<ReceiverTime> first;
        std::optional<ReceiverTime> last;

        std::optional<double> rate() const;
    };

    std::map<MessageKind, Message> m_messages;
};

}  // namespace vkcomm
