#include "vkcomm/formats/si_reply.h"

#include <algorithm>

#include "vkcomm/formats/reply_text.h"

namespace vkcomm {

namespace {

constexpr std::size_t kLengthAt = 5;
constexpr std::size_t kPayloadAt = 6;
constexpr std::size_t kMoreFollows = 55;
constexpr std::string_view kTrimmed = " \t\n\v\f\r\xFF";

// The word before the first blank, which stays in text; empty when there is none.
std::string_view wordBeforeBlank(std::string_view& text) {
    const std::size_t blank = text.find(' ');
    if (blank == text.npos) return {};
    const std::string_view word = text.substr(0, blank);
    text.remove_prefix(blank);
    return word;
}

}  // namespace

bool SiReply::add(ByteSpan frame) {
    if (frame.size() < kPayloadAt || frame.size() - kPayloadAt < frame[kLengthAt]) return false;
    const std::size_t length = frame[kLengthAt];
    append(frame.subspan(kPayloadAt, length));
    if (length == kMoreFollows) return false;
    if (m_fill == 0) return true;
    split();
    m_fill = 0;
    return true;
}

void SiReply::append(ByteSpan payload) {
    payload = payload.first(std::min(payload.size(), m_gathered.size() - m_fill));
    std::ranges::copy(payload, m_gathered.begin() + static_cast<std::ptrdiff_t>(m_fill));
    m_fill += payload.size();
}

// Deliberate: a word counts only with a blank behind it, so that of two words the second is empty, and a
// single one is none.
void SiReply::split() {
    std::string_view text = trimmed(recordText(m_gathered), kTrimmed);
    m_words.first = widened(wordBeforeBlank(text));
    text = trimmed(text, kTrimmed);
    m_words.second = widened(wordBeforeBlank(text));
}

}  // namespace vkcomm
