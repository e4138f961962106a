#include "vkcomm/frames/application_file_fields.h"

#include <algorithm>
#include <span>
#include <string_view>
#include <utility>

#include "vkcomm/frames/trimble_commands.h"

namespace vkcomm {

namespace {

enum class Kind { kNumber, kAngle, kMetres, kText, kBytes };

struct Meaning {
    unsigned char code;
    const char* text;
};

struct Layout {
    const char* name;
    std::size_t size;
    Kind kind = Kind::kNumber;
    std::span<const Meaning> meanings = {};
};

constexpr Meaning kDevices[] = {{0x06, "older receivers"}, {0x08, "other receivers"}};
constexpr Meaning kFactoryFlags[] = {{0, "keep settings"}, {1, "factory defaults first"}};
constexpr Meaning kRecords[] = {{kGeneralControlsRecord, "general controls"},
                                {kSerialPortRecord, "serial port"},
                                {kReferencePositionRecord, "reference position"},
                                {kOutputRecord, "output message"},
                                {kMotionRecord, "static or kinematic"}};
constexpr Meaning kBauds[] = {{0, "default"}, {1, "2400"},    {2, "4800"},   {3, "9600"}, {4, "19200"},
                              {5, "38400"},   {6, "57600"},   {7, "115200"}, {8, "300"},  {9, "600"},
                              {10, "1200"},   {11, "230400"}, {12, "460800"}};
constexpr Meaning kParities[] = {{0, "none"}, {1, "odd"}, {2, "even"}};
constexpr Meaning kFlows[] = {{0, "none"}, {1, "CTS"}};
constexpr Meaning kMotions[] = {{0, "kinematic"}, {1, "static"}};
constexpr Meaning kOutputs[] = {{kCmrOutput, "CMR"},
                                {kRtcmOutput, "RTCM"},
                                {kRawOutput, "raw data"},
                                {kGsofOutput, "GSOF"},
                                {kEveryOutput, "all off"}};
constexpr Meaning kFrequencies[] = {{0, "off"},     {1, "10 Hz"}, {2, "5 Hz"},  {3, "1 Hz"},   {4, "2 s"},
                                    {5, "5 s"},     {6, "10 s"},  {7, "30 s"},  {8, "60 s"},   {9, "5 min"},
                                    {10, "10 min"}, {11, "2 Hz"}, {12, "15 s"}, {13, "20 Hz"}, {15, "50 Hz"}};
constexpr Meaning kCmrKinds[] = {
    {0, "CMR+"}, {1, "CMR of a moving base"}, {2, "CMR"}, {3, "CMRx"}, {4, "CMRx of a moving base"}};

constexpr Layout kPage[] = {{"transmission", 1}, {"page", 1}, {"last page", 1}};
constexpr Layout kControlBlock[] = {{"file version", 1},
                                    {"device type", 1, Kind::kNumber, kDevices},
                                    {"apply at once", 1},
                                    {"factory flag", 1, Kind::kNumber, kFactoryFlags}};
constexpr Layout kRecordHead[] = {{"record", 1, Kind::kNumber, kRecords}, {"record length", 1}};
constexpr Layout kGeneralControls[] = {
    {"elevation mask, degrees", 1}, {"measurement rate", 1}, {"PDOP mask", 1},
    {"frequency source", 1},        {"reserved", 1},         {"RTK mode", 1},
    {"solution selection", 1}};
constexpr Layout kSerialPort[] = {{"port", 1},
                                  {"baud", 1, Kind::kNumber, kBauds},
                                  {"parity", 1, Kind::kNumber, kParities},
                                  {"flow control", 1, Kind::kNumber, kFlows}};
constexpr Layout kReference[] = {{"flag", 1},
                                 {"node", 1},
                                 {"station name", 8, Kind::kText},
                                 {"latitude", 8, Kind::kAngle},
                                 {"longitude", 8, Kind::kAngle},
                                 {"height", 8, Kind::kMetres},
                                 {"RTCM station", 2},
                                 {"CMR station", 1}};
constexpr Layout kMotion[] = {{"motion", 1, Kind::kNumber, kMotions}};
constexpr Layout kOutput[] = {{"output", 1, Kind::kNumber, kOutputs},
                              {"port", 1},
                              {"frequency", 1, Kind::kNumber, kFrequencies},
                              {"offset, seconds", 1}};
constexpr Layout kCmr[] = {
    {"CMR kind", 1, Kind::kNumber, kCmrKinds}, {"reserved", 1}, {"bandwidth limit", 2}};
constexpr Layout kFlags[] = {{"message flags", 1}};
constexpr Layout kGsof[] = {{"GSOF record", 1}, {"record offset, seconds", 1}};

struct Keyed {
    unsigned char key;
    std::span<const Layout> layout;
};

constexpr Keyed kRecordLayouts[] = {{kGeneralControlsRecord, kGeneralControls},
                                    {kSerialPortRecord, kSerialPort},
                                    {kReferencePositionRecord, kReference},
                                    {kOutputRecord, kOutput},
                                    {kMotionRecord, kMotion}};
constexpr Keyed kOutputLayouts[] = {
    {kCmrOutput, kCmr}, {kRtcmOutput, kFlags}, {kRawOutput, kFlags}, {kGsofOutput, kGsof}};

std::span<const Layout> layoutOf(std::span<const Keyed> layouts, unsigned char key) {
    const auto found =
        std::find_if(layouts.begin(), layouts.end(), [key](const Keyed& each) { return each.key == key; });
    return found == layouts.end() ? std::span<const Layout>() : found->layout;
}

std::string angleText(double radians) {
    constexpr double kDegreesPerRadian = 57.29577951308232;
    return fixedPointText(radians, 12) + " rad, " + fixedPointText(radians * kDegreesPerRadian, 9) +
           " degrees";
}

std::string shownText(ByteSpan bytes) {
    std::string text;
    for (const unsigned char byte : bytes)
        text += byte >= ' ' && byte <= '~' ? static_cast<char>(byte) : '.';
    return text;
}

std::string numberText(ByteSpan bytes, std::span<const Meaning> meanings) {
    long long number = 0;
    for (const unsigned char byte : bytes)
        number = number * 256 + byte;
    std::string text = integerText(number);
    for (const Meaning& meaning : meanings)
        if (meaning.code == number) text += std::string(", ") + meaning.text;
    return text;
}

std::string valueText(const Layout& field, ByteSpan bytes) {
    switch (field.kind) {
    case Kind::kNumber: return numberText(bytes, field.meanings);
    case Kind::kAngle: return angleText(loadBe<double>(bytes.data()));
    case Kind::kMetres: return fixedPointText(loadBe<double>(bytes.data()), 4) + " m";
    case Kind::kText: return shownText(bytes);
    case Kind::kBytes: break;
    }
    return {};
}

class FieldReader {
public:
    explicit FieldReader(ByteSpan body) : m_body(body) {}

