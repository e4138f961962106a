// Whole files: opening, reading with a bound, replacing without ever losing the old one.
//
// Paths are UTF-8; on POSIX any bytes, taken as they are. Nothing throws but what a growing string throws.
// Any thread may call; two that replace the same file at once leave one of the two contents, whole.
#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "vkcomm/export.h"
#include "vkcomm/platform/system_error.h"

namespace vkcomm {

struct VKCOMM_API FileCloser {
    void operator()(std::FILE* file) const;
};

using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

// A file in a folder; an empty folder name stands for the current folder.
VKCOMM_API std::string joinPath(const std::string& folder, std::string_view name);

enum class FileUse { kRead, kWrite };

// Opens a file, in binary. kWrite creates it or empties it. Null on failure, which error tells; a folder is
// never opened.
VKCOMM_API FileHandle openFile(const std::string& path, FileUse use, SystemError& error);

// Reads a whole file into bytes. False on failure, which error tells, with bytes empty: it cannot be read, is a
// folder, or has more than mostBytes bytes. Devices and pipes are read to their end under the same bound.
VKCOMM_API bool readFile(const std::string& path, std::size_t mostBytes, std::string& bytes,
                         SystemError& error);

// The same from an open file, called name in errors, to its end.
VKCOMM_API bool readFile(std::FILE* file, const std::string& name, std::size_t mostBytes, std::string& bytes,
                         SystemError& error);

struct ReplaceResult {
    SystemError error;     // why the file was not replaced
    bool inPlace = false;  // written over the old bytes, because no file could be made beside it

    explicit operator bool() const { return !error; }
};

// Makes bytes the content of the file at path, or changes nothing.
//
// The bytes are written to a new file in the same folder, flushed to the medium and renamed over the old one,
// whose mode and (as far as the process may) owner and group it gets. A symbolic link stays a link: what it
// points to is replaced. When the process dies in between, the old file is whole and a file beside it, named
// like it with ".new" and a number behind, may be left.
//
// Two cases are written in place instead, and the result says so: a path that is no regular file (a device),
// and a folder where no file can be made though the file itself may be written. Then a failure can leave a
// file that is cut short.
VKCOMM_API ReplaceResult replaceFile(const std::string& path, std::string_view bytes);

}  // namespace vkcomm
