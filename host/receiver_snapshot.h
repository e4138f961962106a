// What a receiver last said about itself, in one form for every family.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace vkcomm {

inline constexpr double kSecondsPerDay = 86400.0;
inline constexpr double kSecondsPerWeek = 7 * kSecondsPerDay;

enum class TimeScale : std::uint8_t { kGps, kUtc };

struct ReceiverTime {
    // Absent when only the time of day is known.
    std::optional<int> week;  // counted from 6 January 1980, in either scale
    double seconds = 0.0;     // of the week; of the day without a week
    TimeScale scale = TimeScale::kGps;

    friend bool operator==(const ReceiverTime&, const ReceiverTime&) = default;
};

// Seconds from first to last; nothing when one of them lacks its week and the other does not. Without weeks
// a time of day that is earlier than the first is that of the next day.
std::optional<double> secondsBetween(const ReceiverTime& first, const ReceiverTime& last);

enum class HeightReference : std::uint8_t { kEllipsoid, kSeaLevel };

struct SnapshotPosition {
    double latitude = 0.0;   // degrees, north positive
    double longitude = 0.0;  // degrees, east positive
    double height = 0.0;     // metres
    HeightReference above = HeightReference::kEllipsoid;
};

struct SnapshotDops {
    std::optional<double> gdop;
    std::optional<double> pdop;
    std::optional<double> hdop;
    std::optional<double> vdop;
    std::optional<double> tdop;
};

// Standard deviations in metres.
struct SnapshotSigmas {
    std::optional<double> north;
    std::optional<double> east;
    std::optional<double> up;
    std::optional<double> horizontal;  // of families that tell no more than this
};

enum class SatelliteSystem : char {
    kGps = 'G',
    kGlonass = 'R',
    kGalileo = 'E',
    kBeidou = 'C',
    kQzss = 'J',
    kNavic = 'I',
    kSbas = 'S',
    kUnknown = '?',
};

struct SnapshotSatellite {
    SatelliteSystem system = SatelliteSystem::kUnknown;
    int number = 0;                   // PRN; GLONASS: slot
    std::optional<double> elevation;  // degrees
    std::optional<double> azimuth;    // degrees from north
    std::optional<double> cn0;        // dB-Hz, of the first signal
    std::optional<bool> used;         // in the solution

    friend bool operator==(const SnapshotSatellite&, const SnapshotSatellite&) = default;
};

// A copy, not a view. What the family does not tell, or has not told yet, is absent.
struct ReceiverSnapshot {
    std::optional<ReceiverTime> time;          // of the position
    std::optional<SnapshotPosition> position;  // absent without a fix
    int quality = 0;                           // as its GGA sentence says; 0 without a fix
    std::optional<int> satellitesUsed;
    std::optional<int> satellitesTracked;
    SnapshotDops dops;
    SnapshotSigmas sigmas;
    std::vector<SnapshotSatellite> satellites;
};

}  // namespace vkcomm
