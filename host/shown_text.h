// Text from far away, made fit for a person's terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vkcomm {

// The same text as UTF-8 without control characters; a byte that belongs to no character becomes U+FFFD.
std::string shownText(std::string_view text);

// The same of at most that many characters (above 0); where some are cut off, three points stand for them.
std::string shownText(std::string_view text, std::size_t most);

// How many characters text has, which is how many columns of a terminal it usually takes.
std::size_t shownWidth(std::string_view utf8);

}  // namespace vkcomm
