// The latest position, satellites and settings of a CSI or Hemisphere receiver.
//
// Values come from the $BIN messages 1, 2, 96 and 99 (little-endian) and from the reply to the JSHOW query.
// Binary operations take the whole record as the decoder framed it, "$BIN" first. The pointer forms say how
// many bytes must be readable; the span forms ignore a record with fewer. A null pointer stores nothing. What
// an operation does not name stays as it was. Not locked: one thread at a time. Copying copies everything;
// nothing allocates except the port text.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "vkcomm/export.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm {

// Message 1.
struct CsiNavigation {
    std::uint16_t gpsWeek = 0;
    std::uint32_t gpsSeconds = 0;  // of the week, the fraction dropped
    double latitude = 0.0;         // degrees, north positive
    double longitude = 0.0;        // degrees, east positive
    double height = 0.0;           // metres above the ellipsoid
    float velocityNorth = 0.0F;    // m/s, this and the next two
    float velocityEast = 0.0F;
    float velocityUp = 0.0F;
    float residualDeviation = 0.0F;  // metres, standard deviation of the residuals
    // 0 no fix, 1 2-D, 2 3-D, 3 2-D and 4 3-D with corrections, 5 and up RTK.
    std::uint32_t navigationMode = 0;
};

// Messages 1 and 2.
struct CsiSolution {
    std::uint32_t satellites = 0;  // used: as message 1 says, or the bits of usedMask once message 2 has come
    std::uint32_t satellitesTracked = 0;  // bits of trackedMask
    double hdop = 0.0;
    double vdop = 0.0;
    std::uint32_t trackedMask = 0;  // bit 0 is PRN 1
    std::uint32_t usedMask = 0;
};

// A row of the satellite table: built by message 99, its level by message 96.
struct CsiSatellite {
    std::int16_t prn = 0;           // 1 to 37, or 120 to 140 (SBAS); 0 in a row that is not in use
    std::int16_t elevation = 0;     // degrees
    std::int16_t azimuth = 0;       // degrees, even numbers only
    std::int16_t signalLevel = 0;   // 10 ln(0.8192 × raw signal-to-noise), truncated; 0 when there is none
    std::uint32_t phaseLocked = 0;  // 1 when channel status bit 6 is set
    std::uint32_t used = 0;         // 1 when in the solution
    std::int16_t channelValue = 0;  // byte 3 of the channel in message 96: counts cycle slips
};

struct CsiSatelliteTable {
    static constexpr std::size_t kCapacity = 12;

    std::array<CsiSatellite, kCapacity> rows{};
    std::uint32_t count = 0;  // rows in use, from the first
    // Rows in use that are in the solution and have a signal level above 0, as counted last: by message 96 or
    // UpdateValidSatNum.
    std::uint32_t valid = 0;
};

// The JSHOW reply. Codes for words that are not in the lists differ from setting to setting (deliberate:
// hosts compare with them). Numbers out of range are clamped.
struct CsiSettings {
    std::int32_t baud = 0;        // bit/s, of the port that replied; 38400 and up need more than 16 bits
    int differentialSource = 0;   // 0 NONE, 1 WAAS, 2 BEACON, 3 THIS PORT, 4 anything else
    int altitudeUse = 0;          // 0 NEVER, 1 SOMETIMES, 2 ALWAYS, 4 anything else
    float limit = 0.0F;           // metres: residuals above it light the warning lamp
    std::int16_t maskAngle = 0;   // degrees
    int airMode = 0;              // 0 AUTO, 1 NORM, 2 HIGH, 3 LOW, 5 anything else
    int smoothing = 0;            // 0 LONG, 1 SHORT
    double frequency = 0.0;       // of the correction signal: MHz for a satellite, kHz for a beacon
    std::int16_t maximumAge = 0;  // of corrections, seconds
    std::string thisPort;         // the replying port, as sent
};

class VKCOMM_API CCSIFormat {
public:
    // 62 bytes readable. Seconds that are no number or out of range are clamped to 0 to 4294967295.
    void ProcessSBinaryMsg1(const unsigned char* record);
    // 26 bytes readable.
    void ProcessSBinaryMsg2(const unsigned char* record);
    // Both 312 bytes readable: 12 channels of 24 bytes from byte 20, four bytes behind them.
    // Message 96 sets the levels of satellites that are in the table and counts the valid ones.
    void ProcessSBinaryMsg96(const unsigned char* record);
    // Message 99 rebuilds the table; a row keeps its level only while its PRN stays. Send message 2 first:
    // its mask tells which satellites are used.
    void ProcessSBinaryMsg99(const unsigned char* record);

    void ProcessSBinaryMsg1(ByteSpan record);
    void ProcessSBinaryMsg2(ByteSpan record);
    void ProcessSBinaryMsg96(ByteSpan record);
    void ProcessSBinaryMsg99(ByteSpan record);

    // Counts the valid satellites of the table again.
    void UpdateValidSatNum();

    // Sets all JSHOW settings to 0, and the port text empty, before a new query.
    void InitCsiShow() { m_settings = {}; }

    // One or more reply lines, "$>JSHOW,keyword,value": everything behind the comma that follows the keyword
    // is the value. The head "$>JSHOW," may be absent. Lines with other keywords change nothing. The pointer
    // form reads to the terminating zero, at most 8192 bytes.
    void ProcessCSISHOW(const char* reply);
    void ProcessCSISHOW(ByteSpan reply);

    // The value of one line each, blanks at its ends removed.
    // A baud value with a comma belongs to the receiver's other port and changes nothing.
    void Process_JShow_baud(std::string_view value);
    // Compared as a whole; the words of the other settings may stand anywhere in the value.
    void Process_JShow_Diff(std::string_view value);
    void Process_JShow_Alt(std::string_view value);
    void Process_JShow_Limit(std::string_view value);
    void Process_JShow_Mask(std::string_view value);
    void Process_JShow_Air(std::string_view value);
    // A value without a known word changes nothing.
    void Process_JShow_Smooth(std::string_view value);
    void Process_JShow_Freq(std::string_view value);
    void Process_JShow_Age(std::string_view value);
    void Process_JShow_Thisport(std::string_view value);

    const CsiNavigation& Navigation() const { return m_navigation; }

    const CsiSolution& Solution() const { return m_solution; }

    const CsiSatelliteTable& Satellites() const { return m_table; }

    const CsiSettings& Settings() const { return m_settings; }

private:
    void processShowLine(std::string_view line);

    CsiNavigation m_navigation;
    CsiSolution m_solution;
    CsiSatelliteTable m_table;
    CsiSettings m_settings;
};

}  // namespace vkcomm
