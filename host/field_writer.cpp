#include "host/field_writer.h"

#include <algorithm>
#include <cmath>

#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

bool isUnescaped(char c) { return c >= ' ' && c <= '~' && c != '"' && c != '\\'; }

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
    if (std::isfinite(value))
        appendFixed(m_out, value, decimals);
    else
        m_out += "null";
}

void FieldWriter::boolean(std::string_view name, bool value) {
    this->name(name);
    m_out += value ? "true" : "false";
}

void FieldWriter::beginList(std::string_view name) {
    this->name(name);
    m_out += '[';
    m_firstItem = true;
}

void FieldWriter::item(std::string_view value) {
    if (!m_firstItem) m_out += ',';
    m_firstItem = false;
    quoted(value);
}

void FieldWriter::endList() { m_out += ']'; }

void FieldWriter::name(std::string_view name) {
    if (m_format == LineFormat::kText) {
        m_out += ' ';
        m_out += name;
        m_out += '=';
        return;
    }
    if (!m_first) m_out += ',';
    m_first = false;
    m_out += '"';
    m_out += name;
    m_out += "\":";
}

void FieldWriter::quoted(std::string_view value) {
    const bool json = m_format == LineFormat::kJson;
    if (json) m_out += '"';
    for (auto at = value.begin(); at != value.end();) {
        const auto stop = std::find_if_not(at, value.end(), isUnescaped);
        m_out.append(at, stop);
        if (stop == value.end()) break;
        const auto byte = static_cast<unsigned char>(*stop);
        if (*stop == '"' || *stop == '\\') {
            if (json) m_out += '\\';
            m_out += *stop;
        } else {
            m_out += json ? "\\u00" : "\\x";
            m_out += kHexDigits[byte >> 4];
            m_out += kHexDigits[byte & 15];
        }
        at = stop + 1;
    }
    if (json) m_out += '"';
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
