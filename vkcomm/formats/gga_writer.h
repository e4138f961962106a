// The one writer of NMEA GGA sentences for every receiver family, and the latitude and longitude texts it
// uses.
//
// Each family fills a GgaFix by its own mapping; the rest is the same for all. No state: any thread may call.
#pragma once

#include <string>

#include "vkcomm/export.h"

namespace vkcomm {

struct GgaFix {
    // GPS time (not UTC) in seconds from any midnight, so seconds of week do; a value of less or more than a
    // day gives its time of day. Families that send whole seconds truncate before.
    double seconds = 0.0;
    double latitude = 0.0;   // radians, north positive
    double longitude = 0.0;  // radians, east positive
    int quality = 0;         // GGA quality digit
    int satellites = 0;      // in use
    double hdop = 0.0;
    double height = 0.0;      // metres
    double undulation = 0.0;  // metres
};

// "$GPGGA,hhmmss.ss,ddmm.mmmmmmm,N,dddmm.mmmmmmm,E,q,nn,h.h,m.mmm,M,u.uu,M,0,*hh" CR LF, the checksum being
// the XOR of all characters after '$'. The age of corrections is always 0 and the station empty.
//
// Fields are printed as they stand, whatever their size: a latitude of 95 degrees is 9500.0000000, a height
// of -0.0 is -0.000. Rounding carries, so neither seconds nor minutes ever read 60. When any number is NaN or
// infinite the sentence says that there is no position: quality 0, latitude, longitude, height and undulation
// empty; time and HDOP are empty only when they are such themselves.
VKCOMM_API std::wstring ggaSentence(const GgaFix& fix);

enum class HemisphereText {
    kField,   // "ddmm.mmmmmmm,N,": a field of its own, each ended by a comma
    kSuffix,  // "ddmm.mmmmmmmN"
};

// Appends radians as degrees and minutes: two digits of degrees at least for a latitude, three for a
// longitude. 'S' and 'W' stand for negative angles; -0.0 is 'N' or 'E'. Angles are not folded into a turn;
// beyond 1.6e9 degrees they are printed as that many. NaN and infinity append no digits and no letter, only
// the commas of kField.
VKCOMM_API void appendLatitude(std::string& out, double radians, HemisphereText form);
VKCOMM_API void appendLongitude(std::string& out, double radians, HemisphereText form);

}  // namespace vkcomm
