#include "vkcomm/formats/trimble_replies.h"

#include <gtest/gtest.h>

#include "tests/formats/parser_bytes.h"

namespace vkcomm::test {
namespace {

// "identity;second identity;port fields;version fields".
std::string shown(const TrimbleBreakReply& reply) {
    std::wstring text = reply.identity + L';' + reply.secondIdentity + L';';
    for (const std::wstring& field : reply.port)
        text += field + L'|';
    text += L';';
    for (const std::wstring& field : reply.version)
        text += field + L'|';
    return {text.begin(), text.end()};
}

TEST(TrimBreakRet, TakesRepliesApartAndLeavesNothingOfTheOneBefore) {
    const std::pair<const char*, const char*> cases[] = {
        {"SERIAL,02312345;PORT,1,38400,9600,8,1,N,F;VERSION,2.32,10/21/"
         "04,1.10,5,x;SKIPPED,7;RADIO,4417,2;END,9",
         "02312345;4417,2;2|38400|9600|8|1|N|F|;2.32|10/21/04|1.10|5,x|"},
        {"A,b;P,COM9,b,c,d,e,f,g", "b;;COM:|b|c|d|e|f|g|;||||"},
        {"A,b;P,,b,c,d,e,f,g", "b;;|b|c|d|e|f|g|;||||"},
        {"A,b;P,1,2,3,4,5,6,7,8,9", "b;;2|2|3|4|5|6|7,8,9|;||||"},
        {"A,b;P,2,3;V,4", "b;;3|3||||||;4||||"},
        {"A,b;P,;V", "b;;|||||||;||||"},
        {"A,b,c;PORT", "b,c;;|||||||;||||"},
        {"A,b;;;;C,d", "b;d;|||||||;||||"},
        {"whole", "whole;;|||||||;||||"},
        {";;;;", ";;|||||||;||||"},
        {"", ";;|||||||;||||"},
        {nullptr, ";;|||||||;||||"},
    };
    CTrimBreakRet reply;
    for (const auto& [text, fields] : cases) {
        reply.bParse("A,1;P,1,1,1,1,1,1,1;V,1,1,1,1;X;B,1;");
        EXPECT_EQ(reply.bParse(text), 1);
        EXPECT_EQ(shown(reply.Reply()), fields);
    }
}

TEST(TrimRSerial, ReadsColumnsAsFarAsTheyGo) {
    const std::string columns = "12345678BD950   01.1002.2003.30ABCDEFGH 7 9 6";
    const std::string all = columns + "5304K41234" + std::string(31, 'L') + "BASE" + std::string(27, ' ');
    CTrimRSerial parser;
    const TrimbleSerialReply& r = parser.Reply();
    ASSERT_EQ(parser.bParse(spanOf(all + std::string(30, 'N'))), 1);
    EXPECT_EQ(r.serial + L'|' + r.receiverType + L'|' + r.navigationVersion + L'|' + r.signalVersion + L'|' +
                  r.bootVersion + L'|' + r.antennaSerial + L'|' + r.antennaType + L'|' + r.channels + L'|' +
                  r.channelsL1 + L'|' + r.longSerial + L'|' + r.baseAntennaSerial,
              L"12345678|BD950|01.10|02.20|03.30|ABCDEFGH| 7| 9| 6|5304K41234|BASE");
    EXPECT_EQ(r.localAntennaSerial, std::wstring(31, L'L'));
    EXPECT_EQ(r.antennaDescriptor, L"") << "a column that is cut short is not sent";

    ASSERT_EQ(parser.bParse(columns.c_str()), 1);
    EXPECT_EQ(r.longSerial + r.baseAntennaSerial, L"") << "what the reply before had must not stay";
    EXPECT_EQ(parser.bParse(columns.substr(1).c_str()), 0);
    EXPECT_EQ(parser.bParse(static_cast<const char*>(nullptr)), 0);
    EXPECT_EQ(r.serial, L"12345678") << "a short reply keeps the one before";
}

}  // namespace
}  // namespace vkcomm::test
