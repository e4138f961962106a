// Parsers of the maker's own receivers: the parser of the board inside, a decoder, and the "SI" reply.
//
// One object both cuts records out of the byte stream and decodes them. Not locked, except the decoder inside
// (see CNOut): one thread at a time. Copying copies everything, the decoder's bytes included.
#pragma once

#include "vkcomm/decode/stream_decoder.h"
#include "vkcomm/export.h"
#include "vkcomm/formats/cmc_format.h"
#include "vkcomm/formats/oem4_format.h"
#include "vkcomm/formats/si_reply.h"
#include "vkcomm/formats/trimble_format.h"

namespace vkcomm {

// What the three share.
class VKCOMM_API VarekReceiver {
public:
    // 1 when the frame completes an "SI" reply, 0 while more frames of it are expected; see SiReply. The
    // pointer form takes a whole frame: 6 bytes and as many as byte 5 says must be readable. Null gives 0.
    int bProcessVarekSICmd(const unsigned char* frame);

    int bProcessVarekSICmd(ByteSpan frame) { return m_siReply.add(frame) ? 1 : 0; }

    const SiWords& SiReplyWords() const { return m_siReply.words(); }

    CNOut& Decoder() { return m_decoder; }

    const CNOut& Decoder() const { return m_decoder; }

private:
    CNOut m_decoder;
    SiReply m_siReply;
};

class VKCOMM_API CVKCmcFormat : public CCMCFormat, public VarekReceiver {};

class VKCOMM_API CVKOEM4Format : public CNOEM4Format, public VarekReceiver {};

class VKCOMM_API CVKTrimbleFormat : public CTrimbleFormat, public VarekReceiver {};

}  // namespace vkcomm
