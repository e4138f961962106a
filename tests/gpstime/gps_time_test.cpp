#include "vkcomm/gpstime/gps_time.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <ctime>
#include <string>
#include <tuple>
#include <utility>

#include "vkcomm/datum/process_settings.h"

namespace vkcomm {
namespace {

constexpr double kInf = INFINITY, kNan = NAN;

using Calendar = std::tuple<long, long, long, long, long, double>;  // year to second
using Gps = std::pair<long, double>;                                // week and seconds of it
using Mjd = std::pair<long, double>;                                // day and fraction of it

// What a conversion to two numbers gives.
template <typename Convert, typename... Arguments>
std::pair<long, double> pairBy(Convert* convert, Arguments... arguments) {
    std::pair<long, double> result{-1, -1};
    convert(arguments..., &result.first, &result.second);
    return result;
}

template <typename Convert>
Calendar calendarBy(Convert* convert, const std::pair<long, double>& time) {
    long year = -1, month = -1, day = -1, hour = -1, minute = -1;
    double second = -1;
    convert(time.first, time.second, &year, &month, &day, &hour, &minute, &second);
    return {year, month, day, hour, minute, second};
}

Calendar calendarOf(const Gps& gps) { return calendarBy(gps_to_ymdhms, gps); }

Gps gpsOf(const Calendar& calendar) {
    return std::apply([](auto... parts) { return pairBy(ymdhms_to_gps, parts...); }, calendar);
}

Mjd mjdOf(const Calendar& calendar) {
    return std::apply([](auto... parts) { return pairBy(ymdhms_to_mjd, parts...); }, calendar);
}

bool isTimeOfDay(long hour, long minute, double second) {
    return hour >= 0 && hour < 24 && minute >= 0 && minute < 60 && second >= 0 && second < 60;
}

// As the C library counts, from 1980-01-06.
std::tm utc(std::time_t seconds) {
    const std::time_t time = 315964800 + seconds;
    return *std::gmtime(&time);
}

Calendar calendarOf(const std::tm& t) {
    return {t.tm_year + 1900, t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec};
}

TEST(GpsTime, EveryDayTo2100AsTheCLibraryCounts) {
    for (long days = 0; days < 43825; ++days) {
        const std::tm date = utc(std::time_t{86400} * days + 21600);
        const long year = date.tm_year + 1900, month = date.tm_mon + 1;
        const Gps gps{days / 7, static_cast<double>(days % 7) * 86400 + 21600};
        ASSERT_EQ(calendarOf(gps), calendarOf(date));
        ASSERT_EQ(gpsOf(calendarOf(date)), gps);
        ASSERT_EQ(mjdOf(calendarOf(date)), Mjd(44244 + days, 0.25));
        long yday = 0, monthOfYear = 0, day = 0;
        mday_to_yday(year, month, date.tm_mday, &yday);
        ASSERT_EQ(yday, date.tm_yday + 1);
        yday_to_mday(year, yday, &monthOfYear, &day);
        ASSERT_EQ(monthOfYear * 100 + day, month * 100 + date.tm_mday);
    }
}

TEST(GpsTime, EverySecondOfAWeekComesBackWhole) {
    for (long second = 0; second < 604800; ++second) {
        const Gps gps{2000, second};
        const Calendar expected = calendarOf(utc(2000 * 604800L + second));
        ASSERT_EQ(calendarOf(gps), expected);
        ASSERT_EQ(gpsOf(expected), gps);
        const Mjd mjd = mjdOf(expected);
        ASSERT_EQ(pairBy(mjd_to_gps, mjd.first, mjd.second), gps);
        ASSERT_EQ(calendarBy(mjd_to_ymdhms, pairBy(gps_to_mjd, gps.first, gps.second)), expected);
    }
}

TEST(GpsTime, KnownDatesAndBorders) {
    // clang-format off
    const std::tuple<const char*, Gps, Calendar> cases[] = {
        {"before the epoch", {-1, 604799}, {1980, 1, 5, 23, 59, 59}},
        {"1900 counts as a leap year", {-4123, 86430}, {1900, 12, 31, 0, 0, 30}},
        {"fraction stays", {0, 30.25}, {1980, 1, 6, 0, 0, 30.25}},
        {"a microsecond and more below stays", {0, 59.999998}, {1980, 1, 6, 0, 0, 59.999998}},
        {"round-off above a minute", {0, 60.0000004}, {1980, 1, 6, 0, 1, 0}},
        {"round-off below midnight", {0, 86399.9999996}, {1980, 1, 7, 0, 0, 0}},
        {"round-off below the year's end", {51, 345599.9999996}, {1981, 1, 1, 0, 0, 0}},
        {"tiny negative", {0, -1e-9}, {1980, 1, 6, 0, 0, 0}},
        {"negative seconds", {0, -0.5}, {1980, 1, 5, 23, 59, 59.5}},
        {"seconds beyond the week", {0, 604800 + 86400}, {1980, 1, 14, 0, 0, 0}},
        {"undefined time of day", {1562, kNan}, {2009, 12, 13, 0, 0, 0}},
        {"infinite time of day", {1562, -kInf}, {2009, 12, 13, 0, 0, 0}},
    };
    // clang-format on
    for (const auto& [name, gps, calendar] : cases) {
        EXPECT_EQ(calendarOf(gps), calendar) << name;
        EXPECT_FALSE(std::signbit(std::get<5>(calendarOf(gps)))) << name;
        EXPECT_EQ(calendarOf(gpsOf(calendar)), calendar) << name;
        long year = 0, yday = 0, hour = 0, minute = 0;
        double second = 0;
        gps_to_ydhms(gps.first, gps.second, &year, &yday, &hour, &minute, &second);
        EXPECT_EQ(calendarOf(gpsOf({year, 1, yday, hour, minute, second})), calendar) << name;
    }
    EXPECT_EQ(gpsOf({2004, 12, 31, 23, 59, 59.9999996}), Gps(1303, 518400));
    EXPECT_EQ(gpsOf({1980, 1, 12, 23, 59, 60}), Gps(1, 0)) << "the week's last leap second";
    EXPECT_EQ(gpsOf({1980, 1, 6, 24, 0, 0.5}), Gps(0, 86400.5));
    EXPECT_EQ(gpsOf({2009, 12, 13, 0, 0, kInf}), Gps(1562, 0));
    EXPECT_EQ(mjdOf({1980, 1, 6, 24, 0, 0}), Mjd(44244, 1));
}

TEST(GpsTime, EveryFractionOfADayGivesATime) {
    for (int i = 0; i <= 200'000; ++i) {
        const double frac = i / 200'000.0;
        long year = 0, yday = 0, hour = -1, minute = -1;
        double second = -1;
        mjd_to_ydhms(51603, frac, &year, &yday, &hour, &minute, &second);
        ASSERT_TRUE(yday == (i == 200'000 ? 61 : 60) && isTimeOfDay(hour, minute, second)) << frac;
        const auto minutes = static_cast<double>((yday - 60) * 1440 + hour * 60 + minute);
        ASSERT_NEAR(minutes * 60 + second, frac * 86400, 1.1e-6);
    }
}

TEST(GpsTime, UnusableDatesLeaveTheResults) {
    for (const long month : {0L, 13L, -1L, LONG_MAX, LONG_MIN}) {
        long yday = -1;
        mday_to_yday(2024, month, 1, &yday);
        EXPECT_EQ(yday, -1);
        EXPECT_EQ(gpsOf({2024, month, 1, 0, 0, 0}), Gps(-1, -1));
        EXPECT_EQ(mjdOf({2024, month, 1, 0, 0, 0}), Mjd(-1, -1));
    }
    for (const long yday : {0L, -1L, 366L, LONG_MAX, LONG_MIN}) {
        long month = -1, day = -1;
        yday_to_mday(2023, yday, &month, &day);
        EXPECT_TRUE(month == -1 && day == -1) << yday;
    }
}

TEST(GpsTime, HostileValuesGiveNormalTimes) {
    const long longs[] = {LONG_MIN, INT_MIN, -1, 0, 1'000'000'000, INT_MAX, LONG_MAX};
    for (const long a : longs)
        for (const long b : longs)
            for (const double d : {-kInf, -1e308, -1e20, -1.0, 1e15 + 0.3, 1e300, kInf, kNan}) {
                for (const Gps& gps : {gpsOf({a, 3, b, a, b, d}), pairBy(mjd_to_gps, a, d)})
                    EXPECT_TRUE(gps.second >= 0 && gps.second < 604800) << a << ' ' << b << ' ' << d;
                const auto [year, month, day, hour, minute, second] = calendarOf(Gps(a, d));
                EXPECT_TRUE(month >= 1 && month <= 12 && day >= 1 && day <= 31) << a << ' ' << d;
                EXPECT_TRUE(isTimeOfDay(hour, minute, second)) << a << ' ' << d;
            }
    long day = 0;
    gps_to_ymdhms(1, 2, nullptr, nullptr, &day, nullptr, nullptr, nullptr);
    EXPECT_EQ(day, 13);
}

std::wstring textAt(long zone, unsigned short week, unsigned long milliseconds) {
    vSetTimeZoneSec(zone);
    std::wstring text = strGPSTime(week, milliseconds);
    vSetTimeZoneSec(0);
    return text;
}

TEST(GpsTimeText, LocalCalendar) {
    EXPECT_EQ(textAt(0, 1562, 515220999), L"2009-12-18:23:07:00") << "a fraction is cut";
    EXPECT_EQ(textAt(3600, 1562, 604799000), L"2009-12-20:00:59:59");
    EXPECT_EQ(textAt(-5 * 3600 - 1800, 1562, 0), L"2009-12-12:18:30:00");
    EXPECT_EQ(textAt(-3600, 0, 1000), L"1980-01-05:23:00:01");
    EXPECT_EQ(textAt(1, 1303, 518399000), L"2005-01-01:00:00:00");
    EXPECT_EQ(textAt(0, 0, 700000000), L"1980-01-14:02:26:40") << "more than a week";
    for (const long zone : {LONG_MIN, LONG_MAX})
        EXPECT_GE(textAt(zone, 65535, ULONG_MAX).size(), 19u);
}

}  // namespace
}  // namespace vkcomm
