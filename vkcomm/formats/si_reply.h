// The reply to the maker's "SI" command, gathered from the frames it comes in.
#pragma once

#include <array>
#include <string>

#include "vkcomm/export.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm {

// The first two words of a reply, widened one to one. Which properties of the receiver they tell is the
// host's business.
struct SiWords {
    std::wstring first;
    std::wstring second;
};

// A frame with exactly 55 payload bytes says that another one follows. Not locked: one thread at a time.
// Copying copies everything, a half-gathered reply included.
class VKCOMM_API SiReply {
public:
    // Takes the payload of one frame as the decoder framed it ("$$SI", a byte, the payload's length, the
    // payload). True when the reply is complete, or when an end frame comes and nothing was gathered: that
    // one changes nothing. Payload beyond 128 bytes of a reply is dropped. A frame that is shorter than its
    // length says is ignored: false.
    bool add(ByteSpan frame);

    const SiWords& words() const { return m_words; }

private:
    void append(ByteSpan payload);
    void split();

    // Never cleared (deliberate): the tail of an earlier, longer reply follows a shorter one, as far as the
    // first zero byte. Replies of one receiver have a fixed form, and hosts know them that way.
    std::array<unsigned char, 128> m_gathered{};
    std::size_t m_fill = 0;
    SiWords m_words;
};

}  // namespace vkcomm
