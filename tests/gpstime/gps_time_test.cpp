#include "vkcomm/gpstime/gps_time.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <ctime>
#include <limits>
#include <string>

#include "vkcomm/datum/process_settings.h"

namespace vkcomm {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

struct Calendar {
    long year = -1, month = -1, day = -1, hour = -1, minute = -1;
    double second = -1;

    bool operator==(const Calendar&) const = default;
};

void PrintTo(const Calendar& c, std::ostream* out) {
    out->precision(17);
    *out << c.year << '-' << c.month << '-' << c.day << ' ' << c.hour << ':' << c.minute << ':' << c.second;
}

Calendar calendarOf(long week, double sow) {
    Calendar c;
    gps_to_ymdhms(week, sow, &c.year, &c.month, &c.day, &c.hour, &c.minute, &c.second);
    return c;
}

struct Gps {
    long week = -1;
    double sow = -1;

    bool operator==(const Gps&) const = default;
};

void PrintTo(const Gps& gps, std::ostream* out) {
    out->precision(17);
    *out << gps.week << ' ' << gps.sow;
}

Gps gpsOf(const Calendar& c) {
    Gps gps;
    ymdhms_to_gps(c.year, c.month, c.day, c.hour, c.minute, c.second, &gps.week, &gps.sow);
    return gps;
}

// The calendar of the C library.
std::tm utc(std::time_t time) { return *std::gmtime(&time); }

constexpr std::time_t kGpsEpoch = 315964800;  // 1980-01-06 in seconds of Unix time
constexpr long kDaysTo2100 = 43825;

TEST(GpsTime, KnownDates) {
    struct Case {
        Calendar calendar;
        Gps gps;
        long mjd, yday;
    };

    const Case cases[] = {
        {{1980, 1, 6, 0, 0, 0}, {0, 0}, 44244, 6},
        {{1999, 8, 22, 0, 0, 0}, {1024, 0}, 51412, 234},
        {{2000, 2, 29, 12, 0, 0}, {1051, 216000}, 51603, 60},
        {{2004, 12, 31, 23, 59, 59}, {1303, 518399}, 53370, 366},
        {{2009, 12, 18, 23, 7, 0}, {1562, 515220}, 55183, 352},
        {{2019, 4, 7, 0, 0, 0}, {2048, 0}, 58580, 97},
        {{2099, 12, 31, 0, 0, 0}, {6260, 345600}, 88068, 365},
        {{1980, 1, 5, 23, 59, 59}, {-1, 604799}, 44243, 5},
        {{1901, 1, 1, 0, 0, 0}, {-4123, 172800}, 15385, 1},
        {{1900, 12, 31, 0, 0, 30}, {-4123, 86430}, 15384, 366},  // 1900 counts as a leap year
    };
    for (const Case& c : cases) {
        EXPECT_EQ(calendarOf(c.gps.week, c.gps.sow), c.calendar);
        EXPECT_EQ(gpsOf(c.calendar), c.gps);
        long mjd = 0, year = 0, yday = 0, hour = 0, minute = 0;
        double frac = 0, second = 0;
        gps_to_mjd(c.gps.week, c.gps.sow, &mjd, &frac);
        EXPECT_EQ(mjd, c.mjd);
        EXPECT_DOUBLE_EQ(frac, std::fmod(c.gps.sow, 86400) / 86400);
        mjd_to_ydhms(mjd, frac, &year, &yday, &hour, &minute, &second);
        EXPECT_EQ(year, c.calendar.year);
        EXPECT_EQ(yday, c.yday);
        EXPECT_EQ(second, c.calendar.second);
        Gps gps;
        ydhms_to_gps(year, yday, hour, minute, second, &gps.week, &gps.sow);
        EXPECT_EQ(gps, c.gps);
    }
}

TEST(GpsTime, EveryDayAsTheCLibraryCounts) {
    for (long days = 0; days < kDaysTo2100; ++days) {
        const std::tm parts = utc(kGpsEpoch + std::time_t{86400} * days);
        const Calendar expected{parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, 0, 0, 0};
        const Gps gps{days / 7, static_cast<double>(days % 7) * 86400};
        ASSERT_EQ(calendarOf(gps.week, gps.sow), expected);
        ASSERT_EQ(gpsOf(expected), gps);
        long mjd = 0, yday = 0, month = 0, day = 0;
        double frac = -1;
        ymdhms_to_mjd(expected.year, expected.month, expected.day, 6, 0, 0, &mjd, &frac);
        ASSERT_EQ(mjd, 44244 + days);
        ASSERT_EQ(frac, 0.25);
        mday_to_yday(expected.year, expected.month, expected.day, &yday);
        ASSERT_EQ(yday, parts.tm_yday + 1);
        yday_to_mday(expected.year, yday, &month, &day);
        ASSERT_EQ(month, expected.month);
        ASSERT_EQ(day, expected.day);
    }
}

TEST(GpsTime, EverySecondOfAWeekComesBackWhole) {
    for (long second = 0; second < 604800; ++second) {
        const auto sow = static_cast<double>(second);
        const std::tm parts = utc(kGpsEpoch + 2000 * 604800L + second);
        const Calendar expected{parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday,
                                parts.tm_hour,        parts.tm_min,     static_cast<double>(parts.tm_sec)};
        ASSERT_EQ(calendarOf(2000, sow), expected);
        ASSERT_EQ(gpsOf(expected), (Gps{2000, sow}));
        long mjd = 0;
        double frac = 0;
        gps_to_mjd(2000, sow, &mjd, &frac);
        Calendar through;
        mjd_to_ymdhms(mjd, frac, &through.year, &through.month, &through.day, &through.hour, &through.minute,
                      &through.second);
        ASSERT_EQ(through, expected);
        ymdhms_to_mjd(expected.year, expected.month, expected.day, expected.hour, expected.minute,
                      expected.second, &mjd, &frac);
        Gps back;
        mjd_to_gps(mjd, frac, &back.week, &back.sow);
        ASSERT_EQ(back, (Gps{2000, sow}));
    }
}

TEST(GpsTime, FractionsAndBorders) {
    struct Case {
        const char* name;
        Gps gps;
        Calendar calendar;
    };

    const Case cases[] = {
        {"fraction stays", {0, 30.25}, {1980, 1, 6, 0, 0, 30.25}},
        {"a microsecond and more below stays", {0, 59.999998}, {1980, 1, 6, 0, 0, 59.999998}},
        {"round-off below a minute", {0, 59.9999996}, {1980, 1, 6, 0, 1, 0}},
        {"round-off above a minute", {0, 60.0000004}, {1980, 1, 6, 0, 1, 0}},
        {"round-off below an hour", {0, 3599.9999996}, {1980, 1, 6, 1, 0, 0}},
        {"round-off below midnight", {0, 86399.9999996}, {1980, 1, 7, 0, 0, 0}},
        {"round-off below the week's end", {0, 604799.9999996}, {1980, 1, 13, 0, 0, 0}},
        {"round-off below the year's end", {51, 345599.9999996}, {1981, 1, 1, 0, 0, 0}},
        {"tiny negative", {0, -1e-9}, {1980, 1, 6, 0, 0, 0}},
        {"negative seconds", {0, -0.5}, {1980, 1, 5, 23, 59, 59.5}},
        {"seconds beyond the week", {0, 604800 + 86400}, {1980, 1, 14, 0, 0, 0}},
        {"leap day", {2303, 345600}, {2024, 2, 29, 0, 0, 0}},
        {"day behind a leap day", {2303, 432000}, {2024, 3, 1, 0, 0, 0}},
    };
    for (const Case& c : cases) {
        const Calendar made = calendarOf(c.gps.week, c.gps.sow);
        EXPECT_EQ(made, c.calendar) << c.name;
        EXPECT_FALSE(std::signbit(made.second)) << c.name;
    }
    EXPECT_EQ(gpsOf({2004, 12, 31, 23, 59, 59.9999996}), (Gps{1303, 518400}));
    EXPECT_EQ(gpsOf({1980, 1, 12, 23, 59, 60}), (Gps{1, 0})) << "the week's last leap second";
    EXPECT_EQ(gpsOf({1980, 1, 6, 24, 0, 0.5}), (Gps{0, 86400.5}));
    long mjd = 0;
    double frac = -1;
    gps_to_mjd(0, 86399.9999996, &mjd, &frac);
    EXPECT_EQ(mjd, 44245);
    EXPECT_EQ(frac, 0.0);
    ymdhms_to_mjd(1980, 1, 6, 24, 0, 0, &mjd, &frac);
    EXPECT_EQ(mjd, 44244);
    EXPECT_EQ(frac, 1.0);
}

TEST(GpsTime, EveryFractionOfADayGivesATime) {
    for (int i = 0; i <= 200'000; ++i) {
        const double frac = i / 200'000.0;
        long year = 0, yday = 0, hour = -1, minute = -1;
        double second = -1;
        mjd_to_ydhms(51603, frac, &year, &yday, &hour, &minute, &second);
        ASSERT_EQ(yday, i == 200'000 ? 61 : 60);
        ASSERT_TRUE(hour >= 0 && hour < 24 && minute >= 0 && minute < 60 && second >= 0 && second < 60)
            << frac;
        const double whole = static_cast<double>(yday - 60) * 86400 + 3600.0 * static_cast<double>(hour) +
                             60.0 * static_cast<double>(minute) + second;
        ASSERT_NEAR(whole, frac * 86400, 1.1e-6);
    }
}

TEST(GpsTime, UnusableDatesLeaveTheResults) {
    for (const long month : {0L, 13L, -1L, LONG_MAX, LONG_MIN}) {
        Gps gps;
        ymdhms_to_gps(2024, month, 1, 0, 0, 0, &gps.week, &gps.sow);
        long mjd = -1, yday = -1;
        double frac = -1;
        ymdhms_to_mjd(2024, month, 1, 0, 0, 0, &mjd, &frac);
        mday_to_yday(2024, month, 1, &yday);
        EXPECT_EQ(gps, Gps());
        EXPECT_TRUE(mjd == -1 && yday == -1 && frac == -1);
    }
    for (const long yday : {0L, -1L, 367L, LONG_MAX, LONG_MIN}) {
        long month = -1, day = -1;
        yday_to_mday(2024, yday, &month, &day);
        EXPECT_TRUE(month == -1 && day == -1) << yday;
    }
    long month = -1, day = -1;
    yday_to_mday(2023, 366, &month, &day);
    EXPECT_EQ(month, -1);
}

TEST(GpsTime, HostileValuesGiveNormalTimes) {
    EXPECT_EQ(calendarOf(1562, kNan), calendarOf(1562, 0));
    EXPECT_EQ(calendarOf(1562, -kInf), calendarOf(1562, 0));
    EXPECT_EQ(gpsOf({2009, 12, 13, 0, 0, kInf}), (Gps{1562, 0}));
    const long longs[] = {LONG_MIN, INT_MIN, -1, 0, 1'000'000'000, INT_MAX, LONG_MAX};
    const double doubles[] = {-kInf, -1e308, -1e20, -1.0, 1e15 + 0.3, 1e300, kInf, kNan};
    for (const long a : longs)
        for (const long b : longs)
            for (const double d : doubles) {
                Gps gps;
                ymdhms_to_gps(a, 3, b, a, b, d, &gps.week, &gps.sow);
                EXPECT_TRUE(gps.sow >= 0 && gps.sow < 604800) << a << ' ' << b << ' ' << d;
                mjd_to_gps(a, d, &gps.week, &gps.sow);
                EXPECT_TRUE(gps.sow >= 0 && gps.sow < 604800);
                const Calendar c = calendarOf(a, d);
                EXPECT_TRUE(c.month >= 1 && c.month <= 12 && c.day >= 1 && c.day <= 31 && c.hour >= 0 &&
                            c.hour < 24 && c.minute >= 0 && c.minute < 60 && c.second >= 0 && c.second < 60)
                    << a << ' ' << d;
            }
    gps_to_ymdhms(1, 2, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    long day = 0;
    gps_to_ymdhms(1, 2, nullptr, nullptr, &day, nullptr, nullptr, nullptr);
    EXPECT_EQ(day, 13);
}

TEST(GpsTimeText, LocalCalendar) {
    struct Case {
        const char* name;
        unsigned short week;
        unsigned long milliseconds;
        long zone;
        const wchar_t* text;
    };

    const Case cases[] = {
        {"epoch", 0, 0, 0, L"1980-01-06:00:00:00"},
        {"fraction is cut", 1562, 515220999, 0, L"2009-12-18:23:07:00"},
        {"east, into the next day", 1562, 515220000, 8 * 3600, L"2009-12-19:07:07:00"},
        {"east, into the next week", 1562, 604799000, 3600, L"2009-12-20:00:59:59"},
        {"west, into the week before", 1562, 0, -5 * 3600 - 1800, L"2009-12-12:18:30:00"},
        {"west of the epoch", 0, 1000, -3600, L"1980-01-05:23:00:01"},
        {"into the next year", 1303, 518399000, 1, L"2005-01-01:00:00:00"},
        {"more than a week of milliseconds", 0, 700000000, 0, L"1980-01-14:02:26:40"},
    };
    for (const Case& c : cases) {
        vSetTimeZoneSec(c.zone);
        EXPECT_EQ(strGPSTime(c.week, c.milliseconds), c.text) << c.name;
    }
    for (const long zone : {LONG_MIN, LONG_MAX}) {
        vSetTimeZoneSec(zone);
        EXPECT_GE(strGPSTime(65535, ULONG_MAX).size(), 19u);
    }
    vSetTimeZoneSec(0);
}

}  // namespace
}  // namespace vkcomm
