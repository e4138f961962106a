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

constexpr unsigned char kReferencePosition = 0x03;
constexpr unsigned char kOutputMessage = 0x07;
constexpr unsigned char kStaticOrKinematic = 0x0A;
constexpr unsigned char kKinematic = 0x00;

constexpr unsigned char kCmr = 0x02;
constexpr unsigned char kRtcm = 0x03;

// What an output record asks for. RTCM flags: bit 0 phase (types 18 and 19), bit 1 code (type 1).
struct Output {
    unsigned char message;
    unsigned char flags;
};

constexpr std::array<Output, 6> kOutputs = {
    {{kRtcm, 0x02}, {kRtcm, 0x03}, {kRtcm, 0x01}, {kCmr, 0x02}, {kCmr, 0x00}, {kCmr, 0x03}}};
constexpr Output kUsualOutput = {kCmr, 0x00};
constexpr Output kAddedOutput = {kRtcm, 0x03};

struct Frequency {
    unsigned char seconds;
    unsigned char code;
};

constexpr Frequency kFrequencies[] = {{1, 3}, {2, 4}, {5, 5}, {10, 6}, {15, 12}, {30, 7}, {60, 8}};
constexpr unsigned char kOnceASecond = 3;

constexpr unsigned char kBoardPort = 1;
constexpr int kBoardBaud = 7;

bool isInMakersReceiver(GPSOEMTYPE type) {
    return type == OEM_VAREK_TRIMBLE_15 || type == OEM_VAREK_TRIMBLE_16;
}

struct Link {
    unsigned char port;
    int baud;
};

Link linkOf(GPSOEMTYPE type, unsigned char port, int baud) {
    return isInMakersReceiver(type) ? Link{kBoardPort, kBoardBaud} : Link{port, baud};
}

Output outputOf(unsigned char format) { return format < kOutputs.size() ? kOutputs[format] : kUsualOutput; }

unsigned char frequencyOf(unsigned char seconds) {
    for (const Frequency& each : kFrequencies)
        if (each.seconds == seconds) return each.code;
    return kOnceASecond;
}

unsigned char parityOf(int index) { return index >= 0 && index <= 2 ? static_cast<unsigned char>(index) : 0; }

template <typename T>
void appendBe(Bytes& bytes, T value) {
    bytes.resize(bytes.size() + sizeof(T));
    storeBe(bytes.data() + bytes.size() - sizeof(T), value);
}

Bytes referenceContent(const BLH& position, const std::wstring& name, long long station) {
    constexpr std::size_t kNameLength = 8;
    std::string fixedName = recordText(name);
    fixedName.resize(kNameLength, ' ');
    Bytes content = {0, 0};
    content.insert(content.end(), fixedName.begin(), fixedName.end());
    appendBe(content, position.latitude);
    appendBe(content, position.longitude);
    appendBe(content, position.height);
    appendBe(content, static_cast<std::uint16_t>(station & 0x3FF));
    content.push_back(static_cast<unsigned char>(station & 0x1F));
    return content;
}

void addOutput(ApplicationFile& file, Output output, unsigned char port, unsigned char frequency) {
    file.record(kOutputMessage, Bytes{output.message, port, frequency, 0x00, output.flags, 0x00, 0x00, 0x00});
}

}  // namespace

void setBoardLink(GPSOEMTYPE type, CBaseConfig& config) {
    const Link link = linkOf(type, config.uTrimblePort, config.nBaud);
    config.uTrimblePort = link.port;
    config.nBaud = link.baud;
}

CommandSteps trimbleBase(GPSOEMTYPE portType, GPSOEMTYPE type, const CBaseConfig& config, const BLH& position,
                         const std::wstring& stationName) {
    if (!basePositionProblem(position).empty()) return {};
    const Link link = linkOf(type, config.uTrimblePort, config.nBaud);
    const unsigned char frequency = frequencyOf(config.uInterval);
    ApplicationFile file(type);
    file.generalControls(config.uElevMask, config.uPDOPMask)
        .serialPort(link.port, baudCodeOfIndex(link.baud), parityOf(config.nParity), config.nCTS != 0)
        .record(kReferencePosition,
                referenceContent(position, stationName, recordNumber(config.strStationID)));
    addOutput(file, outputOf(config.uTrimbleFormat), link.port, frequency);
    if (config.nAddRTCM != 0) addOutput(file, kAddedOutput, link.port, frequency);
    CommandSteps steps;
    if (isInMakersReceiver(type)) append(steps, makerText(type, "RG,B0", 0));
    append(steps, trimbleSteps(portType, file.command("base station"), 0));
    return steps;
}

CommandSteps trimbleRover(GPSOEMTYPE portType, GPSOEMTYPE type, const CRoverConfig& config) {
    if (!roverMaskProblem(config.fElevMask, config.fPDOPMask).empty()) return {};
    const Link link = linkOf(type, config.uTrimblePort, config.nBaud);
    ApplicationFile file(type);
    file.generalControls(static_cast<unsigned char>(std::lround(config.fElevMask)),
                         static_cast<unsigned char>(std::lround(config.fPDOPMask)))
        .record(kStaticOrKinematic, Bytes{kKinematic})
        .portSilence(link.port)
        .serialPort(link.port, baudCodeOfIndex(link.baud), parityOf(config.uParity), 0);
    return trimbleSteps(portType, file.command("rover"), 0);
}

}  // namespace vkcomm
