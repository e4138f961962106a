// CNString: a growable string of 8-bit characters for building and taking apart receiver text.
//
// Characters are bytes; zeros may stand inside the text, and a terminating zero always follows it. Positions
// count from 0; a position behind the end means the end. Letters and white space are those of ASCII
// whatever the locale.
//
// Nothing throws. When memory cannot be had, or a text would grow longer than m_NSLIMIT, the string keeps
// what it held. A null text counts as an empty one. A text given to an operation may be part of the string.
//
// A string owns its memory. Different strings may be used in different threads at once, one string in one
// only; the case flag is one for the process and may be read and set in any thread.
#pragma once

#include <atomic>
#include <concepts>
#include <cstdarg>
#include <memory>
#include <string_view>

#include "vkcomm/export.h"

namespace vkcomm {

class VKCOMM_API CNString {
public:
    // The smallest capacity, and the steps in which capacities grow.
    static constexpr unsigned int m_NSBASE = 31;
    static constexpr unsigned int m_NSSTEP = 128;
    // As a length: up to the terminator. As a buffer request: no change.
    static constexpr unsigned int m_NSMAX = 0xFFFFFFFF;
    // No text is longer (256 MiB).
    static constexpr unsigned int m_NSLIMIT = 0x1000'0000;
    // 1: upper and lower case differ. See Case.
    static std::atomic<int> m_bCase;

    CNString() noexcept = default;
    explicit CNString(char character);
    CNString(unsigned int count, char character);
    // length readable characters of text, zeros among them allowed; m_NSMAX: up to its terminator.
    CNString(const char* text, unsigned int length = m_NSMAX);

    // The text before the first terminator character, or before its zero when there is none. (Only a char
    // selects this form, so that CNString("text", 2) means a length.)
    CNString(const char* text, std::same_as<char> auto terminator) { appendUntil(text, terminator); }

    CNString(const CNString& other, unsigned int start, unsigned int length = m_NSMAX);
    CNString(const CNString& other);
    CNString(CNString&& other) noexcept;
    virtual ~CNString();

    CNString& operator=(const CNString& other);
    CNString& operator=(CNString&& other) noexcept;
    CNString& operator=(const char* text);
    CNString& operator=(char character);

    unsigned int Size() const { return m_length; }

    unsigned int uSize() const { return m_length; }

    int IsEmpty() const { return m_length == 0 ? 1 : 0; }

    // Both make the text empty and keep the memory.
    CNString& Clr();
    CNString& Reset();

    // The address of character i, zero-terminated; valid until the string changes. Never null.
    const char* Str(unsigned int i = 0) const;

    // The whole text, zeros inside it included; valid until the string changes.
    std::string_view view() const { return {Str(), m_length}; }

    // Character i; behind the end 0, and writing there changes nothing.
    char operator[](unsigned int i) const { return i < m_length ? m_text[i] : char{}; }

    char& operator[](unsigned int i);

    CNString& Append(const CNString& other);
    CNString& Append(const char* text, unsigned int length = m_NSMAX);
    CNString& Append(char character);

    CNString& operator+=(const CNString& other) { return Append(other); }

    CNString& operator+=(const char* text) { return Append(text); }

    CNString& operator+=(char character) { return Append(character); }

    CNString& operator<<(const CNString& other) { return Append(other); }

    CNString& operator<<(const char* text) { return Append(text); }

    CNString& operator<<(char character) { return Append(character); }

    // Below, equal to or above 0 as this text sorts before, with or behind the other, by the values of the
    // bytes; case counts only while m_bCase is set. The second form compares the length characters from start
    // with the first length characters of other, a shorter rest counting as it is.
    int CompareStr(const CNString& other) const;
    int CompareStr(const CNString& other, unsigned int start, unsigned int length) const;

    // The position of the first match at or behind from, -1 when there is none; case counts only while
    // m_bCase is set. An empty text is found at from.
    int Find(char character, unsigned int from = 0) const;
    int Find(const char* text, unsigned int from = 0) const;
    int Find(const CNString& text, unsigned int from = 0) const;

    // Makes the text n characters long: cut, or padded with blanks. m_NSMAX: cut at the first zero inside it.
    CNString& Fix(unsigned int n);
    // Every run of white space becomes one blank.
    CNString& WhiteSpace();
    // White space at both ends goes.
    CNString& TrimString();
    // WhiteSpace, TrimString and MakeUpper in this order.
    CNString& Focus();
    CNString& MakeUpper();
    CNString& Reverse();

    // Token n, counted from 0, of the text cut at any of the delimiter characters; runs of them count as one.
    // Empty when there are fewer tokens.
    CNString Token(unsigned int n, const CNString& delimiters) const;

    // 1 when the text holds an ASCII letter.
    int bHasAlpha() const;
    // 1 when it holds a byte that is neither printable ASCII nor white space.
    int Binary() const;

    // The case flag of all strings. The second form sets it and gives the old one.
    static int Case();
    static int Case(int bCase);

    // The text becomes what appendFormat makes of format and arguments, which may point into the string.
    CNString& Printf(const char* format, ...);
    CNString& vPrintf(const char* format, va_list arguments);

protected:
    // Gives the block the capacity that belongs to n characters. Nothing happens when n is m_NSMAX, when that
    // is the capacity already, or when it cannot be had. A text longer than the new capacity is cut to it.
    CNString& SetBuffer(unsigned int n);

    // Characters the block has room for, its terminator not counted; 0 without a block.
    unsigned int capacity() const { return m_capacity; }

    // True for printable ASCII and white space.
    static bool isShown(char character);
    // The text becomes its first head characters followed by tail; false when it could not and stays.
    bool replaceFrom(unsigned int head, std::string_view tail);

private:
    // Sets the capacity for n, 31 and as many steps of 128 as it takes; 1 when it changed.
    int ComputeBuffer(unsigned int n);
    bool reserve(unsigned int n);
    bool fill(unsigned int count, char character);
    void setLength(unsigned int length);
    void appendUntil(const char* text, char terminator);

    std::unique_ptr<char[]> m_text;  // m_capacity + 1 bytes; none until first needed
    unsigned int m_capacity = 0;
    unsigned int m_length = 0;
    char m_beyond = 0;  // what operator[] refers to behind the end
};

}  // namespace vkcomm
