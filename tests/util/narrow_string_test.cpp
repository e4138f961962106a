#include "vkcomm/util/narrow_string.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>

#include "vkcomm/util/search_string.h"

namespace vkcomm {
namespace {

using namespace std::string_view_literals;

// Opens what only derived classes may use.
class Opened : public CNString {
public:
    using CNString::capacity;
    using CNString::CNString;
    using CNString::SetBuffer;
};

TEST(NarrowString, TextsThatOperationsMake) {
    const CNString seven("0123456"), zero("a\0bc", 3), shaped("  log \t\v\f com1\xE9\r\n");
    const char* const null = nullptr;
    constexpr unsigned int kMost = CNString::m_NSMAX;

    // clang-format off
    const std::tuple<const char*, CNString, std::string_view> cases[] = {
        {"zero character", CNString('\0'), "\0"sv},
        {"count beyond all memory", CNString(0xFFFFFFF0, 'x'), ""},
        {"null text with length", CNString(null, 5), ""},
        {"null text up to a character", CNString(null, ','), ""},
        {"length, with a zero inside", zero, "a\0b"sv},
        {"up to a character", CNString("GPGGA,12", ','), "GPGGA"},
        {"character not there", CNString("GPGGA", ','), "GPGGA"},
        {"stretch beyond the end", CNString(seven, 5, 0xFFFFFFF0), "56"},
        {"substring", CNCString(seven).Str(2, 3), "234"},
        {"assigned character", CNString(seven) = 'z', "z"},
        {"longer", CNString("abc").Fix(5), "abc  "},
        {"up to the zero inside", CNString(zero).Fix(kMost), "a"},
        {"more than fits", CNString("abc").Append("x", 0xFFFFFFFE), "abc"},
        {"blanks in runs", CNString(shaped).WhiteSpace(), " log com1\xE9 "},
        {"no blanks at the ends", CNString(shaped).TrimString(), "log \t\v\f com1\xE9"},
        {"shaped", CNString(shaped).Focus(), "LOG COM1\xE9"},
        {"zero kept", CNString(zero).Focus(), "A\0B"sv},
        {"pruned to nothing", CNCString("ab").Prune(), ""},
        {"points", CNCString(" \x1F~\x7F\x80\xFF\n\0", 8).ASCII(), " .~...\n."},
        {"printed by no format", CNString("abc").Printf(nullptr), ""},
    };
    // clang-format on
    for (const auto& [name, made, text] : cases) {
        EXPECT_EQ(made.view(), text) << name;
        EXPECT_EQ(made.Str()[made.Size()], 0) << name;
    }
    CNString string("COM1");  // an argument may be the string itself
    string.Printf("LOG %s %s ONTIME %.1f%n", string.Str(), "GPGGA", 0.5, nullptr);
    EXPECT_EQ(string.view(), "LOG COM1 GPGGA ONTIME 0.5");
}

TEST(NarrowString, CapacityFollowsTheRule) {
    constexpr unsigned int kNone = CNString::m_NSMAX;

    // clang-format off
    const struct { unsigned int length, request, capacity, kept; } cases[] = {
        {0, kNone, 0, 0}, {0, 10, 31, 0}, {31, kNone, 31, 31}, {32, kNone, 159, 32}, {159, kNone, 159, 159},
        {160, kNone, 287, 160}, {200, 170, 287, 200}, {200, 0xFFFFFFFE, 287, 200}, {200, 300, 415, 200},
        {200, 40, 159, 159}, {200, 0, 31, 31},
    };

    // clang-format on
    for (const auto& c : cases) {
        Opened string(c.length, 'x');
        EXPECT_STREQ(string.SetBuffer(c.request).Str(), std::string(c.kept, 'x').c_str()) << c.request;
        EXPECT_EQ(string.capacity(), c.capacity) << c.length << " " << c.request;
    }
}

TEST(NarrowString, CopiesAndMoves) {
    CNString first("abc"), copy(first), moved(std::move(first));
    copy += '!';
    EXPECT_EQ(moved.view(), "abc");
    EXPECT_EQ(first.view(), "");  // NOLINT(bugprone-use-after-move): a moved string is empty
    first = copy;
    CNString& alias = first;
    first = alias;
    first = std::move(alias);
    moved = std::move(first);
    EXPECT_EQ(moved.view(), "abc!");
}

TEST(NarrowString, AppendsItselfAcrossGrowth) {
    CNString string("0123456789");
    string << string << string.Str(5);
    std::string expected = "01234567890123456789567890123456789";
    for (int i = 0; i < 6; ++i) {
        string += string;
        expected += expected;
        string.Append(string.Str(), string.Size() + 1);  // its terminator included
        expected += expected + '\0';
        ASSERT_EQ(string.view(), expected);
    }
    string = string.Str(3);
    EXPECT_EQ(string.view(), expected.c_str() + 3);
}

TEST(NarrowString, PositionsBehindTheEnd) {
    CNString string("abc"), none;
    string[3] = 'Y';
    none[0] = 'Z';
    EXPECT_EQ(string[3], 0);
    EXPECT_EQ(string.view(), "abc");
    EXPECT_STREQ(string.Str(0xFFFFFFFE), "");
    EXPECT_STREQ(none.Str(7), "");
}

TEST(NarrowString, CompareAndFind) {
    const CNString string("Log LOG"), lower("log log");
    EXPECT_LT(string.CompareStr(lower), 0);
    EXPECT_LT(string.CompareStr("Log LOG1"), 0);
    EXPECT_GT(CNString("\xE9").CompareStr("z"), 0) << "bytes count as unsigned";
    EXPECT_EQ(string.CompareStr("LOG1", 4, 3), 0);
    EXPECT_NE(string.CompareStr("LOG1", 4, 4), 0);
    EXPECT_EQ(string.CompareStr("", 99, 5), 0);
    EXPECT_EQ(string.Find('L', 1), 4);
    EXPECT_EQ(string.Find("lOG", 1), -1);
    EXPECT_EQ(string.Find("", 99), 7);
    EXPECT_EQ(CNString::Case(0), 1);
    EXPECT_EQ(string.CompareStr(lower), 0);
    EXPECT_GT(string.CompareStr("LOG LO"), 0);
    EXPECT_LT(string.CompareStr("LOG M"), 0);
    EXPECT_EQ(string.Find("lOG", 1), 4);
    EXPECT_EQ(string.Find("x"), -1);
    EXPECT_EQ(string.Find(static_cast<const char*>(nullptr), 99), 7);
    EXPECT_EQ(CNString::Case(1), 0);
    EXPECT_EQ(CNString("12.5,*\xC9").bHasAlpha() + CNString("$1,*\r\n").Binary(), 0);
    EXPECT_EQ(CNString("12x").bHasAlpha() + CNString("x\x80").Binary(), 2);
}

// Every token in brackets.
std::string tokens(const char* text, const char* delimiters, int from, CNCString::SEARCH_MODE mode,
                   bool quotes) {
    CNCString string(text);
    string.SearchTokens(delimiters, from, mode);
    std::string found;
    for (CNString token; (quotes ? string.SearchQuotes(token) : string.Search(token)) != 0;)
        found += "[" + std::string(token.view()) + "]";
    EXPECT_EQ(string.GetSearchOffset(), -1);
    return found;
}

std::string numberedTokens(const CNString& text, const char* delimiters) {
    std::string found;
    for (unsigned int n = 0; !text.Token(n, delimiters).IsEmpty(); ++n)
        found += "[" + std::string(text.Token(n, delimiters).view()) + "]";
    return found + std::string(text.Token(0xFFFFFFFF, delimiters).view());
}

TEST(SearchString, SearchAndToken) {
    // clang-format off
    const struct {
        const char *name, *text, *delimiters;
        int from;
        const char *skipping, *keeping, *quoted;
    } cases[] = {
        {"empty", "", ",", 0, "", "[]", ""}, {"only delimiters", ",,;", ",;", 0, "", "[][][][]", ""},
        {"runs", ",a,,b,", ",", 0, "[a][b]", "[][a][][b][]", "[a][b]"},
        {"from a position", "ab,cd", ",", 1, "[b][cd]", "[b][cd]", "[b][cd]"},
        {"from the end", "ab", ",", 2, "", "[]", ""}, {"from behind the end", "ab", ",", 3, "", "", ""},
        {"from before the start", "ab", ",", -7, "", "", ""},
        {"no delimiters", "a b", "", 0, "[a b]", "[a b]", "[a b]"},
        {"quotes inside", "x\"1 2\"y", " ", 0, "[x\"1][2\"y]", "[x\"1][2\"y]", "[x1 2y]"},
        {"open quote", "a \"b c", " ", 0, "[a][\"b][c]", "[a][\"b][c]", "[a][b c]"},
        {"empty quotes", "\"\" a", " ", 0, "[\"\"][a]", "[\"\"][a]", "[][a]"},
    };

    // clang-format on
    for (const auto& c : cases) {
        EXPECT_EQ(tokens(c.text, c.delimiters, c.from, CNCString::SKIP_EMPTY, false), c.skipping) << c.name;
        EXPECT_EQ(tokens(c.text, c.delimiters, c.from, CNCString::KEEP_EMPTY, false), c.keeping) << c.name;
        EXPECT_EQ(tokens(c.text, c.delimiters, c.from, CNCString::SKIP_EMPTY, true), c.quoted) << c.name;
        if (c.from == 0) {
            EXPECT_EQ(numberedTokens(c.text, c.delimiters), c.skipping) << c.name;
        }
    }
}

TEST(SearchString, CursorAndRest) {
    CNCString string("log com1,gpgga"), token("old");
    string.SearchTokens(" ,", 0, CNCString::KEEP_EMPTY);
    EXPECT_EQ(string.Search(token), 1);
    EXPECT_EQ(string.GetSearchOffset(), 4);
    EXPECT_EQ(string.GetSearchRest().view(), "com1,gpgga");
    string.SearchTokens(nullptr, 9, CNCString::SKIP_EMPTY);  // only the mode
    EXPECT_EQ(string.SearchMode(CNCString::KEEP_EMPTY), CNCString::SKIP_EMPTY);
    EXPECT_EQ(string.Search(token), 1);
    EXPECT_EQ(token.view(), "com1");
    string.Fix(3);  // the cursor is behind the end now
    EXPECT_EQ(string.GetSearchRest().view(), "");
    EXPECT_EQ(string.Search(token), 0);
    EXPECT_EQ(token.view(), "");
    string.SearchTokens("o", 0, CNCString::KEEP_EMPTY);
    EXPECT_EQ(string.Search(string), 1);
    EXPECT_EQ(string.view(), "l");
}

}  // namespace
}  // namespace vkcomm
