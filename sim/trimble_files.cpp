#include "sim/trimble_files.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string_view>

#include "sim/arguments.h"
#include "vkcomm/util/numbers.h"

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
constexpr Named kOutputs[] = {{0x02, "CMR"}, {0x03, "RTCM"}, {0x04, "RT17"}, {0x06, "GGA"}, {0x07, "GGK"},
                              {0x08, "ZDA"}, {0x0A, "GSOF"}, {0x0C, "VTG"},  {0x0D, "GST"}, {0x12, "GSV"}};
constexpr Named kCmrKinds[] = {
    {0, "CMR+"}, {1, "moving-base CMR"}, {2, "standard CMR"}, {3, "CMRx"}, {4, "moving-base CMRx"}};
constexpr Named kGsofRecords[] = {{1, "1"},   {2, "2"},   {3, "3"},   {4, "4"},   {5, "5"},   {6, "6"},
                                  {7, "7"},   {8, "8"},   {9, "9"},   {10, "10"}, {11, "11"}, {12, "12"},
                                  {13, "13"}, {14, "14"}, {15, "15"}, {16, "16"}};

constexpr unsigned char kAllOutputs = 0xFF;

template <std::size_t Size>
std::string_view nameOf(const Named (&table)[Size], unsigned char code) {
    const auto* row = std::ranges::find(table, code, &Named::code);
    return row == std::end(table) ? std::string_view() : row->name;
}

std::string decimal(long long value) {
    std::string text;
    appendInteger(text, value);
    return text;
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

// ---- records: content, what the device's generation is, settings; each gives the problem, or nothing

std::string generalControls(ByteSpan content, ReceiverSettings& settings) {
    constexpr unsigned char kHighestElevation = 90, kHighestRate = 2;
    if (content[0] > kHighestElevation) return "the elevation mask is above 90 degrees";
    if (content[1] > kHighestRate) return "the measurement rate is not known";
    if (content[3] != 0 || content[4] != 0) return "a reserved byte is not 0";
    settings.set("elevation mask", decimal(content[0]));
    settings.set("pdop mask", decimal(content[2]));
    return {};
}

std::string serialPort(ByteSpan content, ReceiverSettings& settings) {
    const std::string_view rate = nameOf(kRates, content[1]), parity = nameOf(kParities, content[2]),
                           flow = nameOf(kFlowControls, content[3]);
    if (content[0] > kHighestPort) return "there is no such port";
    if (rate.empty()) return "the baud code is not known";
    if (parity.empty() || flow.empty()) return "the parity or the flow control is not known";
    settings.set("port " + decimal(content[0]),
                 joined({rate, " baud, parity ", parity, ", flow control ", flow}));
    return {};
}

std::string degreesText(double radians) {
    std::string text;
    appendFixed(text, radians * (180.0 / std::numbers::pi), 9);
    return text;
}

std::string referencePosition(ByteSpan content, ReceiverSettings& settings) {
    constexpr unsigned kHighestRtcm = 1023, kHighestCmr = 31;
    ByteReader reader(content.subspan(2));
    const std::string name = shownText(reader.bytes(8));
    const auto latitude = reader.be<double>(), longitude = reader.be<double>(), height = reader.be<double>();
    const auto rtcm = reader.be<std::uint16_t>();
    const auto cmr = reader.be<std::uint8_t>();
    if (content[0] != 0 || content[1] != 0) return "a reserved byte is not 0";
    // written so that NaN is outside
    if (!(std::abs(latitude) <= std::numbers::pi / 2)) return "the latitude is beyond 90 degrees";
    if (!(std::abs(longitude) <= std::numbers::pi * 2)) return "the longitude is beyond 360 degrees";
    if (!(height >= -1000.0 && height <= 20e6)) return "the height is out of range";
    if (rtcm > kHighestRtcm || cmr > kHighestCmr) return "the station is out of range";
    std::string position = degreesText(latitude) + ' ' + degreesText(longitude) + ' ';
    appendFixed(position, height, 3);
    settings.set("mode", "base");
    settings.set("position", position);
    settings.set("station name", name.substr(0, name.find_last_not_of(' ') + 1));
    settings.set("station rtcm", decimal(rtcm));
    settings.set("station cmr", decimal(cmr));
    return {};
}

std::string staticOrKinematic(ByteSpan content, ReceiverSettings& settings) {
    if (content[0] > 1) return "neither static nor kinematic";
    settings.set("mode", content[0] == 0 ? "rover" : "static");
    return {};
}

// What of an output is behind its frequency, and what more there is in its name; empty names are wrong.
struct OutputForm {
    std::string name;
    std::string form;
};

OutputForm formOf(unsigned char type, ByteSpan specific) {
    switch (type) {
    case 0x0A: return {joined({"GSOF ", nameOf(kGsofRecords, specific[0])}), ""};
    case 0x02: return {"CMR", joined({", ", nameOf(kCmrKinds, specific[0])})};
    case 0x03:
    case 0x04: return {std::string(nameOf(kOutputs, type)), ", flags " + decimal(specific[0])};
    default: return {std::string(nameOf(kOutputs, type)), ""};
    }
}

// Type, port, frequency, offset in seconds, four bytes that depend on the type.
std::string outputMessage(ByteSpan content, ReceiverSettings& settings) {
    const OutputForm form = formOf(content[0], content.subspan(4));
    const std::string_view frequency = nameOf(kFrequencies, content[2]);
    if (form.name.empty() || form.name.ends_with(' ')) return "the output is not known";
    if (form.form.ends_with(' ')) return "the kind of CMR is not known";
    if (content[1] > kHighestPort) return "there is no such port";
    if (content[2] != 0 && frequency.empty()) return "the frequency is not known";
    if (!isZero(content.subspan(5))) return "a reserved byte is not 0";
    const std::string name = "output " + decimal(content[1]) + ' ' + form.name;
    if (content[2] == 0)
        settings.erase(name);
    else
        settings.set(name, joined({frequency, form.form}));
    return {};
}

std::string silence(ByteSpan content, ReceiverSettings& settings) {
    if (content[1] > kHighestPort) return "there is no such port";
    if (!isZero(content.subspan(2))) return "a reserved byte is not 0";
    settings.eraseAll("output " + decimal(content[1]) + ' ');
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
        if (!problem.empty()) return "record " + decimal(type) + ": " + problem;
    }
    if (block.appliesNow != 0) settings = changed;
    return {};
}

}  // namespace vkcomm::sim
