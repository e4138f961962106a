#include "vkcomm/platform/terminal.h"

#include "vkcomm/platform/win32/windows_api.h"

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <shellapi.h>
#include <string>
#include <vector>

#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

namespace {

// A console counts when it understands the codes that move the cursor.
bool isTerminal(DWORD which) {
    constexpr DWORD kUnderstandsCodes = 0x0004;
    const HANDLE handle = ::GetStdHandle(which);
    DWORD mode = 0;
    return ::GetConsoleMode(handle, &mode) != 0 && ::SetConsoleMode(handle, mode | kUnderstandsCodes) != 0;
}

}  // namespace

bool isErrorTerminal() { return isTerminal(STD_ERROR_HANDLE); }

bool isOutputTerminal() { return isTerminal(STD_OUTPUT_HANDLE); }

// A write to a closed pipe fails here by itself.
void prepareStandardStreams() {
    for (std::FILE* stream : {stdin, stdout, stderr})
        static_cast<void>(::_setmode(::_fileno(stream), _O_BINARY));
    ::SetConsoleOutputCP(CP_UTF8);
}

// Deliberate: what main is given has lost every character that the code page of the system lacks. The two may also
// differ in number, because a pair of quotes within quotes is split differently.
char** utf8Arguments(int& argc, char** argv) {
    static std::vector<std::string> texts;
    static std::vector<char*> pointers;
    int count = 0;
    wchar_t** wide = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    if (!wide) return argv;
    texts.assign(static_cast<std::size_t>(count), {});
    std::transform(wide, wide + count, texts.begin(),
                   [](const wchar_t* each) { return toUtf8(std::wstring_view(each)); });
    ::LocalFree(wide);
    pointers.clear();
    for (std::string& each : texts)
        pointers.push_back(each.data());
    pointers.push_back(nullptr);
    argc = count;
    return pointers.data();
}

}  // namespace vkcomm
