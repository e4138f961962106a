#include "vkcomm/formats/trimble_replies.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/formats/parser_bytes.h"

namespace vkcomm::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

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

struct PortCase {
    const char* name;
    std::wstring segment;
    std::array<std::wstring, 7> fields;
};

void PrintTo(const PortCase& c, std::ostream* out) { *out << c.name; }

class PortSegments : public testing::TestWithParam<PortCase> {};

TEST_P(PortSegments, BecomeFields) {
    CTrimBreakRet reply;
    reply.vProcessBreakPort(L"PORT,a,b,c,d,e,f,g");
    reply.vProcessBreakPort(GetParam().segment);
    EXPECT_EQ(reply.Reply().port, GetParam().fields);
}

INSTANTIATE_TEST_SUITE_P(TrimBreakRet, PortSegments,
                         testing::Values(PortCase{"the port number is raised by one",
                                                  L"PORT,0,b,c,d,e,f,g",
                                                  {L"1", L"b", L"c", L"d", L"e", L"f", L"g"}},
                                         PortCase{"by its last character alone",
                                                  L"P,COM9,b,c,d,e,f,g",
                                                  {L"COM:", L"b", L"c", L"d", L"e", L"f", L"g"}},
                                         PortCase{"an empty number stays empty",
                                                  L"P,,b,c,d,e,f,g",
                                                  {L"", L"b", L"c", L"d", L"e", L"f", L"g"}},
                                         PortCase{"the last field takes the rest",
                                                  L"P,1,2,3,4,5,6,7,8,9",
                                                  {L"2", L"2", L"3", L"4", L"5", L"6", L"7,8,9"}},
                                         PortCase{"too few commas", L"P,2,3", {L"3", L"3"}},
                                         PortCase{"a comma at the end", L"P,", {}},
                                         PortCase{"no comma", L"PORT", {}}, PortCase{"empty", L"", {}}));

struct ShortReplyCase {
    const char* name;
    const char* text;
    std::wstring identity;
    std::wstring secondIdentity;
};

void PrintTo(const ShortReplyCase& c, std::ostream* out) { *out << c.name; }

class ShortReplies : public testing::TestWithParam<ShortReplyCase> {};

TEST_P(ShortReplies, LeaveNothingOfTheReplyBefore) {
    CTrimBreakRet reply;
    reply.bParse("A,1;P,1,1,1,1,1,1,1;V,1,1,1,1;X;B,1;");
    EXPECT_EQ(reply.bParse(GetParam().text), 1);
    EXPECT_EQ(reply.Reply().identity, GetParam().identity);
    EXPECT_EQ(reply.Reply().secondIdentity, GetParam().secondIdentity);
    EXPECT_THAT(reply.Reply().port, Each(IsEmpty()));
    EXPECT_THAT(reply.Reply().version, Each(IsEmpty()));
}

INSTANTIATE_TEST_SUITE_P(TrimBreakRet, ShortReplies,
                         testing::Values(ShortReplyCase{"no text", nullptr, L"", L""},
                                         ShortReplyCase{"empty", "", L"", L""},
                                         ShortReplyCase{"no separators", "whole", L"whole", L""},
                                         ShortReplyCase{"one segment", "A,b,c", L"b,c", L""},
                                         ShortReplyCase{"empty segments", ";;;;", L"", L""},
                                         ShortReplyCase{"no closing separator", "A,b;;;;C,d", L"b", L"d"}));

const std::string kOldColumns = "12345678BD950   01.1002.2003.30ABCDEFGH 7 9 6";

TEST(TrimRSerial, ReadsColumns) {
    CTrimRSerial reply;
    ASSERT_EQ(reply.bParse(kOldColumns.c_str()), 1);
    EXPECT_EQ(reply.Reply().serial, L"12345678");
    EXPECT_EQ(reply.Reply().receiverType, L"BD950");
    EXPECT_EQ(reply.Reply().navigationVersion, L"01.10");
    EXPECT_EQ(reply.Reply().signalVersion, L"02.20");
    EXPECT_EQ(reply.Reply().bootVersion, L"03.30");
    EXPECT_EQ(reply.Reply().antennaSerial, L"ABCDEFGH");
    EXPECT_EQ(reply.Reply().antennaType, L" 7");
    EXPECT_EQ(reply.Reply().channels, L" 9");
    EXPECT_EQ(reply.Reply().channelsL1, L" 6");
    EXPECT_EQ(reply.Reply().longSerial, L"");
}

TEST(TrimRSerial, ReadsTheColumnsOfNewerReceiversAsFarAsTheyGo) {
    const std::string local(31, 'L');
    const std::string base = "BASE" + std::string(27, ' ');
    CTrimRSerial reply;
    ASSERT_EQ(reply.bParse(spanOf(kOldColumns + "5304K41234" + local + base + std::string(30, 'N'))), 1);
    EXPECT_EQ(reply.Reply().longSerial, L"5304K41234");
    EXPECT_EQ(reply.Reply().localAntennaSerial, std::wstring(31, L'L'));
    EXPECT_EQ(reply.Reply().baseAntennaSerial, L"BASE");
    EXPECT_EQ(reply.Reply().antennaDescriptor, L"") << "a column that is cut short is not sent";

    ASSERT_EQ(reply.bParse(spanOf(kOldColumns)), 1);
    EXPECT_EQ(reply.Reply().baseAntennaSerial, L"") << "what the reply before had must not stay";
}

TEST(TrimRSerial, RefusesShortRepliesAndKeepsTheOneBefore) {
    CTrimRSerial reply;
    reply.bParse(kOldColumns.c_str());
    EXPECT_EQ(reply.bParse(kOldColumns.substr(1).c_str()), 0);
    EXPECT_EQ(reply.bParse(""), 0);
    EXPECT_EQ(reply.bParse(static_cast<const char*>(nullptr)), 0);
    EXPECT_EQ(reply.Reply().serial, L"12345678");
}

}  // namespace
}  // namespace vkcomm::test
