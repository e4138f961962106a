#include "host/base_mark.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <numbers>

#include "host/field_writer.h"
#include "vkcomm/control/base_sequences.h"
#include "vkcomm/util/numbers.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

namespace {

constexpr double kRadiansPerDegree = std::numbers::pi / 180.0;

double decimalOf(float value) {
    std::array<char, 32> text;
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    return parseDouble(std::string_view(text.data(), static_cast<std::size_t>(end - text.data())));
}

std::string placeLine(const char* name, const BLH& place) {
    std::string line;
    appendFormat(line, "%-13s %.8f %.8f degrees, %.3f m above the ellipsoid\n", name,
                 place.latitude / kRadiansPerDegree, place.longitude / kRadiansPerDegree, place.height);
    return line;
}

// Names come out of files: nothing in them may reach a terminal as a control character.
std::string printable(std::wstring name) {
    const auto isControl = [](wchar_t c) { return c < L' ' || (c >= 0x7F && c < 0xA0); };
    std::ranges::replace_if(name, isControl, L'?');
    return toUtf8(name);
}

std::string antennaLine(const CAntType& antenna, bool isHeightGiven) {
    static constexpr const char* kPoints[] = {"bottom", "top", "middle"};
    const bool hasPoint = antenna.uMeasureTo < std::size(kPoints);
    if (antenna.fPhaseHeight == 0.0F && !isHeightGiven)
        return "antenna       no height is known: the mark counts as the phase centre\n";
    std::string line;
    appendFormat(line, "%-13s %s: phase centre %.3f m above the mark", "antenna",
                 printable(antenna.strName).c_str(), decimalOf(antenna.fPhaseHeight));
    if (hasPoint)
        appendFormat(line, " (%.3f m to its %s and %.3f m from there)", antenna.dGetAntHeight(),
                     kPoints[antenna.uMeasureTo], decimalOf(antenna.fOffset[antenna.uMeasureTo]));
    return line + "\n";
}

}  // namespace

std::optional<double> parseMetres(std::string_view text) {
    const std::string_view digits = text.substr(text.starts_with('-') || text.starts_with('+') ? 1 : 0);
    const bool isNumber = !digits.empty() && digits.size() <= 32 &&
                          digits.find_first_not_of("0123456789.") == digits.npos &&
                          digits.find('.') == digits.rfind('.') && digits != ".";
    return isNumber ? std::optional(parseDouble(text)) : std::nullopt;
}

std::optional<BLH> parseMark(std::string_view text, std::string& error) {
    std::array<std::optional<double>, 3> values;
    std::size_t count = 0;
    for (bool more = true; more; ++count) {
        const std::size_t comma = text.find(',');
        more = comma != text.npos;
        if (count < values.size()) values[count] = parseMetres(text.substr(0, comma));
        text.remove_prefix(more ? comma + 1 : text.size());
    }
    if (count != values.size() || !values[0] || !values[1] || !values[2]) {
        error = "a position is latitude, longitude and height, such as 51.123456789,7.123456789,123.456: "
                "degrees and metres with a decimal point";
        return std::nullopt;
    }
    BLH mark{*values[0] * kRadiansPerDegree, *values[1] * kRadiansPerDegree, *values[2]};
    error = basePositionProblem(mark);
    // Not every receiver takes longitudes beyond 180 degrees.
    mark.longitude = std::remainder(*values[1], 360.0) * kRadiansPerDegree;
    return error.empty() ? std::optional(mark) : std::nullopt;
}

BLH phaseCentre(const BLH& mark, const CAntType& antenna) {
    return {mark.latitude, mark.longitude, mark.height + decimalOf(antenna.fPhaseHeight)};
}

std::string markLines(const BLH& mark, const CAntType& antenna, bool isHeightGiven) {
    return placeLine("mark", mark) + antennaLine(antenna, isHeightGiven) +
           placeLine("phase centre", phaseCentre(mark, antenna));
}

std::string markJson(const BLH& mark, const CAntType& antenna) {
    std::string out = "{";
    FieldWriter writer(out, LineFormat::kJson);
    writer.real("latitude_deg", mark.latitude / kRadiansPerDegree, 9);
    writer.real("longitude_deg", mark.longitude / kRadiansPerDegree, 9);
    writer.real("mark_height_m", mark.height, 4);
    writer.fileName("antenna", toUtf8(antenna.strName));
    writer.real("phase_centre_above_mark_m", decimalOf(antenna.fPhaseHeight), 4);
    writer.real("phase_centre_height_m", phaseCentre(mark, antenna).height, 4);
    return out + "}\n";
}

}  // namespace vkcomm
