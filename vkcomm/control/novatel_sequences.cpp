#include <algorithm>
#include <cstdint>

#include "vkcomm/control/base_sequences.h"
#include "vkcomm/control/command_carriers.h"
#include "vkcomm/control/line_tables.h"
#include "vkcomm/control/rover_sequences.h"
#include "vkcomm/frames/baud_rates.h"

namespace vkcomm {

namespace {

using namespace detail;

constexpr int kUsualBaud = 9600;
constexpr double kDegreesPerRadian = 57.29577951308232;

bool hasModem(GPSOEMTYPE type) { return type == OEM_NOVATEL_18 || type == OEM_NOVATEL_19; }

bool isInMakersReceiver(GPSOEMTYPE type) { return type == OEM_NOVATEL_5 || type == OEM_NOVATEL_6; }

void addLine(CommandSteps& steps, GPSOEMTYPE type, std::string_view text, const LineValues& values,
             int delay) {
    append(steps, novatelText(type, fillLine(text, values) + "\r\n", delay));
}

// Types 18 and 19 have a data modem of their own; their logs are chosen by where they go.
enum class Logs : unsigned char { kAll, kOwn, kModemPort, kModemGprs };

struct LogRow {
    FormatSet formats;
    Logs logs;
    const char* text;
    bool firstPortOnly = false;
    int commandSet = 0;  // 0: whatever the board's
};

constexpr FormatSet kCmr = formats({0, 3, 6});
constexpr FormatSet kRtcm = formats({1, 4});
constexpr FormatSet kRtca = formats({2, 5});
constexpr FormatSet kRtcm3 = formats({7});
constexpr FormatSet kRtcm1Only = formats({8});

// The interval plus one in RTCM 2 and RTCA is deliberate: the second observation log keeps out of the way of
// the first.
constexpr LogRow kBaseLogs[] = {
    {formats({3, 6}), Logs::kOwn, "interfacemode com<port> novatel cmr", true},
    {kCmr, Logs::kOwn, "dgpstxid cmr <id>"},
    {kCmr, Logs::kOwn, "log com<port> cmrobsb ontime <interval>"},
    {formats({6}), Logs::kOwn, "log com<port> cmrplusb ontime 10"},
    {formats({0, 3}), Logs::kOwn, "log com<port> cmrrefb ontime 10"},
    {kCmr, Logs::kOwn, "log com<port> cmrdescb ontime 10 5"},
    {kCmr, Logs::kModemPort, "log com<port> cmrdatarefb ontime 5"},
    {kCmr, Logs::kModemPort, "log com<port> cmrdataobsb ontime 1"},
    {kCmr, Logs::kModemGprs, "log gprs cmrdatarefb ontime 5"},
    {kCmr, Logs::kModemGprs, "log gprs cmrdataobsb ontime 1"},

    {formats({4}), Logs::kOwn, "interfacemode com<port> novatel rtcm", true},
    {kRtcm, Logs::kOwn, "dgpstxid rtcm <id>"},
    {kRtcm, Logs::kOwn, "log com<port> rtcm3b ontime 10"},
    {kRtcm, Logs::kOwn, "log com<port> rtcm22b ontime 10 7"},
    {kRtcm, Logs::kOwn, "log com<port> rtcm1 ontime 5"},
    {kRtcm, Logs::kOwn, "log com<port> rtcm1819b ontime <interval+1>"},
    {kRtcm, Logs::kOwn, "log com<port> rtcm31b ontime 2"},
    {kRtcm, Logs::kOwn, "log com<port> rtcm32b ontime 2"},
    {kRtcm, Logs::kModemPort, "log com<port> rtcmdata3b ontime 5"},
    {kRtcm, Logs::kModemPort, "log com<port> rtcmdata1819b ontime 1"},
    {kRtcm, Logs::kModemGprs, "log gprs rtcmdata3b ontime 5"},
    {kRtcm, Logs::kModemGprs, "log gprs rtcmdata1819b ontime 1"},

    {formats({5}), Logs::kAll, "interfacemode com<port> novatel rtca", true},
    {kRtca, Logs::kAll, "dgpstxid rtca <quoted id>"},
    {kRtca, Logs::kAll, "log com<port> rtcaobsb ontime <interval>"},
    {kRtca, Logs::kAll, "log com<port> rtcaobs2b ontime <interval+1>"},
    {kRtca, Logs::kAll, "log com<port> rtcarefb ontime 10"},
    {kRtca, Logs::kAll, "log com<port> rtca1b ontime 10 3"},

    {kRtcm3, Logs::kOwn, "interfacemode com<port> novatel rtcmv3", true, 1},
    {kRtcm3, Logs::kOwn, "dgpstxid rtcmv3 <id>", false, 1},
    {kRtcm3, Logs::kOwn, "log com<port> rtcm1004b ontime <interval>", false, 1},
    {kRtcm3, Logs::kOwn, "log com<port> rtcm1005b ontime 10", false, 1},
    {kRtcm3, Logs::kOwn, "interfacemode com<port> novatel rtcmv3", false, 2},
    {kRtcm3, Logs::kOwn, "dgpstxid rtcmv3 <id>", false, 2},
    {kRtcm3, Logs::kOwn, "log com<port> rtcm1004b ontime <interval>", false, 2},
    {kRtcm3, Logs::kOwn, "log com<port> rtcm1012b ontime 1", false, 2},
    {kRtcm3, Logs::kOwn, "log com<port> rtcm1006b ontime 10", false, 2},
    {kRtcm3, Logs::kOwn, "log com<port> rtcm1008b ontime 10", false, 2},
    {kRtcm3, Logs::kOwn, "log com<port> rtcm1033b ontime 10", false, 2},
    {kRtcm3, Logs::kModemPort, "log com<port> rtcmdata1004b ontime 1"},
    {kRtcm3, Logs::kModemPort, "log com<port> rtcmdata1005b ontime 5"},
    {kRtcm3, Logs::kModemGprs, "log gprs rtcmdata1004b ontime 1"},
    {kRtcm3, Logs::kModemGprs, "log gprs rtcmdata1005b ontime 5"},

    {kRtcm1Only, Logs::kAll, "interfacemode com<port> novatel rtcm"},
    {kRtcm1Only, Logs::kAll, "dgpstxid rtcm <id>"},
    {kRtcm1Only, Logs::kAll, "log com<port> rtcm1 ontime 1"},
};

constexpr int kLogDelay = 200;

bool goesTo(Logs logs, GPSOEMTYPE type, int stationType) {
    switch (logs) {
    case Logs::kAll: return true;
    case Logs::kOwn: return !hasModem(type);
    case Logs::kModemPort: return hasModem(type) && (stationType == 0 || stationType == 2);
    case Logs::kModemGprs: return hasModem(type) && (stationType == 1 || stationType == 2);
    }
    return false;
}

bool isSent(const LogRow& row, GPSOEMTYPE type, const CBaseConfig& config, int commandSet) {
    return serves(row.formats, config.uVarekFormat) && goesTo(row.logs, type, config.nStationType) &&
           (!row.firstPortOnly || config.uVarekPort == 0) &&
           (row.commandSet == 0 || row.commandSet == commandSet);
}

std::string quotedId(std::wstring_view id) {
    constexpr std::size_t kWidth = 4;
    const std::string text = recordText(id);
    return '"' + std::string(kWidth - std::min(kWidth, text.size()), ' ') + text + '"';
}

LineValues baseValues(const CBaseConfig& config) {
    return {{"port", integerText(config.uVarekPort + 1)},
            {"mask", integerText(config.uElevMask)},
            {"id", integerText(recordNumber(config.strStationID))},
            {"quoted id", quotedId(config.strStationID)},
            {"interval", integerText(config.uInterval)},
            {"interval+1", integerText(config.uInterval + 1)},
            {"baud", integerText(baudOfIndex(config.nBaud, kUsualBaud))}};
}

std::string positionText(const BLH& position) {
    return fixedText(position.latitude * kDegreesPerRadian, 8) + ' ' +
           fixedText(position.longitude * kDegreesPerRadian, 8) + ' ' + fixedText(position.height, 3);
}

}  // namespace

CommandSteps novatelBasePosition(GPSOEMTYPE type, const CBaseConfig& config, const BLH& position) {
    if (!basePositionProblem(position).empty()) return {};
    const LineValues values = baseValues(config);
    CommandSteps steps;
    addLine(steps, type, "ecutoff <mask>", values, 200);
    addLine(steps, type, "rtkelevmask user <mask>", values, 200);
    addLine(steps, type, "gloecutoff 5.0", values, 200);
    addLine(steps, type, "fix position " + positionText(position), values, 0);
    return steps;
}

CommandSteps novatelBaseOutput(GPSOEMTYPE type, const CBaseConfig& config, int commandSet) {
    const LineValues values = baseValues(config);
    CommandSteps steps;
    if (hasModem(type)) {
        append(steps, makerText(OEM_NONE, "IM,B1", 0));
        steps.back().delay = 0;  // deliberate: the only one of the maker's texts that does not wait
    }
    addLine(steps, type, "unlogall com<port>", values, 100);
    if (config.uVarekPort != 0) addLine(steps, type, "log com<port> bestposb ontime 5", values, 100);
    for (const LogRow& row : kBaseLogs)
        if (isSent(row, type, config, commandSet)) addLine(steps, type, row.text, values, kLogDelay);
    addLine(steps, type, "com com<port> <baud>", values, 0);
    if (config.uVarekPort == 0 && isInMakersReceiver(type)) append(steps, makerText(OEM_NONE, "ST,B1", 0));
    return steps;
}

namespace {

enum Needs : unsigned char { kNothing = 0, kPort = 1, kFormat = 2, kIonosphere = 4 };

struct RoverRow {
    int needs;
    const char* text;
};

// The names and arguments are those of the OEM4 and OEMV command references.
constexpr RoverRow kRoverLines[] = {
    {kNothing, "fix none"},                         // FIX: a rover moves
    {kNothing, "ecutoff <mask>"},                   // ECUTOFF
    {kNothing, "rtkelevmask user <mask>"},          // RTKELEVMASK
    {kIonosphere, "ionocondition <ionosphere>"},    // IONOCONDITION, OEMV
    {kPort, "unlogall com<port>"},                  // UNLOGALL: no corrections from a former base
    {kFormat, "rtksource <source> <station>"},      // RTKSOURCE: phase corrections
    {kFormat, "psrdiffsource <source> <station>"},  // PSRDIFFSOURCE: code corrections
    {kPort, "com com<port> <baud>"},                // COM
    {kPort | kFormat, "interfacemode com<port> <source> novatel"}  // INTERFACEMODE: input, output
};

constexpr int kRoverDelay = 100;

struct Source {
    FormatSet formats;
    const char* name;
};

constexpr Source kSources[] = {
    {kCmr, "cmr"}, {kRtcm | kRtcm1Only, "rtcm"}, {kRtca, "rtca"}, {kRtcm3, "rtcmv3"}};

std::string sourceOf(int format) {
    const auto* found = std::find_if(std::begin(kSources), std::end(kSources),
                                     [format](const Source& each) { return serves(each.formats, format); });
    return found == std::end(kSources) ? "" : found->name;
}

std::string ionosphereName(int condition) {
    constexpr const char* kNames[] = {"quiet", "normal", "disturbed"};
    return condition >= 0 && condition < 3 ? kNames[condition] : "";
}

std::string roverStation(const CRoverConfig& config) {
    const std::string text = recordText(config.strStationIndex);
    if (config.nLimitBase == 0 || text.empty() || text == "ANY") return "any";
    return serves(kRtca, config.uVarekFormat) ? quotedId(config.strStationIndex) : text;
}

}  // namespace

CommandSteps novatelRover(GPSOEMTYPE type, const CRoverConfig& config, int commandSet, int ionosphere) {
    if (!roverMaskProblem(config.fElevMask, config.fPDOPMask).empty()) return {};
    const LineValues values = {{"mask", fixedText(config.fElevMask, 1)},
                               {"ionosphere", ionosphereName(ionosphere)},
                               {"port", integerText(config.uGetCom())},
                               {"source", sourceOf(config.uVarekFormat)},
                               {"station", roverStation(config)},
                               {"baud", integerText(baudOfIndex(config.nBaud, kUsualBaud))}};
    int given = config.uGetCom() != 0 ? kPort : kNothing;
    if (!sourceOf(config.uVarekFormat).empty()) given |= kFormat;
    if (commandSet == 2 && !ionosphereName(ionosphere).empty()) given |= kIonosphere;
    CommandSteps steps;
    for (const RoverRow& row : kRoverLines)
        if ((row.needs & ~given) == 0) addLine(steps, type, row.text, values, kRoverDelay);
    return steps;
}

}  // namespace vkcomm
