// Rules of the decoder that no single frame shows: which bit enables which lead, every fixed text, and what the
// operations around Read do to it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/decode/frames.h"

namespace vkcomm::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string kCmc = cmc(20, "abc");

TEST(DecoderRules, EachLeadHasItsBits) {
    struct Case {
        std::string stream;
        std::uint32_t bits;
    };

    const Case cases[] = {
        {asciiLog("BESTPOSA,1;2"), 0x1},
        {"<OK\r\n", 0x310},
        {sentence("GPZDA,1"), 0x20},
        {"\r\n", 0x80},
        {"\n\r\n", 0x80},
        {"FSU Tuned\n", 0x80},
        {"Invalid\n", 0x80},
        {"NVM Error - Unable To Save\n", 0x80},
        {"[COM1]", 0x400},
        {"Com1>\n", 0x40400},
        {trimble(0x40, "a"), 0x800},
        {kCmc, 0x1000},
        {atBlock(9, "a"), 0x2000},
        {hex("f110fe50"), 0x4000},
        {summedTo255(hex("f22304")) + std::string(9, 'r'), 0x4000},
        {summedTo255(hex("f511030002d8")) + std::string(12, 'r'), 0x4000},
        {hex("ff0000110000") + std::string(22, 'r'), 0x4000},
        {maker("RK", "a"), 0x8000},
        {"OK\n", 0x40000},
        {"~a~", 0x40000},
        {"\x10", 0x80000},
        {"%RE\n", 0x100000},
        {hemisphere(1, "a"), 0x400000},
        {"$>JSHOW,A\n", 0x400000},
    };
    for (const Case& c : cases)
        for (int bit = 0; bit < 32; ++bit) {
            const std::uint32_t mask = std::uint32_t{1} << bit;
            CNOut decoder;
            NotedClock clock;
            decoder.vSetClock(clock);
            decoder.vSetTildeFrames(1);
            decoder.vSetDecodeMask(mask);
            const std::vector<Record> records = decodeAll(decoder, c.stream);
            const bool found = !records.empty() && records[0].offset == 0 && records[0].type != LOG_NONE;
            EXPECT_EQ(found, (c.bits & mask) != 0) << c.stream.substr(0, 8) << " mask " << mask;
        }
}

TEST(DecoderRules, FixedTextsAreKnownAndTerminated) {
    struct Case {
        std::string line;
        int type;
        unsigned id;
        std::size_t size;  // 0: the whole line
    };

    const Case cases[] = {
        {"Com1>\r\n", 11, 2, 0},
        {"Com1>\n", 11, 5, 0},
        {"Com1>log version\r\n", 11, 5, 5},
        {"Com2>\r\n", 11, 3, 0},
        {"Com2>\n", 11, 6, 0},
        {"Console>\n", 11, 7, 0},
        {"Console>\r\n", 11, 7, 0},
        {"[COM1]log", 11, 2, 6},
        {"[COM2]log", 11, 3, 6},
        {"[COM3]log", 11, 4, 6},
        {"CONNECT 9600\r\n", 19, 2, 0},
        {"OK\r\n", 19, 1, 0},
        {"Invalid Command Name\r\n", 8, 11, 0},
        {"Invalid Number of Arguments\r\n", 8, 12, 0},
        {"Invalid Logger Datatype\r\n", 8, 13, 0},
        {"Invalid Command Option\r\n", 8, 14, 0},
        {"Invalid Channel Number\r\n", 8, 15, 0},
        {"Invalid Satellite Number\r\n", 8, 16, 0},
        {"Invalid Doppler\r\n", 8, 17, 0},
        {"Invalid Doppler Window\r\n", 8, 17, 0},
        {"Invalid Something\r\n", 8, 19, 0},
        {"$>JSHOW,BAUD\n", 23, 150, 0},
        {"~ab~Com", 19, 3, 4},
    };
    for (const Case& c : cases) {
        CNOut decoder;
        decoder.vSetTildeFrames(1);
        feed(decoder, "<a longer line, so that what it leaves in the record would be seen\r\n" + c.line);
        ASSERT_EQ(decoder.Read(), CNOut::RETURN_COMPLETE);
        ASSERT_EQ(decoder.Read(), CNOut::RETURN_COMPLETE) << c.line;
        const std::string text = c.size != 0 ? c.line.substr(0, c.size) : c.line;
        EXPECT_EQ(decoder.Type(), c.type) << c.line;
        EXPECT_EQ(decoder.Id(), c.id) << c.line;
        EXPECT_EQ(reinterpret_cast<const char*>(decoder.Get()), text) << "up to the zero";
    }
}

