#include "host/settings_kinds.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <type_traits>

#include "vkcomm/settings/antenna_type.h"
#include "vkcomm/settings/base_config.h"
#include "vkcomm/settings/bluetooth_list.h"
#include "vkcomm/settings/rover_config.h"
#include "vkcomm/util/numbers.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

namespace {

using base::CObject;

template <typename Member>
struct RecordOf;

template <typename Record, typename Field>
struct RecordOf<Field Record::*> {
    using Type = Record;
};

template <typename Field>
SettingsRef refTo(Field& field) {
    return &field;
}

template <std::size_t Size>
SettingsRef refTo(std::array<unsigned char, Size>& field) {
    return std::span<unsigned char>(field);
}

SettingsRef refTo(BluetoothAddress& field) { return &field; }

template <auto First, auto... Rest>
auto& follow(CObject& object) {
    auto& record = static_cast<typename RecordOf<decltype(First)>::Type&>(object);
    return ((record.*First).*....*Rest);
}

// The field at the end of a path of members that begins in the record.
template <auto... Path>
SettingsRef at(CObject& object) {
    return refTo(follow<Path...>(object));
}

template <std::size_t Index, auto... Path>
SettingsRef element(CObject& object) {
    return &follow<Path...>(object)[Index];
}

std::string emptyText(const SettingsRef& value) {
    return std::get<std::wstring*>(value)->empty() ? "is empty" : "";
}

std::string sourceOfCorrections(const SettingsRef& value) {
    constexpr int kPortBits = 0x1F, kLastPort = 4, kGprs = 0x20, kDataModule = 0x80;
    const int com = *std::get<unsigned char*>(value);
    std::string problem;
    if ((com & kPortBits) > kLastPort)
        appendFormat(problem, "has port %d in bits 0 to 4; receivers have 0 to %d", com & kPortBits,
                     kLastPort);
    else if ((com & kGprs) != 0 && (com & kDataModule) != 0)
        problem = "has two sources of corrections: bits 0x20 and 0x80";
    return problem;
}

std::string noAddress(const SettingsRef& value) {
    return *std::get<BluetoothAddress*>(value) == BluetoothAddress{} ? "is no address of a device" : "";
}

constexpr SettingsLimits kAny = {};
constexpr SettingsLimits kFormats = {0, 8};
constexpr SettingsLimits kDegrees = {0, 90};
constexpr SettingsLimits kPdop = {0, 255};
constexpr SettingsLimits kPorts = {0, 3};
constexpr SettingsLimits kBauds = {0, 9};
constexpr SettingsLimits kJavadBauds = {0, 5};
constexpr SettingsLimits kParities = {0, 2};
constexpr SettingsLimits kDistances = {-5, 5};  // no antenna is larger
constexpr SettingsLimits kHeights = {-10, 100};
constexpr SettingsLimits kThreeChoices = {0, 2};

constexpr const char* kFormatMeaning =
    "correction format: 0 3 6 CMR, 1 4 RTCM 2, 2 5 RTCA, 7 RTCM 3, 8 RTCM type 1";
constexpr const char* kTrimbleFormatMeaning = "correction format index on Trimble receivers";
constexpr const char* kBaudMeaning =
    "0 to 9: 300, 600, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200 bit/s";
constexpr const char* kJavadBaudMeaning = "0 to 5: 4800, 9600, 19200, 38400, 57600, 115200 bit/s";
constexpr const char* kParityMeaning = "0 none, 1 odd, 2 even";
constexpr const char* kHostsOwn = "the host's own";

// The fields of an antenna that stands in a record, or is one.
template <auto... Path>
std::vector<SettingsField> antennaFields(std::string_view group) {
    return {
        {group, "strName", "antenna type", at<Path..., &CAntType::strName>, kAny, emptyText},
        {group, "uMeasureTo", "height measured to: 0 bottom, 1 top, 2 middle",
         at<Path..., &CAntType::uMeasureTo>, kThreeChoices},
        {group, "fPhaseHeight", "phase centre above the mark, metres", at<Path..., &CAntType::fPhaseHeight>,
         kHeights},
        {group, "fBottomOffset", "bottom to phase centre, metres", element<0, Path..., &CAntType::fOffset>,
         kDistances},
        {group, "fTopOffset", "top to phase centre, metres", element<1, Path..., &CAntType::fOffset>,
         kDistances},
        {group, "fMiddleOffset", "middle to phase centre, metres", element<2, Path..., &CAntType::fOffset>,
         kDistances},
    };
}

// clang-format off
std::vector<SettingsField> baseFields() {
    using R = CBaseConfig;
    return {
        {"", "uVarekFormat", kFormatMeaning, at<&R::uVarekFormat>, kFormats},
        {"", "uTrimbleFormat", kTrimbleFormatMeaning, at<&R::uTrimbleFormat>},
        {"", "uElevMask", "elevation mask, degrees", at<&R::uElevMask>, kDegrees},
        {"", "uVarekPort", "port on the maker's boards: 0 is com1", at<&R::uVarekPort>, kPorts},
        {"", "uTrimblePort", "port on Trimble receivers", at<&R::uTrimblePort>, kPorts},
        {"", "nBaud", kBaudMeaning, at<&R::nBaud>, kBauds},
        {"", "strStationID", "station identifier", at<&R::strStationID>, kAny, emptyText},
        {"", "uInterval", "seconds between corrections", at<&R::uInterval>, {1, 255}},
        {"", "nAddRTCM", "not 0: additional RTCM messages as well", at<&R::nAddRTCM>},
        {"", "uPDOPMask", "PDOP mask", at<&R::uPDOPMask>, kPdop},
        {"", "nParity", kParityMeaning, at<&R::nParity>, kParities},
        {"", "nCTS", "not 0: hardware flow control", at<&R::nCTS>},
        {"", "uOption", kHostsOwn, at<&R::uOption>},
        {"", "nStationType", "variant of the NovAtel setup: 0, 1 or 2", at<&R::nStationType>, kThreeChoices},
    };
}

std::vector<SettingsField> baseJavadFields() {
    using R = CBaseConfigJavad;
    return {
        {"", "uDifFormat", "messages: 0 to 5 RTCM 2, 6 to 9 RTCM 3, 10 11 CMR, 12 13 Javad RTK", at<&R::uDifFormat>, {0, 13}},
        {"", "uElevMask", "elevation mask, degrees", at<&R::uElevMask>, kDegrees},
        {"", "uPort", "receiver port: 0 to 3 are a to d", at<&R::uPort>, kPorts},
        {"", "nBaud", "rate: 0 to 4 are 4800 to 57600 bit/s, any other 115200", at<&R::nBaud>, kAny},
        {"", "strStationID", "station identifier", at<&R::strStationID>, kAny, emptyText},
        {"", "uExtra", kHostsOwn, at<&R::uExtra>},
    };
}

std::vector<SettingsField> roverFields() {
    using R = CRoverConfig;
    return {
        {"", "uVarekFormat", kFormatMeaning, at<&R::uVarekFormat>, kFormats},
        {"", "uTrimbleFormat", kTrimbleFormatMeaning, at<&R::uTrimbleFormat>},
        {"", "uReserved", kHostsOwn, at<&R::uReserved>},
        {"", "strStationIndex", "station to take corrections from, or ANY", at<&R::strStationIndex>, kAny, emptyText},
        {"", "nLimitBase", "not 0: from that station only", at<&R::nLimitBase>},
        {"", "fElevMask", "elevation mask, degrees", at<&R::fElevMask>, kDegrees},
        {"", "nOption", kHostsOwn, at<&R::nOption>},
        {"", "fPDOPMask", "PDOP mask", at<&R::fPDOPMask>, kPdop},
        {"", "uTrimblePort", "port on Trimble receivers", at<&R::uTrimblePort>, kPorts},
        {"", "nBaud", kBaudMeaning, at<&R::nBaud>, kBauds},
        {"", "uFlag", kHostsOwn, at<&R::uFlag>},
        {"", "uParity", kParityMeaning, at<&R::uParity>, kParities},
        {"", "uThales", "switches: 1 VRS, 2 beeper off, 4 fast carrier-phase differential", at<&R::uThales>, {0, 7}},
        {"", "uOption", kHostsOwn, at<&R::uOption>},
        {"", "uCom", "port on the maker's boards; plus 32 own GPRS link, 64 VRS, 128 data module", at<&R::uCom>, kAny, sourceOfCorrections},
    };
}

std::vector<SettingsField> roverJavadFields() {
    using R = CRoverConfigJavad;
    return {
        {"", "uDifFormat", "corrections: 0 RTCM 2, 1 RTCM 3, 2 CMR, 3 JPS", at<&R::uDifFormat>, {0, 3}},
        {"", "fElevMask", "elevation mask, degrees", at<&R::fElevMask>, kDegrees},
        {"", "fPDOPMask", "PDOP mask", at<&R::fPDOPMask>, kPdop},
        {"", "uPort", "receiver port: 0 to 3 are a to d", at<&R::uPort>, kPorts},
        {"", "nBaud", kJavadBaudMeaning, at<&R::nBaud>, kJavadBauds},
        {"", "nNetwork", "network corrections: 0 none, 1 VRS, 2 FKP", at<&R::nNetwork>, kThreeChoices},
        {"", "nAmbiguityLevel", "confidence of ambiguity fixes: 0 low, 1 medium, any other high", at<&R::nAmbiguityLevel>, kAny},
        {"", "nEnvironment", "0 open sky, 1 forest", at<&R::nEnvironment>, {0, 1}},
    };
}

std::vector<SettingsField> bluetoothFields() {
    using R = CBTInformation;
    return {
        {"", "uAddress", "device address", at<&R::uAddress>, kAny, noAddress},
        {"", "strName", "name of the device", at<&R::strName>, kAny, emptyText},
        {"", "bPreferred", "1: the preferred device", at<&R::bPreferred>, {0, 1}},
    };
}

// The antenna's block inside that of a base, or alone.
std::vector<SettingsPair> antennaPairs(std::string_view group, int since) {
    return {
        {group, "", since}, {group, "strName", since}, {group, "fBottomOffset", since}, {group, "fTopOffset", since},
        {group, "fMiddleOffset", since}, {group, "uMeasureTo", since}, {group, "fPhaseHeight", since},
    };
}

std::vector<SettingsPair> basePairs() {
    return {
        {"", ""}, {"", "nAddRTCM"}, {"", "uElevMask"}, {"", "uPDOPMask"}, {"", "uVarekFormat"}, {"", "uTrimbleFormat"},
        {"", "uInterval"}, {"", "nCTS"}, {"", "nBaud"}, {"", "nParity"}, {"", "uVarekPort"}, {"", "uTrimblePort"},
        {"", "strStationID", 3}, {"", "nStationType", 3},
    };
}

std::vector<SettingsPair> roverPairs() {
    return {
        {"", ""}, {"", "nLimitBase"}, {"", "fElevMask"}, {"", "fPDOPMask"}, {"", "strStationIndex"}, {"", "uVarekFormat"},
        {"", "uTrimbleFormat"}, {"", "nBaud"}, {"", "uParity"}, {"", "uCom"}, {"", "uTrimblePort"},
    };
}

// clang-format on

template <typename T>
std::vector<T> joined(std::vector<T> front, const std::vector<T>& back) {
    front.insert(front.end(), back.begin(), back.end());
    return front;
}

template <typename Record>
int readBlock(CObject& record, base::CStdioFileCe& file) {
    return static_cast<Record&>(record).bReadFile(file);
}

template <typename Record>
void writeBlock(const CObject& record, base::CStdioFileCe& file) {
    static_cast<const Record&>(record).vWriteFile(file);
}

template <typename Record>
SettingsKind withBlock(SettingsKind kind, std::vector<SettingsPair> pairs) {
    kind.pairs = std::move(pairs);
    kind.readBlock = readBlock<Record>;
    kind.writeBlock = writeBlock<Record>;
    return kind;
}

SettingsKind baseKind() {
    auto kind =
        withBlock<CBaseConfig>({"base", "base station", &CBaseConfig::classCBaseConfig,
                                joined(baseFields(), antennaFields<&CBaseConfig::antenna>("antenna"))},
                               joined(basePairs(), antennaPairs("antenna", 2)));
    kind.hasTitleLine = true;
    kind.newestVersion = 4;
    return kind;
}

SettingsKind roverKind() {
    auto kind = withBlock<CRoverConfig>({"rover", "rover", &CRoverConfig::classCRoverConfig, roverFields()},
                                        roverPairs());
    kind.hasTitleLine = true;
    return kind;
}

SettingsKind bluetoothKind() {
    SettingsKind kind{"bluetooth", "known Bluetooth devices", &CBTInformation::classCBTInformation,
                      bluetoothFields()};
    kind.isList = true;
    return kind;
}

template <typename Number>
std::string shortest(Number number) {
    std::array<char, 64> text;
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
}

struct ValueText {
    std::string operator()(const unsigned char* value) const { return shortest(int{*value}); }

