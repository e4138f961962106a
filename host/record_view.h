// A record as hosts pass it around: what it is, its bytes, and where it came from.
#pragma once

#include <cstdint>
#include <string_view>
#include <tuple>

#include "host/byte_text.h"
#include "host/javad_framer.h"
#include "vkcomm/decode/record_names.h"
#include "vkcomm/decode/stream_decoder.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm {

enum class RecordSource : std::uint8_t {
    kStream,   // framed by CNOut
    kCarried,  // the same, from bytes that came inside the maker's frames
    kJavad,    // a Javad message: type LOG_NONE, the Id is 256 × first + second character
};

// Does not own the bytes: valid as long as what it was taken from.
struct RecordView {
    LOG_TYPE type = LOG_NONE;
    unsigned id = 0;
    RecordSource source = RecordSource::kStream;
    ByteSpan bytes;
    std::uint64_t offset = 0;  // in the stream; of a carried record, that of the frame that completed it
};

RecordView viewOf(const CNOut& decoder);
RecordView viewOf(const JavadMessage& message);

// What of a record tells its message.
struct MessageKind {
    LOG_TYPE type = LOG_NONE;
    unsigned id = 0;
    RecordSource source = RecordSource::kStream;

    friend bool operator<(const MessageKind& left, const MessageKind& right) {
        return std::tie(left.type, left.id, left.source) < std::tie(right.type, right.id, right.source);
    }
};

constexpr MessageKind kindOf(const RecordView& record) { return {record.type, record.id, record.source}; }

// The Id of a Javad message by its two characters.
constexpr unsigned javadId(std::string_view characters) {
    return static_cast<unsigned char>(characters[0]) * 256U + static_cast<unsigned char>(characters[1]);
}

// As logTypeName, recordName and recordMeaning, Javad messages included.
std::string_view familyNameOf(const MessageKind& kind);
RecordName nameOf(const MessageKind& kind);
std::string_view meaningOf(const MessageKind& kind);

}  // namespace vkcomm
