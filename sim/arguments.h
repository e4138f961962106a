// Reads the words of a text command strictly, one after the other, and remembers the first that is wrong.
#pragma once

#include <string>
#include <string_view>

#include "sim/command_text.h"

namespace vkcomm::sim {

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
    // One of some words, separated by blanks, in any case; as it stands among them.
    std::string oneOf(std::string_view choices);
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
