// Base64, as the credentials of a caster request need it: standard alphabet, "=" padding.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "vkcomm/export.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm {

// An object serves one thread at a time; calls do not depend on each other.
class VKCOMM_API CBase64 {
public:
    CBase64() = default;
    CBase64(const CBase64&) = default;
    CBase64& operator=(const CBase64&) = default;
    virtual ~CBase64() = default;

    // The text of length bytes, empty for a null pointer or a length below 1.
    std::string Encode(const unsigned char* bytes, int length);
    std::string Encode(ByteSpan bytes);

    // Writes the decoded bytes to out and returns their number. "=" is skipped wherever it stands and bit 7 of a
    // character is ignored; any other character outside the alphabet, a blank or a line break too, ends decoding
    // with 0. So do a null or empty text and a null buffer. The first form clears strlen(text) + 1 bytes of out
    // before it writes, which out must hold; the second clears all of out and returns 0 without writing when out
    // holds less than three bytes for every four characters.
    int Decode(const char* text, unsigned char* out);
    int Decode(std::string_view text, std::span<unsigned char> out);

private:
    bool feed(unsigned char character, std::span<unsigned char> out);

    std::size_t m_written = 0;
    std::uint32_t m_bits = 0;  // the newest m_bitsHeld bits wait for the rest of their byte
    int m_bitsHeld = 0;
};

}  // namespace vkcomm
