// CNCString: a CNString with a search cursor that walks its text token by token.
//
//     CNCString line("LOG COM1 \"GP GGA\"");
//     line.SearchTokens(" ", 0, CNCString::SKIP_EMPTY);
//     for (CNCString token; line.SearchQuotes(token) != 0;) use(token);
//
// Memory, errors and threads are as for CNString. Changing the text leaves the cursor where it is.
#pragma once

#include <cstddef>

#include "vkcomm/util/narrow_string.h"

namespace vkcomm {

class VKCOMM_API CNCString : public CNString {
public:
    // What a token is when delimiters follow one another.
    enum SEARCH_MODE {
        SKIP_EMPTY = 0,  // runs of delimiters count as one, those at both ends do not count
        KEEP_EMPTY = 1,  // every delimiter ends a token, so that "a,,b" has three and "" has one
    };

    using CNString::CNString;
    CNCString() = default;

    CNCString(const CNString& text) : CNString(text) {}

    using CNString::operator=;

    using CNString::Str;
    // The substring of n characters from i, less when the text ends before; m_NSMAX: all of them.
    CNCString Str(unsigned int i, unsigned int n) const;

    // Drops the first and the last character.
    CNCString& Prune();
    // Every byte that is neither printable ASCII nor white space becomes a point, so that Binary is 0.
    CNCString& ASCII();

    // Stores the mode and, unless delimiters is null, the delimiter characters and the position to start
    // from. No delimiters: the rest is one token.
    CNCString& SearchTokens(const char* delimiters, int position, SEARCH_MODE mode);

    // The second form sets the mode and gives the old one.
    SEARCH_MODE SearchMode() const { return m_mode; }

    SEARCH_MODE SearchMode(SEARCH_MODE mode);

    // Puts the next token into token and moves the cursor behind the delimiter that ends it; 1. Without a
    // further token 0, and token is empty. token may be the string itself.
    int Search(CNString& token);
    // As Search, but double quotes are dropped and delimiters between them do not end the token. A quote that
    // is not closed lasts to the end. Quotes with nothing between them are a token in either mode.
    int SearchQuotes(CNString& token);

    // The text from the cursor on.
    CNCString GetSearchRest() const;

    // The cursor: the position of the next character to be looked at, -1 when all tokens have been given.
    int GetSearchOffset() const { return m_position; }

private:
    std::size_t tokenStart() const;
    int next(CNString& token, bool quotes);

    CNString m_delimiters;
    int m_position = 0;
    SEARCH_MODE m_mode = SKIP_EMPTY;
};

}  // namespace vkcomm
