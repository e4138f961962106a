#include "host/nmea_values.h"

#include <algorithm>

#include "vkcomm/decode/record_names.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

constexpr double kDegreesPerRadian = 57.29577951308232;
constexpr int kDegreeDecimals = 9;

// "12:34:56.78", with the seconds as sent: to the hundredth.
void writeTime(FieldWriter& out, const NmeaTime& time) {
    std::string text;
    appendInteger(text, time.hour, 2);
    text += ':';
    appendInteger(text, time.minute, 2);
    text += ':';
    appendFixed(text, time.second, 2, 5);
    out.text("utc", text);
}

void writeDate(FieldWriter& out, const NmeaTime& time) {
    std::string text;
    appendInteger(text, time.year, 4);
    text += '-';
    appendInteger(text, time.month, 2);
    text += '-';
    appendInteger(text, time.day, 2);
    out.text("date", text);
    out.integer("week", time.gpsWeek);
    out.integer("seconds_of_week", time.gpsSeconds);
}

void writeGga(FieldWriter& out, const CNmeaFormat& parser) {
    const NmeaFix& fix = parser.Fix();
    writeTime(out, parser.Time());
    out.real("latitude_deg", fix.position.latitude * kDegreesPerRadian, kDegreeDecimals);
    out.real("longitude_deg", fix.position.longitude * kDegreesPerRadian, kDegreeDecimals);
    out.real("height_ellipsoid_m", fix.position.height, 4);
    out.integer("quality", fix.quality);
    out.integer("satellites", fix.satellites);
    out.real("hdop", parser.Dops().hdop, 2);
    out.integer("age_s", fix.age);
    out.integer("station", fix.station);
}

void writeGsa(FieldWriter& out, const CNmeaFormat& parser) {
    out.real("pdop", parser.Dops().pdop, 2);
    out.real("hdop", parser.Dops().hdop, 2);
    out.real("vdop", parser.Dops().vdop, 2);
}

void writeGst(FieldWriter& out, const CNmeaFormat& parser) {
    const NmeaErrors& errors = parser.Errors();
    writeTime(out, parser.Time());
    out.real("sigma_latitude_m", errors.latitude, 4);
    out.real("sigma_longitude_m", errors.longitude, 4);
    out.real("sigma_height_m", errors.height, 4);
    out.real("range_rms_m", errors.rangeRms, 4);
}

void writeRmc(FieldWriter& out, const CNmeaFormat& parser) {
    const NmeaMotion& motion = parser.Motion();
    writeTime(out, parser.Time());
    writeDate(out, parser.Time());
    out.real("speed_m_s", motion.speed, 3);
    out.real("course_deg", motion.course * kDegreesPerRadian, 3);
    out.real("magnetic_variation_deg", motion.magneticVariation, 2);
}

void writeZda(FieldWriter& out, const CNmeaFormat& parser) {
    writeTime(out, parser.Time());
    writeDate(out, parser.Time());
}

struct ParsedSentence {
    unsigned int formatter;
    int (CNmeaFormat::*process)(ByteSpan);
    void (*write)(FieldWriter&, const CNmeaFormat&);
};

constexpr ParsedSentence kParsedSentences[] = {
    {kNmeaGga, &CNmeaFormat::bProcessGGA, writeGga}, {kNmeaGsa, &CNmeaFormat::bProcessGSA, writeGsa},
    {kNmeaGst, &CNmeaFormat::bProcessGST, writeGst}, {kNmeaRmc, &CNmeaFormat::bProcessRMC, writeRmc},
    {kNmeaZda, &CNmeaFormat::bProcessZDA, writeZda},
};

void writeFields(FieldWriter& out, std::string_view sentence) {
    const std::string_view data = sentence.substr(0, sentence.rfind('*'));
    out.beginList("fields");
    for (std::size_t comma = data.find(','); comma != std::string_view::npos;) {
        const std::size_t next = data.find(',', comma + 1);
        out.item(data.substr(comma + 1, next == std::string_view::npos ? next : next - comma - 1));
        comma = next;
    }
    out.endList();
}

}  // namespace

void writeNmeaValues(FieldWriter& out, CNmeaFormat& parser, unsigned int id, ByteSpan sentence) {
    const auto* row = std::ranges::find(kParsedSentences, nmeaFormatter(id), &ParsedSentence::formatter);
    if (row == std::end(kParsedSentences)) {
        writeFields(out, {reinterpret_cast<const char*>(sentence.data()), sentence.size()});
    } else if ((parser.*row->process)(sentence)) {
        row->write(out, parser);
    } else {
        out.boolean("stored", false);
    }
}

}  // namespace vkcomm
