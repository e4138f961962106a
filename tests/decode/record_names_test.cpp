#include "vkcomm/decode/record_names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace vkcomm {
namespace {

std::string nameOf(LOG_TYPE type, unsigned id) {
    const RecordName name = recordName(type, id);
    return std::string(name.view());
}

struct SentenceCase {
    const char* title;
    std::string text;
    LOG_TYPE type;
    unsigned id;
    const char* name;
};

class Sentence : public testing::TestWithParam<SentenceCase> {};

TEST_P(Sentence, IsNamedByItsText) {
    const SentenceCase& sentence = GetParam();
    const RecordKind kind = dollarKind(sentence.text);
    EXPECT_EQ(kind.type, sentence.type);
    EXPECT_EQ(kind.id, sentence.id);
    EXPECT_EQ(nameOf(kind.type, kind.id), sentence.name);
}

const SentenceCase kKnownSentences[] = {
    {"Gps", "$GPGGA,,,,,,0,,,,M,,M,,*66\r\n", LOG_NMEA, kNmeaGga, "GPGGA"},
    {"Glonass", "$GLGSV,1,1,00*65\r\n", LOG_NMEA, 1005, "GLGSV"},
    {"Galileo", "$GAGSV,1,1,00*68\r\n", LOG_NMEA, 2005, "GAGSV"},
    {"Beidou", "$GBGSV,1,1,00*6B\r\n", LOG_NMEA, 3005, "GBGSV"},
    {"Combined", "$GNGRS,141003.50,1,1.14*61\r\n", LOG_NMEA, 5009, "GNGRS"},
    {"Marine", "$HEHDT,12.3,T*00\r\n", LOG_NMEA, nmeaId(nmeaTalker(nmeaId("HE", "HDT")), kNmeaHdt), "HEHDT"},
    {"DigitInFormatter", "$IIR00,A*00", LOG_NMEA, nmeaId("II", "R00"), "IIR00"},
    {"OlderTrimble", "$GPPJK,1*00", LOG_NMEA, kNmeaPjk, "GPPJK"},
    {"EndsAtStar", "$GPGGA*00\r\n", LOG_NMEA, kNmeaGga, "GPGGA"},
    {"EndsWithText", "$GPGGA", LOG_NMEA, kNmeaGga, "GPGGA"},
    {"PashrAcknowledge", "$PASHR,ACK*3D\r\n", LOG_NMEA, kPashrAck, "PASHR,ACK"},
    {"PashrPosition", "$PASHR,POS,0,03,183530.00*20\r\n", LOG_NMEA, kPashrPos, "PASHR,POS"},
    {"PashrMessage", "$PASHR,XMG,12,Solution valid*4A\r\n", LOG_NMEA, kPashrXmg, "PASHR,XMG"},
    {"PashrLongField", "$PASHR,OPTION,1*00", LOG_NMEA, 200056, "PASHR,OPTION"},
    {"PashrTime", "$PASHR,142509.00,179.885,T*17\r\n", LOG_NMEA, kPashrAttitude, "PASHR attitude"},
    {"PashrWholeTime", "$PASHR,142509,179.885,T*17\r\n", LOG_NMEA, kPashrAttitude, "PASHR attitude"},
    {"Ptnl", "$PTNL,GGK,102939.00,051910*73\r\n", LOG_NMEA, kPtnlGgk, "PTNL,GGK"},
    {"PtnlShort", "$PTNL,DG,44.0*12\r\n", LOG_NMEA, kPtnlDg, "PTNL,DG"},
    {"Csi", "$PCSI,ACK,1*00\r\n", LOG_NMEA, kPcsi, "PCSI"},
    {"Hemisphere", "$RD1,1,2*00", LOG_NMEA, kRd1, "RD1"},
    {"NovatelAscii", "$ALMA,1,3.55577E-003*20\r\n", LOG_NOVATEL_ASCII, kNovatelAlma, "ALMA"},
    {"NovatelOfFiveLetters", "$PRTKA,1*20\r\n", LOG_NOVATEL_ASCII, kNovatelPrtka, "PRTKA"},
};
INSTANTIATE_TEST_SUITE_P(Known, Sentence, testing::ValuesIn(kKnownSentences),
                         [](const auto& row) { return row.param.title; });

SentenceCase unknown(const char* title, std::string text) {
    return {title, std::move(text), LOG_NONE, 0, ""};
}

const SentenceCase kUnknownSentences[] = {
    unknown("Empty", ""),
    unknown("DollarAlone", "$"),
    unknown("NoDollar", "GPGGA,1*00"),
    unknown("NoName", "$,GPGGA*00"),
    unknown("LowerCase", "$gpgga,1*00"),
    unknown("TooLong", "$GPGGAX,1*00"),
    unknown("TooShort", "$GPGG,1*00"),
    unknown("TalkerAlone", "$GP,1*00"),
    unknown("UnknownTalker", "$QQGGA,1*00"),
    unknown("UnknownFormatter", "$GPQQQ,1*00"),
    unknown("LineEndInName", "$GPGGA\r\n"),
    unknown("ZeroByteInName", std::string("$\0GPGGA,1", 9)),
    unknown("BlankInName", "$GPGGA ,1"),
    unknown("PashrAlone", "$PASHR*00"),
    unknown("PashrEmptyField", "$PASHR,,1*00"),
    unknown("PashrNothingMore", "$PASHR,"),
    unknown("PashrUnknownField", "$PASHR,QQQ,1*00"),
    unknown("PashrNoTime", "$PASHR,1425x9,1*00"),
    unknown("PashrTwoPoints", "$PASHR,1.2.3,1*00"),
    unknown("PashrPointAlone", "$PASHR,.,1*00"),
    unknown("PashrSpelledOut", "$PASHR attitude,1*00"),
    unknown("PtnlAlone", "$PTNL,1*00"),
    unknown("PtnlFieldOfPashr", "$PTNL,POS,1*00"),
    unknown("SecondFieldOfNmea", "$XX,GPGGA*00"),
    unknown("Ublox", "$PUBX,00,1*00"),
    unknown("HugeName", "$" + std::string(8000, 'A')),
};
INSTANTIATE_TEST_SUITE_P(Unknown, Sentence, testing::ValuesIn(kUnknownSentences),
                         [](const auto& row) { return row.param.title; });

struct LogCase {
    const char* title;
    std::string text;
    unsigned id;
};

class Oem4Ascii : public testing::TestWithParam<LogCase> {};

TEST_P(Oem4Ascii, IsNamedByItsText) { EXPECT_EQ(oem4AsciiId(GetParam().text), GetParam().id); }

const LogCase kLogs[] = {
    {"Log", "#BESTPOSA,COM1,0,83.5;", kOem4Bestpos},
    {"Response", "#BESTPOSR,COM1;OK*00", kOem4Bestpos},
    {"ResponseToSend", "#SENDR,COM1,0,60.0;OK*00", kOem4Send},
    {"OneAntennaOfTwo", "#RANGECMPA_1,COM1", kOem4Rangecmp},
    {"TwoDigitAntenna", "#RANGECMPA_12,COM1", kOem4Rangecmp},
    {"SemicolonEndsName", "#VERSIONA;", kOem4Version},
    {"EndsWithText", "#TIMEA", kOem4Time},
    {"NameEndsInDigit", "#PSRDOP2A,COM1", kOem4Psrdop2},
    {"LongName", "#APPLYVEHICLEBODYROTATIONR,COM1", 1071},
    {"SameTail", "#RTCMDATA1004A,COM1", 787},
    {"OtherName", "#SBASCORRA,COM1", 313},
    {"Empty", "", 0},
    {"LeadAlone", "#", 0},
    {"NoName", "#A,COM1", 0},
    {"NoLead", "BESTPOSA,COM1", 0},
    {"NoFormatLetter", "#BESTPOS,COM1", 0},
    {"BinaryLetter", "#BESTPOSB,COM1", 0},
    {"LowerCase", "#bestposa,COM1", 0},
    {"NothingBehindMark", "#RANGECMPA_,COM1", 0},
    {"NoNumberBehindMark", "#RANGECMPA_x,COM1", 0},
    {"LongNumberBehindMark", "#RANGECMPA_123,COM1", 0},
    {"UnknownLog", "#QQQQA,COM1", 0},
    {"HeadDiffers", "#XXXXDATA1004A,COM1", 0},
    {"CommentOfARecording", "# Name: BESTPOSA, a test", 0},
    {"HugeName", "#" + std::string(8000, 'A'), 0},
};
INSTANTIATE_TEST_SUITE_P(Logs, Oem4Ascii, testing::ValuesIn(kLogs),
                         [](const auto& row) { return row.param.title; });

struct NamedId {
    LOG_TYPE type;
    unsigned id;
    const char* name;
};

// The published numbers, spelled out, so that neither a constant nor a row of a table can move unseen.
TEST(RecordIds, KeepTheirNumbersAndNames) {
    const NamedId kNames[] = {
        {LOG_OEM4_BINARY, 1, "LOG"},
        {LOG_OEM4_BINARY, 7, "GPSEPHEM"},
        {LOG_OEM4_BINARY, 36, "UNLOG"},
        {LOG_OEM4_BINARY, 42, "BESTPOS"},
        {LOG_OEM4_ASCII, 42, "BESTPOS"},
        {LOG_OEM4_BINARY, 131, "RTCM16T"},
        {LOG_OEM4_BINARY, 140, "RANGECMP"},
        {LOG_OEM4_BINARY, 177, "SEND"},
        {LOG_OEM4_BINARY, 270, "SATXYZ"},
        {LOG_OEM4_BINARY, 290, "WAAS0"},
        {LOG_OEM4_BINARY, 508, "INSPVAS"},
        {LOG_OEM4_BINARY, 726, "BESTUTM"},
        {LOG_OEM4_BINARY, 812, "CORRIMUDATA"},
        {LOG_OEM4_BINARY, 971, "HEADING"},
        {LOG_OEM4_BINARY, 1465, "INSPVAX"},
        {LOG_OEM4_BINARY, 2051, "INSSTDEV"},
        {LOG_NMEA, 6, "GPRMC"},
        {LOG_NMEA, 9022, "PBPJK"},
        {LOG_NMEA, 210003, "PTNL,BPQ"},
        {LOG_NOVATEL_ASCII, 13, "BATA"},
        {LOG_TRIMBLE_PACKET, 0x07, "RSERIAL"},
        {LOG_TRIMBLE_PACKET, 0x40, "GENOUT"},
        {LOG_TRIMBLE_PACKET, 0x57, "RAWDATA"},
        {LOG_CMC_BINARY, 20, "NAVIGATION"},
        {LOG_HEMISPHERE_BINARY, 99, "BIN99"},
        {LOG_CSI_REPLY, 150, "$>"},
        {LOG_VAREK_REPLY, 128, "RG"},
        {LOG_VAREK_REPLY, 147, "SI"},
        {LOG_VAREK_REPLY, 256 * 'R' + 'Q', "RQ"},
        {LOG_STATUS_TEXT, 0, "transparent-off"},
        {LOG_STATUS_TEXT, 20, "nvm-error"},
        {LOG_REPLY_ERROR, 19, "ERROR"},
        {LOG_REPLY_OK, 21, "OK"},
        {LOG_PORT_PROMPT, 5, "com1"},
        {LOG_MODEM_REPLY, 2, "CONNECT"},
        {LOG_RADIO, 133, "f5-0d"},
    };
    for (const NamedId& named : kNames)
        EXPECT_EQ(nameOf(named.type, named.id), named.name);
}

struct Constants {
    LOG_TYPE type;
    std::string prefix;   // what the name has before the constant's own part
    std::size_t ownPart;  // where that begins in the constant's spelling
    std::vector<std::pair<std::string, unsigned>> constants;
};

#define SPELLED(constant)                                                                                    \
    { #constant, constant }

const Constants kConstants[] = {
    {LOG_OEM4_BINARY, "", 5, {SPELLED(kOem4Log),           SPELLED(kOem4Loglist),
                              SPELLED(kOem4Gpsephem),      SPELLED(kOem4Ionutc),
                              SPELLED(kOem4Clockmodel),    SPELLED(kOem4Unlog),
                              SPELLED(kOem4Version),       SPELLED(kOem4Unlogall),
                              SPELLED(kOem4Rawephem),      SPELLED(kOem4Bestpos),
                              SPELLED(kOem4Range),         SPELLED(kOem4Fix),
                              SPELLED(kOem4Psrpos),        SPELLED(kOem4Satvis),
                              SPELLED(kOem4Almanac),       SPELLED(kOem4Rawalm),
                              SPELLED(kOem4Trackstat),     SPELLED(kOem4Satstat),
                              SPELLED(kOem4Rxstatus),      SPELLED(kOem4Rxstatusevent),
                              SPELLED(kOem4Matchedpos),    SPELLED(kOem4Bestvel),
                              SPELLED(kOem4Psrvel),        SPELLED(kOem4Time),
                              SPELLED(kOem4Rxconfig),      SPELLED(kOem4Rangecmp),
                              SPELLED(kOem4Rtkpos),        SPELLED(kOem4Psrdop),
                              SPELLED(kOem4Refstation),    SPELLED(kOem4Send),
                              SPELLED(kOem4Markpos),       SPELLED(kOem4Rxhwlevels),
                              SPELLED(kOem4Validmodels),   SPELLED(kOem4Marktime),
                              SPELLED(kOem4Passcom1),      SPELLED(kOem4Passcom2),
                              SPELLED(kOem4Passcom3),      SPELLED(kOem4Bestxyz),
                              SPELLED(kOem4Psrxyz),        SPELLED(kOem4Inscov),
                              SPELLED(kOem4Satxyz),        SPELLED(kOem4Rawwaasframe),
                              SPELLED(kOem4Comconfig),     SPELLED(kOem4Inspva),
                              SPELLED(kOem4Inspvas),       SPELLED(kOem4Bslnxyz),
                              SPELLED(kOem4Gloephemeris),  SPELLED(kOem4Bestutm),
                              SPELLED(kOem4Corrimudata),   SPELLED(kOem4ServerEpoch),
                              SPELLED(kOem4ServerStation), SPELLED(kOem4ServerMessage915),
                              SPELLED(kOem4Heading),       SPELLED(kOem4Rawsbasframe),
                              SPELLED(kOem4Psrdop2),       SPELLED(kOem4Refstationinfo),
                              SPELLED(kOem4Heading2),      SPELLED(kOem4Bestgnsspos),
                              SPELLED(kOem4Inspvax)}},
    {LOG_NMEA, "GP", 5, {SPELLED(kNmeaGga), SPELLED(kNmeaGll), SPELLED(kNmeaGsa), SPELLED(kNmeaGst),
                         SPELLED(kNmeaGsv), SPELLED(kNmeaRmc), SPELLED(kNmeaVtg), SPELLED(kNmeaZda),
                         SPELLED(kNmeaGrs), SPELLED(kNmeaAlm), SPELLED(kNmeaGns), SPELLED(kNmeaGbs),
                         SPELLED(kNmeaDtm), SPELLED(kNmeaHdt), SPELLED(kNmeaRot), SPELLED(kNmeaRmb),
                         SPELLED(kNmeaZtg), SPELLED(kNmeaMss), SPELLED(kNmeaGrt), SPELLED(kNmeaLlq),
                         SPELLED(kNmeaLlk), SPELLED(kNmeaPjk)}},
    {LOG_NMEA,
     "PASHR,",
     6,
     {SPELLED(kPashrAck), SPELLED(kPashrNak), SPELLED(kPashrPos), SPELLED(kPashrSat), SPELLED(kPashrRid),
      SPELLED(kPashrRre), SPELLED(kPashrCrt), SPELLED(kPashrDcr), SPELLED(kPashrDpo), SPELLED(kPashrXmg)}},
    {LOG_NMEA,
     "PTNL,",
     5,
     {SPELLED(kPtnlGgk), SPELLED(kPtnlAvr), SPELLED(kPtnlBpq), SPELLED(kPtnlDg), SPELLED(kPtnlEvt),
      SPELLED(kPtnlPjk), SPELLED(kPtnlPjt), SPELLED(kPtnlVgk), SPELLED(kPtnlVhd), SPELLED(kPtnlQa)}},
    {LOG_NOVATEL_ASCII,
     "",
     8,
     {SPELLED(kNovatelAlma), SPELLED(kNovatelIona), SPELLED(kNovatelUtca), SPELLED(kNovatelPosa),
      SPELLED(kNovatelPrtka), SPELLED(kNovatelRtka), SPELLED(kNovatelRgea), SPELLED(kNovatelRepa),
      SPELLED(kNovatelDopa), SPELLED(kNovatelSata), SPELLED(kNovatelVera), SPELLED(kNovatelCala),
      SPELLED(kNovatelBata)}},
    {LOG_TRIMBLE_PACKET,
     "",
     8,
     {SPELLED(kTrimbleGetserial), SPELLED(kTrimbleRserial),    SPELLED(kTrimbleGetstat1),
      SPELLED(kTrimbleRecstat1),  SPELLED(kTrimbleGenout),     SPELLED(kTrimbleGetopt),
      SPELLED(kTrimbleRetopt),    SPELLED(kTrimbleGetsvdata),  SPELLED(kTrimbleRetsvdata),
      SPELLED(kTrimbleGetraw),    SPELLED(kTrimbleRawdata),    SPELLED(kTrimbleResetrcvr),
      SPELLED(kTrimbleAppfile),   SPELLED(kTrimbleGetappfile), SPELLED(kTrimbleGetafdir),
      SPELLED(kTrimbleRetafdir),  SPELLED(kTrimbleDelappfile), SPELLED(kTrimbleActappfile),
      SPELLED(kTrimbleBreakret),  SPELLED(kTrimbleBreakreq)}},
    {LOG_HEMISPHERE_BINARY,
     "BIN",
     4,
     {SPELLED(kBin1), SPELLED(kBin2), SPELLED(kBin80), SPELLED(kBin93), SPELLED(kBin94), SPELLED(kBin95),
      SPELLED(kBin96), SPELLED(kBin97), SPELLED(kBin98), SPELLED(kBin99)}},
    {LOG_VAREK_REPLY,
     "",
     6,
     {SPELLED(kMakerRg), SPELLED(kMakerRk), SPELLED(kMakerRz), SPELLED(kMakerRx), SPELLED(kMakerRc),
      SPELLED(kMakerRr), SPELLED(kMakerRs), SPELLED(kMakerSt), SPELLED(kMakerVs), SPELLED(kMakerVd),
      SPELLED(kMakerVc), SPELLED(kMakerVf), SPELLED(kMakerVr), SPELLED(kMakerVi), SPELLED(kMakerVl),
      SPELLED(kMakerRh), SPELLED(kMakerSd), SPELLED(kMakerSi)}},
};

#undef SPELLED

// A constant is spelled like the name of the record it stands for.
TEST(RecordIds, HaveConstantsThatAreSpelledLikeTheirNames) {
    for (const Constants& group : kConstants)
        for (const auto& [spelling, id] : group.constants) {
            std::string name = group.prefix + spelling.substr(group.ownPart);
            for (char& letter : name)
                letter = letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 32) : letter;
            EXPECT_EQ(nameOf(group.type, id), name);
        }
}

TEST(RecordIds, WithoutANameGiveNone) {
    const NamedId kIds[] = {
        {LOG_NONE, 42, ""},
        {LOG_OEM4_ASCII, 0, ""},
        {LOG_OEM4_BINARY, 65535, ""},
        {LOG_NMEA, 0, ""},
        {LOG_NMEA, 999, ""},
        {LOG_NMEA, 1000, ""},
        {LOG_NMEA, 199001, ""},
        {LOG_NMEA, 200000, ""},
        {LOG_NMEA, ~0U, ""},
        {LOG_VAREK_REPLY, 127, ""},
        {LOG_VAREK_REPLY, 0x5207, ""},
        {LOG_VAREK_REPLY, 0x125251, ""},
        {LOG_TRIMBLE_PACKET, 256, ""},
        {LOG_TSIP, 0x41, ""},
    };
    for (const NamedId& named : kIds) {
        EXPECT_EQ(nameOf(named.type, named.id), "") << named.type << " " << named.id;
        EXPECT_EQ(recordMeaning(named.type, named.id), "") << named.type << " " << named.id;
    }
}

TEST(RecordIds, OfMakersSentencesHaveNoFormatter) {
    EXPECT_EQ(nmeaFormatter(kPtnlGgk), 0U);
    EXPECT_EQ(nmeaTalker(kPashrPos), 0U);
    EXPECT_EQ(nmeaFormatter(nmeaId(kTalkerCombined, kNmeaZda)), kNmeaZda);
    EXPECT_EQ(nmeaTalker(nmeaId(kTalkerCombined, kNmeaZda)), kTalkerCombined);
}

TEST(RecordNames, EveryAddressLeadsToItsIdAndBack) {
    for (const KnownName& talker : nmeaTalkers())
        for (const KnownName& formatter : nmeaFormatters()) {
            const std::string address = std::string(talker.name) + std::string(formatter.name);
            const RecordKind kind = dollarKind("$" + address + ",1*00");
            ASSERT_EQ(kind.type, LOG_NMEA) << address;
            ASSERT_EQ(kind.id, nmeaId(talker.id, formatter.id)) << address;
            ASSERT_EQ(nameOf(kind.type, kind.id), address);
            ASSERT_EQ(recordMeaning(kind.type, kind.id), formatter.meaning);
        }
}

TEST(RecordNames, EveryOtherSentenceLeadsToItsIdAndBack) {
    for (const LOG_TYPE type : {LOG_NMEA, LOG_NOVATEL_ASCII})
        for (const KnownName& row : knownNames(type)) {
            EXPECT_EQ(nameOf(type, row.id), row.name);
            EXPECT_EQ(recordMeaning(type, row.id), row.meaning);
            if (row.id == kPashrAttitude) continue;  // has no name on the wire
            const RecordKind kind = dollarKind("$" + std::string(row.name) + ",1*00");
            EXPECT_EQ(kind.type, type) << row.name;
            EXPECT_EQ(kind.id, row.id) << row.name;
        }
}

TEST(RecordNames, EveryOem4NameLeadsToItsNumber) {
    for (const KnownName& row : knownNames(LOG_OEM4_BINARY)) {
        EXPECT_EQ(oem4AsciiId("#" + std::string(row.name) + "A,COM1"), row.id) << row.name;
        EXPECT_EQ(oem4AsciiId("#" + std::string(row.name) + "R_1;OK"), row.id) << row.name;
        EXPECT_NE(nameOf(LOG_OEM4_ASCII, row.id), "") << row.name;
    }
}

TEST(RecordNames, AreWordsAProgramCanPrint) {
    for (int type = LOG_NONE; type <= LOG_HEMISPHERE_BINARY; ++type)
        for (const KnownName& row : knownNames(static_cast<LOG_TYPE>(type)))
            for (const std::string_view text : {row.name, row.meaning})
                EXPECT_THAT(std::string(text),
                            testing::Each(testing::AllOf(testing::Ge(' '), testing::Le('~'))));
}

TEST(RecordNames, AreCutAtTheirCapacity) {
    const RecordName name(std::string(30, 'a'), "bcd");
    EXPECT_EQ(name.view(), std::string(30, 'a') + "b");
}

TEST(LogTypes, HaveNamesOfTheirOwn) {
    std::set<std::string> names;
    for (const LOG_TYPE type : {LOG_NONE,
                                LOG_NOVATEL_ASCII,
                                LOG_OEM4_ASCII,
                                LOG_OEM4_BINARY,
                                LOG_REPLY_TEXT,
                                LOG_NMEA,
                                LOG_STATUS_TEXT,
                                LOG_REPLY_ERROR,
                                LOG_REPLY_OK,
                                LOG_PORT_PROMPT,
                                LOG_TRIMBLE_PACKET,
                                LOG_CMC_BINARY,
                                LOG_AT_BINARY,
                                LOG_RADIO,
                                LOG_VAREK_REPLY,
                                LOG_MODEM_REPLY,
                                LOG_TSIP,
                                LOG_PERCENT,
                                LOG_CSI_REPLY,
                                LOG_HEMISPHERE_BINARY,
                                static_cast<LOG_TYPE>(2)})
        EXPECT_TRUE(names.insert(logTypeName(type)).second) << type;
}

}  // namespace
}  // namespace vkcomm
