#include "vkcomm/frames/board_frames.h"

#include "vkcomm/util/checksums.h"

namespace vkcomm {

namespace {

constexpr unsigned char kStx = 0x02;
constexpr unsigned char kEtx = 0x03;
constexpr unsigned char kDle = 0x10;
constexpr std::size_t kLongestByteCounted = 0xFF;
constexpr std::size_t kLongestOwn = 0xFFFF - 2;

void append(Bytes& frame, ByteSpan bytes) { frame.insert(frame.end(), bytes.begin(), bytes.end()); }

void appendLe16(Bytes& frame, std::size_t value) {
    frame.push_back(static_cast<unsigned char>(value));
    frame.push_back(static_cast<unsigned char>(value >> 8));
}

unsigned char crc8Step(unsigned char crc, unsigned char byte) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit)
        crc = static_cast<unsigned char>((crc << 1) ^ ((crc & 0x80) != 0 ? 0x07 : 0));
    return crc;
}

unsigned char crc8(ByteSpan bytes) {
    unsigned char crc = 0;
    for (const unsigned char byte : bytes)
        crc = crc8Step(crc, byte);
    return crc;
}

}  // namespace

Bytes trimblePacket(unsigned char type, ByteSpan data) {
    if (data.size() > kLongestByteCounted) return {};
    Bytes packet = {kStx, 0, type, static_cast<unsigned char>(data.size())};
    append(packet, data);
    packet.push_back(sum8(ByteSpan(packet).subspan(1)));
    packet.push_back(kEtx);
    return packet;
}

bool trimblePacketChecks(ByteSpan packet) {
    return packet.size() >= 3 && sum8(packet.subspan(1, packet.size() - 3)) == packet[packet.size() - 2];
}

Bytes tsipFrame(const TsipPacket& packet) {
    Bytes frame = {kDle, packet.id};
    for (const unsigned char byte : packet.data) {
        frame.push_back(byte);
        if (byte == kDle) frame.push_back(kDle);
    }
    frame.insert(frame.end(), {kDle, kEtx});
    return frame;
}

Bytes cmcMessage(unsigned char id, bool repeated, ByteSpan data) {
    if (data.size() > kLongestByteCounted) return {};
    const auto marked = static_cast<unsigned char>(repeated ? id | 0x80 : id & 0x7F);
    Bytes message = {0x01, marked, static_cast<unsigned char>(255 - marked),
                     static_cast<unsigned char>(data.size())};
    append(message, data);
    appendLe16(message, sum16(message));
    return message;
}

Bytes ownFrame(unsigned char id, unsigned short word, ByteSpan data) {
    if (data.size() > kLongestOwn) return {};
    Bytes frame = {'@', id, static_cast<unsigned char>(id ^ 0xFF)};
    appendLe16(frame, data.size() + 2);
    appendLe16(frame, word);
    append(frame, data);
    frame.push_back(xorOf(frame));
    frame.push_back(crc8Step(crc8(frame), 0));
    frame.insert(frame.end(), {'\r', '\n'});
    return frame;
}

}  // namespace vkcomm
