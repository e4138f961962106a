#include "vkcomm/frames/trimble_commands.h"

#include <algorithm>
#include <array>
#include <utility>

#include "vkcomm/frames/baud_rates.h"

namespace vkcomm {

namespace {

constexpr unsigned char kOlderDevice = 0x06;
constexpr unsigned char kOtherDevice = 0x08;

constexpr std::array<unsigned char, 10> kBaudCodes = {8, 9, 10, 1, 2, 3, 4, 5, 6, 7};
static_assert(kBaudCodes.size() == kBaudRates.size());

constexpr std::array<unsigned char, 6> kGsofRecords = {1, 3, 6, 9, 12, 14};

// Concise, with enhancements and ephemerides.
constexpr unsigned char kRawFlags = 0x07;

// How long a record is in the files of the older receivers and of the others. The older ones have the longer
// general controls and the shorter serial port; deliberate, as their command sets give them.
struct RecordLength {
    std::size_t older;
    std::size_t other;

    constexpr std::size_t of(bool isOlder) const { return isOlder ? older : other; }
};

constexpr RecordLength kGeneralLength = {8, 6};
constexpr RecordLength kSerialLength = {4, 6};
constexpr RecordLength kSilenceLength = {4, 8};

unsigned char lowByte(int value) { return static_cast<unsigned char>(value); }

Bytes padded(Bytes content, std::size_t length) {
    content.resize(length);
    return content;
}

std::string onPort(const char* what, int port) { return what + integerText(port); }

}  // namespace

TrimbleCommand serialQuery() { return {0x06, {}, "ask for serial numbers"}; }

TrimbleCommand statusQuery() { return {0x08, {}, "ask for the status"}; }

TrimbleCommand optionQuery() { return {0x4A, {}, "ask for the options"}; }

TrimbleCommand satelliteQuery(unsigned char data, unsigned char satellite) {
    constexpr unsigned char kDisable = 4, kEnable = 5;
    const char* what = data == kDisable  ? "disable a satellite"
                       : data == kEnable ? "enable a satellite"
                                         : "ask for satellite data";
    return {0x54, {data, satellite, 0}, what};
}

TrimbleCommand breakQuery() { return {0x49, {0x02, 0x02, 0x05, 0x00, 0x01, 0x00}, "ask what a break does"}; }

TrimbleCommand fileListQuery() { return {0x66, {}, "ask for the list of application files"}; }

TrimbleCommand fileQuery(short file) {
    const Bytes number = {lowByte(file / 256), lowByte(file % 256)};
    return {0x65, number, "ask for application file " + integerText(file)};
}

TrimbleCommand receiverReset() {
    return {0x58, {0xFF, 0x03, 'R', 'E', 'S', 'E', 'T'}, "reset to factory defaults", true};
}

TrimbleCommand rawQuery(unsigned char type, unsigned char flags) {
    return {0x56, {type, flags, 0}, "ask for raw data"};
}

std::optional<TrimbleCommand> gsofOutput(int port, GPSOEMTYPE type, int rate) {
    if (rate < 1 || rate > 13) return std::nullopt;
    ApplicationFile file(type, ApplicationFile::Before::kFactoryDefaults);
    constexpr unsigned char kEveryFiveSeconds = 5;
    if (boardInside(type) == SetupFamily::kTrimble)
        file.output(kRawOutput, lowByte(port), kEveryFiveSeconds, kRawFlags);
    for (const unsigned char record : kGsofRecords)
        file.output(kGsofOutput, lowByte(port), lowByte(rate), record);
    return file.command(onPort("factory defaults, then GSOF output on port ", port));
}

TrimbleCommand portBaud(int port, int baud, GPSOEMTYPE type) {
    return ApplicationFile(type)
        .serialPort(lowByte(port), baudCodeOfRate(baud), 0, 0)
        .command(onPort("baud rate of port ", port));
}

TrimbleCommand portSilence(int port, GPSOEMTYPE type) {
    return ApplicationFile(type).portSilence(lowByte(port)).command(onPort("all output off on port ", port));
}

TrimbleCommand positionMasks(unsigned char elevation, unsigned char pdop, GPSOEMTYPE type) {
    return ApplicationFile(type).generalControls(elevation, pdop).command("masks");
}

TrimbleCommand rawOutput(GPSOEMTYPE type, int port, unsigned char rate) {
    return ApplicationFile(type)
        .output(kRawOutput, lowByte(port), rate, rate != 0 ? kRawFlags : 0)
        .command(onPort("raw data on port ", port));
}

ApplicationFile::ApplicationFile(GPSOEMTYPE type, Before before)
    : m_older(isOlderTrimble(type)), m_factoryDefaults(before == Before::kFactoryDefaults) {
    constexpr unsigned char kOnlyPage = 0x00, kFileVersion = 0x03, kApplyNow = 0x01;
    m_body = {0x00,
              kOnlyPage,
              kOnlyPage,
              kFileVersion,
              m_older ? kOlderDevice : kOtherDevice,
              kApplyNow,
              lowByte(m_factoryDefaults)};
}

ApplicationFile& ApplicationFile::record(FileRecord type, ByteSpan content) {
    content = content.first(std::min<std::size_t>(content.size(), 0xFF));
    m_body.push_back(type);
    m_body.push_back(static_cast<unsigned char>(content.size()));
    m_body.insert(m_body.end(), content.begin(), content.end());
    return *this;
}

ApplicationFile& ApplicationFile::generalControls(unsigned char elevation, unsigned char pdop) {
    constexpr unsigned char kMeasurementRate = 0x01;
    return record(kGeneralControlsRecord,
                  padded({elevation, kMeasurementRate, pdop}, kGeneralLength.of(m_older)));
}

ApplicationFile& ApplicationFile::serialPort(unsigned char port, unsigned char baudCode, unsigned char parity,
                                             unsigned char flowControl) {
    return record(kSerialPortRecord,
                  padded({port, baudCode, parity, flowControl}, kSerialLength.of(m_older)));
}

ApplicationFile& ApplicationFile::output(FileOutput output, unsigned char port, unsigned char frequency,
                                         unsigned char detail) {
    constexpr unsigned char kNoOffset = 0;
    return record(kOutputRecord, Bytes{output, port, frequency, kNoOffset, detail, 0, 0, 0});
}

ApplicationFile& ApplicationFile::portSilence(unsigned char port) {
    return record(kOutputRecord, padded({kEveryOutput, port}, kSilenceLength.of(m_older)));
}

TrimbleCommand ApplicationFile::command(std::string what) const {
    return {kApplicationFile, m_body, std::move(what), m_factoryDefaults};
}

unsigned char baudCodeOfRate(int baud) {
    const auto found = std::find(kBaudRates.begin(), kBaudRates.end(), baud);
    return found == kBaudRates.end() ? 0 : baudCodeOfIndex(static_cast<int>(found - kBaudRates.begin()));
}

unsigned char baudCodeOfIndex(int index) {
    return index >= 0 && index < static_cast<int>(kBaudCodes.size())
               ? kBaudCodes[static_cast<std::size_t>(index)]
               : 0;
}

}  // namespace vkcomm
