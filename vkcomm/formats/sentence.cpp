#include "vkcomm/formats/sentence.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

bool isSeparator(wchar_t c) { return c == L',' || c == L'*'; }

}  // namespace

double CSentence::Double(int n) const { return parseDouble(Field(n)); }

int CSentence::Integer(int n) const {
    using Int = std::numeric_limits<int>;
    return static_cast<int>(std::clamp<long>(parseInteger(Field(n)), Int::min(), Int::max()));
}

std::wstring CSentence::Field(int n) const {
    if (n < 0 || m_text.empty()) return {};
    auto at = m_text.begin() + 1;
    int separators = 0;
    for (; separators < n && at != m_text.end(); ++at)
        separators += isSeparator(*at);
    if (separators < n) return {};
    return {at, std::find_if(at, m_text.end(), [](wchar_t c) { return isSeparator(c) || c == L'\0'; })};
}

unsigned short CSentence::GetNumberOfDataFields() const {
    if (m_text.empty()) return 0;
    const auto end = std::find(m_text.begin() + 1, m_text.end(), L'*');
    const auto commas = std::count(m_text.begin() + 1, end, L',');
    return static_cast<unsigned short>(
        std::min<std::ptrdiff_t>(commas, std::numeric_limits<unsigned short>::max()));
}

CSentence& CSentence::operator=(const std::wstring& text) {
    m_text = text;
    return *this;
}

CSentence& CSentence::operator=(const char* text) {
    return *this = reinterpret_cast<const unsigned char*>(text);
}

CSentence& CSentence::operator=(const unsigned char* text) {
    if (!text) text = reinterpret_cast<const unsigned char*>("");
    m_text.assign(text, text + std::strlen(reinterpret_cast<const char*>(text)));
    return *this;
}

}  // namespace vkcomm
