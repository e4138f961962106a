// Files that a verb takes or makes whole; "-" is standard input or output.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vkcomm {

// Nothing when it cannot be read, which it complains of; files above 16 MiB are refused.
std::optional<std::string> readWhole(const std::string& path);

// Replaces a file in one step, or writes to standard output. False when that is not possible; complains of that,
// and of a file that had to be written in place.
bool writeWhole(const std::string& path, std::string_view bytes);

}  // namespace vkcomm
