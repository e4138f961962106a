#include "vkcomm/platform/system_error.h"

#include <memory>
#include <utility>

#include "vkcomm/platform/win32/windows_api.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

namespace {

struct LocalDeleter {
    void operator()(wchar_t* text) const { ::LocalFree(text); }
};

// The system ends its words with a full stop and a line break.
std::string wordsOf(DWORD code) {
    constexpr DWORD kHow =
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
    wchar_t* allocated = nullptr;
    void* place = &allocated;
    ::FormatMessageW(kHow, nullptr, code, 0, static_cast<wchar_t*>(place), 0, nullptr);
    const std::unique_ptr<wchar_t, LocalDeleter> text(allocated);
    std::string words = text ? toUtf8(std::wstring_view(text.get())) : std::string();
    words.erase(words.find_last_not_of(" .\r\n") + 1);
    return words.empty() ? "an unknown failure" : words;
}

}  // namespace

SystemError systemError(std::string what, int code) {
    return {std::move(what), code, wordsOf(static_cast<DWORD>(code))};
}

}  // namespace vkcomm
