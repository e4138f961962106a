// The latest position, time, accuracies and satellites from the messages of Javad receivers.
//
// Numbers are little-endian, as the receiver sends them (GREIS). Binary operations take a message's body,
// which stands behind the two characters of its id and the three of its length and ends in a checksum byte
// that is kept, not tested; the pointer forms say how many bytes must be readable, the span forms ignore a
// shorter body and take newer, longer ones. Text operations read to the terminating zero, at most 8192 bytes.
// A null pointer stores nothing. What an operation does not name stays as it was. Not locked: one thread at a
// time. Copying copies everything.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "vkcomm/datum/geodetic.h"
#include "vkcomm/export.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm {

// Solution types of all areas: 0 none, 1 stand-alone, 2 code differential, 3 phase float, 4 phase fixed, 5
// entered.

// PO, or the same of PV.
struct JavadPosition {
    XYZ position;        // metres
    float sigma = 0.0F;  // metres
    std::uint8_t solutionType = 0;
    std::uint8_t checksum = 0;
};

// DP.
struct JavadDops {
    float hdop = 0.0F;
    float vdop = 0.0F;
    float tdop = 0.0F;
    std::uint8_t solutionType = 0;
    std::uint8_t checksum = 0;
};

// SG.
struct JavadRms {
    float horizontal = 0.0F;          // metres
    float vertical = 0.0F;            // metres
    float horizontalVelocity = 0.0F;  // m/s
    float verticalVelocity = 0.0F;    // m/s
    std::uint8_t solutionType = 0;
    std::uint8_t checksum = 0;
};

// RD.
struct JavadDate {
    std::uint16_t year = 0;
    std::uint8_t month = 0;
    std::uint8_t day = 0;
    std::uint8_t base = 0;  // time scale: 0 GPS, 1 UTC(USNO), 2 GLONASS, 3 UTC(SU)
    std::uint8_t checksum = 0;
};

// GT.
struct JavadTime {
    std::uint32_t milliseconds = 0;  // of the GPS week
    std::uint16_t week = 0;          // as sent: some firmware counts modulo 1024
    std::uint8_t checksum = 0;
};

// PS.
struct JavadStatistics {
    std::uint8_t solutionType = 0;
    std::uint8_t gpsLocked = 0;  // satellites, this and the next five
    std::uint8_t glonassLocked = 0;
    std::uint8_t gpsAvailable = 0;
    std::uint8_t glonassAvailable = 0;
    std::uint8_t gpsUsed = 0;
    std::uint8_t glonassUsed = 0;
    std::uint8_t fixProgress = 0;  // percent
    std::uint8_t checksum = 0;
};

// One satellite of a status text, in the order of the text. What the values mean is for the host to say; they
// are the low bits of the numbers sent.
struct JAVAD_GPS_STATUS {
    std::uint8_t value1 = 0;  // behind the field's first character
    std::uint8_t value2 = 0;
    std::uint16_t value3 = 0;
    std::uint8_t value4 = 0;  // behind the field's first character
    std::uint8_t value5 = 0;
    std::uint8_t value6 = 0;  // before the field's last character
    std::uint8_t value7 = 0;  // before the field's last character
};

struct JAVAD_GLONASS_STATUS {
    std::uint8_t value1 = 0;  // behind the field's first character
    std::uint8_t value2 = 0;
    std::uint8_t value3 = 0;
    std::uint8_t unused = 0;  // never written
    std::uint16_t value4 = 0;
    std::uint8_t value5 = 0;  // behind the field's first character
    std::uint8_t value6 = 0;
    std::uint8_t value7 = 0;  // before the field's last character
    std::uint8_t value8 = 0;  // before the field's last character
};

class VKCOMM_API CJavadFormat {
public:
    // The status of GPS and GLONASS satellites: fields between commas (see CSentence), the number of
    // satellites in field 2, the first satellite from field 3 on. The number counts only as far as the text
    // holds whole satellites; none sets count to 0 and leaves array alone. When the number differs from
    // count, or array is null, a new array of that many is allocated with new[], and the old one is not
    // released (deliberate: arrays belong to the caller); else array is filled again. When memory runs out
    // count and array stay as they were.
    void vProcressGS(const char* text, int& count, JAVAD_GPS_STATUS*& array);
    void vProcressNS(const char* text, int& count, JAVAD_GLONASS_STATUS*& array);
    // The same into a vector, which takes the size of the number; the text need not be terminated.
    void vProcressGS(ByteSpan text, std::vector<JAVAD_GPS_STATUS>& satellites);
    void vProcressNS(ByteSpan text, std::vector<JAVAD_GLONASS_STATUS>& satellites);

    // 18 and 9 bytes readable.
    void vProcessSG(const unsigned char* body);
    void vProcessPS(const unsigned char* body);

    void vProcessSG(ByteSpan body);
    void vProcessPS(ByteSpan body);
    // Position, DOPs, time and date: 30, 46 (position and velocity; the velocity is not kept), 14, 7 and 6
    // bytes.
    void vProcessPO(ByteSpan body);
    void vProcessPV(ByteSpan body);
    void vProcessDP(ByteSpan body);
    void vProcessGT(ByteSpan body);
    void vProcessRD(ByteSpan body);

    // The text of an "RE" reply without white space at its ends and without its head, the first five
    // characters; five or fewer are returned whole.
    std::wstring strProcessRECmd(const char* text) const;
    std::wstring strProcessRECmd(ByteSpan text) const;

    // A GGA sentence (see gga_writer.h). Time: GPS, whole seconds, the fraction dropped. Quality: solution
    // type 2 or 3 gives 5 (code differential too, deliberately), 4 gives 4, all else 1. Satellites: GPS and
    // GLONASS used. The undulation is 1.00 whatever the receiver reported (deliberate: no message that is
    // read here carries it).
    std::wstring strGetGPGGA() const;

    const JavadPosition& Position() const { return m_position; }

    const JavadDops& Dops() const { return m_dops; }

    const JavadRms& Rms() const { return m_rms; }

    const JavadDate& Date() const { return m_date; }

    const JavadTime& Time() const { return m_time; }

    const JavadStatistics& Statistics() const { return m_statistics; }

private:
    JavadPosition m_position;
    JavadDops m_dops;
    JavadRms m_rms;
    JavadDate m_date;
    JavadTime m_time;
    JavadStatistics m_statistics;
};

}  // namespace vkcomm
