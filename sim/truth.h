// What a simulated receiver sees at any moment: time, a slowly moving rover and its satellites.
//
// Everything follows from the seed and the moment alone. It is worked out in integers and in single
// floating-point operations that all IEEE 754 systems round alike (the course, which needs a library
// function, is rounded to millidegrees), so that a seed gives the same bytes everywhere. Nothing keeps state
// or fails; any thread may ask.
#pragma once

#include <cstdint>
#include <vector>

namespace vkcomm::sim {

class Random;

inline constexpr double kWavelengthL1 = 299792458.0 / 1575.42e6;  // metres
inline constexpr double kWavelengthL2 = 299792458.0 / 1227.60e6;
inline constexpr std::int64_t kMillisecondsPerWeek = 604'800'000;

enum class FixQuality { kNone, kSingle, kDifferential, kRtkFloat, kRtkFixed };

// Satellite numbers are GPS PRN 1 to 32, SBAS PRN 120 to 138 and GLONASS slots 1 to 24.
enum class SatelliteSystem { kGps, kSbas, kGlonass };

// One tracked signal. Phase and Doppler have the signs of observation files: the phase grows with the range,
// Doppler is positive for an approaching satellite.
struct Signal {
    double pseudorange = 0.0;   // metres
    double carrierPhase = 0.0;  // cycles, with an arbitrary whole number of cycles
    double doppler = 0.0;       // Hz
    double cn0 = 0.0;           // dB-Hz
    double lockTime = 0.0;      // seconds of continuous tracking
};

struct Satellite {
    SatelliteSystem system = SatelliteSystem::kGps;
    int number = 0;
    double elevation = 0.0;  // degrees, 0 to 90
    double azimuth = 0.0;    // degrees, from 0 to below 360
    bool used = false;       // takes part in the position
    Signal l1{};
    Signal l2{};  // GPS only; zero otherwise
};

struct Dops {
    double gdop = 0.0, pdop = 0.0, hdop = 0.0, vdop = 0.0, tdop = 0.0, htdop = 0.0;
};

// What a receiver has reached, and how old the corrections are that it used.
struct Fix {
    FixQuality quality = FixQuality::kNone;
    double correctionAge = 0.0;  // seconds; 0 without corrections
};

// Everything about one moment.
struct Epoch {
    int week = 0;  // GPS week, not rolled over
    std::int64_t millisecondsOfWeek = 0;
    FixQuality quality = FixQuality::kNone;
    double latitude = 0.0;        // degrees, north positive
    double longitude = 0.0;       // degrees, east positive
    double heightAboveSea = 0.0;  // metres
    double undulation = 0.0;      // metres; height above the ellipsoid is heightAboveSea + undulation
    double sigmaLatitude = 0.0;   // metres, as all sigmas
    double sigmaLongitude = 0.0;
    double sigmaHeight = 0.0;
    double correctionAge = 0.0;  // seconds; 0 without corrections
    double speed = 0.0;          // over ground, m/s
    double course = 0.0;         // degrees clockwise from true north, from 0 to below 360
    double verticalSpeed = 0.0;  // m/s, up positive
    Dops dops{};
    std::vector<Satellite> satellites;  // by system, then number

    int satellitesUsed() const;
};

struct CalendarTime {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, millisecond = 0;
};

// GPS time less UTC, in seconds.
inline constexpr int kLeapSeconds = 18;

// The moment of an epoch in UTC.
CalendarTime utcOf(const Epoch& epoch);

// The same on the calendar of GPS time, which knows no leap seconds.
CalendarTime gpsCalendarOf(const Epoch& epoch);

// Whether what comes at every multiple of some milliseconds of the week comes with this epoch.
inline bool isDue(const Epoch& epoch, std::int64_t everyMilliseconds) {
    return epoch.millisecondsOfWeek % everyMilliseconds == 0;
}

struct TruthOptions {
    std::uint64_t seed = 1;
    int startWeek = 2303;
    std::int64_t startMillisecondsOfWeek = 345'588'000;  // half a minute before 29 February 2024 in UTC
};

class Truth {
public:
    explicit Truth(const TruthOptions& options);

    // The state of everything the given time after the start; milliseconds must not be negative. The quality goes
    // through all there are in every ten minutes.
    Epoch at(std::int64_t milliseconds) const;
    // The same of a receiver that has reached this.
    Epoch at(std::int64_t milliseconds, const Fix& fix) const;

private:
    // What sets one satellite apart. It swings between two ranges, always above the horizon, unless it is
    // geostationary (SBAS).
    struct Orbit {
        SatelliteSystem system;
        int number;
        std::int64_t middleRange;  // millimetres
        std::int64_t rangeSwing;   // millimetres
        std::int64_t period;       // milliseconds
        std::int64_t phase;        // milliseconds
        std::int64_t azimuth;      // millidegrees at the start
        std::int64_t turn;         // millidegrees of azimuth per second
        std::int64_t delayL2;      // millimetres
        std::int64_t ambiguity;    // cycles
        std::int64_t lockTime;     // milliseconds at the start
    };

    static Orbit makeOrbit(SatelliteSystem system, int number, Random& random);
    Satellite satelliteAt(const Orbit& orbit, std::int64_t milliseconds) const;
    Epoch epochAt(std::int64_t milliseconds, const Fix& fix, std::int64_t usualSigma) const;

    TruthOptions m_options;
    std::vector<Orbit> m_orbits;
};

}  // namespace vkcomm::sim
