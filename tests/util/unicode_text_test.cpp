// Between UTF-8, UTF-16 and wide text: every character, every kind of damage, and cuts.
#include "vkcomm/util/unicode_text.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>

namespace vkcomm::test {
namespace {

using namespace std::string_literals;

TEST(UnicodeText, DecodesUtf8) {
    struct Case {
        const char* name;
        std::string utf8;
        std::u16string text;
    };

    const Case cases[] = {
        {"nothing", "", u""},
        {"a zero inside", "a\0b"s, u"a\0b"s},
        {"one to four bytes", "a\xC3\xA9\xE5\x9F\xBA\xF0\x9F\x98\x80", u"a\u00E9\u57FA\U0001F600"},
        {"a stray continuation", "a\x80z", u"a\uFFFDz"},
        {"no lead at all", "\xC0\xC1\xF5\xFF", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"overlong in two", "\xC0\x80", u"\uFFFD\uFFFD"},
        {"overlong in three", "\xE0\x9F\xBF", u"\uFFFD\uFFFD\uFFFD"},
        {"overlong in four", "\xF0\x8F\xBF\xBF", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"a surrogate", "\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},
        {"above the last", "\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"cut after two of three", "\xE5\x9F", u"\uFFFD"},
        {"cut after three of four", "\xF0\x9F\x98", u"\uFFFD"},
        {"cut by a letter", "\xE5\x9Fz", u"\uFFFDz"},
        {"cut by another lead", "\xE5\xE5\x9F\xBA", u"\uFFFD\u57FA"},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(toUtf16(each.utf8), each.text) << each.name;
        EXPECT_EQ(toUtf16(toWide(each.utf8)), each.text) << each.name;
    }
}

TEST(UnicodeText, DecodesUtf16) {
    struct Case {
        const char* name;
        std::u16string text;
        std::string utf8;
    };

    const Case cases[] = {
        {"a pair", {0xD83D, 0xDE00}, "\xF0\x9F\x98\x80"},
        {"a first half alone",
         {0xD83D, u'a'},
         "\xEF\xBF\xBD"
         "a"},
        {"a first half at the end", {u'a', 0xD83D}, "a\xEF\xBF\xBD"},
        {"a second half alone",
         {0xDE00, u'a'},
         "\xEF\xBF\xBD"
         "a"},
        {"two first halves", {0xD83D, 0xD83D, 0xDE00}, "\xEF\xBF\xBD\xF0\x9F\x98\x80"},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(toUtf8(each.text), each.utf8) << each.name;
        EXPECT_EQ(toUtf8(toWide(each.text)), each.utf8) << each.name;
    }
}

TEST(UnicodeText, ReplacesWideValuesThatAreNoCharacters) {
    EXPECT_EQ(toUtf8(std::wstring(1, static_cast<wchar_t>(0xDC00))), "\xEF\xBF\xBD");
    if constexpr (sizeof(wchar_t) > 2) {
        EXPECT_EQ(toUtf8(std::wstring(1, static_cast<wchar_t>(0x110000))), "\xEF\xBF\xBD");
        EXPECT_EQ(toUtf16(std::wstring(1, static_cast<wchar_t>(-1))), u"\uFFFD");
    }
}

TEST(UnicodeText, EveryCharacterComesBack) {
    for (char32_t c = 0; c <= 0x10FFFF; ++c) {
        if (c >= 0xD800 && c < 0xE000) continue;
        std::u16string units;
        if (c > 0xFFFF) units += static_cast<char16_t>(0xD800 + ((c - 0x10000) / 0x400));
        units += static_cast<char16_t>(c > 0xFFFF ? 0xDC00 + (c - 0x10000) % 0x400 : c);
        ASSERT_EQ(toUtf16(toUtf8(units)), units) << std::hex << static_cast<unsigned>(c);
        ASSERT_EQ(toUtf16(toUtf8(toWide(units))), units) << std::hex << static_cast<unsigned>(c);
    }
}

TEST(UnicodeText, ReadsUnitsInEitherOrder) {
    constexpr std::array<unsigned char, 5> kBytes = {0x57, 0xFA, 0x00, 0x0A, 0x41};
    EXPECT_EQ(utf16Units(kBytes, std::endian::big), u"\u57FA\n\uFFFD");
    EXPECT_EQ(utf16Units(kBytes, std::endian::little), u"\uFA57\u0A00\uFFFD");
}

TEST(UnicodeText, CutsBetweenCharacters) {
    struct Case {
        std::string_view text;
        std::size_t most;
        std::size_t size;
    };

    constexpr Case kCases[] = {
        {"abc", 4, 3},
        {"abc", 3, 3},
        {"abc", 2, 2},
        {"abc", 0, 0},
        {"a\xE5\x9F\xBAz", 4, 4},
        {"a\xE5\x9F\xBAz", 3, 1},
        {"a\xE5\x9F\xBAz", 2, 1},
        {"a\xE5\x9F\xBAz", 1, 1},
        {"\xE5\x9F\xBA", 2, 0},
        {"\xF0\x9F\x98\x80z", 3, 0},
        {"z\xF0\x9F\x98\x80", 4, 1},
        {"\x80\x80\x80\x80\x80\x80", 5, 5},  // no character to keep whole
    };
    for (const Case& each : kCases)
        EXPECT_EQ(cutUtf8(each.text, each.most), each.text.substr(0, each.size))
            << each.text << " at " << each.most;
}

}  // namespace
}  // namespace vkcomm::test
