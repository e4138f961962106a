// Numbers to and from text, the same in every locale of the host process.
//
// Everything that reads or writes a number of wire or file text goes through here; nothing else in the
// library calls the printf or strtod families. Thread-safe; nothing throws but what a growing string throws.
#pragma once

#include <cstdarg>
#include <string>
#include <string_view>

#include "vkcomm/export.h"

namespace vkcomm {

// The decimal integer at the front of text: leading blanks, one sign, digits; the rest is ignored. Without
// digits 0. Values outside long are clamped to its ends.
VKCOMM_API long parseInteger(std::string_view text);
VKCOMM_API long parseInteger(std::wstring_view text);

// The decimal number at the front of text: leading blanks, one sign, digits with at most one point, an
// optional exponent; the rest is ignored. No digits: 0.0. "inf", "nan" and hexadecimal forms are text, hence
// 0.0; a value too large for a double gives plus or minus infinity, one too small 0.0. Correctly rounded.
VKCOMM_API double parseDouble(std::string_view text);
VKCOMM_API double parseDouble(std::wstring_view text);

// Appends value with exactly decimals digits after the point, left-padded with zeros to at least width
// characters (the sign counts and stands before the zeros), like "%0*.*f". Correctly rounded, ties to even on
// the exact binary value. Not-a-number and infinity append "nan", "inf" or "-inf", padded with blanks.
VKCOMM_API void appendFixed(std::string& out, double value, int decimals, int width = 0);

// Appends value as "%0*ld" does.
VKCOMM_API void appendInteger(std::string& out, long long value, int width = 0);

// Appends the text that printf would make of format and its arguments in the "C" locale: d i u x X o c s p f
// F e E g G a A and %, with flags, width, precision (also *) and the length marks hh h l ll j z t L. A null
// format appends nothing; a null %s prints "(null)". Widths and precisions above 4096 are taken as 4096, so
// that a hostile format cannot ask for memory without bound. A conversion that is not in the list is copied
// as it stands; %n writes nothing and uses up its argument. Wide characters and texts (%lc, %ls) give the low
// 8 bits of each character; a long double is printed as the double next to it.
VKCOMM_API void appendFormatV(std::string& out, const char* format, va_list arguments);
VKCOMM_API void appendFormat(std::string& out, const char* format, ...);

}  // namespace vkcomm
