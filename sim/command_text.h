// Texts of commands, in and out.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vkcomm/util/bytes.h"

namespace vkcomm::sim {

using Words = std::vector<std::string>;

// Cut at every separator; "" between two. What stands in double quotes or braces is not cut.
Words splitWords(std::string_view text, char separator);

// The one of some words, separated by blanks, that is the same but for the case; empty when none is.
std::string choiceOf(std::string_view choices, std::string_view word);

std::string lowerCase(std::string_view text);

// The bytes as text.
std::string_view asText(ByteSpan bytes);
// The same for people: what is no plain text as in \x02.
std::string shownText(ByteSpan bytes);
// "0A FF".
std::string hexText(ByteSpan bytes);
// "10 255".
std::string numbersText(ByteSpan bytes);
std::string wholeText(long long number);

// A number of digits alone, with a sign and, for numbers that are not whole, one point; nothing else, not even blanks.
std::optional<long long> wholeNumber(std::string_view text);
std::optional<double> decimalNumber(std::string_view text);
// Two hexadecimal digits a byte; empty when there is anything else.
std::vector<unsigned char> bytesOfDigits(std::string_view digits);

}  // namespace vkcomm::sim
