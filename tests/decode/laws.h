// What must hold for every byte stream, however it arrives. Used by tests and by the fuzzer.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/decode/frames.h"

namespace vkcomm::test {

// Prompts are taken as soon as they have arrived, so their leads are masked off where splits are compared.
inline constexpr std::uint32_t kArrivalDoesNotMatter = kDecodeAll & ~(kDecodePortBanner | kDecodeModem);

struct Law {
    std::uint32_t mask = kArrivalDoesNotMatter;
    bool tilde = false;
};

// Binary records are a piece of the stream, byte for byte.
inline bool isVerbatim(int type) {
    return type == LOG_OEM4_BINARY || type == LOG_TRIMBLE_PACKET || type == LOG_CMC_BINARY ||
           type == LOG_AT_BINARY || type == LOG_VAREK_REPLY || type == LOG_HEMISPHERE_BINARY ||
           type == LOG_RADIO;
}

struct Decoded {
    std::vector<Record> records;
    std::optional<std::string> broken;
};

// Decodes stream in pieces whose sizes nextSize gives. Checks along the way that bytes held stay below the
// longest frame, that records come in order, that binary ones are verbatim, and that every byte is in a
// record or counted as dropped.
inline Decoded decodeUnderLaw(std::string_view stream, const Law& law,
                              const std::function<std::size_t()>& nextSize) {
    CNOut decoder;
    NotedClock clock;
    decoder.vSetClock(clock);
    decoder.vSetDecodeMask(law.mask);
    decoder.vSetTildeFrames(law.tilde);

    Decoded result;
    std::uint64_t consumed = 0;
    std::uint64_t end = 0;
    const auto take = [&] {
        Record record = recordOf(decoder);
        if (record.offset < end) result.broken = "records overlap";
        end = record.offset + static_cast<std::uint64_t>(record.consumed);
        consumed += static_cast<std::uint64_t>(record.consumed);
        if (isVerbatim(record.type) &&
            stream.substr(static_cast<std::size_t>(record.offset), record.bytes.size()) != record.bytes)
            result.broken = "a binary record differs from the stream";
        result.records.push_back(std::move(record));
    };
    for (std::size_t at = 0; at < stream.size();) {
        const std::size_t size = pieceSize(stream.substr(at), nextSize());
        feed(decoder, stream.substr(at, size));
        at += size;
        while (decoder.Read() == CNOut::RETURN_COMPLETE)
            take();
        if (decoder.iBytesInRxBuf() > CNOut::kRecordSize)
            result.broken = "more bytes held than the longest frame";
    }
    while (decoder.ReadRest() == CNOut::RETURN_COMPLETE)
        take();
    if (decoder.iBytesInRxBuf() != 0) result.broken = "bytes left behind";
    if (consumed + decoder.Counters().dropped != stream.size()) result.broken = "bytes unaccounted for";
    return result;
}

}  // namespace vkcomm::test
