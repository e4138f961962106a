// Appends named values to a line, as JSON members or as words for people.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "vkcomm/util/bytes.h"

namespace vkcomm {

enum class LineFormat { kText, kJson };

// Text: " name=value". JSON: "name":value, members separated by commas; the caller writes the braces. Values
// that are not finite are null. Text bytes that are not printable ASCII are escaped (JSON \u00xx, text \xhh).
// Does not own out.
class FieldWriter {
public:
    FieldWriter(std::string& out, LineFormat format) : m_out(out), m_format(format) {}

    void text(std::string_view name, std::string_view value);
    // A name from the system, for JSON: UTF-8 stays as it is but for what JSON must escape, a byte that
    // belongs to no character becomes U+FFFD.
    void fileName(std::string_view name, std::string_view utf8);
    void integer(std::string_view name, std::int64_t value);
    // With that many decimals.
    void real(std::string_view name, double value, int decimals);
    // With 15 significant digits and an exponent where that is shorter.
    void number(std::string_view name, double value);
    void boolean(std::string_view name, bool value);
    // As lower-case hexadecimal text.
    void bytes(std::string_view name, ByteSpan value);
    // As a list of texts: what stands between separators.
    void split(std::string_view name, std::string_view value, std::string_view separators);
    // A list of texts, of numbers, or of groups of named values: {name=value name=value} in text form.
    void beginList(std::string_view name);
    void item(std::string_view value);
    void item(std::int64_t value);
    void item(double value, int decimals);
    void beginItem();
    void endItem();
    void endList();

    LineFormat format() const { return m_format; }

private:
    void name(std::string_view name);
    void nextItem();
    bool splitPlain(std::string_view value, std::string_view separators);
    void fixed(double value, int decimals);
    void quoted(std::string_view value);
    void escaped(char c);

    std::string& m_out;
    LineFormat m_format;
    bool m_first = true;  // of the values so far, or of those of an item
    bool m_inItem = false;
    bool m_firstItem = true;
};

// Lower-case hexadecimal, two digits a byte.
void appendHex(std::string& out, ByteSpan bytes);

}  // namespace vkcomm
