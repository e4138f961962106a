// The latest position, status and identification from the binary messages of CMC Allstar and SUPERSTAR
// receivers.
//
// Every operation takes a whole frame as the decoder framed it: 01h, number, its complement, length, data
// (little- endian) from byte 4, two check bytes. The pointer forms say how many bytes must be readable; the
// span forms ignore a shorter frame. A null pointer stores nothing. What a message does not carry stays as it
// was, and no value is tested against a range. Not locked: one thread at a time. Copying copies everything;
// nothing allocates except strGetGPGGA.
#pragma once

#include <cstdint>
#include <string>

#include "vkcomm/datum/geodetic.h"
#include "vkcomm/export.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm {

// Message 20, navigation data.
struct CmcNavigation {
    BLH position;  // radians; metres
    // From the calendar date and time as sent, whose scale (UTC or GPS) the receiver's settings decide.
    std::uint32_t gpsWeek = 0;
    double gpsSeconds = 0.0;  // of the week
    // 2 3-D, 3 height held, 4 and 5 the same with corrections, 6 dead reckoning, 8 base station.
    std::uint8_t mode = 0;
    std::uint8_t alignment = 0;   // 0x40 or 0: bit 6 of the mode byte
    std::uint32_t confident = 0;  // 0x20 or 0: bit 5 of the mode byte, confidence in the solution is high
    float hdop = 0.0F;
    float vdop = 0.0F;
    float horizontalMerit = 0.0F;  // metres, figure of merit
    float verticalMerit = 0.0F;    // metres
    std::uint8_t satellites = 0;   // used, 0 to 15
};

// Message 45.
struct CmcIdentification {
    int number = 0;    // of the two characters at bytes 30 and 31
    std::string text;  // the serial number
};

struct CmcStatus {
    std::uint8_t message30 = 0;          // its low four bits, not interpreted
    std::uint8_t visibleSatellites = 0;  // message 33, 0 to 15
    float maskAngle = 0.0F;              // message 49, radians
    std::uint8_t message75 = 0;          // its validity byte: not 0 when the ionosphere data hold
};

class VKCOMM_API CCMCFormat {
public:
    // 74 bytes readable. A month outside 1 to 12 leaves week and seconds as they were; a date before 1980 has
    // week 0.
    void vProcress20Dat(const unsigned char* frame);
    // 7 bytes readable.
    void vProcess30Dat(const unsigned char* frame);
    // 7 bytes readable.
    void vProcess33Dat(const unsigned char* frame);
    // 88 bytes readable. The number changes only when both its characters are letters or digits; letters
    // count by the same arithmetic as digits (deliberate: the values are known that way). The text is the 13
    // characters of the serial number when the first four are letters or digits, else those four as a
    // hexadecimal number, eight characters wide.
    void vProcess45Dat(const unsigned char* frame);
    // 27 bytes readable.
    void vProcess49Dat(const unsigned char* frame);
    // 15 bytes readable.
    void vProcess75Dat(const unsigned char* frame);

    void vProcress20Dat(ByteSpan frame);
    void vProcess30Dat(ByteSpan frame);
    void vProcess33Dat(ByteSpan frame);
    void vProcess45Dat(ByteSpan frame);
    void vProcess49Dat(ByteSpan frame);
    void vProcess75Dat(ByteSpan frame);

    // A GGA sentence (see gga_writer.h) of message 20. The time is that of the message, whole seconds; the
    // quality is always 1, with corrections too (deliberate: hosts know no other of these receivers); the
    // undulation, which these receivers do not send, is 0.00.
    std::wstring strGetGPGGA() const;

    const CmcNavigation& Navigation() const { return m_navigation; }

    const CmcIdentification& Identification() const { return m_identification; }

    const CmcStatus& Status() const { return m_status; }

private:
    CmcNavigation m_navigation;
    CmcIdentification m_identification;
    CmcStatus m_status;
};

}  // namespace vkcomm
