#include "vkcomm/platform/program_folder.h"

#include <array>
#include <unistd.h>

namespace vkcomm {

std::string programFolder() {
    constexpr std::size_t kLongestPath = 4096;
    std::array<char, kLongestPath> path;
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    if (length <= 0) return {};
    const std::string file(path.data(), static_cast<std::size_t>(length));
    const std::size_t separator = file.rfind('/');
    return separator == 0 ? "/" : file.substr(0, separator == file.npos ? 0 : separator);
}

}  // namespace vkcomm
