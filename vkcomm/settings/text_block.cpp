#include "vkcomm/settings/text_block.h"

#include <cmath>

#include "vkcomm/datum/process_settings.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

std::wstring line(std::wstring_view text) { return std::wstring(text) + L'\n'; }

// Digits, sign and point are the same characters in either width.
std::wstring widened(const std::string& digits) { return {digits.begin(), digits.end()}; }

}  // namespace

std::wstring_view Label::in(int nLanguage) const {
    switch (nLanguage) {
    case 1: return english;
    case 2: return traditional;
    default: return simplified;
    }
}

BlockWriter::BlockWriter(base::CStdioFileCe& file) : m_file(file), m_language(nGetLang()) {}

void BlockWriter::label(const Label& label) { m_file.WriteString(line(label.in(m_language))); }

void BlockWriter::value(int value) {
    std::string digits;
    appendInteger(digits, value);
    m_file.WriteString(line(widened(digits)));
}

void BlockWriter::value(float value, int decimals) {
    std::string digits;
    appendFixed(digits, std::isfinite(value) ? double{value} : 0.0, decimals);
    m_file.WriteString(line(widened(digits)));
}

void BlockWriter::value(const std::wstring& text) { m_file.WriteString(line(base::oneLine(text))); }

void BlockReader::skipLine() {
    std::wstring ignored;
    m_file.ReadString(ignored);
}

void BlockReader::pair(std::int32_t& value) {
    skipLine();
    value = m_file.ReadInt();
}

void BlockReader::pair(unsigned char& value) {
    skipLine();
    value = static_cast<unsigned char>(m_file.ReadInt());
}

void BlockReader::pair(float& value) {
    skipLine();
    value = m_file.ReadFloat();
}

void BlockReader::pair(std::wstring& value) {
    skipLine();
    m_file.ReadString(value);
}

}  // namespace vkcomm
