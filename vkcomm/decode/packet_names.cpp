// Names of the binary families, replies, prompts and status lines.
#include "vkcomm/decode/name_tables.h"

namespace vkcomm {

namespace {

constexpr auto kTrimblePackets = std::to_array<KnownName>({
    {kTrimbleGetserial, "GETSERIAL", "request for serial numbers and versions"},
    {kTrimbleRserial, "RSERIAL", "serial numbers and versions"},
    {kTrimbleGetstat1, "GETSTAT1", "request for the receiver status"},
    {kTrimbleRecstat1, "RECSTAT1", "receiver status"},
    {kTrimbleGenout, "GENOUT", "general output: a page of GSOF records"},
    {kTrimbleGetopt, "GETOPT", "request for options and settings"},
    {kTrimbleRetopt, "RETOPT", "options and settings"},
    {kTrimbleGetsvdata, "GETSVDATA", "request for satellite data"},
    {kTrimbleRetsvdata, "RETSVDATA", "satellite data: flags, ephemeris, almanac, ionosphere"},
    {kTrimbleGetraw, "GETRAW", "request for raw data"},
    {kTrimbleRawdata, "RAWDATA", "raw survey data or a position record"},
    {kTrimbleResetrcvr, "RESETRCVR", "reset of the receiver"},
    {kTrimbleAppfile, "APPFILE", "application file"},
    {kTrimbleGetappfile, "GETAPPFILE", "request for an application file"},
    {kTrimbleGetafdir, "GETAFDIR", "request for the list of application files"},
    {kTrimbleRetafdir, "RETAFDIR", "list of application files"},
    {kTrimbleDelappfile, "DELAPPFILE", "removal of an application file"},
    {kTrimbleActappfile, "ACTAPPFILE", "activation of an application file"},
    {kTrimbleBreakret, "BREAKRET", "answer to a serial break"},
    {kTrimbleBreakreq, "BREAKREQ", "request for the answer to a serial break"},
    {0x81, "KEYSIM", "simulated key of the front panel"},
    {0x82, "SCRDUMP", "contents of the front panel"},
    {0xAB, "NTRIPCONFIG", "settings of the NTRIP services"},
    {0xAE, "ETHCONFIG", "settings of the network"},
});

constexpr auto kCmcMessages = std::to_array<KnownName>({
    {kCmcNavigation, "NAVIGATION", "time, geodetic position, velocity and dilutions"},
    {kCmcNavigationXyz, "NAVIGATIONXYZ", "time, cartesian position and velocity"},
    {kCmcEphemeris, "EPHEMERIS", "ephemeris words"},
    {kCmcMeasurements, "MEASUREMENTS", "raw measurements"},
    {kCmcMessage30, "MESSAGE30", "a count of satellites"},
    {kCmcVisibility, "VISIBILITY", "visible satellites"},
    {kCmcIdentification, "IDENTIFICATION", "hardware and software identification"},
    {kCmcReceiverStatus, "STATUS", "receiver status, with the mask angle"},
    {kCmcSbas, "SBAS", "SBAS message"},
    {kCmcIonoUtc, "IONOUTC", "ionosphere and UTC parameters"},
    {kCmcAcknowledge, "ACK", "acknowledgement of a command"},
});

constexpr auto kBinMessages = std::to_array<KnownName>({
    {kBin1, "BIN1", "position and velocity"},
    {kBin2, "BIN2", "satellites tracked and used, dilutions"},
    {kBin80, "BIN80", "SBAS message"},
    {kBin93, "BIN93", "SBAS ephemeris"},
    {kBin94, "BIN94", "ionosphere and UTC parameters"},
    {kBin95, "BIN95", "ephemeris words"},
    {kBin96, "BIN96", "raw measurements"},
    {kBin97, "BIN97", "processor statistics"},
    {kBin98, "BIN98", "almanac"},
    {kBin99, "BIN99", "channels, with angles and signal state"},
});

constexpr auto kMakerReplies = std::to_array<KnownName>({
    {kMakerRg, "RG", "reply to RG"},
    {kMakerRk, "RK", "reply to RK"},
    {kMakerRz, "RZ", "reply to RZ"},
    {kMakerRx, "RX", "reply to RX"},
    {kMakerRc, "RC", "reply to RC"},
    {kMakerRr, "RR", "reply to RR"},
    {kMakerRs, "RS", "reply to RS"},
    {kMakerSt, "ST", "reply to ST"},
    {kMakerVs, "VS", "reply to VS"},
    {kMakerVd, "VD", "reply to VD"},
    {kMakerVc, "VC", "reply to VC"},
    {kMakerVf, "VF", "reply to VF"},
    {kMakerVr, "VR", "reply to VR"},
    {kMakerVi, "VI", "reply to VI"},
    {kMakerVl, "VL", "reply to VL"},
    {kMakerRh, "RH", "reply to RH"},
    {kMakerSd, "SD", "reply to SD"},
    {kMakerSi, "SI", "reply to SI, a text in pieces"},
});

constexpr auto kStatusLines = std::to_array<KnownName>({
    {kStatusTransparentOff, "transparent-off", "transparent mode ended"},
    {kStatusTransparentOn, "transparent-on", "transparent mode began"},
    {kStatusBlankLine, "blank-line", "an empty line"},
    {kStatusTuned, "tuned", "the FSU is tuned"},
    {kStatusDetuned, "detuned", "the FSU is no longer tuned"},
    {kStatusInvalidCommandName, "invalid-command-name", "the receiver does not know the command"},
    {kStatusInvalidArgumentCount, "invalid-argument-count", "the command has too few or too many arguments"},
    {kStatusInvalidLoggerDatatype, "invalid-logger-datatype", "the receiver does not know the log"},
    {kStatusInvalidCommandOption, "invalid-command-option", "the command has an unknown option"},
    {kStatusInvalidChannel, "invalid-channel", "the command names a channel that does not exist"},
    {kStatusInvalidSatellite, "invalid-satellite", "the command names a satellite that does not exist"},
    {kStatusInvalidDoppler, "invalid-doppler", "the Doppler or its window is out of range"},
    {kStatusInvalidOther, "invalid-other", "another part of the command is not valid"},
    {kStatusNvmError, "nvm-error", "the receiver cannot save its settings"},
});

constexpr auto kPrompts = std::to_array<KnownName>({
    {kPromptCom1Line, "com1-line", "prompt of port 1 on a line of its own"},
    {kPromptCom2Line, "com2-line", "prompt of port 2 on a line of its own"},
    {kPromptCom3Line, "com3-line", "prompt of port 3"},
    {kPromptCom1, "com1", "prompt of port 1"},
    {kPromptCom2, "com2", "prompt of port 2"},
    {kPromptConsole, "console", "prompt of the console"},
});

constexpr auto kModemReplies = std::to_array<KnownName>({
    {kModemOk, "OK", "command accepted"},
    {kModemConnect, "CONNECT", "connection made"},
    {kModemTilde, "tilde", "frame between tildes"},
});

constexpr auto kRadioFrames = std::to_array<KnownName>({
    {kRadioBlock, "block", "long frame"},
    {kRadioBlock0320, "block-0320", "long frame with the number 03 20"},
    {kRadioBlock0400, "block-0400", "long frame with the number 04 00"},
    {kRadioReady, "ready", "answer after which the radio needs time to settle"},
    {kRadioF5Short, "f5-03", "F5 frame with code 03"},
    {kRadioF2Code0F, "f2-0f", "F2 frame with code 0F"},
    {kRadioF2Code04, "f2-04", "F2 frame with code 04"},
    {kRadioF2Code01, "f2-01", "F2 frame with code 01"},
    {kRadioF2Code00, "f2-00", "F2 frame with code 00"},
    {kRadioF5Code08, "f5-08", "F5 frame with code 08"},
    {kRadioF5Code0D, "f5-0d", "F5 frame with code 0D"},
});

constexpr auto kReplyTexts =
    std::to_array<KnownName>({{kReplyText, "text", "an abbreviated ASCII log or reply"}});
constexpr auto kReplyErrors =
    std::to_array<KnownName>({{kReplyError, "ERROR", "command refused, with the reason"}});
constexpr auto kReplyOks = std::to_array<KnownName>({{kReplyOk, "OK", "command accepted"}});
constexpr auto kCsiReplies = std::to_array<KnownName>({{kCsiReply, "$>", "reply to a $J command"}});

struct Family {
    LOG_TYPE type;
    std::span<const KnownName> names;
};

constexpr auto kFamilies = std::to_array<Family>({
    {LOG_REPLY_TEXT, kReplyTexts},
    {LOG_STATUS_TEXT, kStatusLines},
    {LOG_REPLY_ERROR, kReplyErrors},
    {LOG_REPLY_OK, kReplyOks},
    {LOG_PORT_PROMPT, kPrompts},
    {LOG_TRIMBLE_PACKET, kTrimblePackets},
    {LOG_CMC_BINARY, kCmcMessages},
    {LOG_RADIO, kRadioFrames},
    {LOG_VAREK_REPLY, kMakerReplies},
    {LOG_MODEM_REPLY, kModemReplies},
    {LOG_CSI_REPLY, kCsiReplies},
    {LOG_HEMISPHERE_BINARY, kBinMessages},
});

static_assert(std::all_of(kFamilies.begin(), kFamilies.end(), [](const Family& family) {
    return detail::isOrderedById(family.names) && detail::idsAreUnique(family.names) &&
           detail::namesFit(family.names);
}));

}  // namespace

std::span<const KnownName> detail::packetNames(LOG_TYPE type) {
    const auto* family = std::find_if(kFamilies.begin(), kFamilies.end(),
                                      [type](const Family& candidate) { return candidate.type == type; });
    return family == kFamilies.end() ? std::span<const KnownName>() : family->names;
}

}  // namespace vkcomm
