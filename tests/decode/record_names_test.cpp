#include "vkcomm/decode/record_names.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <initializer_list>
#include <set>
#include <string>
#include <tuple>

namespace vkcomm {
namespace {

std::string nameOf(LOG_TYPE type, unsigned id) {
    const RecordName name = recordName(type, id);
    return std::string(name.view());
}

// Type, Id and name of a sentence.
std::string kindOf(const std::string& text) {
    const RecordKind kind = dollarKind(text);
    return std::to_string(kind.type) + " " + std::to_string(kind.id) + " " + nameOf(kind.type, kind.id);
}

TEST(RecordNames, OfSentences) {
    const std::pair<const char*, const char*> known[] = {
        {"$GPGGA", "6 1 GPGGA"},
        {"$GPGGA*00\r\n", "6 1 GPGGA"},
        {"$GNGRS,141003.50,1,1.14*61\r\n", "6 5009 GNGRS"},
        {"$PASHR,142509.00,179.885,T*17\r\n", "6 200001 PASHR attitude"},
        {"$PASHR,142509,179.885,T*17\r\n", "6 200001 PASHR attitude"},
        {"$PCSI,ACK,1*00\r\n", "6 220001 PCSI"},
        {"$PRTKA,1*20\r\n", "1 5 PRTKA"},  // five letters, but no address
    };
    for (const auto& [text, kind] : known)
        EXPECT_EQ(kindOf(text), kind);
    // clang-format off
    for (const std::string& text : std::initializer_list<std::string>{
             "", "$", "GPGGA,1*00", "$,GPGGA*00", "$gpgga,1*00", "$GPGGAX,1*00", "$GPGG,1*00", "$GP,1*00",
             "$QQGGA,1*00", "$GPQQQ,1*00", "$GPGGA\r\n", std::string("$\0GPGGA,1", 9), "$GPGGA ,1",
             "$PASHR*00", "$PASHR,,1*00", "$PASHR,", "$PASHR,QQQ,1*00", "$PASHR,1425x9,1*00",
             "$PASHR,1.2.3,1*00", "$PASHR,.,1*00", "$PASHR attitude,1*00", "$PTNL,1*00", "$PTNL,POS,1*00",
             "$XX,GPGGA*00", "$PUBX,00,1*00", "$" + std::string(8000, 'A')})
        EXPECT_EQ(kindOf(text), "0 0 ") << text;
    // clang-format on
}

TEST(RecordNames, OfOem4AsciiLogs) {
    for (const char* text : {"#BESTPOSA,COM1,0,83.5;", "#BESTPOSR,COM1;OK*00", "#BESTPOSA;", "#BESTPOSA",
                             "#BESTPOSA_1,COM1", "#BESTPOSR_12,COM1"})
        EXPECT_EQ(oem4AsciiId(text), 42u) << text;
    EXPECT_EQ(oem4AsciiId("#RTCMDATA1004A,COM1"), 787u);
    EXPECT_EQ(oem4AsciiId("#SBASCORRA,COM1"), 313u) << "the second name of its number";
    for (const std::string& text : std::initializer_list<std::string>{
             "", "#", "#A,COM1", "BESTPOSA,COM1", "#BESTPOS,COM1", "#BESTPOSB,COM1", "#bestposa,COM1",
             "#RANGECMPA_,COM1", "#RANGECMPA_x,COM1", "#RANGECMPA_123,COM1", "#QQQQA,COM1",
             "#XXXXDATA1004A,COM1", "# Name: BESTPOSA, a test", "#" + std::string(8000, 'A')})
        EXPECT_EQ(oem4AsciiId(text), 0u) << text;
}

// The published numbers, spelled out, so that neither a constant nor a row of a table can move unseen.
TEST(RecordIds, KeepTheirNumbersAndNames) {
    // clang-format off
    const std::tuple<LOG_TYPE, unsigned, std::string> named[] = {
        {LOG_OEM4_BINARY, 1, "LOG"}, {LOG_OEM4_BINARY, 7, "GPSEPHEM"}, {LOG_OEM4_BINARY, 36, "UNLOG"},
        {LOG_OEM4_BINARY, 42, "BESTPOS"}, {LOG_OEM4_ASCII, 42, "BESTPOS"}, {LOG_OEM4_BINARY, 131, "RTCM16T"},
        {LOG_OEM4_BINARY, 290, "WAAS0"}, {LOG_OEM4_BINARY, 2051, "INSSTDEV"},
        {LOG_NMEA, 9022, "PBPJK"}, {LOG_NOVATEL_ASCII, 13, "BATA"},
        {LOG_TRIMBLE_PACKET, 0x07, "RSERIAL"}, {LOG_TRIMBLE_PACKET, 0x40, "GENOUT"},
        {LOG_TRIMBLE_PACKET, 0x57, "RAWDATA"}, {LOG_CMC_BINARY, 20, "NAVIGATION"}, {LOG_CSI_REPLY, 150, "$>"},
        {LOG_STATUS_TEXT, 0, "transparent-off"},
        {LOG_STATUS_TEXT, 20, "nvm-error"}, {LOG_REPLY_ERROR, 19, "ERROR"}, {LOG_REPLY_OK, 21, "OK"},
        {LOG_PORT_PROMPT, 5, "com1"}, {LOG_MODEM_REPLY, 2, "CONNECT"}, {LOG_RADIO, 133, "f5-0d"},
        // without a name
        {LOG_NONE, 42, ""}, {LOG_OEM4_ASCII, 0, ""}, {LOG_OEM4_BINARY, 65535, ""}, {LOG_NMEA, 0, ""},
        {LOG_NMEA, 999, ""}, {LOG_NMEA, 1000, ""}, {LOG_NMEA, 199001, ""}, {LOG_NMEA, 200000, ""},
        {LOG_NMEA, ~0U, ""}, {LOG_VAREK_REPLY, 127, ""}, {LOG_VAREK_REPLY, 0x5207, ""},
        {LOG_VAREK_REPLY, 0x125251, ""}, {LOG_TRIMBLE_PACKET, 256, ""}, {LOG_TSIP, 0x41, ""},
    };
    // clang-format on
    for (const auto& [type, id, name] : named) {
        EXPECT_EQ(nameOf(type, id), name);
        EXPECT_EQ(recordMeaning(type, id).empty(), name.empty()) << type << " " << id;
    }
    EXPECT_EQ(nameOf(LOG_VAREK_REPLY, 256 * 'R' + 'Q'), "RQ");
    unsigned maker = 128;
    for (const std::string letters : {"RG", "RK", "RZ", "",   "",   "RX", "RC", "RR", "RS", "ST",
                                      "VS", "VD", "VC", "VF", "VR", "VI", "VL", "RH", "SD", "SI"})
        EXPECT_EQ(nameOf(LOG_VAREK_REPLY, maker++), letters);
    for (const KnownName& row : knownNames(LOG_HEMISPHERE_BINARY))
        EXPECT_EQ(row.name, "BIN" + std::to_string(row.id));
    EXPECT_TRUE(nmeaFormatter(kPtnlGgk) == 0 && nmeaTalker(kPashrPos) == 0);
    EXPECT_TRUE(nmeaFormatter(5008) == kNmeaZda && nmeaTalker(5008) == kTalkerCombined);
    const RecordName cut(std::string(30, 'a'), "bcd");
    EXPECT_EQ(cut.view(), std::string(30, 'a') + "b");
}

// The constants of record_ids.h and the tables of names are two lists; they must not drift apart.
TEST(RecordIds, AreSpelledLikeTheNamesOfTheirRecords) {
    const struct {
        std::string_view constant;
        LOG_TYPE type;
        std::string prefix;
    } kinds[] = {{"kOem4", LOG_OEM4_BINARY, ""},      {"kNmea", LOG_NMEA, "GP"},
                 {"kPashr", LOG_NMEA, "PASHR,"},      {"kPtnl", LOG_NMEA, "PTNL,"},
                 {"kNovatel", LOG_NOVATEL_ASCII, ""}, {"kMaker", LOG_VAREK_REPLY, ""},
                 {"kTrimble", LOG_TRIMBLE_PACKET, ""}};

    const std::set<std::string> others{"kPashrFirst", "kPashrAttitude", "kPtnlFirst", "kPtnlGgkSync"};
    std::ifstream header(VKCOMM_SOURCE_DIR "/vkcomm/decode/record_ids.h");
    int compared = 0;
    for (std::string word, constant, equals, number; header >> word;) {
        if (word != "unsigned" || !(header >> constant >> equals >> number) || equals != "=") continue;
        for (const auto& [start, type, prefix] : kinds) {
            if (!constant.starts_with(start) || others.contains(constant)) continue;
            std::string name = constant.substr(start.size());
            std::ranges::transform(name, name.begin(),
                                   [](int c) { return static_cast<char>(std::toupper(c)); });
            EXPECT_EQ(nameOf(type, static_cast<unsigned>(std::stoul(number, nullptr, 0))), prefix + name);
            ++compared;
        }
    }
    EXPECT_GT(compared, 120);
}

TEST(RecordNames, EverySentenceLeadsToItsIdAndBack) {
    const auto expectRound = [](const std::string& name, LOG_TYPE type, unsigned id,
                                std::string_view meaning) {
        const RecordKind kind = dollarKind("$" + name + ",1*00");
        ASSERT_TRUE(kind.type == type && kind.id == id) << name;
        ASSERT_EQ(nameOf(type, id), name);
        ASSERT_EQ(recordMeaning(type, id), meaning);
    };
    for (const KnownName& talker : nmeaTalkers())
        for (const KnownName& formatter : nmeaFormatters())
            expectRound(std::string(talker.name) + std::string(formatter.name), LOG_NMEA,
                        nmeaId(talker.id, formatter.id), formatter.meaning);
    for (const LOG_TYPE type : {LOG_NMEA, LOG_NOVATEL_ASCII})
        for (const KnownName& row : knownNames(type))
            if (row.id != kPashrAttitude)  // has no name on the wire
                expectRound(std::string(row.name), type, row.id, row.meaning);
}

TEST(RecordNames, EveryOem4NameLeadsToItsNumber) {
    for (const KnownName& row : knownNames(LOG_OEM4_BINARY)) {
        EXPECT_EQ(oem4AsciiId("#" + std::string(row.name) + "A,COM1"), row.id) << row.name;
        EXPECT_EQ(oem4AsciiId("#" + std::string(row.name) + "R_1;OK"), row.id) << row.name;
        EXPECT_NE(nameOf(LOG_OEM4_ASCII, row.id), "") << row.name;
    }
}

TEST(LogTypes, HaveNamesOfTheirOwn) {
    std::multiset<std::string> names;
    for (int type = 0; type < 32; ++type)
        names.insert(logTypeName(static_cast<LOG_TYPE>(type)));
    EXPECT_EQ(names.erase("unknown"), 12u);
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), names.size());
}

}  // namespace
}  // namespace vkcomm