    std::string operator()(const std::int32_t* value) const { return shortest(*value); }

    std::string operator()(const float* value) const { return shortest(*value); }

    std::string operator()(const std::wstring* value) const { return quotedText(toUtf8(*value)); }

    std::string operator()(const BluetoothAddress* value) const { return bluetoothAddressText(*value, ':'); }

    std::string operator()(std::span<unsigned char> value) const {
        std::string text;
        for (const unsigned char byte : value)
            (text += text.empty() ? "" : " ") += shortest(int{byte});
        return text;
    }
};

// Nothing for values that are no numbers.
std::optional<double> numberIn(const SettingsRef& value) {
    if (const auto* byte = std::get_if<unsigned char*>(&value)) return **byte;
    if (const auto* integer = std::get_if<std::int32_t*>(&value)) return **integer;
    if (const auto* real = std::get_if<float*>(&value)) return **real;
    return std::nullopt;
}

}  // namespace

std::string SettingsField::path() const {
    return group.empty() ? std::string(name) : std::string(group).append(".").append(name);
}

const SettingsField* SettingsKind::find(std::string_view group, std::string_view field) const {
    const auto found = std::ranges::find_if(
        fields, [&](const SettingsField& each) { return each.group == group && each.name == field; });
    return found == fields.end() ? nullptr : &*found;
}

