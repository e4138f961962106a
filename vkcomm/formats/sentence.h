// One comma-separated sentence (NMEA or a receiver's ASCII reply) and its fields by number.
//
// Field 0 is the text between the first character (the lead, always skipped) and the first separator. ',' and
// '*' are both separators, so the number after the last data field names the checksum digits and no field
// reaches past a '*'. Bytes are widened one to one. A value: copying copies the text; any thread may use its
// own.
#pragma once

#include <string>

#include "vkcomm/export.h"

namespace vkcomm {

class VKCOMM_API CSentence {
public:
    CSentence() = default;
    CSentence(const CSentence&) = default;
    CSentence& operator=(const CSentence&) = default;

    virtual ~CSentence() = default;
    // Field(n) as a decimal number, 0.0 when it is empty or no number (see parseDouble).
    virtual double Double(int n) const;
    // Field n; empty for a number below 0 or beyond the last.
    virtual std::wstring Field(int n) const;
    // Commas from the second character up to the first '*' or the end, at most 65535.
    virtual unsigned short GetNumberOfDataFields() const;
    // The leading digits of Field(n) as an integer, 0 when there are none, clamped to the ends of int.
    virtual int Integer(int n) const;

    CSentence& operator=(const std::wstring& text);
    // A zero-terminated record text; null empties the sentence.
    CSentence& operator=(const char* text);
    CSentence& operator=(const unsigned char* text);

private:
    std::wstring m_text;
};

}  // namespace vkcomm
