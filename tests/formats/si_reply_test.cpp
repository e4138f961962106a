#include "vkcomm/formats/si_reply.h"

#include <gtest/gtest.h>

#include "tests/formats/parser_bytes.h"
#include "vkcomm/decode/record_ids.h"
#include "vkcomm/formats/vk_formats.h"

namespace vkcomm::test {
namespace {

std::string si(std::string_view payload) { return maker("SI", payload); }

std::wstring shown(const SiWords& words) { return words.first + L"|" + words.second; }

template <typename Parser>
class MakerParsers : public testing::Test {};

using Parsers = testing::Types<CVKCmcFormat, CVKOEM4Format, CVKTrimbleFormat>;
TYPED_TEST_SUITE(MakerParsers, Parsers);

TYPED_TEST(MakerParsers, CutRecordsOutOfTheStreamAndGatherThemAlsoWhenCopied) {
    const std::string text = std::string(60, 'A') + " " + std::string(57, 'B') + " C", frame = si("z 1");
    TypeParam parser;
    EXPECT_EQ(parser.bProcessVarekSICmd(static_cast<const unsigned char*>(nullptr)), 0);
    EXPECT_EQ(parser.bProcessVarekSICmd(dataOf(si(text.substr(0, 55)))), 0);
    EXPECT_EQ(parser.bProcessVarekSICmd(spanOf(si(text.substr(55, 55)))), 0);
    feed(parser.Decoder(), "xx" + frame.substr(0, 5));
    TypeParam copy = parser;
    EXPECT_EQ(parser.bProcessVarekSICmd(dataOf(si(text.substr(110)))), 1);
    EXPECT_EQ(shown(parser.SiReplyWords()), std::wstring(60, L'A') + L"|" + std::wstring(57, L'B'));
    feed(copy.Decoder(), frame.substr(5));
    ASSERT_EQ(copy.Decoder().Read(), CNOut::RETURN_COMPLETE);
    EXPECT_EQ(copy.Decoder().Id(), kMakerSi);
    EXPECT_EQ(copy.bProcessVarekSICmd(copy.Decoder().Get()), 1);
    EXPECT_EQ(shown(copy.SiReplyWords()), std::wstring(60, L'A') + L"|" + std::wstring(49, L'B') + L"z");
    EXPECT_EQ(parser.Decoder().Read(), CNOut::RETURN_INCOMPLETE);
}

TEST(SiReply, WordsAreTheOnesWithABlankBehindThem) {
    const std::pair<std::string, std::wstring> cases[] = {
        {"A B C", L"A|B"},
        {"A B", L"A|"},
        {"A", L"|"},
        {"     ", L"|"},
        {"  A   B   C  ", L"A|B"},
        {"\xFF\r\nA B C\xFF \xFF", L"A|B"},
        {"A B \xFF", L"A|"},
        {"A\tB C D", L"A\tB|C"},
        {std::string("A B\0 C D", 8), L"A|"},
        {"\xC4 \xD6 x", L"\u00C4|\u00D6"},
        {std::string(126, 'A') + " B C", std::wstring(126, L'A') + L"|"},  // cut at 128
    };
    for (const auto& [payload, words] : cases) {
        SiReply reply;
        EXPECT_TRUE(reply.add(spanOf(si(payload))));
        EXPECT_EQ(shown(reply.words()), words);
    }
}

// Frames of one receiver, behind one another.
TEST(SiReply, GathersFramesUntilOneIsNotFull) {
    const std::string frame = si("E F G");

    const struct {
        const char* name;
        std::string frame;
        bool complete;
        const wchar_t* words;
    } cases[] = {
        {"nothing gathered", si(""), true, L"|"},
        {"one frame", si("AAAA BBBB CCCC"), true, L"AAAA|BBBB"},
        {"nothing gathered since", si(""), true, L"AAAA|BBBB"},
        {"the tail of a longer reply follows", si("DD"), true, L"DDAA|BBBB"},
        {"a full frame waits", si("G H I" + std::string(50, ' ')), false, L"DDAA|BBBB"},
        {"no length", frame.substr(0, 5), false, L"DDAA|BBBB"},
        {"shorter than it says", frame.substr(0, 10), false, L"DDAA|BBBB"},
        {"an empty frame ends", si(""), true, L"G|H"},
        {"the closing bytes are not read", frame.substr(0, 11), true, L"E|F"},
    };

    SiReply reply;
    for (const auto& c : cases) {
        EXPECT_EQ(reply.add(spanOf(c.frame)), c.complete) << c.name;
        EXPECT_EQ(shown(reply.words()), c.words) << c.name;
    }
    for (int i = 0; i < 300; ++i)
        EXPECT_FALSE(reply.add(spanOf(si(std::string(55, 'A'))))) << i;
    EXPECT_TRUE(reply.add(spanOf(si(" B C"))));
    EXPECT_EQ(shown(reply.words()), L"|") << "128 times A and no blank";
}

}  // namespace
}  // namespace vkcomm::test
