#include "apps/vkcomm/whole_file.h"

#include "apps/vkcomm/output.h"
#include "vkcomm/platform/files.h"

namespace vkcomm {

namespace {

constexpr std::size_t kMostBytes = std::size_t{16} * 1024 * 1024;
constexpr const char* kStandard = "-";

}  // namespace

std::optional<std::string> readWhole(const std::string& path) {
    std::string bytes;
    SystemError error;
    const bool read = path == kStandard ? readFile(stdin, "standard input", kMostBytes, bytes, error)
                                        : readFile(path, kMostBytes, bytes, error);
    if (read) return bytes;
    complain(error.message());
    return std::nullopt;
}

bool writeWhole(const std::string& path, std::string_view bytes) {
    if (path == kStandard) {
        Output output;
        output.buffer() = bytes;
        if (output.flush()) return true;
        complain(outputFailure());
        return false;
    }
    const ReplaceResult result = replaceFile(path, bytes);
    if (result.inPlace && !result.error)
        complain(path + ": written in place, since no file can be made beside it");
    if (result) return true;
    complain(result.error.message() + (result.inPlace ? "; it may be cut short" : "; nothing was changed"));
    return false;
}

}  // namespace vkcomm
