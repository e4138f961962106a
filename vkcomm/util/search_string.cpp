#include "vkcomm/util/search_string.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

namespace vkcomm {

namespace {

constexpr int kExhausted = -1;
constexpr auto kNone = std::string_view::npos;

// The first delimiter at or behind `at` that is not between quotes.
std::size_t endOfQuoted(std::string_view text, std::string_view delimiters, std::size_t at) {
    bool inside = false;
    for (; at < text.size(); ++at) {
        if (text[at] == '"')
            inside = !inside;
        else if (!inside && delimiters.find(text[at]) != kNone)
            return at;
    }
    return kNone;
}

CNString stringOf(std::string_view text) { return {text.data(), static_cast<unsigned int>(text.size())}; }

CNString withoutQuotes(std::string_view text) {
    CNString kept;
    while (!text.empty()) {
        const std::size_t run = std::min(text.find('"'), text.size());
        kept += stringOf(text.substr(0, run));
        text.remove_prefix(std::min(run + 1, text.size()));
    }
    return kept;
}

}  // namespace

CNCString CNCString::Str(unsigned int i, unsigned int n) const { return CNCString(*this, i, n); }

CNCString& CNCString::Prune() {
    replaceFrom(0, Size() > 2 ? view().substr(1, Size() - 2) : std::string_view{});
    return *this;
}

CNCString& CNCString::ASCII() {
    for (unsigned int i = 0; i < Size(); ++i) {
        char& character = (*this)[i];
        if (!isShown(character)) character = '.';
    }
    return *this;
}

CNCString& CNCString::SearchTokens(const char* delimiters, int position, SEARCH_MODE mode) {
    m_mode = mode;
    if (delimiters == nullptr) return *this;
    m_delimiters = delimiters;
    m_position = position;
    return *this;
}

CNCString::SEARCH_MODE CNCString::SearchMode(SEARCH_MODE mode) { return std::exchange(m_mode, mode); }

// Where the next token begins; kNone when there is none.
std::size_t CNCString::tokenStart() const {
    if (m_position < 0 || static_cast<std::size_t>(m_position) > Size()) return kNone;
    const auto at = static_cast<std::size_t>(m_position);
    return m_mode == SKIP_EMPTY ? view().find_first_not_of(m_delimiters.view(), at) : at;
}

int CNCString::next(CNString& token, bool quotes) {
    const std::size_t start = tokenStart();
    if (start == kNone) {
        m_position = kExhausted;
        token.Clr();
        return 0;
    }
    const std::string_view text = view(), delimiters = m_delimiters.view();
    const std::size_t end =
        quotes ? endOfQuoted(text, delimiters, start) : text.find_first_of(delimiters, start);
    const std::string_view found = text.substr(start, end == kNone ? kNone : end - start);
    m_position = end == kNone ? kExhausted : static_cast<int>(end) + 1;
    token = quotes ? withoutQuotes(found) : stringOf(found);
    return 1;
}

int CNCString::Search(CNString& token) { return next(token, false); }

int CNCString::SearchQuotes(CNString& token) { return next(token, true); }

CNCString CNCString::GetSearchRest() const {
    return m_position < 0 ? CNCString() : CNCString(*this, static_cast<unsigned int>(m_position));
}

}  // namespace vkcomm
