#include "vkcomm/gpstime/gps_time.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "vkcomm/datum/process_settings.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

constexpr long long kFirstGpsDay = 44244;  // MJD of week 0
constexpr long long kFirstDay1901 = 15385;
constexpr long long kDaysOfCycle = 1461;  // three years of 365 days and a leap year
constexpr long long kFarthestDay = 1'000'000'000;
constexpr double kSecondsOfDay = 86400.0;
constexpr double kMicrosecond = 1e-6;

// Days before each month.
constexpr std::array<std::array<long, 13>, 2> kDaysBefore = {{
    {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365},
    {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335, 366},
}};

const std::array<long, 13>& daysBefore(long year) { return kDaysBefore[year % 4 == 0 ? 1 : 0]; }

constexpr long long floorDivide(long long value, long long divisor) {
    return value / divisor - (value % divisor < 0 ? 1 : 0);
}

// Bounds an argument so that sums of a few of its kind stay far inside 64 bits.
template <typename Number>
Number bounded(Number value) {
    constexpr auto kBound = static_cast<Number>(kFarthestDay);
    return std::clamp<Number>(value, -kBound, kBound);
}

template <typename Number>
void put(Number* out, Number value) {
    if (out != nullptr) *out = value;
}

double finite(double value) { return std::isfinite(value) ? value : 0.0; }

double withoutRoundOff(double seconds) {
    const double whole = std::round(seconds);
    return std::fabs(seconds - whole) < kMicrosecond ? whole : seconds;
}

// MJD and the seconds of that day, 0 <= second < 86400.
struct Moment {
    long long day;
    double second;
};

Moment momentOf(long long day, double seconds) {
    const double exact = withoutRoundOff(finite(seconds));
    if (exact >= 0 && exact < kSecondsOfDay)
        return {bounded(day), exact + 0.0};  // nearly always; -0 becomes 0
    double rest = std::fmod(exact, kSecondsOfDay);
    rest += rest < 0 ? kSecondsOfDay : 0.0;  // adding 0 turns -0 into 0
    const double days = std::round((exact - rest) / kSecondsOfDay);
    return {bounded(day + static_cast<long long>(bounded(days))), rest};
}

Moment momentOfGps(long week, double sow) { return momentOf(kFirstGpsDay + 7LL * bounded(week), sow); }

Moment momentOfMjd(long mjd, double frac) { return momentOf(bounded(mjd), finite(frac) * kSecondsOfDay); }

struct YearDay {
    long year;
    long yday;
};

YearDay yearDayOf(long long mjd) {
    const long long days = mjd - kFirstDay1901;
    const long long cycle = floorDivide(days, kDaysOfCycle);
    const long long rest = days - kDaysOfCycle * cycle;
    const long long yearOfCycle = rest / 365 - rest / 1460;  // the last day of a leap year stays in its year
    return {static_cast<long>(1901 + 4 * cycle + yearOfCycle),
            static_cast<long>(rest - 365 * yearOfCycle + 1)};
}

long long mjdOf(long year, long yday) {
    const long long years = bounded(year) - 1901LL;
    const long long cycle = floorDivide(years, 4);
    return bounded(kDaysOfCycle * cycle + 365 * (years - 4 * cycle) + bounded(yday) + kFirstDay1901 - 1);
}

double fractionOf(long hour, long minute, double second) {
    return ((finite(second) / 60 + static_cast<double>(minute)) / 60 + static_cast<double>(hour)) / 24;
}

void putGps(const Moment& moment, long* week, double* sow) {
    const long long days = moment.day - kFirstGpsDay;
    const long long weeks = floorDivide(days, 7);
    put(week, static_cast<long>(weeks));
    put(sow, static_cast<double>(days - 7 * weeks) * kSecondsOfDay + moment.second);
}

void putTimeOfDay(const Moment& moment, long* hour, long* minute, double* second) {
    const long minutes = static_cast<long>(moment.second / 60);
    put(hour, minutes / 60);
    put(minute, minutes % 60);
    put(second, moment.second - 60.0 * static_cast<double>(minutes));
}

