// One request to write to a port: bytes, the pause behind them, and the command they belong to.
#pragma once

#include <string>

#include "vkcomm/base/serial_class.h"
#include "vkcomm/export.h"
#include "vkcomm/frames/frame_bytes.h"
#include "vkcomm/frames/receiver_type.h"

namespace vkcomm {

// Pieces of one command share a group id from here up; under back-pressure the writer drops such a command whole.
inline constexpr unsigned long kFirstGroup = 0x10000;

// Owns its bytes. One thread at a time until it is queued, then nobody changes it.
class VKCOMM_API CSerialWrite : public base::CObject {
public:
    CSerialWrite() = default;
    // A framed block: '@', the type, its complement, the length (16 bits, low byte first), the data and, with
    // bWithCheck, the XOR of all of it. Null data or more than 65535 bytes, which no length can tell, leave the
    // request empty. This is not the "@" frame that receivers send, nor the one of the maker's own commands.
    CSerialWrite(unsigned char uType, int bWithCheck, unsigned int uLength, const unsigned char* pData);

    // Take a copy of the bytes, or the low 8 bits of every character. nDelay in milliseconds, not above 0: no
    // pause. Null bytes are none. Always 1.
    int bSetData(const unsigned char* pData, unsigned int uLength, int nDelay, unsigned long ulGroup);
    int bSetData(const std::wstring& strText, int nDelay, unsigned long ulGroup);

    // Wrap the bytes, as decimal numbers, in the maker's frame "VS" ("VF"), which a radio link passes on; delay
    // and group stay. What the frame cannot hold (see text_compiler.h) is cut off. 0, and nothing changes, when
    // bEnable is 0.
    int bAdjust2Link320(int bEnable, GPSOEMTYPE eDialect);
    int bAdjust2Link320VF(int bEnable, GPSOEMTYPE eDialect);

    // Length, bytes, delay and group, each number in 32 bits.
    void Serialize(base::CArchive& archive) override;

    ByteSpan Data() const { return m_data; }

    unsigned int uLength() const { return static_cast<unsigned int>(m_data.size()); }

    int nDelay() const { return m_delay; }

    unsigned long ulGroup() const { return m_group; }

private:
    int adjust(int bEnable, const char* command, GPSOEMTYPE dialect);
    void load(base::CArchive& archive);

    Bytes m_data;
    int m_delay = 0;
    unsigned long m_group = 0;

    VKCOMM_DECLARE_SERIAL(CSerialWrite)
};

}  // namespace vkcomm
