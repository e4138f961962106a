#include "vkcomm/platform/files.h"

#include <array>
#include <cerrno>

namespace vkcomm {

void FileCloser::operator()(std::FILE* file) const { std::fclose(file); }

bool readFile(std::FILE* file, const std::string& name, std::size_t mostBytes, std::string& bytes,
              SystemError& error) {
    bytes.clear();
    error = {};
    std::array<char, 65536> piece;
    while (const std::size_t count = std::fread(piece.data(), 1, piece.size(), file)) {
        if (count > mostBytes - bytes.size()) {
            error = libraryError("cannot read " + name, EFBIG);
            break;
        }
        bytes.append(piece.data(), count);
    }
    if (std::ferror(file) != 0) error = libraryError("cannot read " + name, errno);
    if (error) bytes.clear();
    return !error;
}

bool readFile(const std::string& path, std::size_t mostBytes, std::string& bytes, SystemError& error) {
    bytes.clear();
    const FileHandle file = openFile(path, FileUse::kRead, error);
    return file && readFile(file.get(), path, mostBytes, bytes, error);
}

}  // namespace vkcomm
