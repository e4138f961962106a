#include "vkcomm/util/narrow_string.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <exception>
#include <functional>
#include <new>
#include <string>
#include <utility>

#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

bool isWhite(char c) { return kWhiteSpace.find(c) != std::string_view::npos; }

char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c; }

bool isAlpha(char c) { return upper(c) >= 'A' && upper(c) <= 'Z'; }

bool equalBarCase(char left, char right) { return upper(left) == upper(right); }

std::string_view viewOf(const char* text) {
    return text == nullptr ? std::string_view{} : std::string_view(text);
}

std::string_view viewOf(const char* text, unsigned int length) {
    return text == nullptr || length == CNString::m_NSMAX ? viewOf(text) : std::string_view(text, length);
}

std::string_view stretch(std::string_view text, unsigned int start, unsigned int length) {
    return text.substr(std::min<std::size_t>(start, text.size()), length);
}

int compare(std::string_view left, std::string_view right) {
    if (CNString::Case() != 0) return left.compare(right);
    const auto before = [](char l, char r) {
        return static_cast<unsigned char>(upper(l)) < static_cast<unsigned char>(upper(r));
    };
    if (std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end(), before)) return -1;
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), equalBarCase) ? 0 : 1;
}

std::size_t find(std::string_view text, std::string_view wanted, std::size_t from) {
    if (CNString::Case() != 0) return text.find(wanted, from);
    const auto start = text.begin() + static_cast<std::ptrdiff_t>(from);
    const auto found = std::search(start, text.end(), wanted.begin(), wanted.end(), equalBarCase);
    const bool missing = found == text.end() && !wanted.empty();
    return missing ? std::string_view::npos : static_cast<std::size_t>(found - text.begin());
}

int position(std::string_view text, std::string_view wanted, unsigned int from) {
    const std::size_t found = find(text, wanted, std::min<std::size_t>(from, text.size()));
    return found == std::string_view::npos ? -1 : static_cast<int>(found);
}

}  // namespace

constinit std::atomic<int> CNString::m_bCase{1};

CNString::CNString(char character) { Append(character); }

CNString::CNString(unsigned int count, char character) { fill(count, character); }

CNString::CNString(const char* text, unsigned int length) { Append(text, length); }

CNString::CNString(const CNString& other, unsigned int start, unsigned int length) {
    replaceFrom(0, stretch(other.view(), start, length));
}

CNString::CNString(const CNString& other) { replaceFrom(0, other.view()); }

CNString::CNString(CNString&& other) noexcept
    : m_text(std::move(other.m_text)), m_capacity(std::exchange(other.m_capacity, 0)),
      m_length(std::exchange(other.m_length, 0)) {}

CNString::~CNString() = default;

CNString& CNString::operator=(const CNString& other) {
    replaceFrom(0, other.view());
    return *this;
}

CNString& CNString::operator=(CNString&& other) noexcept {
    if (this == &other) return *this;
    m_text = std::move(other.m_text);
    m_capacity = std::exchange(other.m_capacity, 0);
    m_length = std::exchange(other.m_length, 0);
    return *this;
}

CNString& CNString::operator=(const char* text) {
    replaceFrom(0, viewOf(text));
    return *this;
}

CNString& CNString::operator=(char character) {
    replaceFrom(0, {&character, 1});
    return *this;
}

int CNString::ComputeBuffer(unsigned int n) {
    const unsigned int steps = n <= m_NSBASE ? 0 : (n - m_NSBASE + m_NSSTEP - 1) / m_NSSTEP;
    return std::exchange(m_capacity, m_NSBASE + steps * m_NSSTEP) != m_capacity ? 1 : 0;
}

CNString& CNString::SetBuffer(unsigned int n) {
    if (n > m_NSLIMIT) return *this;  // m_NSMAX among them
    const unsigned int before = m_capacity;
    if (ComputeBuffer(n) == 0) return *this;
    std::unique_ptr<char[]> block(new (std::nothrow) char[std::size_t{m_capacity} + 1]);
    if (block == nullptr) {
        m_capacity = before;
        return *this;
    }
    const unsigned int kept = std::min(m_length, m_capacity);
    std::copy_n(Str(), kept, block.get());
    m_text = std::move(block);
    setLength(kept);
    return *this;
}

// Makes room for n characters; a larger block stays as it is.
bool CNString::reserve(unsigned int n) {
    if (n > m_capacity || m_text == nullptr) SetBuffer(n);
    return m_text != nullptr && n <= m_capacity;
}

bool CNString::replaceFrom(unsigned int head, std::string_view tail) {
    if (tail.size() > m_NSLIMIT - head) return false;
    const auto wanted = head + static_cast<unsigned int>(tail.size());
    if (wanted == 0 && m_text == nullptr) return true;
    const std::less_equal<const char*> upTo;
    const bool ours =
        m_text != nullptr && upTo(m_text.get(), tail.data()) && upTo(tail.data(), m_text.get() + m_length);
    const std::ptrdiff_t offset = ours ? tail.data() - m_text.get() : 0;
    if (!reserve(wanted)) return false;
    const char* const source = ours ? m_text.get() + offset : tail.data();
    if (!tail.empty()) std::memmove(m_text.get() + head, source, tail.size());
    setLength(wanted);
    return true;
}

