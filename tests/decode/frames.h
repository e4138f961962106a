// Builds frames byte by byte, with check values worked out the slow way, and runs them through a decoder.
#pragma once

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "vkcomm/decode/stream_decoder.h"

namespace vkcomm::test {

inline char chr(unsigned value) { return static_cast<char>(static_cast<unsigned char>(value)); }

inline unsigned byteOf(char c) { return static_cast<unsigned char>(c); }

// "aa 44 12" or "aa4412".
inline std::string hex(std::string_view text) {
    std::string digits(text);
    std::erase(digits, ' ');
    std::string bytes;
    for (std::size_t at = 0; at < digits.size(); at += 2)
        bytes += chr(static_cast<unsigned>(std::stoul(digits.substr(at, 2), nullptr, 16)));
    return bytes;
}

inline unsigned xorSum(std::string_view bytes) {
    return std::accumulate(bytes.begin(), bytes.end(), 0u, [](unsigned s, char c) { return s ^ byteOf(c); });
}

inline unsigned byteSum(std::string_view bytes) {
    return std::accumulate(bytes.begin(), bytes.end(), 0u, [](unsigned s, char c) { return s + byteOf(c); });
}

inline std::uint32_t slowCrc(std::string_view bytes) {
    std::uint32_t crc = 0;
    for (const char c : bytes) {
        crc ^= byteOf(c);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ ((crc & 1) ? 0xEDB88320u : 0u);
    }
    return crc;
}

inline std::string little(std::uint64_t value, int count) {
    std::string bytes;
    for (int i = 0; i < count; ++i)
        bytes += chr(static_cast<unsigned>(value >> (8 * i) & 0xFF));
    return bytes;
}

inline std::string cmc(unsigned id, std::string_view payload) {
    std::string frame = {chr(0x01), chr(id), chr(255 - id), chr(static_cast<unsigned>(payload.size()))};
    frame += payload;
    return frame + little(byteSum(frame), 2);
}

inline std::string trimble(unsigned type, std::string_view payload) {
    std::string frame = {chr(0x02), chr(0x00), chr(type), chr(static_cast<unsigned>(payload.size()))};
    frame += payload;
    return frame + chr(byteSum(frame.substr(1)) & 0xFF) + chr(0x03);
}

inline std::string oem4(unsigned id, std::string_view body) {
    std::string frame = hex("aa44121c") + little(id, 2) + chr(0) + chr(0x20) + little(body.size(), 2);
    frame.resize(28);
    frame += body;
    return frame + little(slowCrc(frame), 4);
}

inline std::string atBlock(unsigned id, std::string_view payload) {
    std::string frame = {'@', chr(id), chr(255 - id)};
    frame += little(payload.size(), 4);
    frame += payload;
    return frame + chr(xorSum(frame)) + "\r\n";
}

inline std::string maker(std::string_view letters, std::string_view payload) {
    std::string frame = "$$" + std::string(letters) + chr(7) + chr(static_cast<unsigned>(payload.size()));
    frame += payload;
    return frame + chr(xorSum(frame)) + "\r\n";
}

inline std::string hemisphere(unsigned id, std::string_view payload) {
    return "$BIN" + little(id, 2) + little(payload.size(), 2) + std::string(payload) +
           little(byteSum(payload), 2) + "\r\n";
}

inline std::string digits(std::uint32_t value, int count) {
    std::string text;
    for (int i = count - 1; i >= 0; --i)
        text += "0123456789ABCDEF"[value >> (4 * i) & 15];
    return text;
}

inline std::string sentence(std::string_view text) {
    return "$" + std::string(text) + "*" + digits(xorSum(text), 2) + "\r\n";
}

inline std::string asciiLog(std::string_view text) {
    return "#" + std::string(text) + "*" + digits(slowCrc(text), 8) + "\r\n";
}

// Bytes behind a lead so that the 8-bit sum of all is 0xFF.
inline std::string summedTo255(std::string head) { return head + chr((0xFF - byteSum(head)) & 0xFF); }

struct Record {
    int type;
    unsigned id;
    int size;
    std::string bytes;
    std::uint64_t offset;
    int consumed;

    friend bool operator==(const Record&, const Record&) = default;
};

inline void PrintTo(const Record& record, std::ostream* out) {
    *out << "type " << record.type << " id " << record.id << " size " << record.size << " at "
         << record.offset << "+" << record.consumed << " '" << record.bytes.substr(0, 24) << "'";
}

inline std::string bytesOf(const CNOut& decoder) {
    const ByteSpan bytes = decoder.RecordBytes();
    return {bytes.begin(), bytes.end()};
}

inline Record recordOf(const CNOut& decoder) {
    return {decoder.Type(),   decoder.Id(),           decoder.Size(),
            bytesOf(decoder), decoder.RecordOffset(), decoder.RecordConsumed()};
}

inline void feed(CNOut& decoder, std::string_view bytes) {
    decoder.Set(reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
}

inline std::vector<Record> readAll(CNOut& decoder) {
    std::vector<Record> records;
    while (decoder.Read() == CNOut::RETURN_COMPLETE)
        records.push_back(recordOf(decoder));
    return records;
}

// The size of the next piece of a stream: at least size, but never one that ends in a CR, since a CR at the
// end of what has arrived completes its line.
inline std::size_t pieceSize(std::string_view stream, std::size_t size) {
    size = std::clamp<std::size_t>(size, 1, stream.size());
    while (size < stream.size() && stream[size - 1] == '\r')
        ++size;
    return size;
}

// Everything in the stream, fed chunk bytes at a time, what stands behind an incomplete frame at the end
// included.
inline std::vector<Record> decodeAll(CNOut& decoder, std::string_view stream, std::size_t chunk = 4096) {
    std::vector<Record> records;
    while (!stream.empty()) {
        const std::size_t size = pieceSize(stream, chunk);
        feed(decoder, stream.substr(0, size));
        stream.remove_prefix(size);
        for (Record& record : readAll(decoder))
            records.push_back(std::move(record));
    }
    while (decoder.ReadRest() == CNOut::RETURN_COMPLETE)
        records.push_back(recordOf(decoder));
    return records;
}

// A clock that only remembers.
class NotedClock final : public Clock {
public:
    std::chrono::milliseconds now() override { return slept; }

    void sleep(std::chrono::milliseconds time) override { slept += time; }

    std::chrono::milliseconds slept{0};
};

}  // namespace vkcomm::test
