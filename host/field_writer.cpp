#include "host/field_writer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

// Characters that stand for themselves inside quotes.
constexpr std::array<bool, 256> kStandsForItself = [] {
    std::array<bool, 256> table{};
    for (std::size_t c = ' '; c <= '~'; ++c)
        table[c] = c != '"' && c != '\\';
    return table;
}();

bool standsForItself(char c) { return kStandsForItself[static_cast<unsigned char>(c)]; }

// Puts a few short pieces together and appends them at once: appending them one by one to the string costs
// more than everything else here.
class ShortPiece {
public:
    static constexpr std::size_t kRoom = 120;

    void add(char c) { m_text[m_size++] = c; }

    void add(std::string_view text) {
        std::memcpy(m_text.data() + m_size, text.data(), text.size());
        m_size += text.size();
    }

    std::string_view view() const { return {m_text.data(), m_size}; }

private:
    std::array<char, kRoom + 8> m_text;
    std::size_t m_size = 0;
};

}  // namespace

void FieldWriter::text(std::string_view name, std::string_view value) {
    this->name(name);
    quoted(value);
}

void FieldWriter::integer(std::string_view name, std::int64_t value) {
    this->name(name);
    appendInteger(m_out, value);
}

void FieldWriter::real(std::string_view name, double value, int decimals) {
    this->name(name);
    fixed(value, decimals);
}

void FieldWriter::fixed(double value, int decimals) {
    if (std::isfinite(value))
        appendFixed(m_out, value, decimals);
    else
        m_out += "null";
}

void FieldWriter::number(std::string_view name, double value) {
    this->name(name);
    if (std::isfinite(value))
        appendFormat(m_out, "%.15g", value);
    else
        m_out += "null";
}

void FieldWriter::boolean(std::string_view name, bool value) {
    this->name(name);
    m_out += value ? "true" : "false";
}

void FieldWriter::bytes(std::string_view name, ByteSpan value) {
    this->name(name);
    const bool json = m_format == LineFormat::kJson;
    if (json) m_out += '"';
    appendHex(m_out, value);
    if (json) m_out += '"';
}

void FieldWriter::beginList(std::string_view name) {
    this->name(name);
    m_out += '[';
    m_firstItem = true;
}

void FieldWriter::nextItem() {
    if (!m_firstItem) m_out += ',';
    m_firstItem = false;
}

void FieldWriter::item(std::string_view value) {
    nextItem();
    quoted(value);
}

void FieldWriter::item(std::int64_t value) {
    nextItem();
    appendInteger(m_out, value);
}

void FieldWriter::item(double value, int decimals) {
    nextItem();
    fixed(value, decimals);
}

void FieldWriter::beginItem() {
    nextItem();
    m_out += '{';
    m_first = true;
    m_inItem = true;
}

void FieldWriter::endItem() {
    m_out += '}';
    m_first = false;
    m_inItem = false;
}

void FieldWriter::endList() { m_out += ']'; }

void FieldWriter::name(std::string_view name) {
    ShortPiece piece;
    name = name.substr(0, ShortPiece::kRoom);
    if (m_format == LineFormat::kText) {
        if (!m_inItem || !m_first) piece.add(' ');
        piece.add(name);
        piece.add('=');
    } else {
        if (!m_first) piece.add(',');
        piece.add('"');
        piece.add(name);
        piece.add("\":");
    }
    m_first = false;
    m_out += piece.view();
}

void FieldWriter::quoted(std::string_view value) {
    const bool json = m_format == LineFormat::kJson;
    if (value.size() <= ShortPiece::kRoom && std::ranges::all_of(value, standsForItself)) {
        ShortPiece piece;
        if (json) piece.add('"');
        piece.add(value);
        if (json) piece.add('"');
        m_out += piece.view();
        return;
    }
    if (json) m_out += '"';
    for (const char c : value)
        escaped(c);
    if (json) m_out += '"';
}

void FieldWriter::escaped(char c) {
    const bool json = m_format == LineFormat::kJson;
    if (standsForItself(c)) {
        m_out += c;
    } else if (c == '"' || c == '\\') {
        if (json) m_out += '\\';
        m_out += c;
    } else {
        const auto byte = static_cast<unsigned char>(c);
        m_out += json ? "\\u00" : "\\x";
        m_out += kHexDigits[byte >> 4];
        m_out += kHexDigits[byte & 15];
    }
}

void appendHex(std::string& out, ByteSpan bytes) {
    const std::size_t start = out.size();
    out.resize(start + 2 * bytes.size());
    char* at = out.data() + start;
    for (const unsigned char byte : bytes) {
        *at++ = kHexDigits[byte >> 4];
        *at++ = kHexDigits[byte & 15];
    }
}

}  // namespace vkcomm
