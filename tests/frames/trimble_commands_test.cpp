#include "vkcomm/frames/trimble_commands.h"

#include <gtest/gtest.h>

#include "tests/frames/frame_texts.h"
#include "vkcomm/frames/application_file_fields.h"

namespace vkcomm::test {
namespace {

struct Case {
    const char* name;
    TrimbleCommand command;
    int type;
    const char* body;
};

// GSOF records 1, 3, 6, 9, 12, 14 on port 2 at code 3.
#define GSOF_OUTPUTS                                                                                         \
    " 07 08 0A 02 03 00 01 00 00 00 07 08 0A 02 03 00 03 00 00 00 07 08 0A 02 03 00 06 00 00 00"             \
    " 07 08 0A 02 03 00 09 00 00 00 07 08 0A 02 03 00 0C 00 00 00 07 08 0A 02 03 00 0E 00 00 00"

const Case kCases[] = {
    {"serial", serialQuery(), 0x06, ""},
    {"status", statusQuery(), 0x08, ""},
    {"options", optionQuery(), 0x4A, ""},
    {"satellite data", satelliteQuery(1, 5), 0x54, "01 05 00"},
    {"break", breakQuery(), 0x49, "02 02 05 00 01 00"},
    {"reset", receiverReset(), 0x58, "FF 03 52 45 53 45 54"},
    {"file list", fileListQuery(), 0x66, ""},
    {"file 258", fileQuery(258), 0x65, "01 02"},
    {"file -2", fileQuery(-2), 0x65, "00 FE"},
    {"raw data once", rawQuery(1, 2), 0x56, "01 02 00"},
    {"GSOF, older", *gsofOutput(2, OEM_TRIMBLE, 3), 0x64, "00 00 00 03 06 01 01" GSOF_OUTPUTS},
    {"GSOF, inside a maker's receiver", *gsofOutput(2, OEM_VAREK_TRIMBLE_15, 3), 0x64,
     "00 00 00 03 06 01 01 07 08 04 02 05 00 07 00 00 00" GSOF_OUTPUTS},
    {"GSOF, other", *gsofOutput(2 + 256, OEM_TRIMBLE_7, 3), 0x64, "00 00 00 03 08 01 01" GSOF_OUTPUTS},
    {"baud, older", portBaud(1, 38400, OEM_TRIMBLE), 0x64, "00 00 00 03 06 01 00 02 04 01 05 00 00"},
    {"baud, other", portBaud(1, 38400, OEM_TRIMBLE_7), 0x64, "00 00 00 03 08 01 00 02 06 01 05 00 00 00 00"},
    {"baud without a code", portBaud(1, 14400, OEM_TRIMBLE), 0x64, "00 00 00 03 06 01 00 02 04 01 00 00 00"},
    {"silence, older", portSilence(2, OEM_TRIMBLE), 0x64, "00 00 00 03 06 01 00 07 04 FF 02 00 00"},
    {"silence, other", portSilence(2, OEM_NONE), 0x64, "00 00 00 03 08 01 00 07 08 FF 02 00 00 00 00 00 00"},
    {"masks, older", positionMasks(13, 6, OEM_TRIMBLE_14), 0x64,
     "00 00 00 03 06 01 00 01 08 0D 01 06 00 00 00 00 00"},
    {"masks, other", positionMasks(13, 6, OEM_TRIMBLE_8), 0x64,
     "00 00 00 03 08 01 00 01 06 0D 01 06 00 00 00"},
    {"raw output", rawOutput(OEM_VAREK_TRIMBLE_16, 3, 1), 0x64,
     "00 00 00 03 06 01 00 07 08 04 03 01 00 07 00 00 00"},
    {"raw output off", rawOutput(OEM_TRIMBLE_7, 3, 0), 0x64,
     "00 00 00 03 08 01 00 07 08 04 03 00 00 00 00 00 00"},
};

TEST(TrimbleCommands, HaveTheirBodies) {
    for (const Case& c : kCases) {
        EXPECT_EQ(c.command.type, c.type) << c.name;
        EXPECT_EQ(spelled(c.command.data), c.body) << c.name;
        EXPECT_FALSE(c.command.what.empty()) << c.name;
        const bool resets = c.type == 0x58 || std::string_view(c.name).starts_with("GSOF");
        EXPECT_EQ(c.command.factoryReset, resets) << c.name;
    }
}

TEST(TrimbleCommands, GsofHasRatesOneToThirteen) {
    for (int rate = -1; rate <= 15; ++rate)
        EXPECT_EQ(gsofOutput(1, OEM_TRIMBLE, rate).has_value(), rate >= 1 && rate <= 13) << rate;
    EXPECT_EQ(gsofOutput(1, OEM_TRIMBLE, 13)->data[11], 13);
}

TEST(TrimbleCommands, EveryRateHasItsCode) {
    const std::pair<int, int> cases[] = {{2400, 1},  {4800, 2},   {9600, 3},  {19200, 4}, {38400, 5},
                                         {57600, 6}, {115200, 7}, {300, 8},   {600, 9},   {1200, 10},
                                         {0, 0},     {-300, 0},   {230400, 0}};
    for (const auto& [rate, code] : cases)
        EXPECT_EQ(baudCodeOfRate(rate), code) << rate;
    const int byIndex[] = {0, 8, 9, 10, 1, 2, 3, 4, 5, 6, 7, 0};
    for (int index = -1; index <= 10; ++index)
        EXPECT_EQ(baudCodeOfIndex(index), byIndex[index + 1]) << index;
}

// Wherever a body ends, its fields put together are the body.
TEST(ApplicationFileFields, CoverEveryByte) {
    for (const Case& c : kCases)
        for (std::size_t size = 0; size <= c.command.data.size(); ++size) {
            const ByteSpan body = ByteSpan(c.command.data).first(size);
            Bytes joined;
            for (const FileField& field : applicationFileFields(body)) {
                EXPECT_EQ(field.offset, joined.size()) << c.name;
                EXPECT_FALSE(field.bytes.empty()) << c.name;
                joined.insert(joined.end(), field.bytes.begin(), field.bytes.end());
            }
            EXPECT_EQ(spelled(joined), spelled(body)) << c.name;
        }
}

// "name: value" of each field, one behind the other.
std::string described(const std::string& body) {
    std::string text;
    for (const FileField& field : applicationFileFields(vkcomm::bytesOf(body)))
        text += field.name + ": " + field.value + "; ";
    return text;
}

TEST(ApplicationFileFields, TellWhatTheBytesMean) {
    struct {
        const char* name;
        std::string body;
        const char* fields;
    } const cases[] = {
        {"a page behind the first has no control block",
         hex("050101"
             "07040A020F00"),
         "transmission: 5; page: 1; last page: 1; record: 7, output message; record length: 4; output: 10, "
         "GSOF; "
         "port: 2; frequency: 15, 50 Hz; offset, seconds: 0; "},
        {"the longer general controls",
         hex("000100"
             "01080D01060000010200"),
         "transmission: 0; page: 1; last page: 0; record: 1, general controls; record length: 8; elevation "
         "mask, "
         "degrees: 13; measurement rate: 1; PDOP mask: 6; frequency source: 0; reserved: 0; RTK mode: 1; "
         "solution "
         "selection: 2; reserved: ; "},
        {"a name that would move the cursor",
         hex("000100"
             "030A00001B5B324A4180007E"),
         "transmission: 0; page: 1; last page: 0; record: 3, reference position; record length: 10; flag: 0; "
         "node: "
         "0; station name: .[2JA..~; "},
        {"a record that is cut short",
         hex("000100"
             "0325000041"),
         "transmission: 0; page: 1; last page: 0; record: 3, reference position; record length: 37; flag: 0; "
         "node: "
         "0; cut short: ; "},
    };

    for (const auto& c : cases)
        EXPECT_EQ(described(c.body), c.fields) << c.name;
}

}  // namespace
}  // namespace vkcomm::test
