#include "vkcomm/frames/application_file_fields.h"

#include <algorithm>
#include <optional>
#include <span>
#include <string_view>

#include "vkcomm/util/numbers.h"

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
constexpr Meaning kRecords[] = {{0x01, "general controls"},
                                {0x02, "serial port"},
                                {0x03, "reference position"},
                                {0x07, "output message"},
                                {0x0A, "static or kinematic"}};
constexpr Meaning kBauds[] = {{0, "default"}, {1, "2400"},  {2, "4800"},  {3, "9600"},
                              {4, "19200"},   {5, "38400"}, {6, "57600"}, {7, "115200"},
                              {8, "300"},     {9, "600"},   {10, "1200"}};
constexpr Meaning kParities[] = {{0, "none"}, {1, "odd"}, {2, "even"}};
constexpr Meaning kFlows[] = {{0, "none"}, {1, "CTS"}};
constexpr Meaning kMotions[] = {{0, "kinematic"}, {1, "static"}};
constexpr Meaning kOutputs[] = {
    {0x02, "CMR"}, {0x03, "RTCM"}, {0x04, "raw data"}, {0x0A, "GSOF"}, {0xFF, "all off"}};
constexpr Meaning kFrequencies[] = {{0, "off"},     {1, "10 Hz"}, {2, "5 Hz"},  {3, "1 Hz"},  {4, "2 s"},
                                    {5, "5 s"},     {6, "10 s"},  {7, "30 s"},  {8, "60 s"},  {9, "5 min"},
                                    {10, "10 min"}, {11, "2 Hz"}, {12, "15 s"}, {13, "20 Hz"}};
constexpr Meaning kCmrKinds[] = {{0, "CMR+"}, {2, "CMR"}, {3, "CMRx"}};

constexpr Layout kHead[] = {{"transmission", 1},
                            {"page", 1},
                            {"last page", 1},
                            {"file version", 1},
                            {"device type", 1, Kind::kNumber, kDevices},
                            {"apply at once", 1},
                            {"factory flag", 1, Kind::kNumber, kFactoryFlags}};
constexpr Layout kRecordHead[] = {{"record", 1, Kind::kNumber, kRecords}, {"record length", 1}};
constexpr Layout kGeneralControls[] = {
    {"elevation mask, degrees", 1}, {"measurement rate", 1}, {"PDOP mask", 1},
    {"frequency source", 1},        {"reserved", 1},         {"RTK mode", 1}};
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

constexpr Keyed kRecordLayouts[] = {
    {0x01, kGeneralControls}, {0x02, kSerialPort}, {0x03, kReference}, {0x07, kOutput}, {0x0A, kMotion}};
constexpr Keyed kOutputLayouts[] = {{0x02, kCmr}, {0x03, kFlags}, {0x04, kFlags}, {0x0A, kGsof}};
constexpr unsigned char kOutputRecord = 0x07;

std::span<const Layout> layoutOf(std::span<const Keyed> layouts, unsigned char key) {
    const auto found =
        std::find_if(layouts.begin(), layouts.end(), [key](const Keyed& each) { return each.key == key; });
    return found == layouts.end() ? std::span<const Layout>() : found->layout;
}

std::string fixedText(double value, int decimals, const char* unit) {
    std::string text;
    appendFixed(text, value, decimals);
    return text + unit;
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
    constexpr double kDegreesPerRadian = 57.29577951308232;
    switch (field.kind) {
    case Kind::kNumber: return numberText(bytes, field.meanings);
    case Kind::kAngle:
        return fixedText(loadBe<double>(bytes.data()), 12, " rad, ") +
               fixedText(loadBe<double>(bytes.data()) * kDegreesPerRadian, 9, " degrees");
    case Kind::kMetres: return fixedText(loadBe<double>(bytes.data()), 4, " m");
    case Kind::kText: return std::string(bytes.begin(), bytes.end());
    case Kind::kBytes: break;
    }
    return {};
}

class FieldReader {
public:
    explicit FieldReader(ByteSpan body) : m_body(body) {}

    void readAll() {
        take(kHead, m_body.size());
        while (m_at < m_body.size())
            readRecord();
    }

    std::vector<FileField> m_fields;

private:
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
};

}  // namespace

std::vector<FileField> applicationFileFields(ByteSpan body) {
    FieldReader reader(body);
    reader.readAll();
    return std::move(reader.m_fields);
}

}  // namespace vkcomm
