#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "vkcomm/control/base_sequences.h"
#include "vkcomm/control/command_carriers.h"
#include "vkcomm/control/line_tables.h"
#include "vkcomm/control/rover_sequences.h"

namespace vkcomm {

namespace {

using namespace detail;

// Message flags of RTCM: types 18 and 19, type 1. From older manuals; no receiver has confirmed them yet.
constexpr unsigned char kPhase = 0x01, kCode = 0x02;

struct Output {
    FileOutput output;
    unsigned char detail;  // message flags of RTCM, kind of CMR
};

constexpr std::array<Output, 6> kOutputs = {{{kRtcmOutput, kCode},
                                             {kRtcmOutput, kCode | kPhase},
                                             {kRtcmOutput, kPhase},
                                             {kCmrOutput, 0x02},
                                             {kCmrOutput, 0x00},
                                             {kCmrOutput, 0x03}}};
constexpr Output kUsualOutput = {kCmrOutput, 0x00};

struct Frequency {
    unsigned char seconds;
    unsigned char code;
};

constexpr Frequency kFrequencies[] = {{1, 3}, {2, 4}, {5, 5}, {10, 6}, {15, 12}, {30, 7}, {60, 8}};
constexpr unsigned char kOnceASecond = 3;

constexpr unsigned char kBoardPort = 1;
constexpr int kBoardBaud = 7;

bool isInMakersReceiver(GPSOEMTYPE type) { return boardInside(type) == SetupFamily::kTrimble; }

struct Link {
    unsigned char port;
    int baud;
};

// The record of types 15 and 16 may not have been changed yet (see setBoardLink).
Link linkOf(GPSOEMTYPE type, unsigned char port, int baud) {
    return isInMakersReceiver(type) ? Link{kBoardPort, kBoardBaud} : Link{port, baud};
}

Output outputOf(unsigned char format) { return format < kOutputs.size() ? kOutputs[format] : kUsualOutput; }

// Code messages. Behind a record of RTCM it repeats what that one asks for, since a receiver may keep only the last
// record of a port and output.
Output addedOutput(const Output& chosen) {
    const unsigned char before = chosen.output == kRtcmOutput ? chosen.detail : 0;
    return {kRtcmOutput, static_cast<unsigned char>(before | kCode)};
}

unsigned char frequencyOf(unsigned char seconds) {
    for (const Frequency& each : kFrequencies)
        if (each.seconds == seconds) return each.code;
    return kOnceASecond;
}

unsigned char parityOf(int index) { return index >= 0 && index <= 2 ? static_cast<unsigned char>(index) : 0; }

Bytes referenceContent(const BLH& position, const std::wstring& name, long long station) {
    constexpr std::size_t kLength = 37, kNameAt = 2, kNameLength = 8;
    std::string fixedName = recordText(name);
    fixedName.resize(kNameLength, ' ');
    Bytes content(kLength);
    std::copy(fixedName.begin(), fixedName.end(), content.begin() + kNameAt);
    storeBe(content.data() + 10, position.latitude);
    storeBe(content.data() + 18, position.longitude);
    storeBe(content.data() + 26, position.height);
    storeBe(content.data() + 34, static_cast<std::uint16_t>(station & 0x3FF));
    content[36] = static_cast<unsigned char>(station & 0x1F);
    return content;
}

}  // namespace

void setBoardLink(GPSOEMTYPE type, CBaseConfig& config) {
    const Link link = linkOf(type, config.uTrimblePort, config.nBaud);
    config.uTrimblePort = link.port;
    config.nBaud = link.baud;
}

// Records 01h, 02h, 03h and 07h of the published application file.
CommandSteps trimbleBase(GPSOEMTYPE portType, GPSOEMTYPE type, const CBaseConfig& config, const BLH& position,
                         const std::wstring& stationName) {
    if (!basePositionProblem(position).empty()) return {};
    const Link link = linkOf(type, config.uTrimblePort, config.nBaud);
    const unsigned char frequency = frequencyOf(config.uInterval);
    const Output chosen = outputOf(config.uTrimbleFormat), added = addedOutput(chosen);
    ApplicationFile file(type);
    file.generalControls(config.uElevMask, config.uPDOPMask)
        .serialPort(link.port, baudCodeOfIndex(link.baud), parityOf(config.nParity), config.nCTS != 0)
        .record(kReferencePositionRecord,
                referenceContent(position, stationName, recordNumber(config.strStationID)))
        .output(chosen.output, link.port, frequency, chosen.detail);
    if (config.nAddRTCM != 0) file.output(added.output, link.port, frequency, added.detail);
    CommandSteps steps;
    if (isInMakersReceiver(type)) append(steps, makerText(type, "RG,B0", 0));
    append(steps, trimbleSteps(portType, file.command("base station"), 0));
    return steps;
}

// Records 01h, 0Ah, 07h and 02h of the published application file; the content of 0Ah is from older manuals.
CommandSteps trimbleRover(GPSOEMTYPE portType, GPSOEMTYPE type, const CRoverConfig& config) {
    if (!roverMaskProblem(config.fElevMask, config.fPDOPMask).empty()) return {};
    constexpr unsigned char kKinematic = 0x00;
    const Link link = linkOf(type, config.uTrimblePort, config.nBaud);
    ApplicationFile file(type);
    file.generalControls(static_cast<unsigned char>(std::lround(config.fElevMask)),
                         static_cast<unsigned char>(std::lround(config.fPDOPMask)))
        .record(kMotionRecord, Bytes{kKinematic})
        .portSilence(link.port)
        .serialPort(link.port, baudCodeOfIndex(link.baud), parityOf(config.uParity), 0);
    return trimbleSteps(portType, file.command("rover"), 0);
}

}  // namespace vkcomm
