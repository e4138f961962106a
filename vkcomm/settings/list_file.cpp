#include "vkcomm/settings/list_file.h"

#include "vkcomm/base/text_file.h"
#include "vkcomm/platform/files.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

int ListLines::nextByte() {
    if (m_file != nullptr) return std::getc(m_file);
    if (m_bytes.empty()) return EOF;
    const int byte = static_cast<unsigned char>(m_bytes.front());
    m_bytes.remove_prefix(1);
    return byte;
}

bool ListLines::next(std::string& line) {
    line.clear();
    bool found = false;
    int byte = nextByte();
    for (; byte != EOF && byte != '\n'; byte = nextByte()) {
        found = true;
        if (line.size() <= kLongestLine) line += static_cast<char>(byte);  // one more tells where to cut
    }
    if (byte == '\n' && line.ends_with('\r')) line.pop_back();
    line.resize(cutUtf8(line, kLongestLine).size());
    return found || byte == '\n';
}

bool ListLines::goesOn(std::string_view mark) {
    std::string line;
    return next(line) && line.find(mark) != line.npos;
}

bool ListLines::skipTo(std::string_view mark) {
    std::string line;
    while (next(line))
        if (line.find(mark) != line.npos) return true;
    return false;
}

std::string listName(std::wstring_view name, std::size_t mostBytes) {
    std::string line = toUtf8(base::oneLine(name));
    line.resize(cutUtf8(line, mostBytes).size());
    return line;
}

std::wstring nameFromList(std::string_view line) {
    // What replaces ill-formed bytes is longer than they are: the name must fit into a line again.
    return toWide(listName(toWide(line), ListLines::kLongestLine));
}

bool readListFile(const std::string& path, std::string& bytes, SystemError* error) {
    SystemError ignored;
    return readFile(path, ListLines::kMostBytes, bytes, error == nullptr ? ignored : *error);
}

bool writeThrough(std::FILE* file, std::string_view text) {
    return file != nullptr && std::fwrite(text.data(), 1, text.size(), file) == text.size();
}

}  // namespace vkcomm
