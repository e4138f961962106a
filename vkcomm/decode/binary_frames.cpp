// The handlers of the decoder's binary frames: fixed headers, lengths and checksums.
#include <algorithm>

#include "vkcomm/decode/record_names.h"
#include "vkcomm/decode/stream_decoder.h"
#include "vkcomm/util/checksums.h"

namespace vkcomm {

namespace {

constexpr unsigned char kEtx = 0x03;
// Frames with a one-byte length: from here on the receivers' own 8-bit summing index would wrap.
constexpr int kShortLengthLimit = 253;
constexpr unsigned int kLongestAtBlock = 1000;
constexpr int kOem4Header = 28;
constexpr int kOem4Crc = 4;
constexpr int kHemisphereFraming = 12;

// The Id of a maker's reply: that of its two letters, or the letters themselves where they are not known.
unsigned int makerReplyId(int first, int second) {
    for (const KnownName& reply : knownNames(LOG_VAREK_REPLY))
        if (reply.name[0] == first && reply.name[1] == second) return reply.id;
    return static_cast<unsigned int>(first) << 8 | static_cast<unsigned int>(second);
}

// Radio frames by the bytes behind the lead; kAny matches every byte. The first row that matches holds.
constexpr int kAny = -1;

struct RadioFrame {
    unsigned char lead;
    int header[5];
    int size;
    unsigned int id;
};

constexpr RadioFrame kRadioFrames[] = {
    {0xF5, {0x11, 0x20, 0x00, 0x03, 0x20}, 48, 1},   {0xF5, {0x11, 0x20, 0x00, 0x04, 0x00}, 48, 2},
    {0xF5, {0x11, 0x20, kAny, kAny, kAny}, 48, 0},   {0xF5, {0x11, 0x08, 0x00, 0x03, 0x00}, 24, 115},
    {0xF5, {0x11, 0x03, 0x00, 0x02, 0xD8}, 19, 110}, {0xF5, {0x11, 0x0D, 0x00, 0x05, 0x20}, 29, 133},
    {0xF2, {'#', 0x0F, kAny, kAny, kAny}, 27, 111},  {0xF2, {'#', 0x04, kAny, kAny, kAny}, 13, 112},
    {0xF2, {'#', 0x01, kAny, kAny, kAny}, 19, 113},  {0xF2, {'#', 0x00, kAny, kAny, kAny}, 27, 114},
};

// header: the checked bytes of the frame, its lead first.
const RadioFrame* findRadioFrame(ByteSpan header) {
    const auto matches = [&](const RadioFrame& frame) {
        if (frame.lead != header[0]) return false;
        for (std::size_t i = 1; i < header.size() && i <= std::size(frame.header); ++i)
            if (frame.header[i - 1] != kAny && frame.header[i - 1] != header[i]) return false;
        return true;
    };
    for (const RadioFrame& frame : kRadioFrames)
        if (matches(frame)) return &frame;
    return nullptr;
}

}  // namespace

int CNOut::bProcress01() {
    if (!have(4)) return incomplete();
    if (byteAt(1) + byteAt(2) != 255 || byteAt(3) >= kShortLengthLimit) return reject(LOG_CMC_BINARY);
    const int size = byteAt(3) + 6;
    if (!have(size)) return incomplete();
    if (sum16(part(0, size - 2)) != loadLe<std::uint16_t>(part(size - 2, 2).data()))
        return reject(LOG_CMC_BINARY);
    return accept(LOG_CMC_BINARY, frame()[1], size);
}

int CNOut::bProcress02() {
    if (!have(4)) return incomplete();
    if (byteAt(3) >= kShortLengthLimit) return reject(LOG_TRIMBLE_PACKET);
    const int size = byteAt(3) + 6;
    if (!have(size)) return incomplete();
    if (byteAt(size - 1) != kEtx || sum8(part(1, size - 3)) != byteAt(size - 2))
        return reject(LOG_TRIMBLE_PACKET);
    store(size);
    vDecodeTrimbleDat();
    return accept(size);
}

// One byte at a time: the packets are put together by whoever parses them.
int CNOut::bProcress10() {
    const int size = std::min(m_acceptedSize + 1, kRecordSize - 1);
    acceptUnsized(LOG_TSIP, m_acceptedSecond, 1);
    m_size = m_acceptedSize = size;
    return 1;
}

int CNOut::bProcress40() {
    if (!have(3)) return incomplete();
    // deliberate: such a block is no record, yet its three bytes are used up
    if (byteAt(1) != 255 - byteAt(2)) return acceptUnsized(LOG_NONE, 0, 3);
    if (!have(7)) return incomplete();
    const auto length = loadLe<std::uint32_t>(part(3, 4).data());
    if (length > kLongestAtBlock) return reject(LOG_AT_BINARY);
    const int size = static_cast<int>(length) + 8;
    if (!have(size + 2)) return incomplete();
    const unsigned char check = xorOf(part(0, size));
    if (check != 0 && check != '@') return reject(LOG_AT_BINARY);
    store(size);
    m_type = LOG_AT_BINARY;
    m_id = frame()[1];
    return accept(size + 2);
}

int CNOut::bProcress7E() {
    if (m_tildeFrames == 0) return 0;
    int size = 0;
    return findMark('~', kRecordSize, LOG_MODEM_REPLY, size) ? accept(LOG_MODEM_REPLY, 3, size) : m_outcome;
}

int CNOut::bProcesssAA() {
    if (!have(3)) return incomplete();
    if (byteAt(1) != 0x44 || byteAt(2) != 0x12) return reject(LOG_OEM4_BINARY);
    if (!have(kOem4Header)) return incomplete();
    const int size = kOem4Header + loadLe<std::uint16_t>(part(8, 2).data()) + kOem4Crc;
    if (byteAt(3) != kOem4Header || size > kRecordSize) return reject(LOG_OEM4_BINARY);
    if (!have(size)) return incomplete();
    if (crc32Of(part(0, size)) != 0) return reject(LOG_OEM4_BINARY);
    store(size);
    DecodeOEM4Binary();
    return accept(size);
}

int CNOut::bProcressF1() {
    if (!have(4)) return incomplete();
    if (byteAt(1) != 0x10 || byteAt(2) != 0xFE || byteAt(3) != 0x50) return reject(LOG_RADIO);
    m_pauseDue = true;
    return accept(LOG_RADIO, 3, 4);
}

int CNOut::bProcressF2() { return radioFrame(4); }

int CNOut::bProcressF5() { return radioFrame(7); }

int CNOut::radioFrame(int headerSize) {
    if (!have(headerSize)) return incomplete();
    const ByteSpan header = part(0, headerSize);
    if (sum8(header) != 0xFF) return reject(LOG_RADIO);
    const RadioFrame* frame = findRadioFrame(header);
    if (!frame) return acceptUnsized(LOG_NONE, 0, headerSize);
    if (!have(frame->size)) return incomplete();
    return accept(LOG_RADIO, frame->id, frame->size);
}

int CNOut::bProcressFF() {
    if (!have(7)) return incomplete();
    const int size = byteAt(3) != 0x11 ? 47 : 28;
    if (!have(size)) return incomplete();
    return accept(LOG_RADIO, 0, size);
}

// "$$", two letters, a byte, a length, that many bytes, XOR, two closing bytes that are not checked.
int CNOut::makerReply() {
    if (!have(6)) return incomplete();
    const int size = byteAt(5) + 9;
    if (!have(size)) return incomplete();
    if (xorOf(part(0, size - 2)) != 0) return reject(LOG_VAREK_REPLY);
    return accept(LOG_VAREK_REPLY, makerReplyId(byteAt(2), byteAt(3)), size);
}

int CNOut::hemisphereBinary() {
    if (!have(8)) return incomplete();
    const int size = loadLe<std::uint16_t>(part(6, 2).data()) + kHemisphereFraming;
    if (size > kRecordSize) return reject(LOG_HEMISPHERE_BINARY);
    if (!have(size)) return incomplete();
    if (!bCheckSumForHemisphere(frame().data(), size)) return reject(LOG_HEMISPHERE_BINARY);
    store(size);
    DecodeHemisphereBinary();
    return accept(size);
}

void CNOut::DecodeOEM4Binary() {
    m_type = LOG_OEM4_BINARY;
    m_id = loadLe<std::uint16_t>(m_record + 4);
}

void CNOut::DecodeHemisphereBinary() {
    m_type = LOG_HEMISPHERE_BINARY;
    m_id = loadLe<std::uint16_t>(m_record + 4);
}

void CNOut::vDecodeTrimbleDat() {
    m_type = LOG_TRIMBLE_PACKET;
    m_id = m_record[2];
}

}  // namespace vkcomm