TEST(DecoderRules, BordersOfLengths) {
    struct Case {
        const char* name;
        std::string stream;
        bool found;
    };

    const auto line = [](std::size_t size, const char* end) {
        return "<" + std::string(size - 1, 'A') + end;
    };
    std::string xor40 = atBlock(9, "abc");
    xor40[xor40.size() - 3] = chr(byteOf(xor40[xor40.size() - 3]) ^ '@');
    const Case cases[] = {
        {"longest line", line(8190, "\n"), true},
        {"line a byte too long", line(8191, "\n"), false},
        {"longest line with CR LF", line(8189, "\r\n"), true},
        {"CR at 8190", line(8190, "\r\n"), false},
        {"lone CR at 8189", line(8189, "\rA"), true},
        {"lone CR at 8190", line(8190, "\rA"), false},
        {"character 31", "<\x1F\n", true},
        {"character 30", "<\x1E\n", false},
        {"character 127", "<\x7F\n", false},
        {"@ of 1000", atBlock(9, std::string(1000, 'a')), true},
        {"@ of 1001", atBlock(9, std::string(1001, 'a')), false},
        {"@ with 40 left over", xor40, true},
        {"radio that settles, last byte", hex("f110fe51"), false},
        {"tilde of 8192", "~" + std::string(8190, 'a') + "~", true},
        {"tilde of 8193", "~" + std::string(8191, 'a') + "~", false},
        {"JSHOW of 8191", "$>JSHOW" + std::string(8183, '\xC0') + "\n", true},
        {"JSHOW of 8192", "$>JSHOW" + std::string(8184, '\xC0') + "\n", false},
        {"$> with J third", "$>AJBCDE\n", true},
        {"$> with I third", "$>AIBCDE\n", false},
    };
    for (const Case& c : cases) {
        CNOut decoder;
        decoder.vSetTildeFrames(1);
        const std::vector<Record> records = decodeAll(decoder, c.stream);
        EXPECT_EQ(!records.empty() && records[0].offset == 0, c.found) << c.name;
    }
}

// Each of these wakes a decoder that waits for the rest of a frame.
TEST(DecoderRules, WhatChangesTheFrameIsNoticed) {
    const std::string promise = hex("020041fc");
    const Record expected{LOG_CMC_BINARY, 20, 9, kCmc, 4, 9};
    const auto waiting = [&](CNOut& decoder) {
        feed(decoder, promise + kCmc);
        EXPECT_EQ(decoder.Read(), CNOut::RETURN_INCOMPLETE);
    };
    CNOut masked;
    waiting(masked);
    masked.vSetDecodeMask(kDecodeCmc);
    EXPECT_THAT(readAll(masked), ElementsAre(expected));

    CNOut skipped;
    waiting(skipped);
    EXPECT_EQ(skipped.bSkipLead(), 1);
    EXPECT_THAT(readAll(skipped), ElementsAre(expected));
    EXPECT_EQ(skipped.bSkipLead(), 0) << "nothing is left";

    CNOut taken;
    waiting(taken);
    unsigned char head[4];
    EXPECT_EQ(taken.eRead(head, 4, 1), CNOut::RETURN_COMPLETE);
    EXPECT_EQ(head[3], 0xFC);
    EXPECT_EQ(taken.eRead(head, 100, 1), CNOut::RETURN_INCOMPLETE);
    EXPECT_THAT(readAll(taken), ElementsAre(expected));
    EXPECT_EQ(taken.Counters().dropped, 4u);

    CNOut tilde;
    tilde.vSetTildeFrames(1);
    feed(tilde, "~" + kCmc);
    EXPECT_THAT(readAll(tilde), IsEmpty());
    tilde.vSetTildeFrames(0);
    EXPECT_EQ(readAll(tilde).size(), 1u);

    CNOut direct;
    unsigned char* space = direct.SetRequestBufSpace(static_cast<int>(kCmc.size()));
    std::copy(kCmc.begin(), kCmc.end(), space);
    EXPECT_EQ(readAll(direct).size(), 1u);
    EXPECT_EQ(direct.Counters().received, kCmc.size());
}

TEST(DecoderRules, ClearForgetsEverything) {
    CNOut decoder;
    feed(decoder, trimble(0x40, "abc") + "\x01");
    EXPECT_EQ(readAll(decoder).size(), 1u);
    decoder.Clear();
    EXPECT_EQ(decoder.Size(), 0);
    EXPECT_EQ(decoder.Type(), LOG_NONE);
    feed(decoder, "\x10");
    const std::vector<Record> records = readAll(decoder);
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].id, 0u);
    EXPECT_EQ(records[0].size, 1);
    EXPECT_EQ(decoder.Counters().dropped, 1u);
}

TEST(DecoderRules, RoomThatLooksFreeIsFree) {
    CNOut decoder;
    const std::string longest = oem4(43, std::string(8160, 'x'));
    feed(decoder, longest + longest);
    EXPECT_EQ(decoder.Read(), CNOut::RETURN_COMPLETE);
    EXPECT_EQ(decoder.iBytesInRxBuf(), 8192);
    feed(decoder, longest);
    EXPECT_EQ(readAll(decoder).size(), 2u);
    EXPECT_EQ(decoder.Counters().dropped, 0u);
}

TEST(DecoderRules, ByteSums) {
    const std::string frame = hemisphere(1, "abc");
    const auto* bytes = reinterpret_cast<const unsigned char*>(frame.data());
    EXPECT_EQ(CNOut::uCheckSum(bytes + 8, 3), ('a' + 'b' + 'c') % 256u);
    EXPECT_EQ(CNOut::uCheckSum(nullptr, 3), 0u);
    EXPECT_EQ(CNOut::bCheckSumForHemisphere(bytes, static_cast<int>(frame.size())), 1);
    EXPECT_EQ(CNOut::bCheckSumForHemisphere(bytes, static_cast<int>(frame.size()) - 1), 0);
    EXPECT_EQ(CNOut::bCheckSumForHemisphere(bytes, -1), 0);
    EXPECT_EQ(CNOut::bCheckSumForHemisphere(nullptr, 64), 0);
}

}  // namespace
}  // namespace vkcomm::test
