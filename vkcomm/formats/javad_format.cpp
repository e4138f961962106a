#include "vkcomm/formats/javad_format.h"

#include <algorithm>
#include <new>
#include <string_view>

#include "vkcomm/datum/convert.h"
#include "vkcomm/formats/gga_writer.h"
#include "vkcomm/formats/reply_text.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

constexpr std::size_t kRmsBytes = 18;
constexpr std::size_t kStatisticsBytes = 9;
constexpr std::size_t kPositionBytes = 30;
constexpr std::size_t kPositionVelocityBytes = 46;
constexpr std::size_t kDopBytes = 14;
constexpr std::size_t kTimeBytes = 7;
constexpr std::size_t kDateBytes = 6;

static_assert(sizeof(JAVAD_GPS_STATUS) == 8 && sizeof(JAVAD_GLONASS_STATUS) == 10);

ByteSpan bytesOf(std::string_view text) {
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

XYZ decodeXyz(ByteReader& reader) {
    XYZ xyz;
    xyz.x = reader.le<double>();
    xyz.y = reader.le<double>();
    xyz.z = reader.le<double>();
    return xyz;
}

constexpr int qualityOf(std::uint8_t solutionType) {
    if (solutionType == 2 || solutionType == 3) return 5;
    return solutionType == 4 ? 4 : 1;
}

// How a field of a status text becomes a number.
enum class Field { kWhole, kBehindFirst, kBeforeLast };

// Walks the fields of a status text, numbered as CSentence numbers them.
class StatusFields {
public:
    explicit StatusFields(std::string_view text)
        : m_rest(text.substr(std::min<std::size_t>(text.size(), 1))) {}

    void skip(int count) {
        while (count-- > 0)
            next();
    }

    int number(Field form) {
        std::string_view field = next();
        if (!field.empty() && form == Field::kBehindFirst) field.remove_prefix(1);
        if (!field.empty() && form == Field::kBeforeLast) field.remove_suffix(1);
        return static_cast<int>(std::clamp<long>(parseInteger(field), -kFarthest, kFarthest));
    }

    std::uint8_t byte(Field form) { return static_cast<std::uint8_t>(number(form)); }

    std::uint16_t word() { return static_cast<std::uint16_t>(number(Field::kWhole)); }

    // Fields from here to the end of the text.
    std::size_t left() const {
        return m_atEnd ? 0 : 1 + static_cast<std::size_t>(std::ranges::count_if(m_rest, isSeparator));
    }

private:
    static constexpr long kFarthest = 0x7FFF'FFFF;

    static bool isSeparator(char c) { return c == ',' || c == '*'; }

    std::string_view next() {
        const std::size_t end = m_rest.find_first_of(",*");
        const std::string_view field = m_rest.substr(0, end);
        m_atEnd = m_atEnd || end == m_rest.npos;
        m_rest.remove_prefix(m_atEnd ? m_rest.size() : end + 1);
        return field;
    }

    std::string_view m_rest;
    bool m_atEnd = false;
};

void decode(StatusFields& fields, JAVAD_GPS_STATUS& status) {
    status.value1 = fields.byte(Field::kBehindFirst);
    status.value2 = fields.byte(Field::kWhole);
    status.value3 = fields.word();
    status.value4 = fields.byte(Field::kBehindFirst);
    status.value5 = fields.byte(Field::kWhole);
    status.value6 = fields.byte(Field::kBeforeLast);
    status.value7 = fields.byte(Field::kBeforeLast);
}

void decode(StatusFields& fields, JAVAD_GLONASS_STATUS& status) {
    status.value1 = fields.byte(Field::kBehindFirst);
    status.value2 = fields.byte(Field::kWhole);
    status.value3 = fields.byte(Field::kWhole);
    status.value4 = fields.word();
    status.value5 = fields.byte(Field::kBehindFirst);
    status.value6 = fields.byte(Field::kWhole);
    status.value7 = fields.byte(Field::kBeforeLast);
    status.value8 = fields.byte(Field::kBeforeLast);
}

constexpr std::size_t fieldsOf(const JAVAD_GPS_STATUS*) { return 7; }

constexpr std::size_t fieldsOf(const JAVAD_GLONASS_STATUS*) { return 8; }

// Goes to the first satellite and tells how many there are: the number in the text, as far as it holds whole
// ones.
template <typename Status>
int findSatellites(StatusFields& fields) {
    constexpr int kCountField = 2;
    fields.skip(kCountField);
    const int sent = fields.number(Field::kWhole);
    const auto held = static_cast<int>(fields.left() / fieldsOf(static_cast<const Status*>(nullptr)));
    return std::clamp(sent, 0, held);
}

template <typename Status>
void processStatus(std::string_view text, int& count, Status*& array) {
    StatusFields fields(text);
    const int found = findSatellites<Status>(fields);
    if (found > 0 && (found != count || !array)) {
        auto* fresh = new (std::nothrow) Status[static_cast<std::size_t>(found)];
        if (!fresh) return;
        array = fresh;
    }
    count = found;
    for (int i = 0; i < found; ++i)
        decode(fields, array[i]);
}

template <typename Status>
void processStatus(ByteSpan text, std::vector<Status>& satellites) {
    StatusFields fields(recordText(text));
    satellites.resize(static_cast<std::size_t>(findSatellites<Status>(fields)));
    for (Status& satellite : satellites)
        decode(fields, satellite);
}

}  // namespace

