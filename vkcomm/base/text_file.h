// CStdioFileCe: a text file that is written or read front to back, line by line, as wide text.
//
// Written files are UTF-8 without a byte-order mark. Read files may be UTF-8 or UTF-16 in either byte order,
// with or without a mark (without one, a file with a line end of that form is UTF-16); ill-formed text reads as
// U+FFFD. Lines end with LF or CR LF. Numbers are the same in every locale.
//
// Reading takes the whole file at Open, so that it may change or go while it is read. Writing writes straight
// through to the open file: to replace a file in one step, write to memory and give Bytes() to replaceFile.
//
// Nothing throws but what a growing string throws. After the first failure nothing more is written, and Error
// tells it. One thread at a time. Owns its file, which the destructor closes.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "vkcomm/export.h"
#include "vkcomm/platform/files.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm::base {

class VKCOMM_API CStdioFileCe {
public:
    // modeWrite creates the file or empties it.
    enum OpenMode { modeRead, modeWrite };

    // Larger files are refused at Open.
    static constexpr std::size_t m_nMostBytes = std::size_t{16} * 1024 * 1024;
    // Bytes (as UTF-8, the line end not counted) of a line that are read. A longer line is cut between two
    // characters and its rest discarded.
    static constexpr std::size_t m_nLongestLine = 4096;

    // Opens a file, closing one that is open. 0 on failure.
    int Open(const std::wstring& strPath, OpenMode eMode);
    // The same with a path in UTF-8; on POSIX any bytes, taken as they are.
    int Open(const std::string& strPath, OpenMode eMode);
    // Reads the bytes given, which are copied.
    void OpenBytes(ByteSpan bytes);
    void OpenBytes(std::string_view bytes);
    // Writes to memory; see Bytes.
    void OpenMemory();
    // 0 when something failed since the file was opened. A full disk may show only here.
    int Close();

    // Reads a line without its end; 0, and an empty line, behind the last one.
    int ReadString(std::wstring& strLine);
    // Reads a line as a number, see parseInteger and parseDouble; 0 behind the last line. Integers outside the
    // range of int give its ends, numbers outside the range of float those of ReadFloat.
    int ReadInt();
    double ReadDouble();
    float ReadFloat();

    // 1 once a read found no line.
    int bEndOfFile() const { return m_ended ? 1 : 0; }

    // Writes the text as it stands; the caller gives the line ends. Zero characters, which no text file has,
    // are left out. 0 on failure.
    int WriteString(const std::wstring& strText);

    // What was written to memory, also after Close.
    const std::string& Bytes() const { return m_text; }

    const SystemError& Error() const { return m_error; }

private:
    enum class Use { kNone, kRead, kWriteFile, kWriteMemory };

    void reset(Use use);
    std::string_view takeLine();
    bool failed();

    Use m_use = Use::kNone;
    FileHandle m_file;
    std::string m_path;
    std::string m_text;    // read: the whole file as UTF-8; written to memory: the bytes
    std::size_t m_at = 0;  // of m_text, where the next line begins
    bool m_ended = false;
    SystemError m_error;
};

// The text as one line of a file: without line breaks and zero characters, and no longer than a line is read.
VKCOMM_API std::wstring oneLine(std::wstring_view strText);

}  // namespace vkcomm::base
