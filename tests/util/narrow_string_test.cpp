#include "vkcomm/util/narrow_string.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

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

// Puts the shared case flag back.
class CaseFlag {
public:
    explicit CaseFlag(int bCase) : m_before(CNString::Case(bCase)) {}

    ~CaseFlag() { CNString::Case(m_before); }

    CaseFlag(const CaseFlag&) = delete;
    CaseFlag& operator=(const CaseFlag&) = delete;

private:
    int m_before;
};

TEST(NarrowString, Constructors) {
    const CNString seven("0123456");

    struct Case {
        const char* name;
        CNString made;
        std::string_view text;
    };

    const Case cases[] = {
        {"nothing", CNString(), ""},
        {"character", CNString('x'), "x"},
        {"zero character", CNString('\0'), "\0"sv},
        {"count of character", CNString(40, 'x'), "xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx"},
        {"count 0", CNString(0, 'x'), ""},
        {"count beyond all memory", CNString(0xFFFFFFF0, 'x'), ""},
        {"text", CNString("abc"), "abc"},
        {"null text", CNString(static_cast<const char*>(nullptr)), ""},
        {"null text with length", CNString(nullptr, 5), ""},
        {"text and length", CNString("abc", 2), "ab"},
        {"text with zeros", CNString("a\0b", 3), "a\0b"sv},
        {"up to the terminator", CNString("a\0b", CNString::m_NSMAX), "a"},
        {"up to a character", CNString("GPGGA,12", ','), "GPGGA"},
        {"character not there", CNString("GPGGA", ','), "GPGGA"},
        {"null up to a character", CNString(nullptr, ','), ""},
        {"stretch", CNString(seven, 2, 3), "234"},
        {"stretch to the end", CNString(seven, 5), "56"},
        {"stretch beyond the end", CNString(seven, 5, 0xFFFFFFF0), "56"},
        {"stretch from behind the end", CNString(seven, 99, 3), ""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.made.view(), c.text) << c.name;
        EXPECT_EQ(c.made.Str()[c.made.Size()], 0) << c.name;
    }
}

TEST(NarrowString, CapacityFollowsTheRule) {
    struct Case {
        unsigned int length, capacity;
    };

    for (const Case c : {Case{1, 31}, {31, 31}, {32, 159}, {159, 159}, {160, 287}, {287, 287}, {288, 415}})
        EXPECT_EQ(Opened(c.length, 'x').capacity(), c.capacity) << c.length;
    EXPECT_EQ(Opened().capacity(), 0u);
}

TEST(NarrowString, SetBuffer) {
    const std::string text(200, 'x');

    struct Case {
        const char* name;
        unsigned int request, capacity, length;
    };

    const Case cases[] = {
        {"no change", CNString::m_NSMAX, 287, 200},
        {"same capacity", 170, 287, 200},
        {"grows", 300, 415, 200},
        {"cut to the capacity, not to the request", 40, 159, 159},
        {"smallest", 0, 31, 31},
        {"beyond the limit", 0xFFFFFFFE, 287, 200},
    };
    for (const Case& c : cases) {
        Opened string(text.c_str());
        string.SetBuffer(c.request);
        EXPECT_EQ(string.capacity(), c.capacity) << c.name;
        EXPECT_EQ(string.view(), text.substr(0, c.length)) << c.name;
        EXPECT_EQ(string.Str()[c.length], 0) << c.name;
    }
    Opened fresh;
    fresh.SetBuffer(10);
    EXPECT_EQ(fresh.capacity(), 31u);
    EXPECT_EQ(fresh.view(), "");
    Opened shorter(200, 'x');
    shorter.Fix(20).Append("!");
    EXPECT_EQ(shorter.capacity(), 287u);
    shorter.SetBuffer(shorter.Size());
    EXPECT_EQ(shorter.capacity(), 31u);
    EXPECT_EQ(shorter.view(), "xxxxxxxxxxxxxxxxxxxx!");
}

TEST(NarrowString, CopiesAndMoves) {
    CNString first("abc"), copy(first), moved(std::move(first));
    copy += '!';
    EXPECT_EQ(moved.view(), "abc");
    EXPECT_EQ(copy.view(), "abc!");
    EXPECT_EQ(first.view(), "");  // NOLINT(bugprone-use-after-move): a moved string is empty
    first = copy;
    CNString& alias = first;
    first = alias;
    first = std::move(alias);
    EXPECT_EQ(first.view(), "abc!");
    moved = std::move(first);
    EXPECT_EQ(moved.view(), "abc!");
    moved = 'z';
    EXPECT_EQ(moved.view(), "z");
    moved = static_cast<const char*>(nullptr);
    EXPECT_EQ(moved.IsEmpty(), 1);
}

