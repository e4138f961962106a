#include "vkcomm/platform/program_folder.h"

#include "vkcomm/platform/win32/windows_api.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

std::string programFolder() {
    constexpr std::size_t kLongestPath = 32768;
    std::wstring path(kLongestPath, L'\0');
    const DWORD length = ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    path.resize(length);
    const std::size_t separator = path.rfind(L'\\');
    if (separator == path.npos) return {};
    const bool isRoot = separator == 2 && path[1] == L':';
    return toUtf8(path.substr(0, separator + (isRoot ? 1 : 0)));
}

}  // namespace vkcomm
