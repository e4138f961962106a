#include "vkcomm/formats/si_reply.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/formats/parser_bytes.h"
#include "vkcomm/decode/record_ids.h"
#include "vkcomm/formats/vk_formats.h"

namespace vkcomm::test {
namespace {

std::string si(std::string_view payload) { return maker("SI", payload); }

template <typename Parser>
class MakerParsers : public testing::Test {
public:
    Parser parser;

    int process(const std::string& payload) {
        const std::string frame = si(payload);
        return parser.bProcessVarekSICmd(dataOf(frame));
    }

    std::wstring words() const { return parser.SiReplyWords().first + L"|" + parser.SiReplyWords().second; }
};

using Parsers = testing::Types<CVKCmcFormat, CVKOEM4Format, CVKTrimbleFormat>;
TYPED_TEST_SUITE(MakerParsers, Parsers);

TYPED_TEST(MakerParsers, GatherFramesOfOneReply) {
    const std::string text = std::string(60, 'A') + " " + std::string(57, 'B') + " C";
    EXPECT_EQ(this->process(text.substr(0, 55)), 0);
    EXPECT_EQ(this->words(), L"|");
    EXPECT_EQ(this->process(text.substr(55, 55)), 0);
    EXPECT_EQ(this->process(text.substr(110)), 1);
    EXPECT_EQ(this->words(), std::wstring(60, L'A') + L"|" + std::wstring(57, L'B'));
}

TYPED_TEST(MakerParsers, CutRecordsOutOfTheStreamThemselves) {
    feed(this->parser.Decoder(), "xx" + si("V300 0123456 Z"));
    ASSERT_EQ(this->parser.Decoder().Read(), CNOut::RETURN_COMPLETE);
    ASSERT_EQ(this->parser.Decoder().Id(), kMakerSi);
    EXPECT_EQ(this->parser.bProcessVarekSICmd(this->parser.Decoder().Get()), 1);
    EXPECT_EQ(this->words(), L"V300|0123456");
}

TYPED_TEST(MakerParsers, CopiesGoOnByThemselves) {
    feed(this->parser.Decoder(), si("A B C").substr(0, 5));
    EXPECT_EQ(this->process(std::string(50, 'x') + " yyy "), 0);
    TypeParam copy = this->parser;
    EXPECT_EQ(copy.bProcessVarekSICmd(spanOf(si("z 1"))), 1);
    EXPECT_EQ(copy.SiReplyWords().second, L"yyy");
    feed(copy.Decoder(), si("A B C").substr(5));
    EXPECT_EQ(copy.Decoder().Read(), CNOut::RETURN_COMPLETE);
    EXPECT_EQ(this->words(), L"|");
    EXPECT_EQ(this->parser.Decoder().Read(), CNOut::RETURN_INCOMPLETE);
}

TYPED_TEST(MakerParsers, TakeNoNullFrame) {
    EXPECT_EQ(this->parser.bProcessVarekSICmd(static_cast<const unsigned char*>(nullptr)), 0);
}

struct WordsCase {
    const char* name;
    std::string payload;
    std::wstring first;
    std::wstring second;
};

void PrintTo(const WordsCase& c, std::ostream* out) { *out << c.name; }

class Words : public testing::TestWithParam<WordsCase> {};

TEST_P(Words, AreTheOnesWithABlankBehindThem) {
    SiReply reply;
    EXPECT_TRUE(reply.add(spanOf(si(GetParam().payload))));
    EXPECT_EQ(reply.words().first, GetParam().first);
    EXPECT_EQ(reply.words().second, GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(
    SiReply, Words,
    testing::Values(WordsCase{"three words", "A B C", L"A", L"B"}, WordsCase{"two words", "A B", L"A", L""},
                    WordsCase{"one word", "A", L"", L""},
                    WordsCase{"many blanks", "  A   B   C  ", L"A", L"B"},
                    WordsCase{"trimmed at both ends", "\xFF\r\nA B C\xFF \xFF", L"A", L"B"},
                    WordsCase{"trimmed until it has two words", "A B \xFF", L"A", L""},
                    WordsCase{"only a blank separates", "A\tB C D", L"A\tB", L"C"},
                    WordsCase{"up to a zero byte", std::string("A B\0 C D", 8), L"A", L""},
                    WordsCase{"blanks alone", "     ", L"", L""},
                    WordsCase{"bytes above 127", "\xC4 \xD6 x", L"\u00C4", L"\u00D6"}));

TEST(SiReply, AnEmptyFrameEndsWhatWasGathered) {
    SiReply reply;
    EXPECT_TRUE(reply.add(spanOf(si("A B C"))));
    EXPECT_TRUE(reply.add(spanOf(si("")))) << "nothing gathered";
    EXPECT_EQ(reply.words().second, L"B");

    EXPECT_FALSE(reply.add(spanOf(si("D E F" + std::string(50, ' ')))));
    EXPECT_EQ(reply.words().first, L"A");
    EXPECT_TRUE(reply.add(spanOf(si(""))));
    EXPECT_EQ(reply.words().first, L"D");
    EXPECT_EQ(reply.words().second, L"E");
}

TEST(SiReply, DropsWhatIsBeyond128Bytes) {
    SiReply reply;
    for (int frame = 0; frame < 300; ++frame)
        EXPECT_FALSE(reply.add(spanOf(si(std::string(55, 'A'))))) << frame;
    EXPECT_TRUE(reply.add(spanOf(si(" B C"))));
    EXPECT_EQ(reply.words().first, L"") << "128 times A and no blank";

    SiReply whole;
    EXPECT_TRUE(whole.add(spanOf(si(std::string(126, 'A') + " B" + "C D"))));
    EXPECT_EQ(whole.words().first, std::wstring(126, L'A'));
    EXPECT_EQ(whole.words().second, L"");
}

TEST(SiReply, TheTailOfALongerReplyFollowsAShorterOne) {
    SiReply reply;
    EXPECT_TRUE(reply.add(spanOf(si("AAAA BBBB CCCC"))));
    EXPECT_TRUE(reply.add(spanOf(si("DD"))));
    EXPECT_EQ(reply.words().first, L"DDAA");
    EXPECT_EQ(reply.words().second, L"BBBB");
    EXPECT_TRUE(reply.add(spanOf(si(std::string("E F G\0", 6)))));
    EXPECT_EQ(reply.words().first, L"E");
    EXPECT_EQ(reply.words().second, L"F");
}

TEST(SiReply, FramesShorterThanTheySayAreIgnored) {
    SiReply reply;
    const std::string frame = si("A B C");
    EXPECT_FALSE(reply.add(spanOf(frame).first(10)));
    EXPECT_FALSE(reply.add(spanOf(frame).first(5)));
    EXPECT_FALSE(reply.add({}));
    EXPECT_TRUE(reply.add(spanOf(frame).first(11))) << "the closing bytes are not read";
    EXPECT_EQ(reply.words().first, L"A");
}

}  // namespace
}  // namespace vkcomm::test