TEST(NarrowString, AppendsItselfAcrossGrowth) {
    CNString string("0123456789");
    string << string << string.Str(5);
    EXPECT_EQ(string.view(), "0123456789012345678956789012345678956789"sv.substr(0, 35));
    std::string expected(string.view());
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

TEST(NarrowString, LengthsBeyondTheLimitChangeNothing) {
    CNString string("abc");
    string.Fix(0xFFFFFFFE).Fix(CNString::m_NSLIMIT + 1);
    string.Append("x", 0xFFFFFFFE);
    EXPECT_EQ(string.view(), "abc");
    EXPECT_EQ(string.Fix(5).view(), "abc  ");
    EXPECT_EQ(string.Fix(2).view(), "ab");
    EXPECT_EQ(CNString("a\0b", 3).Fix(CNString::m_NSMAX).view(), "a");
}

TEST(NarrowString, PositionsBehindTheEnd) {
    CNString string("abc"), none;
    EXPECT_STREQ(string.Str(1), "bc");
    EXPECT_STREQ(string.Str(0xFFFFFFFE), "");
    EXPECT_STREQ(none.Str(7), "");
    EXPECT_EQ(std::as_const(string)[3], 0);
    string[1] = 'X';
    string[3] = 'Y';
    none[0] = 'Z';
    EXPECT_EQ(string[3], 0);
    EXPECT_EQ(string.view(), "aXc");
    EXPECT_EQ(none.view(), "");
}

TEST(NarrowString, Shaping) {
    struct Case {
        std::string_view text, blanks, trimmed, focused;
    };

    const Case cases[] = {
        {"", "", "", ""},
        {" \t\r\n ", " ", "", ""},
        {"log", "log", "log", "LOG"},
        {"  log \t com1\r\n", " log com1 ", "log \t com1", "LOG COM1"},
        {"a\v\fb\xE9 ", "a b\xE9 ", "a\v\fb\xE9", "A B\xE9"},
        {" a\0 b "sv, " a\0 b "sv, "a\0 b"sv, "A\0 B"sv},
    };
    for (const Case& c : cases) {
        const CNString string(c.text.data(), static_cast<unsigned int>(c.text.size()));
        EXPECT_EQ(CNString(string).WhiteSpace().view(), c.blanks);
        EXPECT_EQ(CNString(string).TrimString().view(), c.trimmed);
        EXPECT_EQ(CNString(string).Focus().view(), c.focused);
        const CNString reversed(CNString(string).Reverse());
        EXPECT_EQ(reversed.view(), std::string(c.text.rbegin(), c.text.rend()));
    }
}

TEST(NarrowString, Tokens) {
    struct Case {
        const char *text, *delimiters;
        std::vector<std::string> tokens;
    };

    const Case cases[] = {
        {"", ",", {}},
        {",,;", ",;", {}},
        {"log com1 gpgga", " ", {"log", "com1", "gpgga"}},
        {",,a;,b,;", ",;", {"a", "b"}},
        {"a,b", "", {"a,b"}},
    };
    for (const Case& c : cases)
        for (unsigned int n = 0; n < 5; ++n)
            EXPECT_EQ(CNString(c.text).Token(n, c.delimiters).view(), n < c.tokens.size() ? c.tokens[n] : "")
                << c.text;
    EXPECT_EQ(CNString("a,b").Token(0xFFFFFFFF, ",").view(), "");
}

TEST(NarrowString, CompareAndFind) {
    const CNString string("Log LOG"), lower("log log");
    EXPECT_LT(string.CompareStr(lower), 0);
    EXPECT_GT(CNString("\xE9").CompareStr("z"), 0) << "bytes count as unsigned";
    EXPECT_LT(string.CompareStr("Log LOG1"), 0);
    EXPECT_EQ(string.CompareStr("LOG1", 4, 3), 0);
    EXPECT_NE(string.CompareStr("LOG1", 4, 4), 0);
    EXPECT_EQ(string.CompareStr("", 99, 5), 0);
    EXPECT_EQ(string.Find('L', 1), 4);
    EXPECT_EQ(string.Find("LOG"), 4);
    EXPECT_EQ(string.Find(CNString("OGX")), -1);
    EXPECT_EQ(string.Find("", 99), 7);
    EXPECT_EQ(string.Find('L', 99), -1);
    EXPECT_EQ(string.Find(static_cast<const char*>(nullptr), 2), 2);
    const CaseFlag noCase(0);
    EXPECT_EQ(string.CompareStr(lower), 0);
    EXPECT_GT(string.CompareStr("LOG LO"), 0);
    EXPECT_LT(string.CompareStr("LOG M"), 0);
    EXPECT_EQ(string.Find("lOG", 1), 4);
    EXPECT_EQ(string.Find("log "), 0);
    EXPECT_EQ(string.Find("x"), -1);
    EXPECT_EQ(string.Find("", 99), 7);
}

TEST(NarrowString, PrintfMayReadTheStringItself) {
    CNString string("COM1");
    string.Printf("LOG %s %s ONTIME %.1f%n", string.Str(), "GPGGA", 0.5, nullptr);
    EXPECT_EQ(string.view(), "LOG COM1 GPGGA ONTIME 0.5");
    string.Printf("%*d", 2'000'000'000, 1);
    EXPECT_EQ(string.Size(), 4096u);
    string.Printf(nullptr);
    EXPECT_EQ(string.view(), "");
}

TEST(NarrowString, KindsOfCharacters) {
    EXPECT_EQ(CNString("12.5,*\xC9").bHasAlpha(), 0);
    EXPECT_EQ(CNString("12x").bHasAlpha(), 1);
    EXPECT_EQ(CNString("$GPGGA,1*00\r\n").Binary(), 0);
    for (const std::string_view text : {"a\0"sv, "\x1F"sv, "\x7F"sv, "\x80"sv, "\xFF"sv}) {
        CNCString string(text.data(), static_cast<unsigned int>(text.size()));
        EXPECT_EQ(string.Binary(), 1);
        EXPECT_EQ(string.ASCII().Binary(), 0);
        EXPECT_EQ(string[string.Size() - 1], '.');
    }
}

TEST(SearchString, SubstringAndPrune) {
    EXPECT_EQ(CNCString("0123456").Str(2, 3).view(), "234");
    EXPECT_EQ(CNCString("0123456").Str(5, CNString::m_NSMAX).view(), "56");
    EXPECT_EQ(CNCString("\"\"\"").Prune().view(), "\"");
    for (const char* text : {"", "a", "ab"})
        EXPECT_EQ(CNCString(text).Prune().view(), "") << text;
}

std::vector<std::string> allTokens(CNCString& string, bool quotes) {
    std::vector<std::string> tokens;
    for (CNString token; (quotes ? string.SearchQuotes(token) : string.Search(token)) != 0;)
        tokens.emplace_back(token.view());
    return tokens;
}

TEST(SearchString, Search) {
    using Tokens = std::vector<std::string>;

    struct Case {
        const char* name;
        CNCString text;
        const char* delimiters;
        int position;
        Tokens skipping, keeping, quoted;
    };

    const Case cases[] = {
        {"empty", "", ",", 0, {}, {""}, {}},
        {"runs", ",a,,b,", ",", 0, {"a", "b"}, {"", "a", "", "b", ""}, {"a", "b"}},
        {"from a position", "ab,cd", ",", 1, {"b", "cd"}, {"b", "cd"}, {"b", "cd"}},
        {"from the end", "ab", ",", 2, {}, {""}, {}},
        {"from behind the end", "ab", ",", 3, {}, {}, {}},
        {"from before the start", "ab", ",", -7, {}, {}, {}},
        {"no delimiters", "a b", "", 0, {"a b"}, {"a b"}, {"a b"}},
        {"several", "a b,c", ", ", 0, {"a", "b", "c"}, {"a", "b", "c"}, {"a", "b", "c"}},
        {"quotes",
         "a \"b c\" d",
         " ",
         0,
         {"a", "\"b", "c\"", "d"},
         {"a", "\"b", "c\"", "d"},
         {"a", "b c", "d"}},
        {"quotes inside", "x\"1 2\"y", " ", 0, {"x\"1", "2\"y"}, {"x\"1", "2\"y"}, {"x1 2y"}},
        {"open quote", "a \"b c", " ", 0, {"a", "\"b", "c"}, {"a", "\"b", "c"}, {"a", "b c"}},
        {"empty quotes", "\"\" a", " ", 0, {"\"\"", "a"}, {"\"\"", "a"}, {"", "a"}},
    };
    for (const Case& c : cases) {
        CNCString string(c.text);
        string.SearchTokens(c.delimiters, c.position, CNCString::SKIP_EMPTY);
        EXPECT_EQ(allTokens(string, false), c.skipping) << c.name;
        EXPECT_EQ(string.GetSearchOffset(), -1) << c.name;
        string.SearchTokens(c.delimiters, c.position, CNCString::KEEP_EMPTY);
        EXPECT_EQ(allTokens(string, false), c.keeping) << c.name;
        string.SearchTokens(c.delimiters, c.position, CNCString::SKIP_EMPTY);
        EXPECT_EQ(allTokens(string, true), c.quoted) << c.name;
    }
}

TEST(SearchString, CursorAndRest) {
    CNCString string("log com1,gpgga");
    CNCString token("old");
    string.SearchTokens(" ,", 0, CNCString::KEEP_EMPTY);
    EXPECT_EQ(string.Search(token), 1);
    EXPECT_EQ(string.GetSearchOffset(), 4);
    EXPECT_EQ(string.GetSearchRest().view(), "com1,gpgga");
    string.SearchTokens(nullptr, 9, CNCString::SKIP_EMPTY);  // only the mode
    EXPECT_EQ(string.SearchMode(), CNCString::SKIP_EMPTY);
    EXPECT_EQ(string.SearchMode(CNCString::KEEP_EMPTY), CNCString::SKIP_EMPTY);
    EXPECT_EQ(string.Search(token), 1);
    EXPECT_EQ(token.view(), "com1");
    string.Fix(3);  // the cursor is behind the end now
    EXPECT_EQ(string.GetSearchRest().view(), "");
    EXPECT_EQ(string.Search(token), 0);
    EXPECT_EQ(token.view(), "");
    EXPECT_EQ(string.GetSearchRest().view(), "");
    string.SearchTokens("o", 0, CNCString::KEEP_EMPTY);
    EXPECT_EQ(string.Search(string), 1);
    EXPECT_EQ(string.view(), "l");
}

}  // namespace
}  // namespace vkcomm
