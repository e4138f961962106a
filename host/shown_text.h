// Text from far away, made fit for a person's terminal.
#pragma once

#include <string>
#include <string_view>

namespace vkcomm {

// The same text as UTF-8 without control characters; a byte that belongs to no character becomes U+FFFD.
std::string shownText(std::string_view text);

// How many characters text has, which is how many columns of a terminal it usually takes.
std::size_t shownWidth(std::string_view utf8);

}  // namespace vkcomm
