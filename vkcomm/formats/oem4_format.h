// The latest values of a NovAtel OEM4 receiver's binary logs, and a GGA sentence made from them.
//
// Frames are as the decoder gives them: sync and CRC checked, the first sync byte in front, little-endian, a
// 28-byte header. The host chooses the operation by the message number; no operation looks at it, nor at the
// header's lengths.
//
// Each operation has two forms. The span form ignores a frame that is too short and then changes nothing. The
// pointer form reads no more than its comment says must be readable, and does nothing with a null pointer
// except where said. Each log replaces its own values and leaves the others. No operation fails otherwise,
// throws or allocates (strGetGPGGA allocates its sentence). Not locked: one thread at a time. Copying copies
// everything.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "vkcomm/datum/geodetic.h"
#include "vkcomm/export.h"
#include "vkcomm/formats/ephemeris.h"
#include "vkcomm/formats/oem4_layout.h"
#include "vkcomm/formats/oem4_satellites.h"
#include "vkcomm/formats/range_compressed.h"
#include "vkcomm/formats/server_messages.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm {

// What the last BESTPOS came to.
struct Oem4Position {
    BLH position;            // radians; the height in metres, less the height error of the process
    std::uint16_t week = 0;  // GPS
    double seconds = 0.0;    // of the week
    std::uint8_t type = 0;   // low byte of the position type
    std::uint8_t satellitesUsed = 0;
    std::uint8_t satellitesTracked = 0;
};

struct RangeData {
    std::uint32_t count = 0;                           // of the last RANGECMP, at most 24
    std::array<RangeObservation, kOem4Slots> slots{};  // one whose record was skipped keeps its older value
};

// Message 915. Its meaning is not known. Byte 20 of the body tells which tail followed; the other keeps its
// value.
struct ServerMessage915 {
    std::array<unsigned char, 24> body{};
    std::array<unsigned char, 12> tail12{};
    std::array<unsigned char, 16> tail16{};
};

class VKCOMM_API CNOEM4Format {
public:
    // BESTPOS, 100 bytes (28 of a response, whose body is not read). In order:
    // - the body is replaced, by anything but a response;
    // - an age of corrections above 0 and below 5 s multiplies its standard deviations by 0.6 (deliberate);
    // - the height error of the process (dGetHerror) is subtracted from its height;
    // - Position() is derived from header and body.
    // The middle two run on the older body when a response comes, so that repeated responses keep lowering
    // the height (deliberate: hosts know it so). A null frame runs the last step alone.
    void vProcessBestposB(const unsigned char* frame);
    void vProcessBestposB(ByteSpan frame);

    // PSRDOP, 56 bytes.
    void vProcessPsrDOPB(const unsigned char* frame);
    void vProcessPsrDOPB(ByteSpan frame);

    // RANGECMP, 32 bytes and 24 for each of its observations up to the 24th; those beyond are dropped.
    void vProcessRangeCMPB(const unsigned char* frame);
    void vProcessRangeCMPB(ByteSpan frame);
    // Expands one record of 24 bytes into a slot by the rules of expandRange. A slot outside 0 to 23 is
    // ignored.
    void ProcessRangeCMPData(int slot, const unsigned char* record);
    void ProcessRangeCMPData(int slot, ByteSpan record);

    // The satellite message, 34 bytes and 12 for each of its satellites up to the 24th; those beyond are
    // dropped. (SATVIS is another log: see SatvisView.) A null frame clears the table and keeps the raw
    // bytes.
    void vProcessSatMsgB(const unsigned char* frame);
    void vProcessSatMsgB(ByteSpan frame);

    // VERSION, 140 bytes: the first component is kept.
    void vProcessVerDataB(const unsigned char* frame);
    void vProcessVerDataB(ByteSpan frame);

    // REFSTATION and PASSCOM2, 69 and 112 bytes, copied into the caller's record.
    void vProcessRefStationB(const unsigned char* frame, REFSTATIONB_DATA& record) const;
    void vProcessRefStationB(ByteSpan frame, REFSTATIONB_DATA& record) const;
    void vProcessPasscom2B(const unsigned char* frame, PASSCOMB_LOG& record) const;
    void vProcessPasscom2B(ByteSpan frame, PASSCOMB_LOG& record) const;

    // RAWEPHEM, 130 bytes: see CEphemeris::ConvertNovatelEphemeris.
    void vProcessRawEphemB(const unsigned char* frame);
    void vProcessRawEphemB(ByteSpan frame);

    // Server messages into the caller's record: 912 of pellEpochSize(byte 28) bytes (29 when byte 28 is above
    // 28); 913 of 28 bytes, from the first byte of its body.
    void vProcessMessage912(const unsigned char* frame, tag_PellEpoch& epoch) const;
    void vProcessMessage912(ByteSpan frame, tag_PellEpoch& epoch) const;
    void vProcessMessage913(const unsigned char* body, tag_PellStation& station) const;
    void vProcessMessage913(ByteSpan body, tag_PellStation& station) const;

    // Server message 915, 52 bytes and a tail of 12 or 16 where byte 48 says so.
    void vProcessMessage915(const unsigned char* frame);
    void vProcessMessage915(ByteSpan frame);

    // Clears everything but Position().
    void vSetZero();

    // The GGA sentence (see ggaSentence) of the stored state: time from the last header, whichever log it
    // came with, in whole seconds (deliberate: the fraction is dropped); position, undulation and quality
    // from the BESTPOS body; HDOP from PSRDOP. Quality is 5 for position types 17 and 32 to 34, 4 for 48 to
    // 50, and 1 for every other, so also for none at all (deliberate: hosts look at the type themselves).
    std::wstring strGetGPGGA() const;

    // The header of the last BESTPOS, PSRDOP, VERSION, RAWEPHEM or 915.
    const Oem4Header& Header() const { return m_logs.header; }

    // As sent, but for the height and the standard deviations (see vProcessBestposB).
    const BestposBody& Bestpos() const { return m_logs.bestpos; }

    const PsrdopBody& Psrdop() const { return m_logs.psrdop; }

    const VersionComponent& Version() const { return m_logs.version; }

    const RangeData& Ranges() const { return m_logs.ranges; }

    const SatelliteMessage& Satellites() const { return m_logs.satellites; }

    const ServerMessage915& Message915() const { return m_logs.message915; }

    const CEphemeris& Ephemeris() const { return m_logs.ephemeris; }

    const Oem4Position& Position() const { return m_position; }

private:
    struct Logs {
        Oem4Header header;
        BestposBody bestpos;
        PsrdopBody psrdop;
        VersionComponent version;
        RangeData ranges;
        SatelliteMessage satellites;
        ServerMessage915 message915;
        CEphemeris ephemeris;
    };

    void derivePosition();

    Logs m_logs;
    Oem4Position m_position;
};

}  // namespace vkcomm
