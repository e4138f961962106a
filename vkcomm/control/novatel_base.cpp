#include "vkcomm/control/base_sequences.h"
#include "vkcomm/control/command_carriers.h"
#include "vkcomm/control/novatel_lines.h"

namespace vkcomm {

namespace {

using namespace detail;

// Types 18 and 19 have a data modem of their own; their logs are chosen by where they go.
enum class Logs : unsigned char { kAll, kOwn, kModemPort, kModemGprs };

struct LogRow {
    FormatSet formats;
    Logs logs;
    const char* text;
    bool firstPortOnly = false;
    int commandSet = 0;  // 0: whatever the board's
};

// Deliberate: RTCM 2 and RTCA have the interval plus one in an observation log; receivers in the field are driven so.
constexpr LogRow kBaseLogs[] = {
    {formats({3, 6}), Logs::kOwn, "interfacemode com<port> novatel cmr", true},
    {kCmrFormats, Logs::kOwn, "dgpstxid cmr <id>"},
    {kCmrFormats, Logs::kOwn, "log com<port> cmrobsb ontime <interval>"},
    {formats({6}), Logs::kOwn, "log com<port> cmrplusb ontime 10"},
    {formats({0, 3}), Logs::kOwn, "log com<port> cmrrefb ontime 10"},
    {kCmrFormats, Logs::kOwn, "log com<port> cmrdescb ontime 10 5"},
    {kCmrFormats, Logs::kModemPort, "log com<port> cmrdatarefb ontime 5"},
    {kCmrFormats, Logs::kModemPort, "log com<port> cmrdataobsb ontime 1"},
    {kCmrFormats, Logs::kModemGprs, "log gprs cmrdatarefb ontime 5"},
    {kCmrFormats, Logs::kModemGprs, "log gprs cmrdataobsb ontime 1"},

    {formats({4}), Logs::kOwn, "interfacemode com<port> novatel rtcm", true},
    {kRtcmFormats, Logs::kOwn, "dgpstxid rtcm <id>"},
    {kRtcmFormats, Logs::kOwn, "log com<port> rtcm3b ontime 10"},
    {kRtcmFormats, Logs::kOwn, "log com<port> rtcm22b ontime 10 7"},
    {kRtcmFormats, Logs::kOwn, "log com<port> rtcm1 ontime 5"},
    {kRtcmFormats, Logs::kOwn, "log com<port> rtcm1819b ontime <interval+1>"},
    {kRtcmFormats, Logs::kOwn, "log com<port> rtcm31b ontime 2"},
    {kRtcmFormats, Logs::kOwn, "log com<port> rtcm32b ontime 2"},
    {kRtcmFormats, Logs::kModemPort, "log com<port> rtcmdata3b ontime 5"},
    {kRtcmFormats, Logs::kModemPort, "log com<port> rtcmdata1819b ontime 1"},
    {kRtcmFormats, Logs::kModemGprs, "log gprs rtcmdata3b ontime 5"},
    {kRtcmFormats, Logs::kModemGprs, "log gprs rtcmdata1819b ontime 1"},

    {formats({5}), Logs::kAll, "interfacemode com<port> novatel rtca", true},
    {kRtcaFormats, Logs::kAll, "dgpstxid rtca <quoted id>"},
    {kRtcaFormats, Logs::kAll, "log com<port> rtcaobsb ontime <interval>"},
    {kRtcaFormats, Logs::kAll, "log com<port> rtcaobs2b ontime <interval+1>"},
    {kRtcaFormats, Logs::kAll, "log com<port> rtcarefb ontime 10"},
    {kRtcaFormats, Logs::kAll, "log com<port> rtca1b ontime 10 3"},

    {kRtcm3Formats, Logs::kOwn, "interfacemode com<port> novatel rtcmv3", true, 1},
    {kRtcm3Formats, Logs::kOwn, "dgpstxid rtcmv3 <id>", false, 1},
    {kRtcm3Formats, Logs::kOwn, "log com<port> rtcm1004b ontime <interval>", false, 1},
    {kRtcm3Formats, Logs::kOwn, "log com<port> rtcm1005b ontime 10", false, 1},
    {kRtcm3Formats, Logs::kOwn, "interfacemode com<port> novatel rtcmv3", false, 2},
    {kRtcm3Formats, Logs::kOwn, "dgpstxid rtcmv3 <id>", false, 2},
    {kRtcm3Formats, Logs::kOwn, "log com<port> rtcm1004b ontime <interval>", false, 2},
    {kRtcm3Formats, Logs::kOwn, "log com<port> rtcm1012b ontime 1", false, 2},
    {kRtcm3Formats, Logs::kOwn, "log com<port> rtcm1006b ontime 10", false, 2},
    {kRtcm3Formats, Logs::kOwn, "log com<port> rtcm1008b ontime 10", false, 2},
    {kRtcm3Formats, Logs::kOwn, "log com<port> rtcm1033b ontime 10", false, 2},
    {kRtcm3Formats, Logs::kModemPort, "log com<port> rtcmdata1004b ontime 1"},
    {kRtcm3Formats, Logs::kModemPort, "log com<port> rtcmdata1005b ontime 5"},
    {kRtcm3Formats, Logs::kModemGprs, "log gprs rtcmdata1004b ontime 1"},
    {kRtcm3Formats, Logs::kModemGprs, "log gprs rtcmdata1005b ontime 5"},

    {kRtcm1Formats, Logs::kAll, "interfacemode com<port> novatel rtcm"},
    {kRtcm1Formats, Logs::kAll, "dgpstxid rtcm <id>"},
    {kRtcm1Formats, Logs::kAll, "log com<port> rtcm1 ontime 1"},
};

constexpr int kLogDelay = 200;

bool goesTo(Logs logs, GPSOEMTYPE type, int stationType) {
    switch (logs) {
    case Logs::kAll: return true;
    case Logs::kOwn: return !hasDataModem(type);
    case Logs::kModemPort: return hasDataModem(type) && (stationType == 0 || stationType == 2);
    case Logs::kModemGprs: return hasDataModem(type) && (stationType == 1 || stationType == 2);
    }
    return false;
}

bool isSent(const LogRow& row, GPSOEMTYPE type, const CBaseConfig& config, int commandSet) {
    return serves(row.formats, config.uVarekFormat) && goesTo(row.logs, type, config.nStationType) &&
           (!row.firstPortOnly || config.uVarekPort == 0) &&
           (row.commandSet == 0 || row.commandSet == commandSet);
}

PortRate rateOf(const CBaseConfig& config) { return novatelRate(config.uVarekPort + 1, config.nBaud); }

LineValues baseValues(const CBaseConfig& config) {
    const PortRate rate = rateOf(config);
    return {{"port", integerText(rate.port)},
            {"mask", integerText(config.uElevMask)},
            {"id", integerText(recordNumber(config.strStationID))},
            {"quoted id", quotedId(config.strStationID)},
            {"interval", integerText(config.uInterval)},
            {"interval+1", integerText(config.uInterval + 1)},
            {"baud", integerText(rate.baud)}};
}

std::string positionText(const BLH& position) {
    constexpr double kDegreesPerRadian = 57.29577951308232;
    return fixedPointText(position.latitude * kDegreesPerRadian, 8) + ' ' +
           fixedPointText(position.longitude * kDegreesPerRadian, 8) + ' ' +
           fixedPointText(position.height, 3);
}

}  // namespace

CommandSteps novatelBasePosition(GPSOEMTYPE type, const CBaseConfig& config, const BLH& position) {
    if (!basePositionProblem(position).empty()) return {};
    const LineValues values = baseValues(config);
    CommandSteps steps;
    addNovatelLine(steps, type, "ecutoff <mask>", values, 200);
    addNovatelLine(steps, type, "rtkelevmask user <mask>", values, 200);
    addNovatelLine(steps, type, "gloecutoff 5.0", values, 200);
    addNovatelLine(steps, type, "fix position " + positionText(position), values, 0);
    return steps;
}

CommandSteps novatelBaseOutput(GPSOEMTYPE type, const CBaseConfig& config, int commandSet) {
    const LineValues values = baseValues(config);
    CommandSteps steps;
    if (hasDataModem(type)) {
        append(steps, makerText(OEM_NONE, "IM,B1", 0));
        steps.back().delay = 0;  // deliberate: the only one of the maker's texts that does not wait
    }
    addNovatelLine(steps, type, "unlogall com<port>", values, 100);
    if (config.uVarekPort != 0) addNovatelLine(steps, type, "log com<port> bestposb ontime 5", values, 100);
    for (const LogRow& row : kBaseLogs)
        if (isSent(row, type, config, commandSet)) addNovatelLine(steps, type, row.text, values, kLogDelay);
    addNovatelLine(steps, type, "com com<port> <baud>", values, 0);
    markRate(steps, rateOf(config));
    if (config.uVarekPort == 0 && boardInside(type) == SetupFamily::kNovatel)
        append(steps, makerText(OEM_NONE, "ST,B1", 0));
    return steps;
}

}  // namespace vkcomm
