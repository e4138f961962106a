// What the narrow list files (antennas, Bluetooth devices) share.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

#include "vkcomm/base/object_array.h"
#include "vkcomm/platform/system_error.h"

namespace vkcomm {

// A file in lines of at most 48 bytes, as the programs that share them read them into 50 bytes with line end and
// zero. Of a longer line the front is kept, cut between two UTF-8 characters, and the rest discarded. Owns
// neither file nor bytes.
class ListLines {
public:
    static constexpr std::size_t kLongestLine = 48;
    // Larger files are refused where a path is given.
    static constexpr std::size_t kMostBytes = std::size_t{16} * 1024 * 1024;

    // Reads no further in the file than the lines asked for. A null file has no lines.
    explicit ListLines(std::FILE* file) : m_file(file) {}

    explicit ListLines(std::string_view bytes) : m_bytes(bytes) {}

    // The next line without its end (LF or CR LF). False, and an empty line, behind the last one.
    bool next(std::string& line);

    // Steps behind the next line that contains mark, or to the end: false.
    bool skipTo(std::string_view mark);
    // Steps behind the next line; true when it contains mark.
    bool goesOn(std::string_view mark);

private:
    int nextByte();

    std::FILE* m_file = nullptr;
    std::string_view m_bytes;
};

// A name as it stands in a line, and as that line is read back.
std::string listName(std::wstring_view name, std::size_t mostBytes);
std::wstring nameFromList(std::string_view line);

// Reads a whole list file; false on failure, which error tells when it is not null.
bool readListFile(const std::string& path, std::string& bytes, SystemError* error);

// False when the file is null or does not take all of the text.
bool writeThrough(std::FILE* file, std::string_view text);

// Calls use with each record of an array, passing over other objects.
template <typename Record, typename Use>
void forEachOf(const base::CMyObArray& array, Use use) {
    for (int i = 0; i < array.GetSize(); ++i)
        if (auto* record = dynamic_cast<Record*>(array.GetAt(i))) use(*record);
}

}  // namespace vkcomm
