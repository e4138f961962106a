#include "host/family_parser.h"

#include <cmath>

#include "host/family_rows.h"
#include "vkcomm/formats/sentence_fields.h"

namespace vkcomm {

namespace {

struct Maker {
    std::string_view family;
    std::unique_ptr<FamilyParser> (*make)();
};

constexpr Maker kMakers[] = {
    {"oem4", makeOem4Parser}, {"trimble", makeTrimbleParser}, {"cmc", makeCmcParser},
    {"csi", makeCsiParser},   {"javad", makeJavadParser},     {"maker", makeMakerParser},
};

}  // namespace

std::unique_ptr<FamilyParser> makeFamilyParser(std::string_view family) {
    const auto* row = std::ranges::find(kMakers, family, &Maker::family);
    return row == std::end(kMakers) ? makeNmeaParser() : row->make();
}

std::optional<double> secondsBetween(const ReceiverTime& first, const ReceiverTime& last) {
    constexpr double kDay = 86400.0;
    constexpr double kWeek = 7 * kDay;
    if (first.week.has_value() != last.week.has_value()) return std::nullopt;
    const double seconds = last.seconds - first.seconds;
    if (first.week) return seconds + kWeek * (*last.week - *first.week);
    return seconds < 0.0 ? seconds + kDay : seconds;
}

std::string narrowed(std::wstring_view text) {
    std::string narrow;
    narrow.reserve(text.size());
    for (const wchar_t c : text)
        narrow += static_cast<char>(static_cast<unsigned char>(c));
    return narrow;
}

int ggaQuality(std::string_view gga) { return SentenceFields(gga).integer(6); }

std::string_view lineOf(ByteSpan record) {
    const std::string_view text(reinterpret_cast<const char*>(record.data()), record.size());
    return text.substr(0, text.find_first_of(std::string_view("\r\n\0", 3)));
}

void writeGpsTime(FieldWriter& out, int week, double seconds) {
    out.integer("gps_week", week);
    out.real("gps_seconds", seconds, 3);
}

void writeSigmas(FieldWriter& out, double north, double east, double up) {
    out.real("sigma_north_m", north, 4);
    out.real("sigma_east_m", east, 4);
    out.real("sigma_up_m", up, 4);
}

void writePosition(FieldWriter& out, double latitudeDegrees, double longitudeDegrees) {
    out.real("latitude_deg", latitudeDegrees, kDegreeDecimals);
    out.real("longitude_deg", longitudeDegrees, kDegreeDecimals);
}

}  // namespace vkcomm
