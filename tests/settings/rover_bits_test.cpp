// The bits that rover records pack into bytes.
#include <gtest/gtest.h>

#include <functional>
#include <utility>

#include "vkcomm/settings/rover_config.h"

namespace vkcomm {
namespace {

TEST(RoverBits, SettersChangeOnlyTheirs) {
    struct Case {
        const char* name;
        unsigned char before;
        std::function<void(CRoverConfig&)> set;
        unsigned char after;
    };

    const Case cases[] = {
        {"port", 0xE3, [](CRoverConfig& r) { r.vSetNCom(30); }, 0xFE},
        {"port above 31 spills", 0x00, [](CRoverConfig& r) { r.vSetNCom(33); }, 0x21},
        {"port beyond a byte", 0xE0, [](CRoverConfig& r) { r.vSetNCom(0x25); }, 0x05},
        {"data module on", 0x03, [](CRoverConfig& r) { r.vSetDifSource(-1); }, 0x83},
        {"data module off", 0xFF, [](CRoverConfig& r) { r.vSetDifSource(0); }, 0x7F},
        {"VRS on", 0x03, [](CRoverConfig& r) { r.vSetVRS(2); }, 0x43},
        {"VRS off", 0xFF, [](CRoverConfig& r) { r.vSetVRS(0); }, 0xBF},
        {"GPRS on", 0x03, [](CRoverConfig& r) { r.vSetPDAGPRS(256); }, 0x23},
        {"GPRS off", 0xFF, [](CRoverConfig& r) { r.vSetPDAGPRS(0); }, 0xDF},
        {"radio 0 makes the port 1", 0xE3, [](CRoverConfig& r) { r.vSetRadioType(0, 1); }, 0x41},
        {"radio 1 keeps the port", 0xE3, [](CRoverConfig& r) { r.vSetRadioType(1, 0); }, 0x83},
        {"radio 2", 0x9F, [](CRoverConfig& r) { r.vSetRadioType(2, 1); }, 0x7F},
        {"another radio", 0xE3, [](CRoverConfig& r) { r.vSetRadioType(3, 0); }, 0x03},
    };
    for (const Case& c : cases) {
        CRoverConfig rover;
        rover.uCom = c.before;
        c.set(rover);
        EXPECT_EQ(rover.uCom, c.after) << c.name;
        EXPECT_EQ(rover.uGetCom(), c.after & 0x1F) << c.name;
        EXPECT_EQ(rover.bPDAGPRS() * 0x20 + rover.bViaVRS() * 0x40 + rover.bGetDifSource() * 0x80,
                  c.after & 0xE0)
            << c.name;
    }
}

TEST(RoverBits, RadioType) {
    struct Case {
        unsigned char com;
        int type, viaVrs;
    };

    constexpr int kUnchanged = 9;
    for (const Case& c : {Case{0x1F, 0, 0}, Case{0x80, 1, 0}, Case{0x20, 2, 0}, Case{0xA0, kUnchanged, 0},
                          Case{0xC1, 1, 1}, Case{0xE0, kUnchanged, 1}}) {
        CRoverConfig rover;
        rover.uCom = c.com;
        int type = kUnchanged, viaVrs = kUnchanged;
        rover.vGetRadioType(type, viaVrs);
        EXPECT_EQ(type, c.type) << int{c.com};
        EXPECT_EQ(viaVrs, c.viaVrs) << int{c.com};
    }
}

TEST(RoverBits, Thales) {
    const auto switches = [](const CRoverConfig& r) {
        return std::tuple(r.bThalesVRS(), r.bThalesBeepOff(), r.bThalesFastCPD());
    };
    CRoverConfig rover;
    EXPECT_EQ(switches(rover), std::tuple(0, 0, 1));
    rover.uThales = 0xF0;
    rover.vSetThalesVRS(5);
    EXPECT_EQ(rover.uThales, 0xF1);
    rover.vSetThalesBeepOff(2);
    EXPECT_EQ(rover.uThales, 0xF3);
    rover.vSetThalesFastCPD(1);
    rover.vSetThalesVRS(0);
    EXPECT_EQ(rover.uThales, 0xF6);
    EXPECT_EQ(switches(rover), std::tuple(0, 1, 1));
    rover.vSetThalesFastCPD(0);
    rover.vSetThalesBeepOff(0);
    EXPECT_EQ(rover.uThales, 0xF0);
}

TEST(RoverBits, CheckIndex) {
    for (const auto& [text, limits] : {std::pair{L"TRUE", true},
                                       {L"true", true},
                                       {L" \tTrue\r\n", true},
                                       {L"", false},
                                       {L"  ", false},
                                       {L"1", false},
                                       {L"TRUE1", false},
                                       {L"TR UE", false},
                                       {L"\uFF34RUE", false}}) {
        CRoverConfig rover;
        rover.nLimitBase = 2;
        rover.vSetCheckIndex(text);
        EXPECT_EQ(rover.bCheckIndex(), limits) << text;
        EXPECT_EQ(rover.nLimitBase, limits ? 1 : 0) << text;
    }
}

}  // namespace
}  // namespace vkcomm
