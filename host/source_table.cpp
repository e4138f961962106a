#include "host/source_table.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>

#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

constexpr double kEarthRadius = 6371.0;  // km
constexpr double kRadians = std::numbers::pi / 180.0;

enum Field : std::size_t {
    kType,
    kMount,
    kIdentifier,
    kFormat,
    kDetails,
    kCarrier,
    kSystems,
    kNetwork,
    kCountry,
    kLatitude,
    kLongitude,
    kNmea,
    kSolution,
    kGenerator,
    kCompression,
    kAuthentication,
    kFee,
    kFields,
};

using Fields = std::array<std::string_view, kFields>;

// The part of text before a separator, which is taken off with it.
std::string_view takeUntil(std::string_view& text, char separator) {
    const std::string_view part = text.substr(0, text.find(separator));
    text.remove_prefix(std::min(part.size() + 1, text.size()));
    return part;
}

Fields fieldsOf(std::string_view line) {
    Fields fields;
    for (std::string_view& field : fields)
        field = takeUntil(line, ';');
    return fields;
}

std::optional<double> degrees(std::string_view text, double most) {
    if (text.find_first_of("0123456789") == text.npos) return std::nullopt;
    const double value = parseDouble(text);
    return std::abs(value) <= most ? std::optional(value) : std::nullopt;
}

SourceEntry entryOf(const Fields& fields) {
    SourceEntry entry;
    entry.mount = fields[kMount];
    entry.identifier = fields[kIdentifier];
    entry.format = fields[kFormat];
    entry.details = fields[kDetails];
    entry.systems = fields[kSystems];
    entry.network = fields[kNetwork];
    entry.country = fields[kCountry];
    entry.latitude = degrees(fields[kLatitude], 90.0);
    entry.longitude = degrees(fields[kLongitude], 360.0);
    if (entry.longitude && *entry.longitude > 180.0) *entry.longitude -= 360.0;
    entry.wantsPosition = fields[kNmea] == "1";
    entry.isNetwork = fields[kSolution] == "1";
    entry.authentication = fields[kAuthentication];
    entry.hasFee = fields[kFee] == "Y";
    return entry;
}

}  // namespace

SourceTable parseSourceTable(std::string_view text) {
    SourceTable table;
    while (!text.empty() && !table.isWhole) {
        std::string_view line = takeUntil(text, '\n');
        if (line.ends_with('\r')) line.remove_suffix(1);
        table.isWhole = line == "ENDSOURCETABLE";
        if (line.starts_with("STR;")) table.streams.push_back(entryOf(fieldsOf(line)));
    }
    return table;
}

double kilometresBetween(double latitude1, double longitude1, double latitude2, double longitude2) {
    const double sinLatitude = std::sin((latitude2 - latitude1) * kRadians / 2);
    const double sinLongitude = std::sin((longitude2 - longitude1) * kRadians / 2);
    const double cosines = std::cos(latitude1 * kRadians) * std::cos(latitude2 * kRadians);
    const double half = sinLatitude * sinLatitude + cosines * sinLongitude * sinLongitude;
    return 2 * kEarthRadius * std::asin(std::sqrt(std::clamp(half, 0.0, 1.0)));
}

void sortByDistance(SourceTable& table, double latitude, double longitude) {
    const auto distance = [&](const SourceEntry& entry) {
        if (!entry.latitude || !entry.longitude) return std::numeric_limits<double>::infinity();
        return kilometresBetween(latitude, longitude, *entry.latitude, *entry.longitude);
    };
    std::stable_sort(
        table.streams.begin(), table.streams.end(),
        [&](const SourceEntry& one, const SourceEntry& other) { return distance(one) < distance(other); });
}

}  // namespace vkcomm
