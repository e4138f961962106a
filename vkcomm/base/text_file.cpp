#include "vkcomm/base/text_file.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <limits>
#include <optional>
#include <string>
#include <utility>

#include "vkcomm/util/nearest_float.h"
#include "vkcomm/util/numbers.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm::base {

namespace {

ByteSpan bytesOf(std::string_view text) {
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

// The byte order of UTF-16 text without a mark, told by its first line end.
std::optional<std::endian> orderOfLineEnds(std::string_view text) {
    for (std::size_t at = text.find('\n'); at != text.npos; at = text.find('\n', at + 1)) {
        if (at % 2 == 0 && at + 1 < text.size() && text[at + 1] == 0) return std::endian::little;
        if (at % 2 == 1 && text[at - 1] == 0) return std::endian::big;
    }
    return std::nullopt;
}

std::string fromUtf16(std::string_view bytes, std::endian order) {
    return toUtf8(utf16Units(bytesOf(bytes), order));
}

// The content of a file as UTF-8, without the mark at its front.
std::string decoded(std::string&& bytes) {
    const std::string_view text = bytes;
    if (text.starts_with("\xFF\xFE")) return fromUtf16(text.substr(2), std::endian::little);
    if (text.starts_with("\xFE\xFF")) return fromUtf16(text.substr(2), std::endian::big);
    if (text.starts_with("\xEF\xBB\xBF")) return bytes.substr(3);
    if (const auto order = orderOfLineEnds(text)) return fromUtf16(text, *order);
    return std::move(bytes);
}

}  // namespace

void CStdioFileCe::reset(Use use) {
    Close();
    m_use = use;
    m_text.clear();
    m_at = 0;
    m_ended = false;
    m_error = {};
}

int CStdioFileCe::Open(const std::wstring& strPath, OpenMode eMode) { return Open(toUtf8(strPath), eMode); }

int CStdioFileCe::Open(const std::string& strPath, OpenMode eMode) {
    reset(Use::kNone);
    m_path = strPath;
    if (eMode == modeWrite) {
        m_file = openFile(strPath, FileUse::kWrite, m_error);
        m_use = m_file ? Use::kWriteFile : Use::kNone;
        return m_file ? 1 : 0;
    }
    std::string bytes;
    if (!readFile(strPath, m_nMostBytes, bytes, m_error)) return 0;
    m_text = decoded(std::move(bytes));
    m_use = Use::kRead;
    return 1;
}

void CStdioFileCe::OpenBytes(ByteSpan bytes) {
    OpenBytes(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

void CStdioFileCe::OpenBytes(std::string_view bytes) {
    reset(Use::kRead);
    m_text = decoded(std::string(bytes));
}

void CStdioFileCe::OpenMemory() { reset(Use::kWriteMemory); }

// The flush stands by itself because not every library tells of its failure when a file is closed.
int CStdioFileCe::Close() {
    m_use = Use::kNone;
    if (m_file && std::fflush(m_file.get()) != 0) failed();
    if (m_file && std::fclose(m_file.release()) != 0) failed();
    return m_error ? 0 : 1;
}

bool CStdioFileCe::failed() {
    if (!m_error) m_error = libraryError("cannot write " + m_path, errno);
    return false;
}

std::string_view CStdioFileCe::takeLine() {
    if (m_use != Use::kRead || m_at >= m_text.size()) {
        m_ended = true;
        return {};
    }
    const std::string_view rest = std::string_view(m_text).substr(m_at);
    const std::size_t size = rest.find('\n');
    std::string_view line = rest.substr(0, size);
    m_at += line.size() + (size == rest.npos ? 0 : 1);
    if (size != rest.npos && line.ends_with('\r')) line.remove_suffix(1);
    return cutUtf8(line, m_nLongestLine);
}

int CStdioFileCe::ReadString(std::wstring& strLine) {
    strLine = toWide(takeLine());
    return m_ended ? 0 : 1;
}

int CStdioFileCe::ReadInt() {
    using Range = std::numeric_limits<int>;
    return static_cast<int>(std::clamp<long>(parseInteger(takeLine()), Range::min(), Range::max()));
}

double CStdioFileCe::ReadDouble() { return parseDouble(takeLine()); }

int CStdioFileCe::WriteString(const std::wstring& strText) {
    std::string text = toUtf8(strText);
    std::erase(text, '\0');
    if (m_use == Use::kWriteMemory) {
        m_text += text;
        return 1;
    }
    if (m_use != Use::kWriteFile || m_error) return 0;
    return std::fwrite(text.data(), 1, text.size(), m_file.get()) == text.size() || failed() ? 1 : 0;
}

float CStdioFileCe::ReadFloat() { return nearestFloat(ReadDouble()); }

std::wstring oneLine(std::wstring_view strText) {
    std::wstring line(strText);
    std::erase_if(line, [](wchar_t c) { return c == L'\r' || c == L'\n' || c == L'\0'; });
    const std::string utf8 = toUtf8(line);
    return toWide(cutUtf8(utf8, CStdioFileCe::m_nLongestLine));
}

}  // namespace vkcomm::base
