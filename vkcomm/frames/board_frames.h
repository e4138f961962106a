// Frames of the boards' own binary languages and of the maker's '@' blocks. Pure functions; any thread. What a
// length field cannot hold is refused: the result is empty.
#pragma once

#include "vkcomm/frames/frame_bytes.h"

namespace vkcomm {

// Trimble data-collector packet: 02h, status 0, type, length, data (255 bytes at most), sum of status to data,
// 03h.
VKCOMM_API Bytes trimblePacket(unsigned char type, ByteSpan data);

// Whether the sum of all bytes but the first and the last two is the last but one; false below three bytes.
VKCOMM_API bool trimblePacketChecks(ByteSpan packet);

// One TSIP packet without its framing. The id is neither 03h nor 10h.
struct TsipPacket {
    unsigned char id = 0;
    Bytes data;
};

// 10h, id, data with every 10h doubled, 10h 03h.
VKCOMM_API Bytes tsipFrame(const TsipPacket& packet);

// CMC message: 01h, id, 255 - id, length, data (255 bytes at most), 16-bit sum of all before, low byte first.
// Bit 7 of the id is set when the answer is to be repeated, and cleared otherwise.
VKCOMM_API Bytes cmcMessage(unsigned char id, bool repeated, ByteSpan data);

// The maker's '@' block: 40h, id, its complement, 16-bit length of what follows up to the checks, word, data
// (65,533 bytes at most), XOR of all before, CRC-8 of all before and one 0 byte, CR LF; low bytes first. The
// CRC has the polynomial 07h, begins with 0 and takes the most significant bit first.
VKCOMM_API Bytes ownFrame(unsigned char id, unsigned short word, ByteSpan data);

}  // namespace vkcomm
