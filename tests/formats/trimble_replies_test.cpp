#include "vkcomm/formats/trimble_replies.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/formats/parser_bytes.h"

namespace vkcomm::test {
namespace {

using testing::ElementsAre;

TEST(TrimBreakRet, TakesAReplyApart) {
    CTrimBreakRet reply;
    EXPECT_EQ(reply.bParse(
                  "SERIAL,0220312345;PORT,1,38400,38400,8,1,N,F;VERSION,2.32,10/21/04,1.10,5.00,x;SKIPPED,7;"
                  "RADIO,4417,2;END,9"),
              1);
    EXPECT_EQ(reply.Reply().identity, L"0220312345");
    EXPECT_EQ(reply.Reply().secondIdentity, L"4417,2");
    EXPECT_THAT(reply.Reply().port, ElementsAre(L"2", L"38400", L"38400", L"8", L"1", L"N", L"F"));
    EXPECT_THAT(reply.Reply().version, ElementsAre(L"2.32", L"10/21/04", L"1.10", L"5.00,x"));
}

TEST(TrimBreakRet, PortSegmentsBecomeFields) {
    const std::pair<std::wstring, std::array<std::wstring, 7>> cases[] = {
        {L"PORT,0,b,c,d,e,f,g", {L"1", L"b", L"c", L"d", L"e", L"f", L"g"}},
        {L"P,COM9,b,c,d,e,f,g", {L"COM:", L"b", L"c", L"d", L"e", L"f", L"g"}},
        {L"P,,b,c,d,e,f,g", {L"", L"b", L"c", L"d", L"e", L"f", L"g"}},
        {L"P,1,2,3,4,5,6,7,8,9", {L"2", L"2", L"3", L"4", L"5", L"6", L"7,8,9"}},
        {L"P,2,3", {L"3", L"3"}},
        {L"P,", {}},
        {L"PORT", {}},
        {L"", {}},
    };
    for (const auto& [segment, fields] : cases) {
        CTrimBreakRet reply;
        reply.vProcessBreakPort(L"PORT,a,b,c,d,e,f,g");
        reply.vProcessBreakPort(segment);
        EXPECT_EQ(reply.Reply().port, fields);
    }
}

TEST(TrimBreakRet, ShortRepliesLeaveNothingOfTheReplyBefore) {
    struct {
        const char* text;
        std::wstring identity, secondIdentity;
    } const cases[] = {{nullptr, L"", L""},    {"", L"", L""},     {"whole", L"whole", L""},
                       {"A,b,c", L"b,c", L""}, {";;;;", L"", L""}, {"A,b;;;;C,d", L"b", L"d"}};

    for (const auto& c : cases) {
        CTrimBreakRet reply;
        reply.bParse("A,1;P,1,1,1,1,1,1,1;V,1,1,1,1;X;B,1;");
        EXPECT_EQ(reply.bParse(c.text), 1);
        EXPECT_EQ(reply.Reply().identity, c.identity);
        EXPECT_EQ(reply.Reply().secondIdentity, c.secondIdentity);
        EXPECT_THAT(reply.Reply().port, testing::Each(L""));
        EXPECT_THAT(reply.Reply().version, testing::Each(L""));
    }
}

TEST(TrimRSerial, ReadsColumnsAsFarAsTheyGo) {
    const std::string columns = "12345678BD950   01.1002.2003.30ABCDEFGH 7 9 6";
    CTrimRSerial parser;
    const TrimbleSerialReply& r = parser.Reply();
    const std::string base = "BASE" + std::string(27, ' ') + std::string(30, 'N');
    ASSERT_EQ(parser.bParse(spanOf(columns + "5304K41234" + std::string(31, 'L') + base)), 1);
    EXPECT_EQ(r.serial + L'|' + r.receiverType + L'|' + r.navigationVersion + L'|' + r.signalVersion + L'|' +
                  r.bootVersion + L'|' + r.antennaSerial + L'|' + r.antennaType + L'|' + r.channels + L'|' +
                  r.channelsL1,
              L"12345678|BD950|01.10|02.20|03.30|ABCDEFGH| 7| 9| 6");
    EXPECT_EQ(r.longSerial, L"5304K41234");
    EXPECT_EQ(r.localAntennaSerial, std::wstring(31, L'L'));
    EXPECT_EQ(r.baseAntennaSerial, L"BASE");
    EXPECT_EQ(r.antennaDescriptor, L"") << "a column that is cut short is not sent";

    ASSERT_EQ(parser.bParse(columns.c_str()), 1);
    EXPECT_EQ(r.longSerial + r.baseAntennaSerial, L"") << "what the reply before had must not stay";
    EXPECT_EQ(parser.bParse(columns.substr(1).c_str()), 0);
    EXPECT_EQ(parser.bParse(static_cast<const char*>(nullptr)), 0);
    EXPECT_EQ(r.serial, L"12345678") << "a short reply keeps the one before";
}

}  // namespace
}  // namespace vkcomm::test
