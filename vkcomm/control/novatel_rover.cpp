#include <algorithm>
#include <string>

#include "vkcomm/control/novatel_lines.h"
#include "vkcomm/control/rover_sequences.h"

namespace vkcomm {

namespace {

using namespace detail;

// What a line cannot be sent without.
using Needs = unsigned;
constexpr Needs kNothing = 0, kPort = 1, kFormat = 2, kCodeFormat = 4, kIonosphere = 8;

struct RoverRow {
    const char* text;
    Needs needs = kNothing;
    bool setsRate = false;
};

// Names and arguments as in the OEM4 and OEMV command references; an interface mode that takes corrections and still
// gives NovAtel's own records is how field software drives these boards.
constexpr RoverRow kRoverLines[] = {
    {"fix none"},                                       // FIX: a rover moves
    {"ecutoff <mask>"},                                 // ECUTOFF
    {"rtkelevmask user <mask>"},                        // RTKELEVMASK
    {"ionocondition <ionosphere>", kIonosphere},        // IONOCONDITION, OEMV
    {"unlogall com<port>", kPort},                      // UNLOGALL: no corrections from a former base
    {"rtksource <source> <station>", kFormat},          // RTKSOURCE: phase corrections
    {"psrdiffsource <source> <station>", kCodeFormat},  // PSRDIFFSOURCE: code corrections
    {"com com<port> <baud>", kPort, true},              // COM
    {"interfacemode com<port> <source> novatel", kPort | kFormat},  // INTERFACEMODE: input, output
};

constexpr int kRoverDelay = 100;

struct Source {
    const char* name;
    FormatSet formats;
    bool hasCode;  // PSRDIFFSOURCE knows it: CMR and RTCM 3 are sources of RTKSOURCE only
};

constexpr Source kSources[] = {{"cmr", kCmrFormats, false},
                               {"rtcm", kRtcmFormats | kRtcm1Formats, true},
                               {"rtca", kRtcaFormats, true},
                               {"rtcmv3", kRtcm3Formats, false}};
constexpr Source kNoSource = {"", 0, false};

const Source& sourceOf(int format) {
    const auto* found = std::find_if(std::begin(kSources), std::end(kSources),
                                     [format](const Source& each) { return serves(each.formats, format); });
    return found == std::end(kSources) ? kNoSource : *found;
}

std::string ionosphereName(int condition) {
    constexpr const char* kNames[] = {"quiet", "normal", "disturbed"};
    return condition >= 0 && condition < 3 ? kNames[condition] : "";
}

std::string stationText(const CRoverConfig& config) {
    const std::string text = recordText(config.strStationIndex);
    if (config.nLimitBase == 0 || text.empty() || text == "ANY") return "any";
    return serves(kRtcaFormats, config.uVarekFormat) ? quotedId(config.strStationIndex) : text;
}

}  // namespace

CommandSteps novatelRover(GPSOEMTYPE type, const CRoverConfig& config, int commandSet, int ionosphere) {
    if (!roverMaskProblem(config.fElevMask, config.fPDOPMask).empty()) return {};
    const Source& source = sourceOf(config.uVarekFormat);
    const PortRate rate = novatelRate(config.uGetCom(), config.nBaud);
    const std::string condition = commandSet == 2 ? ionosphereName(ionosphere) : "";
    const LineValues values = {{"mask", fixedPointText(config.fElevMask, 1)},
                               {"ionosphere", condition},
                               {"port", integerText(rate.port)},
                               {"source", source.name},
                               {"station", stationText(config)},
                               {"baud", integerText(rate.baud)}};
    const Needs given = (rate.port != 0 ? kPort : kNothing) | (source.formats != 0 ? kFormat : kNothing) |
                        (source.hasCode ? kCodeFormat : kNothing) |
                        (condition.empty() ? kNothing : kIonosphere);
    CommandSteps steps;
    for (const RoverRow& row : kRoverLines) {
        if ((row.needs & ~given) != 0) continue;
        addNovatelLine(steps, type, row.text, values, kRoverDelay);
        if (row.setsRate) markRate(steps, rate);
    }
    return steps;
}

}  // namespace vkcomm