    std::vector<FileField> readAll() && {
        take(kPage, m_body.size());
        if (m_at < m_body.size() && isFirstPage()) take(kControlBlock, m_body.size());
        while (m_at < m_body.size())
            readRecord();
        return std::move(m_fields);
    }

private:
    // The only one with a control block.
    bool isFirstPage() const { return m_body[1] == 0; }

    void readRecord() {
        const std::size_t start = m_at;
        take(kRecordHead, m_body.size());
        if (m_at < start + 2) return;
        const unsigned char type = m_body[start];
        const std::size_t end = std::min(m_at + m_body[start + 1], m_body.size());
        const std::size_t content = m_at;
        take(layoutOf(kRecordLayouts, type), end);
        if (type == kOutputRecord && content < end) take(layoutOf(kOutputLayouts, m_body[content]), end);
        takeRest(end, "reserved");
    }

    void take(std::span<const Layout> layout, std::size_t end) {
        for (const Layout& field : layout) {
            if (end - m_at < field.size) return takeRest(end, "cut short");
            add(field, field.size);
        }
    }

    void takeRest(std::size_t end, const char* name) {
        if (m_at < end) add({name, end - m_at, Kind::kBytes}, end - m_at);
    }

    void add(const Layout& field, std::size_t size) {
        const ByteSpan bytes = m_body.subspan(m_at, size);
        m_fields.push_back({m_at, Bytes(bytes.begin(), bytes.end()), field.name, valueText(field, bytes)});
        m_at += size;
    }

    ByteSpan m_body;
    std::size_t m_at = 0;
    std::vector<FileField> m_fields;
};

}  // namespace

std::vector<FileField> applicationFileFields(ByteSpan body) { return FieldReader(body).readAll(); }

}  // namespace vkcomm
