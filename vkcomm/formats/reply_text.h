// What the parsers of text replies share: where a reply ends, its blanks, and its wide form.
#pragma once

#include <cstring>
#include <string>
#include <string_view>

#include "vkcomm/util/bytes.h"

namespace vkcomm {

// No reply is longer than a record can be.
inline constexpr std::size_t kLongestReply = 8192;

// The characters before the first zero, at most kLongestReply of them; none for a null pointer.
inline std::string_view terminatedText(const char* text) {
    if (!text) return {};
    const void* end = std::memchr(text, 0, kLongestReply);
    return {text, end ? static_cast<std::size_t>(static_cast<const char*>(end) - text) : kLongestReply};
}

// The same of a record's bytes, which need not be terminated.
inline std::string_view recordText(ByteSpan record) {
    const std::string_view text(reinterpret_cast<const char*>(record.data()), record.size());
    return text.substr(0, text.find('\0'));
}

// Without the white space of ASCII at both ends.
inline std::string_view trimmed(std::string_view text, std::string_view blanks = " \t\n\v\f\r") {
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

// The text before the first separator, which is taken off text together with the separator; without one all
// of it.
inline std::string_view takeUntil(std::string_view& text, char separator) {
    const std::size_t end = text.find(separator);
    const std::string_view taken = text.substr(0, end);
    text.remove_prefix(end == text.npos ? text.size() : end + 1);
    return taken;
}

// Each byte becomes the character of that number.
inline std::wstring widened(std::string_view text) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    return {bytes, bytes + text.size()};
}

}  // namespace vkcomm
