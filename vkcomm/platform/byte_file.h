// A file that is read or written front to back, unbuffered: the playback file and the raw log of a port.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>

#include "vkcomm/export.h"
#include "vkcomm/platform/system_error.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm {

// One thread at a time. The destructor closes the file. Nothing throws.
class VKCOMM_API ByteFile {
public:
    virtual ~ByteFile();

    // Bytes read; 0 at the end, and on failure with error set.
    virtual std::size_t read(std::span<unsigned char> buffer, SystemError& error) = 0;
    // Bytes written; fewer than given only on failure, with error set.
    virtual std::size_t write(ByteSpan bytes, SystemError& error) = 0;
    virtual bool seekToEnd() = 0;
};

// Bits of the open flags of log files, as hosts know them. Others are ignored.
inline constexpr unsigned int kFileNoTruncate = 0x2000;  // an existing file keeps its bytes
inline constexpr unsigned int kFileCreate = 0x1000;
inline constexpr unsigned int kFileWrite = 0x0001;  // else the file is read

// Opens files by path. Any thread.
class VKCOMM_API ByteFiles {
public:
    virtual ~ByteFiles();

    // Null on failure, which error tells; a folder is never opened.
    virtual std::unique_ptr<ByteFile> open(const std::wstring& path, unsigned int flags,
                                           SystemError& error) = 0;
};

// The files of the machine; lives as long as the process.
VKCOMM_API ByteFiles& systemByteFiles();

}  // namespace vkcomm
