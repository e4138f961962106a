// The latest position, time, accuracy and motion taken from NMEA 0183 sentences of any talker.
//
// Every operation takes a sentence as the decoder framed it: '$' first, zero-terminated (pointer form; at
// most 8192 bytes are read) or a span (need not be terminated). A null pointer or a sentence without text
// stores nothing. Fields follow the rules of CSentence; an absent field reads as 0 or empty. State of
// sentences not given stays as it was. Not locked: one thread at a time. Copying copies everything.
#pragma once

#include <string>
#include <string_view>

#include "vkcomm/datum/geodetic.h"
#include "vkcomm/export.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm {

// Which sentences are stored; cleared by GGA, GST and RMC whose time field is too short.
struct NmeaFlags {
    bool zda = false;
    bool gst = false;
    bool rmc = false;
    bool gsa = false;
    bool gga = false;
};

// Time of the last sentence that had one; the date is that of the last RMC or ZDA, and so are week and
// seconds.
struct NmeaTime {
    int gpsWeek = 0;
    unsigned int gpsSeconds =
        0;  // whole seconds of the week, taken from the date and time as sent (usually UTC)
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    double second = 0.0;
};

struct NmeaFix {
    BLH position;  // radians; metres above the ellipsoid (altitude plus geoid separation)
    int satellites = 0;
    int quality = 0;  // GGA field 6 as sent
    int age = 0;      // of corrections, whole seconds
    int station = 0;  // reference station number
};

struct NmeaDops {
    double pdop = 0.0;
    double hdop = 0.0;
    double vdop = 0.0;
};

// One standard deviation each, metres.
struct NmeaErrors {
    double latitude = 0.0;
    double longitude = 0.0;
    double height = 0.0;
    double rangeRms = 0.0;
};

struct NmeaMotion {
    double speed = 0.0;              // over ground, m/s
    double course = 0.0;             // over ground, radians from true north
    double magneticVariation = 0.0;  // degrees, west negative
};

class VKCOMM_API CNmeaFormat {
public:
    // 1 when the sentence was stored. GGA, RMC and GST whose time field has fewer than six characters clear
    // what they would have stored and give 0; ZDA then gives 0 and changes nothing; GSA gives 1 for any text.
    int bProcessGGA(const unsigned char* sentence);
    int bProcessGSA(const unsigned char* sentence);
    int bProcessGST(const unsigned char* sentence);
    // Latitude and longitude of RMC are not read (deliberate: GGA gives them with a quality). Years are 2000
    // to 2099.
    int bProcessRMC(const unsigned char* sentence);
    int bProcessZDA(const unsigned char* sentence);

    int bProcessGGA(ByteSpan sentence);
    int bProcessGSA(ByteSpan sentence);
    int bProcessGST(ByteSpan sentence);
    int bProcessRMC(ByteSpan sentence);
    int bProcessZDA(ByteSpan sentence);

    // Week and seconds from year, month, day, hour, minute and second; with a month outside 1 to 12 they
    // stay.
    void vYMDTMS2GPS();

    const NmeaFlags& Flags() const { return m_flags; }

    const NmeaTime& Time() const { return m_time; }

    const NmeaFix& Fix() const { return m_fix; }

    const NmeaDops& Dops() const { return m_dops; }

    const NmeaErrors& Errors() const { return m_errors; }

    const NmeaMotion& Motion() const { return m_motion; }

    // The text of the last sentence given, stored or not.
    const std::string& LastSentence() const { return m_sentence; }

private:
    bool keep(ByteSpan sentence);
    bool readTime(std::string_view field);
    void clearTime();

    NmeaFlags m_flags;
    NmeaTime m_time;
    NmeaFix m_fix;
    NmeaDops m_dops;
    NmeaErrors m_errors;
    NmeaMotion m_motion;
    std::string m_sentence;
};

}  // namespace vkcomm