std::span<const SettingsKind> settingsKinds() {
    static const std::array<SettingsKind, 6> kinds = {
        baseKind(),
        SettingsKind{"base-javad", "Javad base station", &CBaseConfigJavad::classCBaseConfigJavad,
                     joined(baseJavadFields(), antennaFields<&CBaseConfigJavad::antenna>("antenna"))},
        roverKind(),
        SettingsKind{"rover-javad", "Javad rover", &CRoverConfigJavad::classCRoverConfigJavad,
                     roverJavadFields()},
        withBlock<CAntType>({"antenna", "antenna", &CAntType::classCAntType, antennaFields<>("")},
                            antennaPairs("", 1)),
        bluetoothKind(),
    };
    return kinds;
}

const SettingsKind* findSettingsKind(std::string_view name) {
    const auto found = std::ranges::find(settingsKinds(), name, &SettingsKind::name);
    return found == settingsKinds().end() ? nullptr : &*found;
}

std::string quotedText(std::string_view utf8, std::size_t mostBytes) {
    return nlohmann::json(cutUtf8(utf8, mostBytes))
        .dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string settingsValueText(const SettingsRef& value) { return std::visit(ValueText(), value); }

std::string problemWithValue(const SettingsField& field, const SettingsRef& value) {
    const auto number = numberIn(value);
    const bool means = !number || (*number >= field.limits.least && *number <= field.limits.most);
    if (means) return field.rule == nullptr ? std::string() : field.rule(value);
    const bool limited = field.limits.most < std::numeric_limits<double>::max();
    return limited ? "is not " + shortest(field.limits.least) + " to " + shortest(field.limits.most)
                   : "is no number";
}

}  // namespace vkcomm