void CJavadFormat::vProcressGS(const char* text, int& count, JAVAD_GPS_STATUS*& array) {
    if (text) processStatus(terminatedText(text), count, array);
}

void CJavadFormat::vProcressNS(const char* text, int& count, JAVAD_GLONASS_STATUS*& array) {
    if (text) processStatus(terminatedText(text), count, array);
}

void CJavadFormat::vProcressGS(ByteSpan text, std::vector<JAVAD_GPS_STATUS>& satellites) {
    processStatus(text, satellites);
}

void CJavadFormat::vProcressNS(ByteSpan text, std::vector<JAVAD_GLONASS_STATUS>& satellites) {
    processStatus(text, satellites);
}

void CJavadFormat::vProcessSG(const unsigned char* body) {
    if (body) vProcessSG(ByteSpan(body, kRmsBytes));
}

void CJavadFormat::vProcessPS(const unsigned char* body) {
    if (body) vProcessPS(ByteSpan(body, kStatisticsBytes));
}

void CJavadFormat::vProcessSG(ByteSpan body) {
    if (body.size() < kRmsBytes) return;
    ByteReader reader(body);
    m_rms.horizontal = reader.le<float>();
    m_rms.vertical = reader.le<float>();
    m_rms.horizontalVelocity = reader.le<float>();
    m_rms.verticalVelocity = reader.le<float>();
    m_rms.solutionType = reader.le<std::uint8_t>();
    m_rms.checksum = body.back();
}

void CJavadFormat::vProcessPS(ByteSpan body) {
    if (body.size() < kStatisticsBytes) return;
    m_statistics = {body[0], body[1], body[2], body[3], body[4], body[5], body[6], body[7], body.back()};
}

void CJavadFormat::vProcessPO(ByteSpan body) {
    if (body.size() < kPositionBytes) return;
    ByteReader reader(body);
    m_position.position = decodeXyz(reader);
    m_position.sigma = reader.le<float>();
    m_position.solutionType = reader.le<std::uint8_t>();
    m_position.checksum = body.back();
}

void CJavadFormat::vProcessPV(ByteSpan body) {
    constexpr std::size_t kVelocityBytes = 16;
    if (body.size() < kPositionVelocityBytes) return;
    ByteReader reader(body);
    m_position.position = decodeXyz(reader);
    m_position.sigma = reader.le<float>();
    reader.skip(kVelocityBytes);
    m_position.solutionType = reader.le<std::uint8_t>();
    m_position.checksum = body.back();
}

void CJavadFormat::vProcessDP(ByteSpan body) {
    if (body.size() < kDopBytes) return;
    ByteReader reader(body);
    m_dops.hdop = reader.le<float>();
    m_dops.vdop = reader.le<float>();
    m_dops.tdop = reader.le<float>();
    m_dops.solutionType = reader.le<std::uint8_t>();
    m_dops.checksum = body.back();
}

void CJavadFormat::vProcessGT(ByteSpan body) {
    if (body.size() < kTimeBytes) return;
    ByteReader reader(body);
    m_time.milliseconds = reader.le<std::uint32_t>();
    m_time.week = reader.le<std::uint16_t>();
    m_time.checksum = body.back();
}

void CJavadFormat::vProcessRD(ByteSpan body) {
    if (body.size() < kDateBytes) return;
    ByteReader reader(body);
    m_date.year = reader.le<std::uint16_t>();
    m_date.month = reader.le<std::uint8_t>();
    m_date.day = reader.le<std::uint8_t>();
    m_date.base = reader.le<std::uint8_t>();
    m_date.checksum = body.back();
}

std::wstring CJavadFormat::strProcessRECmd(const char* text) const {
    return strProcessRECmd(bytesOf(terminatedText(text)));
}

std::wstring CJavadFormat::strProcessRECmd(ByteSpan text) const {
    constexpr std::size_t kHead = 5;
    const std::string_view reply = trimmed(recordText(text));
    return widened(reply.size() > kHead ? reply.substr(kHead) : reply);
}

std::wstring CJavadFormat::strGetGPGGA() const {
    constexpr double kUndulation = 1.0;
    const BLH position = CConvert::XYZtoBLH(m_position.position);
    GgaFix fix;
    fix.seconds = m_time.milliseconds / 1000;
    fix.latitude = position.latitude;
    fix.longitude = position.longitude;
    fix.quality = qualityOf(m_position.solutionType);
    fix.satellites = m_statistics.gpsUsed + m_statistics.glonassUsed;
    fix.hdop = double{m_dops.hdop};
    fix.height = position.height;
    fix.undulation = kUndulation;
    return ggaSentence(fix);
}

}  // namespace vkcomm
