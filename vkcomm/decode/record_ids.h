// The Ids of records, as named constants, and how the Id of a sentence is put together.
//
// Ids never change from one release to the next. Where the receiver numbers its messages (OEM4 logs, Trimble
// packets, CMC and $BIN messages) the Id is that number; the others are numbered here. record_names.h knows
// every Id by name, also those that have no constant.
#pragma once

namespace vkcomm {

// OEM4 logs, for LOG_OEM4_BINARY and LOG_OEM4_ASCII alike.
inline constexpr unsigned kOem4Log = 1;
inline constexpr unsigned kOem4Loglist = 5;
inline constexpr unsigned kOem4Gpsephem = 7;
inline constexpr unsigned kOem4Ionutc = 8;
inline constexpr unsigned kOem4Clockmodel = 16;
inline constexpr unsigned kOem4Unlog = 36;
inline constexpr unsigned kOem4Version = 37;
inline constexpr unsigned kOem4Unlogall = 38;
inline constexpr unsigned kOem4Rawephem = 41;
inline constexpr unsigned kOem4Bestpos = 42;
inline constexpr unsigned kOem4Range = 43;
inline constexpr unsigned kOem4Fix = 44;
inline constexpr unsigned kOem4Psrpos = 47;
inline constexpr unsigned kOem4Satvis = 48;
inline constexpr unsigned kOem4Almanac = 73;
inline constexpr unsigned kOem4Rawalm = 74;
inline constexpr unsigned kOem4Trackstat = 83;
inline constexpr unsigned kOem4Satstat = 84;
inline constexpr unsigned kOem4Rxstatus = 93;
inline constexpr unsigned kOem4Rxstatusevent = 94;
inline constexpr unsigned kOem4Matchedpos = 96;
inline constexpr unsigned kOem4Bestvel = 99;
inline constexpr unsigned kOem4Psrvel = 100;
inline constexpr unsigned kOem4Time = 101;
inline constexpr unsigned kOem4Rxconfig = 128;
inline constexpr unsigned kOem4Rangecmp = 140;
inline constexpr unsigned kOem4Rtkpos = 141;
inline constexpr unsigned kOem4Psrdop = 174;
inline constexpr unsigned kOem4Refstation = 175;
inline constexpr unsigned kOem4Send = 177;
inline constexpr unsigned kOem4Markpos = 181;
inline constexpr unsigned kOem4Rxhwlevels = 195;
inline constexpr unsigned kOem4Validmodels = 206;
inline constexpr unsigned kOem4Marktime = 231;
inline constexpr unsigned kOem4Passcom1 = 233;
inline constexpr unsigned kOem4Passcom2 = 234;
inline constexpr unsigned kOem4Passcom3 = 235;
inline constexpr unsigned kOem4Bestxyz = 241;
inline constexpr unsigned kOem4Psrxyz = 243;
inline constexpr unsigned kOem4Inscov = 264;
inline constexpr unsigned kOem4Satxyz = 270;
inline constexpr unsigned kOem4Rawwaasframe = 287;
inline constexpr unsigned kOem4Comconfig = 317;
inline constexpr unsigned kOem4Inspva = 507;
inline constexpr unsigned kOem4Inspvas = 508;
inline constexpr unsigned kOem4Bslnxyz = 686;
inline constexpr unsigned kOem4Gloephemeris = 723;
inline constexpr unsigned kOem4Bestutm = 726;
inline constexpr unsigned kOem4Corrimudata = 812;
inline constexpr unsigned kOem4ServerEpoch = 912;
inline constexpr unsigned kOem4ServerStation = 913;
inline constexpr unsigned kOem4ServerMessage915 = 915;
inline constexpr unsigned kOem4Heading = 971;
inline constexpr unsigned kOem4Rawsbasframe = 973;
inline constexpr unsigned kOem4Psrdop2 = 1163;
inline constexpr unsigned kOem4Refstationinfo = 1325;
inline constexpr unsigned kOem4Heading2 = 1335;
inline constexpr unsigned kOem4Bestgnsspos = 1429;
inline constexpr unsigned kOem4Inspvax = 1465;

// NMEA sentences: Id = formatter + 1000 × talker. GP is talker 0, so the Id of "GPGGA" is kNmeaGga.
// Formatters and talkers stay below 1000 and 200.
inline constexpr unsigned kNmeaGga = 1;
inline constexpr unsigned kNmeaGll = 2;
inline constexpr unsigned kNmeaGsa = 3;
inline constexpr unsigned kNmeaGst = 4;
inline constexpr unsigned kNmeaGsv = 5;
inline constexpr unsigned kNmeaRmc = 6;
inline constexpr unsigned kNmeaVtg = 7;
inline constexpr unsigned kNmeaZda = 8;
inline constexpr unsigned kNmeaGrs = 9;
inline constexpr unsigned kNmeaAlm = 10;
inline constexpr unsigned kNmeaGns = 11;
inline constexpr unsigned kNmeaGbs = 12;
inline constexpr unsigned kNmeaDtm = 13;
inline constexpr unsigned kNmeaHdt = 14;
inline constexpr unsigned kNmeaRot = 15;
inline constexpr unsigned kNmeaRmb = 16;
inline constexpr unsigned kNmeaZtg = 17;
inline constexpr unsigned kNmeaMss = 18;
inline constexpr unsigned kNmeaGrt = 19;
inline constexpr unsigned kNmeaLlq = 20;
inline constexpr unsigned kNmeaLlk = 21;
inline constexpr unsigned kNmeaPjk = 22;

inline constexpr unsigned kTalkerGps = 0;                // GP
inline constexpr unsigned kTalkerGlonass = 1;            // GL
inline constexpr unsigned kTalkerGalileo = 2;            // GA
inline constexpr unsigned kTalkerBeidou = 3;             // GB
inline constexpr unsigned kTalkerBeidouOlder = 4;        // BD
inline constexpr unsigned kTalkerCombined = 5;           // GN
inline constexpr unsigned kTalkerQzss = 6;               // GQ
inline constexpr unsigned kTalkerQzssOlder = 7;          // QZ
inline constexpr unsigned kTalkerNavic = 8;              // GI
inline constexpr unsigned kTalkerBeidouProprietary = 9;  // PB

// Sentences of makers (LOG_NMEA too): $PASHR and $PTNL by their second field, others by their first.
inline constexpr unsigned kPashrFirst = 200000;
inline constexpr unsigned kPashrAttitude = 200001;  // a time of day stands in the second field
inline constexpr unsigned kPashrAck = 200002;
inline constexpr unsigned kPashrNak = 200003;
inline constexpr unsigned kPashrPos = 200004;
inline constexpr unsigned kPashrSat = 200005;
inline constexpr unsigned kPashrRid = 200006;
inline constexpr unsigned kPashrRre = 200007;
inline constexpr unsigned kPashrCrt = 200008;
inline constexpr unsigned kPashrDcr = 200009;
inline constexpr unsigned kPashrDpo = 200010;
inline constexpr unsigned kPashrXmg = 200011;
inline constexpr unsigned kPtnlFirst = 210000;
inline constexpr unsigned kPtnlGgk = 210001;
inline constexpr unsigned kPtnlAvr = 210002;
inline constexpr unsigned kPtnlBpq = 210003;
inline constexpr unsigned kPtnlDg = 210004;
inline constexpr unsigned kPtnlEvt = 210005;
inline constexpr unsigned kPtnlPjk = 210006;
inline constexpr unsigned kPtnlPjt = 210007;
inline constexpr unsigned kPtnlVgk = 210008;
inline constexpr unsigned kPtnlVhd = 210009;
inline constexpr unsigned kPtnlQa = 210010;
inline constexpr unsigned kPtnlGgkSync = 210011;
inline constexpr unsigned kPcsi = 220001;
inline constexpr unsigned kPsat = 220002;
inline constexpr unsigned kRd1 = 220003;

// The number of the formatter ("GGA") and of the talker ("GP") in the Id of an NMEA sentence. The Ids of
// makers' sentences have no formatter: 0, which no formatter has.
constexpr bool isNmeaAddress(unsigned id) { return id < kPashrFirst && id % 1000 != 0; }

constexpr unsigned nmeaFormatter(unsigned id) { return isNmeaAddress(id) ? id % 1000 : 0; }

constexpr unsigned nmeaTalker(unsigned id) { return isNmeaAddress(id) ? id / 1000 : 0; }

constexpr unsigned nmeaId(unsigned talker, unsigned formatter) { return talker * 1000 + formatter; }

// NovAtel's '$' ASCII logs (LOG_NOVATEL_ASCII).
inline constexpr unsigned kNovatelAlma = 1;
inline constexpr unsigned kNovatelIona = 2;
inline constexpr unsigned kNovatelUtca = 3;
inline constexpr unsigned kNovatelPosa = 4;
inline constexpr unsigned kNovatelPrtka = 5;
inline constexpr unsigned kNovatelRtka = 6;
inline constexpr unsigned kNovatelRgea = 7;
inline constexpr unsigned kNovatelRepa = 8;
inline constexpr unsigned kNovatelDopa = 9;
inline constexpr unsigned kNovatelSata = 10;
inline constexpr unsigned kNovatelVera = 11;
inline constexpr unsigned kNovatelCala = 12;
inline constexpr unsigned kNovatelBata = 13;

// Trimble packets (LOG_TRIMBLE_PACKET).
inline constexpr unsigned kTrimbleGetserial = 0x06;
inline constexpr unsigned kTrimbleRserial = 0x07;
inline constexpr unsigned kTrimbleGetstat1 = 0x08;
inline constexpr unsigned kTrimbleRecstat1 = 0x09;
inline constexpr unsigned kTrimbleGenout = 0x40;
inline constexpr unsigned kTrimbleGetopt = 0x4A;
inline constexpr unsigned kTrimbleRetopt = 0x4B;
inline constexpr unsigned kTrimbleGetsvdata = 0x54;
inline constexpr unsigned kTrimbleRetsvdata = 0x55;
inline constexpr unsigned kTrimbleGetraw = 0x56;
inline constexpr unsigned kTrimbleRawdata = 0x57;
inline constexpr unsigned kTrimbleResetrcvr = 0x58;
inline constexpr unsigned kTrimbleAppfile = 0x64;
inline constexpr unsigned kTrimbleGetappfile = 0x65;
inline constexpr unsigned kTrimbleGetafdir = 0x66;
inline constexpr unsigned kTrimbleRetafdir = 0x67;
inline constexpr unsigned kTrimbleDelappfile = 0x68;
inline constexpr unsigned kTrimbleActappfile = 0x6D;
inline constexpr unsigned kTrimbleBreakret = 0x6E;
inline constexpr unsigned kTrimbleBreakreq = 0x6F;

// CMC Allstar and SUPERSTAR messages (LOG_CMC_BINARY).
inline constexpr unsigned kCmcNavigation = 20;
inline constexpr unsigned kCmcNavigationXyz = 21;
inline constexpr unsigned kCmcEphemeris = 22;
inline constexpr unsigned kCmcMeasurements = 23;
inline constexpr unsigned kCmcMessage30 = 30;
inline constexpr unsigned kCmcVisibility = 33;
inline constexpr unsigned kCmcIdentification = 45;
inline constexpr unsigned kCmcReceiverStatus = 49;
inline constexpr unsigned kCmcSbas = 67;
inline constexpr unsigned kCmcIonoUtc = 75;
inline constexpr unsigned kCmcAcknowledge = 126;

// Hemisphere binary messages (LOG_HEMISPHERE_BINARY) and the one Id of "$>" replies (LOG_CSI_REPLY).
inline constexpr unsigned kBin1 = 1;
inline constexpr unsigned kBin2 = 2;
inline constexpr unsigned kBin80 = 80;
inline constexpr unsigned kBin93 = 93;
inline constexpr unsigned kBin94 = 94;
inline constexpr unsigned kBin95 = 95;
inline constexpr unsigned kBin96 = 96;
inline constexpr unsigned kBin97 = 97;
inline constexpr unsigned kBin98 = 98;
inline constexpr unsigned kBin99 = 99;
inline constexpr unsigned kCsiReply = 150;

// Replies of the maker's receivers (LOG_VAREK_REPLY) by their two letters. A pair without a constant has the
// Id 256 × first letter + second letter.
inline constexpr unsigned kMakerRg = 128;
inline constexpr unsigned kMakerRk = 129;
inline constexpr unsigned kMakerRz = 130;
inline constexpr unsigned kMakerRx = 133;
inline constexpr unsigned kMakerRc = 134;
inline constexpr unsigned kMakerRr = 135;
inline constexpr unsigned kMakerRs = 136;
inline constexpr unsigned kMakerSt = 137;
inline constexpr unsigned kMakerVs = 138;
inline constexpr unsigned kMakerVd = 139;
inline constexpr unsigned kMakerVc = 140;
inline constexpr unsigned kMakerVf = 141;
inline constexpr unsigned kMakerVr = 142;
inline constexpr unsigned kMakerVi = 143;
inline constexpr unsigned kMakerVl = 144;
inline constexpr unsigned kMakerRh = 145;
inline constexpr unsigned kMakerSd = 146;
inline constexpr unsigned kMakerSi = 147;

// Status lines (LOG_STATUS_TEXT).
inline constexpr unsigned kStatusTransparentOff = 0;
inline constexpr unsigned kStatusTransparentOn = 1;
inline constexpr unsigned kStatusBlankLine = 8;
inline constexpr unsigned kStatusTuned = 9;
inline constexpr unsigned kStatusDetuned = 10;
inline constexpr unsigned kStatusInvalidCommandName = 11;
inline constexpr unsigned kStatusInvalidArgumentCount = 12;
inline constexpr unsigned kStatusInvalidLoggerDatatype = 13;
inline constexpr unsigned kStatusInvalidCommandOption = 14;
inline constexpr unsigned kStatusInvalidChannel = 15;
inline constexpr unsigned kStatusInvalidSatellite = 16;
inline constexpr unsigned kStatusInvalidDoppler = 17;  // "Invalid Doppler Window" too
inline constexpr unsigned kStatusInvalidOther = 19;
inline constexpr unsigned kStatusNvmError = 20;

// Replies in angle brackets (LOG_REPLY_TEXT, LOG_REPLY_ERROR, LOG_REPLY_OK).
inline constexpr unsigned kReplyText = 0;
inline constexpr unsigned kReplyError = 19;
inline constexpr unsigned kReplyOk = 21;

// Prompts (LOG_PORT_PROMPT). The first three are a banner "[COM1]" or a prompt on a line of its own; the next
// two a prompt that ends in LF alone or in nothing.
inline constexpr unsigned kPromptCom1Line = 2;
inline constexpr unsigned kPromptCom2Line = 3;
inline constexpr unsigned kPromptCom3Line = 4;
inline constexpr unsigned kPromptCom1 = 5;
inline constexpr unsigned kPromptCom2 = 6;
inline constexpr unsigned kPromptConsole = 7;

// Modem replies (LOG_MODEM_REPLY).
inline constexpr unsigned kModemOk = 1;
inline constexpr unsigned kModemConnect = 2;
inline constexpr unsigned kModemTilde = 3;

// Radio frames (LOG_RADIO), named by their lead byte and the bytes that tell them apart.
inline constexpr unsigned kRadioBlock = 0;      // F5 11 20 with other numbers, and every FF frame
inline constexpr unsigned kRadioBlock0320 = 1;  // F5 11 20 00 03 20
inline constexpr unsigned kRadioBlock0400 = 2;  // F5 11 20 00 04 00
inline constexpr unsigned kRadioReady = 3;      // F1 10 FE 50
inline constexpr unsigned kRadioF5Short = 110;  // F5 11 03 00 02 D8
inline constexpr unsigned kRadioF2Code0F = 111;
inline constexpr unsigned kRadioF2Code04 = 112;
inline constexpr unsigned kRadioF2Code01 = 113;
inline constexpr unsigned kRadioF2Code00 = 114;
inline constexpr unsigned kRadioF5Code08 = 115;  // F5 11 08 00 03 00
inline constexpr unsigned kRadioF5Code0D = 133;  // F5 11 0D 00 05 20

}  // namespace vkcomm
