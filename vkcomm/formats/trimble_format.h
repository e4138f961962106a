// The latest position, accuracies, satellites and status from the packets of Trimble receivers.
//
// All numbers are big-endian (Trimble's data collector protocol: packets 40h GENOUT with its GSOF records,
// 55h RETSVDATA, 09h RECSTAT1, 4Bh RETOPT, 57h RAWDATA). Operations take the inside of a packet, behind the
// four bytes of its head; the pointer forms say how many bytes must be readable, the span forms ignore a
// packet with fewer. A null pointer stores nothing. Each record overwrites its own area, and what a report
// does not carry stays as it was. Nothing allocates except a satellite list that is longer than any before,
// and strGetGPGGA. Not locked: one thread at a time. Copying copies everything.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "vkcomm/datum/geodetic.h"
#include "vkcomm/export.h"
#include "vkcomm/formats/trimble_replies.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm {

// GSOF record 1.
struct TrimblePositionTime {
    std::uint32_t milliseconds = 0;  // of the GPS week
    std::uint16_t week = 0;
    std::uint8_t satellites = 0;  // used
    std::uint8_t flags1 = 0;      // how the position was computed
    // Bit 0 corrections, 1 from carrier phase, 2 fixed integers, 3 OmniSTAR. Each sigma record clears the
    // upper half (deliberate: scaling and GGA quality go by the lower half alone).
    std::uint8_t flags2 = 0;
    std::uint8_t initialisations = 0;  // counts initialisations, modulo 256
};

// GSOF record 9.
struct TrimbleDops {
    float pdop = 0.0F;
    float hdop = 0.0F;
    float vdop = 0.0F;
    float tdop = 0.0F;
};

// GSOF record 12. With a fixed-integer solution (flags2 7 or 15) east and north are a fifth, up is 1/4.5 of
// what the receiver sent (deliberate: hosts judge fixed solutions on this scale).
struct TrimbleSigmas {
    float positionRms = 0.0F;
    float east = 0.0F;         // metres
    float north = 0.0F;        // metres
    float covariance = 0.0F;   // of east and north, square metres
    float up = 0.0F;           // metres
    float semiMajor = 0.0F;    // of the error ellipse, metres
    float semiMinor = 0.0F;    // metres
    float orientation = 0.0F;  // of the semi-major axis, degrees from north
    float unitVariance = 0.0F;
    std::uint16_t epochs = 0;
};

struct TrimbleSatellite {
    std::uint8_t prn = 0;
    std::uint8_t flags1 = 0;    // bit 0 above the horizon, 2 and 3 L1 and L2 tracked, 6 used, 7 used in RTK
    std::uint8_t flags2 = 0;    // bit 0 and 1 P code on L1 and L2
    std::int8_t elevation = 0;  // degrees
    std::uint16_t azimuth = 0;  // degrees
    std::uint8_t snrL1 = 0;     // quarters of a dB
    std::uint8_t snrL2 = 0;     // quarters of a dB
};

// GSOF record 14.
struct TrimbleSatellites {
    std::int8_t count = 0;               // as sent
    std::vector<TrimbleSatellite> list;  // those of them that the record holds
};

struct TrimbleOptions {
    std::array<unsigned char, 49> bytes{};  // as received
    std::uint16_t syncTime = 0;             // bytes 2 and 3 (older receivers: tenths of a second)
    std::uint16_t fastestRate = 0;          // bytes 4 and 5 (older receivers: milliseconds)
    std::uint16_t memoryInstalled = 0;      // bytes 29 and 30 (older receivers)
};

class VKCOMM_API CTrimbleFormat {
public:
    using SatelliteData = std::array<std::uint32_t, 12>;
    using ReceiverStatus = std::array<unsigned char, 21>;

