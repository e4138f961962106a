// Reads the words of a text command strictly, one after the other, and remembers the first that is wrong.
#pragma once

#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "vkcomm/util/bytes.h"

namespace vkcomm::sim {

using Words = std::vector<std::string>;
using Choices = std::span<const std::string_view>;

// Cut at every separator; "" between two. What stands in double quotes or braces is not cut.
Words splitWords(std::string_view text, char separator);

// The bytes as text.
std::string_view asText(ByteSpan bytes);
// The same for people: what is no plain text as in \x02.
std::string shownText(ByteSpan bytes);

std::string lowerCase(std::string_view text);

// A number of digits alone, with a sign and, for numbers that are not whole, one point; nothing else, not even blanks.
std::optional<long long> wholeNumber(std::string_view text);
std::optional<double> decimalNumber(std::string_view text);
// Two hexadecimal digits a byte; empty when there is anything else.
std::vector<unsigned char> bytesOfDigits(std::string_view digits);

enum class Fault { kNone, kMissing, kUnknownWord, kOutOfRange, kTooMany };

// Behind the first fault every reading gives an empty or zero value and the fault stays.
class Arguments {
public:
    explicit Arguments(Words words) : m_words(std::move(words)) {}

    bool isOver() const { return m_next == m_words.size(); }

    // Of the next word; empty when there is none.
    std::string_view peek() const { return isOver() ? std::string_view() : m_words[m_next]; }

    // Any word that is not empty.
    std::string word();
    // One of the choices, in any case; as the choice has it.
    std::string oneOf(Choices choices);
    long long whole(long long low, long long high);
    // As it was written.
    std::string number(double low, double high);

    void fail(Fault fault);

    // True when everything was right and nothing is left over.
    bool done();

    Fault fault() const { return m_fault; }

    // Which word the fault is in, from 1.
    std::size_t faultyWord() const { return m_faultyWord; }

private:
    Words m_words;
    std::size_t m_next = 0;
    Fault m_fault = Fault::kNone;
    std::size_t m_faultyWord = 0;
};

}  // namespace vkcomm::sim
