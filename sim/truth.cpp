#include "sim/truth.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <numbers>

#include "sim/random.h"

namespace vkcomm::sim {

namespace {

constexpr std::int64_t kSecond = 1000;
constexpr std::int64_t kMinute = 60 * kSecond;

// Where the rover circles. Angles are in nanodegrees: 0.1 mm on the ground.
constexpr std::int64_t kStartLatitude = 47'285'200'000;
constexpr std::int64_t kStartLongitude = 8'565'000'000;
constexpr std::int64_t kNanodegreesPerMetreNorth = 8994;
constexpr std::int64_t kNanodegreesPerMetreEast = 13218;  // at the start latitude
constexpr std::int64_t kStartHeight = 431'250;            // millimetres above the sea
constexpr double kUndulation = 47.38;

// Ranges from the zenith to the horizon; between them elevation falls by a degree every 60 km.
constexpr std::int64_t kHorizonRange = 25'600'000'000;  // millimetres
constexpr std::int64_t kRangePerMillidegree = 60'000;

// A smooth oscillation, and its speed per second.
struct Swing {
    std::int64_t value;
    std::int64_t perSecond;
};

// Two parabolas a period instead of a sine (deliberate): the last digit of a library's sine differs between
// systems.
Swing swing(std::int64_t time, std::int64_t period, std::int64_t amplitude) {
    const std::int64_t half = period / 2;
    const std::int64_t x = time % half;
    const double scale =
        (time / half) % 2 == 0 ? 4.0 * static_cast<double>(amplitude) : -4.0 * static_cast<double>(amplitude);
    const auto square = static_cast<double>(half * half);
    return {std::llround(scale * (static_cast<double>(x * (half - x)) / square)),
            std::llround(scale * (static_cast<double>(kSecond * (half - 2 * x)) / square))};
}

double thousandth(std::int64_t value) { return static_cast<double>(value) / 1000.0; }

double rootOfSum(std::int64_t a, std::int64_t b) { return std::sqrt(static_cast<double>(a * a + b * b)); }

// How a session goes: what the receiver reaches in each ten minutes, and how good it is.
struct Stage {
    std::int64_t until;  // milliseconds from the start of the ten minutes
    FixQuality quality;
    std::int64_t sigma;  // horizontal, in tenths of millimetres
};

// The usual sigma of every quality, in tenths of millimetres.
constexpr std::array<std::int64_t, 5> kUsualSigmas{0, 15'000, 4'500, 1'800, 80};

constexpr std::array kStages{
    Stage{5 * kSecond, FixQuality::kSingle, 15'000},   Stage{10 * kSecond, FixQuality::kDifferential, 4'500},
    Stage{20 * kSecond, FixQuality::kRtkFloat, 1'800}, Stage{570 * kSecond, FixQuality::kRtkFixed, 80},
    Stage{573 * kSecond, FixQuality::kNone, 0},        Stage{600 * kSecond, FixQuality::kRtkFloat, 2'400},
};

const Stage& stageAt(std::int64_t milliseconds) {
    const std::int64_t time = milliseconds % kStages.back().until;
    return *std::find_if(kStages.begin(), kStages.end(),
                         [=](const Stage& stage) { return time < stage.until; });
}

void setTime(Epoch& epoch, const TruthOptions& options, std::int64_t milliseconds) {
    const std::int64_t time = options.startMillisecondsOfWeek + milliseconds;
    epoch.week = options.startWeek + static_cast<int>(time / kMillisecondsPerWeek);
    epoch.millisecondsOfWeek = time % kMillisecondsPerWeek;
}

// Two swings a quarter of a period apart make a round.
void setMotion(Epoch& epoch, std::int64_t milliseconds) {
    constexpr std::int64_t kRound = 5 * kMinute;
    const Swing north = swing(milliseconds, kRound, 40'000);
    const Swing east = swing(milliseconds + kRound / 4, kRound, 40'000);
    const Swing up = swing(milliseconds, 2 * kMinute, 1'500);

    const std::int64_t latitude = kStartLatitude + north.value * kNanodegreesPerMetreNorth / 1000;
    const std::int64_t longitude = kStartLongitude + east.value * kNanodegreesPerMetreEast / 1000;
    epoch.latitude = static_cast<double>(latitude) / 1e9;
    epoch.longitude = static_cast<double>(longitude) / 1e9;
    epoch.heightAboveSea = thousandth(kStartHeight + up.value);
    epoch.undulation = kUndulation;
    epoch.speed = rootOfSum(north.perSecond, east.perSecond) / 1000.0;
    epoch.verticalSpeed = thousandth(up.perSecond);

    const double radians =
        std::atan2(static_cast<double>(east.perSecond), static_cast<double>(north.perSecond));
    epoch.course = thousandth((std::llround(radians * (180'000.0 / std::numbers::pi)) + 360'000) % 360'000);
}

void setAccuracy(Epoch& epoch, std::int64_t milliseconds, const Fix& fix, std::int64_t usualSigma) {
    epoch.quality = fix.quality;
    epoch.correctionAge = fix.correctionAge;

    // In tenths of micrometres: the usual one times a percentage times a ratio of ten.
    const std::int64_t sigma = usualSigma * (100 + swing(milliseconds, 7 * kMinute, 10).value);
    epoch.sigmaLatitude = static_cast<double>(sigma * 10) / 1e7;
    epoch.sigmaLongitude = static_cast<double>(sigma * 8) / 1e7;
    epoch.sigmaHeight = static_cast<double>(sigma * 18) / 1e7;
}

// Worked out in hundredths.
Dops dopsAt(std::int64_t milliseconds) {
    const std::int64_t h = 85 + swing(milliseconds, 40 * kMinute, 20).value;
    const std::int64_t v = 130 + swing(milliseconds, 50 * kMinute, 35).value;
    const std::int64_t t = 75 + swing(milliseconds, 30 * kMinute, 15).value;
    Dops dops;
    dops.hdop = static_cast<double>(h) / 100.0;
    dops.vdop = static_cast<double>(v) / 100.0;
    dops.tdop = static_cast<double>(t) / 100.0;
    dops.pdop = rootOfSum(h, v) / 100.0;
    dops.htdop = rootOfSum(h, t) / 100.0;
    dops.gdop = std::sqrt(static_cast<double>(h * h + v * v + t * t)) / 100.0;
    return dops;
}

// count different numbers from first to last, in order.
std::vector<int> pickNumbers(int first, int last, std::uint32_t count, Random& random) {
    std::vector<int> numbers;
    while (numbers.size() < count) {
        const int number =
            first + static_cast<int>(random.below(static_cast<std::uint32_t>(last - first + 1)));
        if (std::find(numbers.begin(), numbers.end(), number) == numbers.end()) numbers.push_back(number);
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

Signal signalAt(std::int64_t range, std::int64_t rangePerSecond, std::int64_t ambiguity, double wavelength) {
    Signal signal;
    signal.pseudorange = thousandth(range);
    signal.carrierPhase = signal.pseudorange / wavelength + static_cast<double>(ambiguity);
    signal.doppler = thousandth(-rangePerSecond) / wavelength;
    return signal;
}

// The moment a number of seconds after the epoch's on the calendar of GPS time.
CalendarTime calendarOf(const Epoch& epoch, int secondsLater) {
    using namespace std::chrono;
    constexpr sys_days kGpsStart = year{1980} / January / 6;
    const auto time =
        kGpsStart + weeks(epoch.week) + milliseconds(epoch.millisecondsOfWeek) + seconds(secondsLater);
    const auto midnight = floor<days>(time);
    const year_month_day date(midnight);
    const hh_mm_ss<milliseconds> clock(time - midnight);
    return {static_cast<int>(date.year()),
            static_cast<int>(static_cast<unsigned>(date.month())),
            static_cast<int>(static_cast<unsigned>(date.day())),
            static_cast<int>(clock.hours().count()),
            static_cast<int>(clock.minutes().count()),
            static_cast<int>(clock.seconds().count()),
            static_cast<int>(clock.subseconds().count())};
}

}  // namespace

int Epoch::satellitesUsed() const {
    return static_cast<int>(
        std::count_if(satellites.begin(), satellites.end(), [](const auto& s) { return s.used; }));
}

CalendarTime utcOf(const Epoch& epoch) { return calendarOf(epoch, -kLeapSeconds); }

CalendarTime gpsCalendarOf(const Epoch& epoch) { return calendarOf(epoch, 0); }

Truth::Truth(const TruthOptions& options) : m_options(options) {
    Random random(options.seed);
    const auto add = [&](SatelliteSystem system, int first, int last, std::uint32_t count) {
        for (const int number : pickNumbers(first, last, count, random))
            m_orbits.push_back(makeOrbit(system, number, random));
    };
    add(SatelliteSystem::kGps, 1, 32, 8 + random.below(4));
    add(SatelliteSystem::kSbas, 120, 138, 2);
    add(SatelliteSystem::kGlonass, 1, 24, 3);
}

Truth::Orbit Truth::makeOrbit(SatelliteSystem system, int number, Random& random) {
    const auto between = [&](std::uint32_t low, std::uint32_t high) -> std::int64_t {
        return low + random.below(high - low);
    };
    Orbit orbit{};
    orbit.system = system;
    orbit.number = number;
    orbit.middleRange = kHorizonRange - between(32'000, 62'000) * kRangePerMillidegree;
    const bool moves = system != SatelliteSystem::kSbas;
    orbit.rangeSwing = moves ? between(4'000, 26'000) * kRangePerMillidegree : 0;
    orbit.turn = moves ? between(2, 12) : 0;
    orbit.period = between(300, 420) * kMinute;
    orbit.phase = between(0, 420) * kMinute;
    orbit.azimuth = between(0, 360'000);
    orbit.delayL2 = between(2'000, 9'000);
    orbit.ambiguity = between(0, 200'000) - 100'000;
    orbit.lockTime = between(0, 3'000) * kSecond;
    return orbit;
}

Satellite Truth::satelliteAt(const Orbit& orbit, std::int64_t milliseconds) const {
    const Swing way = swing(milliseconds + orbit.phase, orbit.period, orbit.rangeSwing);
    const std::int64_t range = orbit.middleRange + way.value;
    const std::int64_t elevation = (kHorizonRange - range) / kRangePerMillidegree;
    Random noise(m_options.seed + static_cast<std::uint64_t>(milliseconds * 1000 + orbit.number));

    Satellite satellite;
    satellite.system = orbit.system;
    satellite.number = orbit.number;
    satellite.elevation = thousandth(elevation);
    satellite.azimuth = thousandth((orbit.azimuth + milliseconds * orbit.turn / kSecond) % 360'000);
    satellite.l1 = signalAt(range, way.perSecond, orbit.ambiguity, kWavelengthL1);
    satellite.l1.cn0 = thousandth(32'000 + elevation / 5 + noise.below(1'500));
    satellite.l1.lockTime = thousandth(orbit.lockTime + milliseconds);
    if (orbit.system == SatelliteSystem::kGps) {
        satellite.l2 = signalAt(range + orbit.delayL2, way.perSecond, orbit.ambiguity, kWavelengthL2);
        satellite.l2.cn0 = satellite.l1.cn0 - 6.0;
        satellite.l2.lockTime = satellite.l1.lockTime;
    }
    return satellite;
}

Epoch Truth::at(std::int64_t milliseconds) const {
    const Stage& stage = stageAt(milliseconds);
    const bool isCorrected = stage.quality > FixQuality::kSingle;
    const double age = isCorrected ? thousandth(kSecond + milliseconds % kSecond) : 0.0;
    return epochAt(milliseconds, {stage.quality, age}, stage.sigma);
}

Epoch Truth::at(std::int64_t milliseconds, const Fix& fix) const {
    return epochAt(milliseconds, fix, kUsualSigmas[static_cast<std::size_t>(fix.quality)]);
}

Epoch Truth::epochAt(std::int64_t milliseconds, const Fix& fix, std::int64_t usualSigma) const {
    Epoch epoch;
    setTime(epoch, m_options, milliseconds);
    setMotion(epoch, milliseconds);
    setAccuracy(epoch, milliseconds, fix, usualSigma);
    epoch.dops = dopsAt(milliseconds);
    for (const Orbit& orbit : m_orbits) {
        epoch.satellites.push_back(satelliteAt(orbit, milliseconds));
        epoch.satellites.back().used =
            orbit.system == SatelliteSystem::kGps && epoch.quality != FixQuality::kNone;
    }
    return epoch;
}

}  // namespace vkcomm::sim
