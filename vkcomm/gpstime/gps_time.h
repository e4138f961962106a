// Conversions between GPS time, Modified Julian Date, calendar date and day of year.
//
// All of it is GPS time, without leap seconds. week and sow are the GPS week (week 0 begins on 6 January
// 1980, MJD 44244; never rolled over at 1024) and the seconds of it; mjd and frac a day and a fraction of it;
// yday, month and day count from 1. Every fourth year is a leap year, which is the calendar from 1901 to 2099
// (deliberate: the receivers and files this serves count the same way).
//
// Results are normalised, also before 1980: frac in [0, 1), sow in [0, 604800), hour 0 to 23, minute 0 to 59,
// second in [0, 60). Only ydhms_to_mjd and ymdhms_to_mjd leave a time of day of 24 hours and more in frac.
// Where a time is taken apart, less than a microsecond off a whole second counts as that second, so that
// whole seconds in give whole seconds out.
//
// Nothing fails: an infinite or undefined time of day counts as 0, and a week, day or year whose day number
// would pass 10^9 in size as that bound. A month outside 1 to 12, or a yday outside its year, leaves the
// results as they were. Null result pointers are skipped. Any thread may call.
#pragma once

#include <string>

#include "vkcomm/export.h"

namespace vkcomm {

VKCOMM_API void gps_to_mjd(long week, double sow, long* mjd, double* frac);
VKCOMM_API void mjd_to_gps(long mjd, double frac, long* week, double* sow);

VKCOMM_API void mjd_to_ydhms(long mjd, double frac, long* year, long* yday, long* hour, long* minute,
                             double* second);
VKCOMM_API void gps_to_ydhms(long week, double sow, long* year, long* yday, long* hour, long* minute,
                             double* second);
VKCOMM_API void ydhms_to_mjd(long year, long yday, long hour, long minute, double second, long* mjd,
                             double* frac);
VKCOMM_API void ydhms_to_gps(long year, long yday, long hour, long minute, double second, long* week,
                             double* sow);

VKCOMM_API void mjd_to_ymdhms(long mjd, double frac, long* year, long* month, long* day, long* hour,
                              long* minute, double* second);
VKCOMM_API void gps_to_ymdhms(long week, double sow, long* year, long* month, long* day, long* hour,
                              long* minute, double* second);
VKCOMM_API void ymdhms_to_mjd(long year, long month, long day, long hour, long minute, double second,
                              long* mjd, double* frac);
VKCOMM_API void ymdhms_to_gps(long year, long month, long day, long hour, long minute, double second,
                              long* week, double* sow);

VKCOMM_API void yday_to_mday(long year, long yday, long* month, long* day);
VKCOMM_API void mday_to_yday(long year, long month, long day, long* yday);

// The GPS time as text in the local time zone (see lngGetTimeZoneSec), "2009-12-18:23:07:00"; fractions of a
// second are cut off.
VKCOMM_API std::wstring strGPSTime(unsigned short week, unsigned long milliseconds);

}  // namespace vkcomm