void putYearDay(const Moment& moment, long* year, long* yday, long* hour, long* minute, double* second) {
    const YearDay date = yearDayOf(moment.day);
    put(year, date.year);
    put(yday, date.yday);
    putTimeOfDay(moment, hour, minute, second);
}

void putCalendar(const Moment& moment, long* year, long* month, long* day, long* hour, long* minute,
                 double* second) {
    const YearDay date = yearDayOf(moment.day);
    put(year, date.year);
    yday_to_mday(date.year, date.yday, month, day);
    putTimeOfDay(moment, hour, minute, second);
}

bool isMonth(long month) { return month >= 1 && month <= 12; }

long ydayOf(long year, long month, long day) {
    return daysBefore(year)[static_cast<std::size_t>(month - 1)] + bounded(day);
}

}  // namespace

void gps_to_mjd(long week, double sow, long* mjd, double* frac) {
    const Moment moment = momentOfGps(week, sow);
    put(mjd, static_cast<long>(moment.day));
    put(frac, moment.second / kSecondsOfDay);
}

void mjd_to_gps(long mjd, double frac, long* week, double* sow) { putGps(momentOfMjd(mjd, frac), week, sow); }

void mjd_to_ydhms(long mjd, double frac, long* year, long* yday, long* hour, long* minute, double* second) {
    putYearDay(momentOfMjd(mjd, frac), year, yday, hour, minute, second);
}

void gps_to_ydhms(long week, double sow, long* year, long* yday, long* hour, long* minute, double* second) {
    putYearDay(momentOfGps(week, sow), year, yday, hour, minute, second);
}

void ydhms_to_mjd(long year, long yday, long hour, long minute, double second, long* mjd, double* frac) {
    put(mjd, static_cast<long>(mjdOf(year, yday)));
    put(frac, fractionOf(hour, minute, second));
}

void ydhms_to_gps(long year, long yday, long hour, long minute, double second, long* week, double* sow) {
    const double secondOfDay =
        finite(second) + 60.0 * static_cast<double>(minute) + 3600.0 * static_cast<double>(hour);
    putGps(momentOf(mjdOf(year, yday), secondOfDay), week, sow);
}

void mjd_to_ymdhms(long mjd, double frac, long* year, long* month, long* day, long* hour, long* minute,
                   double* second) {
    putCalendar(momentOfMjd(mjd, frac), year, month, day, hour, minute, second);
}

void gps_to_ymdhms(long week, double sow, long* year, long* month, long* day, long* hour, long* minute,
                   double* second) {
    putCalendar(momentOfGps(week, sow), year, month, day, hour, minute, second);
}

void ymdhms_to_mjd(long year, long month, long day, long hour, long minute, double second, long* mjd,
                   double* frac) {
    if (isMonth(month)) ydhms_to_mjd(year, ydayOf(year, month, day), hour, minute, second, mjd, frac);
}

void ymdhms_to_gps(long year, long month, long day, long hour, long minute, double second, long* week,
                   double* sow) {
    if (isMonth(month)) ydhms_to_gps(year, ydayOf(year, month, day), hour, minute, second, week, sow);
}

void yday_to_mday(long year, long yday, long* month, long* day) {
    const std::array<long, 13>& before = daysBefore(year);
    if (yday < 1 || yday > before.back()) return;
    std::size_t index = static_cast<std::size_t>(yday) * 32 / 1000;  // this month or the one before
    if (yday > before[index + 1]) ++index;
    put(month, static_cast<long>(index) + 1);
    put(day, yday - before[index]);
}

void mday_to_yday(long year, long month, long day, long* yday) {
    if (isMonth(month)) put(yday, ydayOf(year, month, day));
}

std::wstring strGPSTime(unsigned short week, unsigned long milliseconds) {
    const double sow = static_cast<double>(milliseconds / 1000) + static_cast<double>(lngGetTimeZoneSec());
    long year = 0, month = 0, day = 0, hour = 0, minute = 0;
    double second = 0;
    gps_to_ymdhms(week, sow, &year, &month, &day, &hour, &minute, &second);
    std::string text;
    appendFormat(text, "%4ld-%02ld-%02ld:%02ld:%02ld:%02.f", year, month, day, hour, minute, second);
    return {text.begin(), text.end()};
}

}  // namespace vkcomm
