#include "host/family_parser.h"

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
    if (first.week.has_value() != last.week.has_value()) return std::nullopt;
    const double seconds = last.seconds - first.seconds;
    if (first.week) return seconds + kSecondsPerWeek * (*last.week - *first.week);
    return seconds < 0.0 ? seconds + kSecondsPerDay : seconds;
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
    const std::string_view text = textOf(record);
    return text.substr(0, text.find_first_of(std::string_view("\r\n\0", 3)));
}

SnapshotPosition snapshotPosition(const BLH& position) {
    return {position.latitude * kDegreesPerRadian, position.longitude * kDegreesPerRadian, position.height,
            HeightReference::kEllipsoid};
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

void writeDegrees(FieldWriter& out, double latitude, double longitude) {
    constexpr int kDecimals = 9;  // a tenth of a millimetre
    out.real("latitude_deg", latitude, kDecimals);
    out.real("longitude_deg", longitude, kDecimals);
}

void writePlace(FieldWriter& out, const BLH& position) {
    writeDegrees(out, position.latitude * kDegreesPerRadian, position.longitude * kDegreesPerRadian);
    out.real("height_ellipsoid_m", position.height, 4);
}

void writeXyz(FieldWriter& out, const XYZ& position) {
    out.real("x_m", position.x, 4);
    out.real("y_m", position.y, 4);
    out.real("z_m", position.z, 4);
}

void writeFields(FieldWriter& out, std::string_view text, std::string_view separators) {
    text = text.substr(0, text.rfind('*'));
    const std::size_t comma = text.find(',');
    if (comma != text.npos) return out.split("fields", text.substr(comma + 1), separators);
    out.beginList("fields");
    out.endList();
}

}  // namespace vkcomm
