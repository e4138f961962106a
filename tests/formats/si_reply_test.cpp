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
class MakerParsers : public testing::Test {
public:
    Parser parser;

    int process(const std::string& payload) { return parser.bProcessVarekSICmd(dataOf(si(payload))); }
};

using Parsers = testing::Types<CVKCmcFormat, CVKOEM4Format, CVKTrimbleFormat>;
TYPED_TEST_SUITE(MakerParsers, Parsers);

TYPED_TEST(MakerParsers, GatherFramesOfOneReply) {
    const std::string text = std::string(60, 'A') + " " + std::string(57, 'B') + " C";
    EXPECT_EQ(this->process(text.substr(0, 55)), 0);
    EXPECT_EQ(this->process(text.substr(55, 55)), 0);
    EXPECT_EQ(shown(this->parser.SiReplyWords()), L"|");
    EXPECT_EQ(this->process(text.substr(110)), 1);
    EXPECT_EQ(shown(this->parser.SiReplyWords()), std::wstring(60, L'A') + L"|" + std::wstring(57, L'B'));
    EXPECT_EQ(this->parser.bProcessVarekSICmd(static_cast<const unsigned char*>(nullptr)), 0);
}

TYPED_TEST(MakerParsers, CutRecordsOutOfTheStreamAndGoOnByThemselvesWhenCopied) {
    const std::string frame = si("V300 0123456 Z");
    feed(this->parser.Decoder(), "xx" + frame.substr(0, 5));
    EXPECT_EQ(this->process(std::string(50, 'x') + " yyy "), 0);
    TypeParam copy = this->parser;
    EXPECT_EQ(copy.bProcessVarekSICmd(spanOf(si("z 1"))), 1);
    EXPECT_EQ(copy.SiReplyWords().second, L"yyy");
    feed(copy.Decoder(), frame.substr(5));
    ASSERT_EQ(copy.Decoder().Read(), CNOut::RETURN_COMPLETE);
    EXPECT_EQ(copy.Decoder().Id(), kMakerSi);
    EXPECT_EQ(copy.bProcessVarekSICmd(copy.Decoder().Get()), 1);
    EXPECT_EQ(copy.SiReplyWords().first, L"V300");
    EXPECT_EQ(shown(this->parser.SiReplyWords()), L"|");
    EXPECT_EQ(this->parser.Decoder().Read(), CNOut::RETURN_INCOMPLETE);
}

TEST(SiReply, WordsAreTheOnesWithABlankBehindThem) {
    const std::pair<std::string, const wchar_t*> cases[] = {
        {"A B C", L"A|B"},
        {"A B", L"A|"},
        {"A", L"|"},
        {"  A   B   C  ", L"A|B"},
        {"\xFF\r\nA B C\xFF \xFF", L"A|B"},
        {"A B \xFF", L"A|"},
        {"A\tB C D", L"A\tB|C"},
        {std::string("A B\0 C D", 8), L"A|"},
        {"     ", L"|"},
        {"\xC4 \xD6 x", L"\u00C4|\u00D6"},
    };
    for (const auto& [payload, words] : cases) {
        SiReply reply;
        EXPECT_TRUE(reply.add(spanOf(si(payload))));
        EXPECT_EQ(shown(reply.words()), words);
    }
}

TEST(SiReply, AnEmptyFrameEndsWhatWasGathered) {
    SiReply reply;
    EXPECT_TRUE(reply.add(spanOf(si("A B C"))));
    EXPECT_TRUE(reply.add(spanOf(si("")))) << "nothing gathered";
    EXPECT_FALSE(reply.add(spanOf(si("D E F" + std::string(50, ' ')))));
    EXPECT_EQ(shown(reply.words()), L"A|B");
    EXPECT_TRUE(reply.add(spanOf(si(""))));
    EXPECT_EQ(shown(reply.words()), L"D|E");
}

TEST(SiReply, DropsWhatIsBeyond128Bytes) {
    SiReply reply;
    for (int frame = 0; frame < 300; ++frame)
        EXPECT_FALSE(reply.add(spanOf(si(std::string(55, 'A'))))) << frame;
    EXPECT_TRUE(reply.add(spanOf(si(" B C"))));
    EXPECT_EQ(shown(reply.words()), L"|") << "128 times A and no blank";

    SiReply whole;
    EXPECT_TRUE(whole.add(spanOf(si(std::string(126, 'A') + " BC D"))));
    EXPECT_EQ(shown(whole.words()), std::wstring(126, L'A') + L"|");
}

TEST(SiReply, TheTailOfALongerReplyFollowsAShorterOne) {
    SiReply reply;
    EXPECT_TRUE(reply.add(spanOf(si("AAAA BBBB CCCC"))));
    EXPECT_TRUE(reply.add(spanOf(si("DD"))));
    EXPECT_EQ(shown(reply.words()), L"DDAA|BBBB");
    const std::string frame = si(std::string("E F G\0", 6));
    for (const std::size_t size : {0u, 5u, 11u})
        EXPECT_FALSE(reply.add(spanOf(frame).first(size))) << "shorter than it says";
    EXPECT_TRUE(reply.add(spanOf(frame).first(12))) << "the closing bytes are not read";
    EXPECT_EQ(shown(reply.words()), L"E|F");
}

}  // namespace
}  // namespace vkcomm::test
