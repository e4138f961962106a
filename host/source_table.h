// A caster's list of streams.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vkcomm {

struct SourceEntry {
    std::string mount;
    std::string identifier;  // usually the place
    std::string format;      // "RTCM 3.2"
    std::string details;     // "1004(1),1006(10)"
    std::string systems;     // "GPS+GLO"
    std::string network;
    std::string country;
    std::optional<double> latitude;   // degrees, north positive
    std::optional<double> longitude;  // degrees, east positive, -180 to 180
    bool wantsPosition = false;       // a GGA must be sent up
    bool isNetwork = false;           // computed from several stations
    std::string authentication;       // "N", "B", "D"
    bool hasFee = false;
};

struct SourceTable {
    std::vector<SourceEntry> streams;
    bool isWhole = false;  // ENDSOURCETABLE was there
};

// The streams in the text of a source table; lines of other kinds and fields that are missing are passed over.
SourceTable parseSourceTable(std::string_view text);

// Kilometres over the sphere between two places in degrees, to a few parts in a thousand.
double kilometresBetween(double latitude1, double longitude1, double latitude2, double longitude2);

// Nearest first; streams without a place last.
void sortByDistance(SourceTable& table, double latitude, double longitude);

}  // namespace vkcomm