bool CNString::fill(unsigned int count, char character) {
    if (count == 0) return true;
    if (count > m_NSLIMIT - m_length || !reserve(m_length + count)) return false;
    std::fill_n(m_text.get() + m_length, count, character);
    setLength(m_length + count);
    return true;
}

void CNString::setLength(unsigned int length) {
    m_length = length;
    if (m_text != nullptr) m_text[length] = 0;
}

void CNString::appendUntil(const char* text, char terminator) {
    const char stops[] = {terminator, 0};
    if (text != nullptr) replaceFrom(m_length, {text, std::strcspn(text, stops)});
}

CNString& CNString::Clr() {
    setLength(0);
    return *this;
}

CNString& CNString::Reset() { return Clr(); }

const char* CNString::Str(unsigned int i) const {
    return m_text == nullptr ? "" : m_text.get() + std::min(i, m_length);
}

char& CNString::operator[](unsigned int i) {
    m_beyond = 0;
    return i < m_length ? m_text[i] : m_beyond;
}

CNString& CNString::Append(const CNString& other) {
    replaceFrom(m_length, other.view());
    return *this;
}

CNString& CNString::Append(const char* text, unsigned int length) {
    replaceFrom(m_length, viewOf(text, length));
    return *this;
}

CNString& CNString::Append(char character) {
    fill(1, character);
    return *this;
}

int CNString::CompareStr(const CNString& other) const { return compare(view(), other.view()); }

int CNString::CompareStr(const CNString& other, unsigned int start, unsigned int length) const {
    return compare(stretch(view(), start, length), stretch(other.view(), 0, length));
}

int CNString::Find(char character, unsigned int from) const {
    return position(view(), {&character, 1}, from);
}

int CNString::Find(const char* text, unsigned int from) const { return position(view(), viewOf(text), from); }

int CNString::Find(const CNString& text, unsigned int from) const {
    return position(view(), text.view(), from);
}

CNString& CNString::Fix(unsigned int n) {
    if (n == m_NSMAX) n = static_cast<unsigned int>(std::strlen(Str()));
    if (n <= m_length)
        setLength(n);
    else
        fill(n - m_length, ' ');
    return *this;
}

CNString& CNString::WhiteSpace() {
    char* const begin = m_text.get();
    char* end = begin;
    bool inRun = false;
    for (const char c : view()) {
        const bool white = isWhite(c);
        if (!white || !inRun) *end++ = white ? ' ' : c;
        inRun = white;
    }
    setLength(static_cast<unsigned int>(end - begin));
    return *this;
}

CNString& CNString::TrimString() {
    std::string_view rest = view();
    rest.remove_prefix(std::min(rest.find_first_not_of(kWhiteSpace), rest.size()));
    rest.remove_suffix(rest.size() - (rest.find_last_not_of(kWhiteSpace) + 1));
    replaceFrom(0, rest);
    return *this;
}

CNString& CNString::Focus() { return WhiteSpace().TrimString().MakeUpper(); }

CNString& CNString::MakeUpper() {
    std::transform(m_text.get(), m_text.get() + m_length, m_text.get(), upper);
    return *this;
}

CNString& CNString::Reverse() {
    std::reverse(m_text.get(), m_text.get() + m_length);
    return *this;
}

CNString CNString::Token(unsigned int n, const CNString& delimiters) const {
    const std::string_view text = view(), stops = delimiters.view();
    std::size_t start = text.find_first_not_of(stops);
    for (; start != std::string_view::npos && n != 0; --n)
        start = text.find_first_not_of(stops, std::min(text.find_first_of(stops, start), text.size()));
    CNString token;
    if (start != std::string_view::npos)
        token.replaceFrom(0, text.substr(start, text.find_first_of(stops, start) - start));
    return token;
}

bool CNString::isShown(char character) {
    return (character >= ' ' && character <= '~') || isWhite(character);
}

int CNString::bHasAlpha() const { return std::ranges::any_of(view(), isAlpha) ? 1 : 0; }

int CNString::Binary() const { return std::ranges::all_of(view(), isShown) ? 0 : 1; }

int CNString::Case() { return m_bCase.load(std::memory_order_relaxed); }

int CNString::Case(int bCase) { return m_bCase.exchange(bCase, std::memory_order_relaxed); }

CNString& CNString::Printf(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vPrintf(format, arguments);
    va_end(arguments);
    return *this;
}

CNString& CNString::vPrintf(const char* format, va_list arguments) {
    try {
        std::string made;
        appendFormatV(made, format, arguments);
        replaceFrom(0, made);
    } catch (const std::exception&) {
        // Memory could not be had: the text stays.
    }
    return *this;
}

}  // namespace vkcomm