    // The records of a GENOUT report: types 1, 2, 3, 6, 9, 12 and 14; others, and those whose length is not
    // that of their type, are stepped over. The report is one transmission, its pages already joined: one
    // byte that is not read, two page bytes, the records. A page byte above 1 would be taken for a record's
    // type, and the byte behind a satellite record (type 14) is skipped (both deliberate: this is the
    // report's form as hosts hand it over; see GenoutReassembler of the host library, which makes it). A
    // record that does not fit ends the report.
    // The pointer form's length counts six bytes beyond the last record, which are not read: length - 6
    // bytes must be readable, and a length below 6 does nothing. The span is the report without those six.
    void vProcessGenout(const unsigned char* report, int length);
    void vProcessGenout(ByteSpan report);

    // Keeps nothing of a raw-data record and reads none of it (deliberate: hosts call it for every such
    // record).
    void vProcessRawData(const unsigned char* record, int length);
    void vProcessRawData(ByteSpan record);

    // Satellite flags, subtype 0 only: what follows subtype and PRN (record byte 6). 48 bytes readable.
    void vProcessRetsvdata(const unsigned char* data);
    // Receiver status. 21 bytes readable.
    void vProcessRecstat1(const unsigned char* data);
    // Receiver options. 49 bytes readable.
    void vProcessRetopt(const unsigned char* data);

    void vProcessRetsvdata(ByteSpan data);
    void vProcessRecstat1(ByteSpan data);
    void vProcessRetopt(ByteSpan data);

    // A GGA sentence (see gga_writer.h). Time: GPS, whole seconds, the fraction dropped. Quality by flags2: 1
    // gives 2, 3 gives 5, 7 and 15 give 4, all else 1. Satellites: those of the receiver status. The
    // undulation is 1.00 whatever the receiver reported (deliberate: no record that is read here carries it).
    std::wstring strGetGPGGA() const;

    const TrimblePositionTime& PositionTime() const { return m_positionTime; }

    // Metres, from record 2 or 3, whichever came last.
    const XYZ& Position() const { return m_position; }

    // Position minus the delta of record 6, metres; all zeros after a report without one.
    const XYZ& BasePosition() const { return m_basePosition; }

    const TrimbleDops& Dops() const { return m_dops; }

    const TrimbleSigmas& Sigmas() const { return m_sigmas; }

    const TrimbleSatellites& Satellites() const { return m_satellites; }

    // Twelve sets of satellites, bit k is PRN k + 1.
    const SatelliteData& SatelliteSets() const { return m_satelliteSets; }

    // As received; bytes 2 and 3 are the number of satellites in two digits.
    const ReceiverStatus& Status() const { return m_status; }

    const TrimbleOptions& Options() const { return m_options; }

    CTrimRSerial& SerialReply() { return m_serialReply; }

    const CTrimRSerial& SerialReply() const { return m_serialReply; }

    CTrimBreakRet& BreakReply() { return m_breakReply; }

    const CTrimBreakRet& BreakReply() const { return m_breakReply; }

private:
    struct GsofRow;
    static const GsofRow kGsofRows[];

    void storeRecord(unsigned char type, ByteSpan data);
    void storePositionTime(ByteSpan data);
    void storeGeodetic(ByteSpan data);
    void storeCartesian(ByteSpan data);
    void storeDelta(ByteSpan data);
    void storeDops(ByteSpan data);
    void storeSigmas(ByteSpan data);
    void storeSatellites(ByteSpan data);

    TrimblePositionTime m_positionTime;
    XYZ m_position;
    XYZ m_basePosition;  // the delta while a report is decoded
    bool m_deltaSeen = false;
    TrimbleDops m_dops;
    TrimbleSigmas m_sigmas;
    TrimbleSatellites m_satellites;
    SatelliteData m_satelliteSets{};
    ReceiverStatus m_status{};
    TrimbleOptions m_options;
    CTrimRSerial m_serialReply;
    CTrimBreakRet m_breakReply;
};

}  // namespace vkcomm
