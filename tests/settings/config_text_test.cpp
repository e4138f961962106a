// Base and rover text blocks: golden files in three languages, versions, damaged files.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>

#include "tests/settings/config_records.h"
#include "vkcomm/datum/process_settings.h"

namespace vkcomm::test {
namespace {

using base::CStdioFileCe;

constexpr int kSimplified = 0, kEnglish = 1, kTraditional = 2;

template <typename Record>
std::string blockOf(const Record& record, int language = kEnglish) {
    vSetLang(language);
    CStdioFileCe file;
    file.OpenMemory();
    record.vWriteFile(file);
    vSetLang(kEnglish);
    return file.Bytes();
}

template <typename Record>
int readBlock(Record& record, const std::string& bytes) {
    CStdioFileCe file;
    file.OpenBytes(bytes);
    return record.bReadFile(file);
}

std::string golden(const std::string& name) {
    std::ifstream file(VKCOMM_SOURCE_DIR "/tests/settings/golden/" + name + ".txt", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

template <typename Record>
void expectGolden(const std::string& name) {
    struct Case {
        int language;
        const char* suffix;
    };

    for (const auto& [language, suffix] : {Case{kEnglish, "_english"}, Case{kTraditional, "_traditional"},
                                           Case{kSimplified, "_simplified"}, Case{7, "_simplified"}}) {
        Record record, back;
        fill(record);
        EXPECT_EQ(blockOf(record, language), golden(name + suffix));
        EXPECT_EQ(readBlock(back, golden(name + suffix)), 1);
        EXPECT_EQ(blockOf(back), golden(name + "_english")) << suffix;
    }
}

TEST(ConfigText, EqualsTheGoldenFiles) {
    expectGolden<CBaseConfig>("base");
    expectGolden<CRoverConfig>("rover");
}

// The lines from first to last, counted from 1.
std::string linesOf(const std::string& text, int first, int last) {
    std::string lines;
    int number = 1;
    for (const char c : text) {
        if (number >= first && number <= last) lines += c;
        if (c == '\n') ++number;
    }
    return lines;
}

std::string valuesOf(const std::string& text, int first, int last) {
    std::string values;
    for (int line = first; line <= last; line += 2)
        values += linesOf(text, line, line);
    return values;
}

TEST(ConfigText, Defaults) {
    EXPECT_EQ(valuesOf(blockOf(CBaseConfig()), 5, 29), "0\n10\n6\n3\n4\n1\n0\n5\n0\n0\n2\n1\n0\n");
    EXPECT_EQ(valuesOf(blockOf(CRoverConfig()), 5, 23), "0\n13.0\n6.0\nANY\n3\n2\n5\n0\n1\n2\n");
}

TEST(BaseText, VersionsSayWhatIsThere) {
    struct Case {
        const char* version;
        bool rows, antenna, station;
    };

    const std::string block = golden("base_english");
    for (const Case& c :
         {Case{"0", false, false, false}, Case{"-1", false, false, false}, Case{"", false, false, false},
          Case{"four", false, false, false}, Case{"1", true, false, false}, Case{"2", true, true, false},
          Case{"3", true, true, true}, Case{"4", true, true, true}, Case{"5", true, true, true},
          Case{"99999999999", true, true, true}}) {
        CBaseConfig read, expected, full;
        fill(full);
        if (c.rows) {
            expected = full;
            expected.uOption = CBaseConfig().uOption;
            expected.strStationID = c.station ? full.strStationID : L"1";
            expected.nStationType = c.station ? full.nStationType : 0;
        }
        if (c.antenna) expected.antenna = full.antenna;
        const std::string text = linesOf(block, 1, 2) + c.version + '\n' + linesOf(block, 4, 25) +
                                 (c.station ? linesOf(block, 26, 29) : "") + linesOf(block, 30, 43);
        EXPECT_EQ(readBlock(read, text), c.rows ? 1 : 0) << c.version;
        EXPECT_TRUE(fieldsOf(read) == fieldsOf(expected)) << c.version << "\n" << blockOf(read);
    }
}

TEST(RoverText, OnlyVersionOne) {
    const std::string block = golden("rover_english");
    for (const char* version : {"0", "2", "4", "-1", "", "one", "11", "4294967297"}) {
        CRoverConfig read, untouched;
        EXPECT_EQ(readBlock(read, linesOf(block, 1, 2) + version + '\n' + linesOf(block, 4, 23)), 0)
            << version;
        EXPECT_TRUE(fieldsOf(read) == fieldsOf(untouched)) << version;
    }
}

// What is written of what was read reads back to the same text.
template <typename Record>
void expectStable(const Record& record, const std::string& name) {
    const std::string once = blockOf(record);
    Record back;
    EXPECT_EQ(readBlock(back, once), 1) << name;
    EXPECT_EQ(blockOf(back), once) << name;
}

template <typename Record>
void expectCutsAreStable(const std::string& block) {
    const std::size_t version = linesOf(block, 1, 2).size() + 1;  // bytes up to and with its one digit
    for (std::size_t size = 0; size <= block.size(); ++size) {
        Record read, untouched;
        EXPECT_EQ(readBlock(read, block.substr(0, size)), size >= version ? 1 : 0) << size;
        if (size < version) {
            EXPECT_TRUE(fieldsOf(read) == fieldsOf(untouched)) << size;
        }
        expectStable(read, "cut behind byte " + std::to_string(size));
    }
}

TEST(ConfigText, CutBehindEveryByte) {
    expectCutsAreStable<CBaseConfig>(golden("base_simplified"));
    expectCutsAreStable<CRoverConfig>(golden("rover_traditional"));

    CRoverConfig read;
    EXPECT_EQ(readBlock(read, linesOf(golden("rover_english"), 1, 4)), 1);
    EXPECT_EQ(valuesOf(blockOf(read), 5, 23), "0\n0.0\n0.0\n\n0\n0\n0\n0\n0\n0\n");
}

TEST(ConfigText, ValuesThatDoNotFit) {
    struct Case {
        const char* name;
        const char* masks;  // three lines: elevation mask, label, PDOP mask
        const char* port;
        const char* written;  // the same four values
    };

    constexpr float kMost = std::numeric_limits<float>::max();
    const std::string most = "340282346638528859811704183484516925440.0";
    for (const Case& c : {Case{"bytes keep their low bits", "1\n\n2", "300", "1.0\n2.0\n44\n"},
                          Case{"negative byte", "-0.5\n\n-0.04", "-1", "-0.5\n-0.0\n255\n"},
                          Case{"ties go to even", "0.25\n\n0.75", "256", "0.2\n0.8\n0\n"},
                          Case{"text", "x\n\nnan", "y", "0.0\n0.0\n0\n"},
                          Case{"integers beyond 32 bits", "1\n\n1", "4294967297", "1.0\n1.0\n255\n"}}) {
        CRoverConfig read;
        const std::string text = "\n\n1\n\n\n\n" + std::string(c.masks) + "\n\n\n\n\n\n\n\n\n\n\n\n" + c.port;
        EXPECT_EQ(readBlock(read, text), 1) << c.name;
        const std::string block = blockOf(read);
        EXPECT_EQ(valuesOf(block, 7, 9) + linesOf(block, 21, 21), c.written) << c.name;
    }
    CRoverConfig rover;
    EXPECT_EQ(readBlock(rover, "\n\n1\n\n\n\n1e39\n\n-1e400\n"), 1);
    EXPECT_EQ(rover.fElevMask, kMost);
    EXPECT_EQ(rover.fPDOPMask, -kMost);
    EXPECT_EQ(valuesOf(blockOf(rover), 7, 9), most + "\n-" + most + "\n");
    expectStable(rover, "largest float");
}

TEST(ConfigText, WhatNoLineCanHoldIsLeftOut) {
    struct Case {
        const char* name;
        std::wstring text;
        std::string written;
    };

    const Case cases[] = {
        {"line breaks", L"a\r\nb\nc\r", "abc"},
        {"a zero", std::wstring(L"a\0b", 3), "ab"},
        {"longer than a line", std::wstring(5000, L'x'), std::string(4096, 'x')},
        {"blanks stay", L" a ", " a "},
    };
    for (const Case& c : cases) {
        CBaseConfig config;
        config.strStationID = c.text;
        EXPECT_EQ(linesOf(blockOf(config), 27, 27), c.written + '\n') << c.name;
        expectStable(config, c.name);
    }
    CRoverConfig rover;
    rover.fElevMask = std::numeric_limits<float>::quiet_NaN();
    rover.fPDOPMask = -std::numeric_limits<float>::infinity();
    EXPECT_EQ(valuesOf(blockOf(rover), 7, 9), "0.0\n0.0\n");
}

TEST(ConfigText, LinesOfAMegabyte) {
    const std::string longLine(1 << 20, '7');
    CBaseConfig read;
    EXPECT_EQ(
        readBlock(read, longLine + "\n" + longLine + "\n4\n" + longLine + "\n-1\n\n" + longLine + "\n\n9"),
        1);
    EXPECT_EQ(read.nAddRTCM, -1);
    EXPECT_EQ(read.uElevMask, 255);
    EXPECT_EQ(read.uPDOPMask, 9);
}

}  // namespace
}  // namespace vkcomm::test
