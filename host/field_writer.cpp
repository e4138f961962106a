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

// Bytes of the UTF-8 character at the front of text, 0 when there is none. What begins a character that a
// shorter form would do for, a surrogate or one above U+10FFFF tells by its second byte.
std::size_t characterSize(std::string_view text) {
    const auto at = [&](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u; };
    const auto follows = [&](std::size_t i) { return at(i) >> 6 == 2; };
    const unsigned lead = at(0);
    if (lead < 0x80) return 1;
    if (lead < 0xC2 || lead > 0xF4 || !follows(1)) return 0;
    if (lead < 0xE0) return 2;
    if ((lead == 0xE0 && at(1) < 0xA0) || (lead == 0xED && at(1) > 0x9F)) return 0;
    if (lead < 0xF0) return follows(2) ? 3 : 0;
    if ((lead == 0xF0 && at(1) < 0x90) || (lead == 0xF4 && at(1) > 0x8F)) return 0;
    return follows(2) && follows(3) ? 4 : 0;
}

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

void FieldWriter::fileName(std::string_view name, std::string_view utf8) {
    constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
    this->name(name);
    m_out += '"';
    while (!utf8.empty()) {
        const std::size_t size = characterSize(utf8);
        if (size == 1)
            escaped(utf8[0]);
        else
            m_out += size == 0 ? kReplacement : utf8.substr(0, size);
        utf8.remove_prefix(std::max<std::size_t>(size, 1));
    }
    m_out += '"';
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

void FieldWriter::split(std::string_view name, std::string_view value, std::string_view separators) {
    beginList(name);
    if (!splitPlain(value, separators))
        for (std::size_t at = 0; at <= value.size();) {
            const std::size_t end = std::min(value.find_first_of(separators, at), value.size());
            item(value.substr(at, end - at));
            at = end + 1;
        }
    endList();
}

// The usual case, in one go: no more than two quotes and a comma come in for each separator.
bool FieldWriter::splitPlain(std::string_view value, std::string_view separators) {
    if (separators.size() > 2 || !std::ranges::all_of(value, standsForItself)) return false;
    const bool json = m_format == LineFormat::kJson;
    const std::string_view between = json ? "\",\"" : ",";
    const std::size_t start = m_out.size();
    m_out.resize(start + 3 * value.size() + 2);
    char* at = m_out.data() + start;
    if (json) *at++ = '"';
    for (const char c : value)
        if (c == separators.front() || c == separators.back())
            at = std::ranges::copy(between, at).out;
        else
            *at++ = c;
    if (json) *at++ = '"';
    m_out.resize(static_cast<std::size_t>(at - m_out.data()));
    return true;
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
