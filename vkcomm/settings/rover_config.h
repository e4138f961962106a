// How a receiver is to be set up as a rover, which takes corrections: CRoverConfig for the receivers of the
// generic rover setup, CRoverConfigJavad for Javad receivers.
//
// The record is kept in archives and, CRoverConfig only, as a block of lines in a settings text file. Every
// value is kept whatever it is; what it means is decided where a receiver is set up. Nothing throws but what a
// growing text throws. One thread at a time for each record.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "vkcomm/base/object.h"
#include "vkcomm/base/serial_class.h"
#include "vkcomm/base/text_file.h"
#include "vkcomm/export.h"

namespace vkcomm {

class VKCOMM_API CRoverConfig : public base::CObject {
public:
    unsigned char uVarekFormat = 3;         // differential type on the maker's own boards
    unsigned char uTrimbleFormat = 2;       // the same on Trimble receivers
    unsigned char uReserved = 0;            // the host's; only archives keep it
    std::wstring strStationIndex = L"ANY";  // base station to take corrections from; "ANY" takes any
    std::int32_t nLimitBase = 0;            // not 0: from that station only
    float fElevMask = 13.0f;                // degrees
    std::int32_t nOption = 1;               // the host's; not in text files
    float fPDOPMask = 6.0f;
    unsigned char uTrimblePort = 2;  // receiver port index on Trimble receivers
    std::int32_t nBaud = 5;          // baud-rate index of the port that takes corrections
    unsigned char uFlag = 0;         // the host's; not in text files
    unsigned char uParity = 0;       // parity index of the port that takes corrections
    unsigned char uThales = 4;       // switches: 1 VRS mode, 2 beeper off, 4 fast carrier-phase differential
    std::array<unsigned char, 8> uOption = {68, 6, 1, 2, 2, 0, 0, 0};  // the host's; not in text files
    // Bits 0 to 4: port number on the maker's board. Where corrections come from: 0x20 the controller's own
    // GPRS link, 0x40 a VRS network, 0x80 the receiver's own data module.
    unsigned char uCom = 1;

    void vInit();

    // Copies everything but uReserved. Deliberate: the target keeps its own, although archives carry it.
    void operator=(const CRoverConfig& other);  // NOLINT(misc-unconventional-assign-operator)

    // A load that fails changes nothing.
    void Serialize(base::CArchive& archive) override;

    // Writes the text block, version 1, with labels in the language of nGetLang(). Failure is told by the file.
    void vWriteFile(base::CStdioFileCe& file) const;

    // Reads a text block with labels in any language. 0, and nothing changes, when its version is not 1. Lines
    // that are missing count as empty ones: numbers become 0.
    int bReadFile(base::CStdioFileCe& file);

    // The port number in uCom. Deliberate: the setter adds the number without a mask, so that one above 31
    // spills into the source bits.
    void vSetNCom(unsigned char nCom);
    unsigned char uGetCom() const;

    // The source bits of uCom; getters return 1 or 0.
    void vSetDifSource(int bOn);
    void vSetVRS(int bOn);
    void vSetPDAGPRS(int bOn);
    int bGetDifSource() const;
    int bViaVRS() const;
    int bPDAGPRS() const;

    // Sets the source bits anew. 0: none, and port number 1; 1: data module; 2: GPRS link; other: none. bVRS
    // adds the VRS bit.
    void vSetRadioType(int nType, int bVRS);
    // nType 0: neither, 1: data module, 2: GPRS link; unchanged when both bits are set.
    void vGetRadioType(int& nType, int& bVRS) const;

    // Whether corrections are limited to the station of strStationIndex.
    bool bCheckIndex() const;
    // "TRUE", in any case and with blanks around it, limits them; any other text does not.
    void vSetCheckIndex(std::wstring strCheck);

    // The bits of uThales; getters return 1 or 0.
    void vSetThalesVRS(int bOn);
    void vSetThalesBeepOff(int bOn);
    void vSetThalesFastCPD(int bOn);
    int bThalesVRS() const;
    int bThalesBeepOff() const;
    int bThalesFastCPD() const;

    VKCOMM_DECLARE_SERIAL(CRoverConfig)
};

class VKCOMM_API CRoverConfigJavad : public base::CObject {
public:
    unsigned char uDifFormat = 2;  // of corrections: 0 RTCM 2, 1 RTCM 3, 2 CMR, 3 Javad JPS
    float fElevMask = 13.0f;       // degrees; the receiver gets a whole number
    float fPDOPMask = 30.0f;
    unsigned char uPort = 1;           // receiver ports a, b, … are 0, 1, …
    std::int32_t nBaud = 5;            // 0 to 5 are 4800, 9600, 19200, 38400, 57600 and 115200 bit/s
    std::int32_t nNetwork = 0;         // 0 no network corrections, 1 VRS, 2 FKP
    std::int32_t nAmbiguityLevel = 1;  // confidence of ambiguity fixes: 0 low, 1 medium, other high
    std::int32_t nEnvironment = 0;     // 0 open sky, 1 forest

    void vInit();

    // Copies every field.
    void operator=(const CRoverConfigJavad& other);  // NOLINT(misc-unconventional-assign-operator)

    // A load that fails changes nothing.
    void Serialize(base::CArchive& archive) override;

    VKCOMM_DECLARE_SERIAL(CRoverConfigJavad)
};

}  // namespace vkcomm
