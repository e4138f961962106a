// How the tests of frames and commands write bytes down.
#pragma once

#include <string>
#include <string_view>

#include "tests/decode/frames.h"
#include "vkcomm/frames/frame_bytes.h"

namespace vkcomm::test {

inline std::string text(ByteSpan bytes) { return {bytes.begin(), bytes.end()}; }

// "02 00 06": bytes as people read them.
inline std::string spelled(ByteSpan bytes) {
    std::string out;
    for (const unsigned char byte : bytes) {
        if (!out.empty()) out += ' ';
        out += digits(byte, 2);
    }
    return out;
}

inline std::string spelled(std::string_view bytes) { return spelled(vkcomm::bytesOf(bytes)); }

// The bytes 0, 1, 2, … 255, 0, …
inline Bytes counted(std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<unsigned char>(i);
    return bytes;
}

// Whether the decoder takes all bytes as one record of that type.
inline bool isOneRecord(ByteSpan bytes, LOG_TYPE type) {
    CNOut decoder;
    const std::vector<Record> records = decodeAll(decoder, text(bytes));
    return records.size() == 1 && records[0].type == type &&
           records[0].consumed == static_cast<int>(bytes.size());
}

}  // namespace vkcomm::test
