#include "sim/trimble_files.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <string_view>

#include "sim/command_text.h"
#include "sim/reference_position.h"

namespace vkcomm::sim {

namespace {

constexpr unsigned char kOlderDevice = 6, kOtherDevice = 8;
constexpr unsigned kHighestPort = 7;

struct Named {
    unsigned char code;
    std::string_view name;
};

constexpr Named kRates[] = {{0, "9600"},  {1, "2400"},    {2, "4800"},   {3, "9600"}, {4, "19200"},
                            {5, "38400"}, {6, "57600"},   {7, "115200"}, {8, "300"},  {9, "600"},
                            {10, "1200"}, {11, "230400"}, {12, "460800"}};
constexpr Named kParities[] = {{0, "none"}, {1, "odd"}, {2, "even"}};
constexpr Named kFlowControls[] = {{0, "none"}, {1, "CTS"}};
constexpr Named kFrequencies[] = {{1, "10 Hz"}, {2, "5 Hz"},  {3, "1 Hz"},   {4, "2 s"},   {5, "5 s"},
                                  {6, "10 s"},  {7, "30 s"},  {8, "60 s"},   {9, "5 min"}, {10, "10 min"},
                                  {11, "2 Hz"}, {12, "15 s"}, {13, "20 Hz"}, {15, "50 Hz"}};
constexpr unsigned char kCmr = 0x02, kRtcm = 0x03, kRaw = 0x04, kGsof = 0x0A, kAllOutputs = 0xFF;
constexpr Named kOutputs[] = {{kCmr, "CMR"}, {kRtcm, "RTCM"}, {kRaw, "RT17"}, {0x06, "GGA"}, {0x07, "GGK"},
                              {0x08, "ZDA"}, {kGsof, "GSOF"}, {0x0C, "VTG"},  {0x0D, "GST"}, {0x12, "GSV"}};
constexpr Named kCmrKinds[] = {
    {0, "CMR+"}, {1, "moving-base CMR"}, {2, "standard CMR"}, {3, "CMRx"}, {4, "moving-base CMRx"}};

template <std::size_t Size>
std::string_view nameOf(const Named (&table)[Size], unsigned char code) {
    const auto* row = std::ranges::find(table, code, &Named::code);
    return row == std::end(table) ? std::string_view() : row->name;
}

std::string joined(std::initializer_list<std::string_view> parts) {
    std::string text;
    for (const std::string_view part : parts)
        text += part;
    return text;
}

bool isZero(ByteSpan bytes) {
    return std::ranges::all_of(bytes, [](unsigned char byte) { return byte == 0; });
}

// ---- records; each gives the problem, or nothing

std::string generalControls(ByteSpan content, ReceiverSettings& settings) {
    constexpr unsigned char kHighestElevation = 90, kHighestRate = 2;
    if (content[0] > kHighestElevation) return "the elevation mask is above 90 degrees";
    if (content[1] > kHighestRate) return "the measurement rate is not known";
    if (content[3] != 0 || content[4] != 0) return "a reserved byte is not 0";
    settings.set("elevation mask", wholeText(content[0]));
    settings.set("pdop mask", wholeText(content[2]));
    return {};
}

std::string serialPort(ByteSpan content, ReceiverSettings& settings) {
    const std::string_view rate = nameOf(kRates, content[1]), parity = nameOf(kParities, content[2]),
                           flow = nameOf(kFlowControls, content[3]);
    if (content[0] > kHighestPort) return "there is no such port";
    if (rate.empty()) return "the baud code is not known";
    if (parity.empty() || flow.empty()) return "the parity or the flow control is not known";
    settings.set("port " + wholeText(content[0]),
                 joined({rate, " baud, parity ", parity, ", flow control ", flow}));
    return {};
}

// Two zeros, name, latitude, longitude, height, the identifiers for RTCM and CMR.
std::string referencePosition(ByteSpan content, ReceiverSettings& settings) {
    constexpr unsigned kHighestRtcm = 1023, kHighestCmr = 31;
    ByteReader reader(content.subspan(2));
    const std::string name = shownText(reader.bytes(8));
    ReferencePosition position;
    for (double* const value : {&position.latitude, &position.longitude, &position.height})
        *value = reader.be<double>();
    const auto rtcm = reader.be<std::uint16_t>();
    const auto cmr = reader.be<std::uint8_t>();
    if (content[0] != 0 || content[1] != 0) return "a reserved byte is not 0";
    if (std::string problem = problemOf(position); !problem.empty()) return problem;
    if (rtcm > kHighestRtcm || cmr > kHighestCmr) return "the station is out of range";
    settings.set("mode", "base");
    settings.set("position", textOf(position));
    settings.set("station name", name.substr(0, name.find_last_not_of(' ') + 1));
    settings.set("station rtcm", wholeText(rtcm));
    settings.set("station cmr", wholeText(cmr));
    return {};
}

std::string staticOrKinematic(ByteSpan content, ReceiverSettings& settings) {
    if (content[0] > 1) return "neither static nor kinematic";
    settings.set("mode", content[0] == 0 ? "rover" : "static");
    return {};
}

// An output as a setting: its name, and what stands behind its frequency.
struct Output {
    std::string name;
    std::string form;
    std::string problem = {};
};

// What the first of the bytes that depend on the type says.
Output outputOf(unsigned char type, unsigned char specific) {
    constexpr unsigned char kHighestGsof = 16;
    std::string name(nameOf(kOutputs, type));
    if (name.empty()) return {{}, {}, "the output is not known"};
    if (type == kRtcm || type == kRaw) return {name, ", flags " + wholeText(specific)};
    if (type == kCmr) {
        const std::string_view kind = nameOf(kCmrKinds, specific);
        return {name, joined({", ", kind}), kind.empty() ? "the kind of CMR is not known" : ""};
    }
    if (type != kGsof) return {name, {}};
    const bool isRecord = specific >= 1 && specific <= kHighestGsof;
    return {name + ' ' + wholeText(specific), {}, isRecord ? "" : "the GSOF record is not known"};
}

// Type, port, frequency, offset in seconds, four bytes that depend on the type.
std::string outputMessage(ByteSpan content, ReceiverSettings& settings) {
    const Output output = outputOf(content[0], content[4]);
    const std::string_view frequency = nameOf(kFrequencies, content[2]);
    if (!output.problem.empty()) return output.problem;
    if (content[1] > kHighestPort) return "there is no such port";
    if (content[2] != 0 && frequency.empty()) return "the frequency is not known";
    if (!isZero(content.subspan(5))) return "a reserved byte is not 0";
    const std::string name = "output " + wholeText(content[1]) + ' ' + output.name;
    if (content[2] == 0)
        settings.erase(name);
    else
        settings.set(name, joined({frequency, output.form}));
    return {};
}

std::string silence(ByteSpan content, ReceiverSettings& settings) {
    if (content[1] > kHighestPort) return "there is no such port";
    if (!isZero(content.subspan(2))) return "a reserved byte is not 0";
    settings.eraseAll("output " + wholeText(content[1]) + ' ');
    return {};
}

struct RecordForm {
    unsigned char type;
    bool isSilence;  // of output messages: all off
    std::size_t older, other;
    std::string (*apply)(ByteSpan content, ReceiverSettings& settings);
};

constexpr RecordForm kRecords[] = {
    {0x01, false, 8, 6, generalControls},
    {0x02, false, 4, 6, serialPort},
    {0x03, false, 37, 37, referencePosition},
    {0x07, false, 8, 8, outputMessage},
    {0x07, true, 4, 8, silence},
    {0x0A, false, 1, 1, staticOrKinematic},
};

std::string applyRecord(unsigned char type, ByteSpan content, bool isOlder, ReceiverSettings& settings) {
    const bool isSilence = type == 0x07 && !content.empty() && content[0] == kAllOutputs;
    const auto fits = [&](const RecordForm& form) {
        return form.type == type && form.isSilence == isSilence;
    };
    const auto* form = std::ranges::find_if(kRecords, fits);
    if (form == std::end(kRecords)) return "not known";
    if (content.size() != (isOlder ? form->older : form->other)) return "of a wrong length";
    return form->apply(content, settings);
}

struct ControlBlock {
    unsigned char version, device, appliesNow, factoryDefaults;
};

std::string problemOf(const ControlBlock& block) {
    constexpr unsigned char kVersion = 3, kAnyDevice = 0;
    if (block.version != kVersion) return "the version is not 3";
    if (block.device != kAnyDevice && block.device != kOlderDevice && block.device != kOtherDevice)
        return "the file is for another device";
    if (block.appliesNow > 1 || block.factoryDefaults > 1) return "a flag is neither 0 nor 1";
    return {};
}

}  // namespace

std::string applyFile(ByteSpan file, ReceiverSettings& settings) {
    ByteReader reader(file);
    const ByteSpan head = reader.bytes(4);
    if (!reader.ok()) return "the file has no control block";
    const ControlBlock block = {head[0], head[1], head[2], head[3]};
    if (std::string problem = problemOf(block); !problem.empty()) return problem;
    ReceiverSettings changed = block.factoryDefaults != 0 ? ReceiverSettings() : settings;
    while (reader.remaining() != 0) {
        const auto type = reader.be<std::uint8_t>();
        const ByteSpan content = reader.bytes(reader.be<std::uint8_t>());
        if (!reader.ok()) return "a record is cut off";
        const std::string problem = applyRecord(type, content, block.device == kOlderDevice, changed);
        if (!problem.empty()) return "record " + wholeText(type) + ": " + problem;
    }
    if (block.appliesNow != 0) settings = changed;
    return {};
}

}  // namespace vkcomm::sim
