// The checksums of every framing: XOR, byte sums and the OEM4 CRC-32.
//
// The small functions take a span and are what the library itself uses; CnTestXor and CCrc32 give the same
// under the names hosts know. Nothing keeps state, nothing throws; every operation may be called from any
// thread. A null pointer or a negative length counts as no bytes.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "vkcomm/export.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm {

class CNCString;

VKCOMM_API unsigned char xorOf(ByteSpan bytes);
VKCOMM_API unsigned char sum8(ByteSpan bytes);
VKCOMM_API std::uint16_t sum16(ByteSpan bytes);

// Reflected CRC-32, polynomial 0xEDB88320, initial value 0, no final XOR: the check of NovAtel OEM4 logs.
// Continue a running value by passing it as crc.
VKCOMM_API std::uint32_t crc32Of(ByteSpan bytes, std::uint32_t crc = 0);

// The result of testing a sentence or block.
enum TESTXOR_RETURN {
    TESTXOR_OK = 0,         // the checksum matches
    TESTXOR_MISMATCH = 1,   // it differs
    TESTXOR_NO_STAR = 2,    // the sentence has no '*'
    TESTXOR_NO_DOLLAR = 3,  // the text does not begin with '$'
    TESTXOR_NO_SYNC = 4,    // the block does not begin with 0xAA
};

// Tests "$…*hh": XOR of everything between '$' and the last '*' against the two hex digits after it. Digits
// of either case pass; other characters are not refused but taken by the same arithmetic (deliberate: old
// receivers rely on it). A digit missing at the end of the text counts as a zero byte.
VKCOMM_API TESTXOR_RETURN testSentence(std::string_view text);

// Tests "#…*hhhhhhhh": CRC-32 of everything between '#' and the last '*' against the hexadecimal value after
// it (leading blanks and a 0x prefix are accepted, a sign is not; the low 32 bits of a longer value count).
VKCOMM_API bool testOem4Ascii(std::string_view text);

// NMEA-style XOR under its public names.
class VKCOMM_API CnTestXor {
public:
    // XOR of len bytes; reads exactly len bytes.
    static unsigned char Checksum(const unsigned char* data, int len);
    // XORs the characters behind the '$' at index 0 to the end and appends '*', two upper-case
    // digits, CR and LF. Null does nothing.
    static void Checksum(CNCString* sentence);
    // testSentence on a zero-terminated text; null gives TESTXOR_NO_DOLLAR.
    static TESTXOR_RETURN Test(const unsigned char* text);
    // TESTXOR_NO_SYNC unless data begins with 0xAA; TESTXOR_OK when the XOR of all len bytes is 0.
    static TESTXOR_RETURN Test(const unsigned char* data, int len);
};

// The OEM4 log CRC under its public names.
class VKCOMM_API CCrc32 {
public:
    static unsigned long CalculateCRC32(const unsigned char* data, int len);
    // 1 when data begins with 0xAA and the CRC over all len bytes, ending with the little-endian CRC, is 0.
    static unsigned int Test(const unsigned char* data, int len);
    // testOem4Ascii on a zero-terminated text; null gives 0.
    static unsigned int Test(const char* text);

    // The table of single-byte steps: entry 1 is 0x77073096.
    static const std::array<std::uint32_t, 256> m_ulCrcTable;
};

}  // namespace vkcomm
