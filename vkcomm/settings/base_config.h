// How a receiver is to be set up as a base station: CBaseConfig for the receivers of the generic base setup
// (the maker's boards, Trimble, NovAtel, CMC), CBaseConfigJavad for Javad receivers.
//
// The record is kept in archives and, CBaseConfig only, as a block of lines in a settings text file. Every
// value is kept whatever it is; what it means is decided where a receiver is set up. Nothing throws but what a
// growing text throws. One thread at a time for each record. Records own their text and their antenna.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "vkcomm/base/object.h"
#include "vkcomm/base/serial_class.h"
#include "vkcomm/base/text_file.h"
#include "vkcomm/export.h"
#include "vkcomm/settings/antenna_type.h"

namespace vkcomm {

class VKCOMM_API CBaseConfig : public base::CObject {
public:
    unsigned char uVarekFormat = 3;    // differential format index on the maker's own boards
    unsigned char uTrimbleFormat = 4;  // the same on Trimble receivers
    unsigned char uElevMask = 10;      // whole degrees
    unsigned char uVarekPort = 0;      // receiver port index on the maker's own boards
    unsigned char uTrimblePort = 2;    // the same on Trimble receivers
    // Of the port that gives corrections: 0 to 9 are 300, 600, 1200, 2400, 4800, 9600, 19200, 38400, 57600 and
    // 115200 bit/s.
    std::int32_t nBaud = 5;
    std::wstring strStationID = L"1";
    unsigned char uInterval = 1;  // seconds between corrections
    std::int32_t nAddRTCM = 0;    // not 0: the additional RTCM messages as well
    unsigned char uPDOPMask = 6;
    std::int32_t nParity = 0;  // parity index of the port that gives corrections
    std::int32_t nCTS = 0;     // not 0: hardware flow control
    CAntType antenna;
    std::array<unsigned char, 4> uOption = {68, 6, 1, 0};  // the host's; no setup reads them
    std::int32_t nStationType = 0;                         // 0 to 2: variant of the NovAtel setup

    // Sets everything but the antenna to its default.
    void vInit();

    // Copies everything but the antenna. Deliberate: the target keeps its own; who wants the antenna as well
    // assigns it.
    void operator=(const CBaseConfig& other);  // NOLINT(misc-unconventional-assign-operator)

    // A load that fails changes nothing.
    void Serialize(base::CArchive& archive) override;

    // Writes the text block, version 4, with labels in the language of nGetLang(). Failure is told by the file.
    void vWriteFile(base::CStdioFileCe& file) const;

    // Reads a text block with labels in any language. 0, and nothing changes, when its version is below 1.
    // Version 1 leaves the antenna, versions 1 and 2 leave station identifier and type as they are. Lines that
    // are missing count as empty ones: numbers become 0.
    int bReadFile(base::CStdioFileCe& file);

    VKCOMM_DECLARE_SERIAL(CBaseConfig)
};

class VKCOMM_API CBaseConfigJavad : public base::CObject {
public:
    // Set of correction messages: 0 to 5 RTCM 2, 6 to 9 RTCM 3, 10 and 11 CMR, 12 and 13 Javad RTK.
    unsigned char uDifFormat = 11;
    unsigned char uElevMask = 10;  // whole degrees
    unsigned char uPort = 0;       // receiver ports a to d are 0 to 3
    // 0 to 4 are 4800, 9600, 19200, 38400 and 57600 bit/s, any other 115200.
    std::int32_t nBaud = 3;
    std::wstring strStationID = L"1";
    unsigned char uExtra = 30;  // the host's; no setup reads it
    CAntType antenna;

    // As those of CBaseConfig.
    void vInit();
    void operator=(const CBaseConfigJavad& other);  // NOLINT(misc-unconventional-assign-operator)
    void Serialize(base::CArchive& archive) override;

    VKCOMM_DECLARE_SERIAL(CBaseConfigJavad)
};

}  // namespace vkcomm
