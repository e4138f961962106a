#include "vkcomm/platform/files.h"

#include <algorithm>
#include <fcntl.h>
#include <io.h>
#include <utility>

#include "vkcomm/platform/win32/handle.h"
#include "vkcomm/util/numbers.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr std::wstring_view kSeparators = L"/\\:";

bool isFolder(const std::wstring& path) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

SystemError failureOf(const std::string& what, DWORD code, bool folder) {
    SystemError error = systemError(what, static_cast<int>(code));
    if (folder) error.text = "it is a folder";
    return error;
}

bool writeAll(HANDLE file, std::string_view bytes) {
    constexpr std::size_t kMostAtOnce = 1 << 30;
    while (!bytes.empty()) {
        DWORD count = 0;
        if (::WriteFile(file, bytes.data(), static_cast<DWORD>(std::min(bytes.size(), kMostAtOnce)), &count,
                        nullptr) == 0)
            return false;
        if (count == 0) ::SetLastError(ERROR_DISK_FULL);
        if (count == 0) return false;
        bytes.remove_prefix(count);
    }
    return true;
}

// One replacement on its way.
class Replacement {
public:
    Replacement(const std::string& path, std::string_view bytes)
        : m_shown(path), m_path(toWide(path)), m_bytes(bytes) {}

    ReplaceResult run() {
        if (isFolder(m_path)) return failure(ERROR_ACCESS_DENIED, true);
        const Exists exists = followed();
        if (exists == Exists::kUnknown) return failure(::GetLastError());
        if (exists == Exists::kDevice) return writeInPlace();
        const DWORD attributes = ::GetFileAttributesW(m_path.c_str());
        if (exists == Exists::kFile && (attributes & FILE_ATTRIBUTE_READONLY) != 0)
            return failure(ERROR_ACCESS_DENIED);
        if (exists == Exists::kFile && isHeld()) return failure(ERROR_SHARING_VIOLATION);
        const DWORD cause = writeBeside(exists == Exists::kFile);
        if (cause == ERROR_SUCCESS) return {};
        return exists == Exists::kFile && cause == ERROR_ACCESS_DENIED ? writeInPlace() : failure(cause);
    }

private:
    enum class Exists { kNo, kFile, kDevice, kUnknown };

    ReplaceResult failure(DWORD cause, bool folder = false) const {
        return {failureOf("cannot write " + m_shown, cause, folder), false};
    }

    // Makes the path that of the file to which a link leads.
    Exists followed() {
        const Handle file(::CreateFileW(m_path.c_str(), 0, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr));
        if (!file) return ::GetLastError() == ERROR_FILE_NOT_FOUND ? Exists::kNo : Exists::kUnknown;
        if (::GetFileType(file.get()) != FILE_TYPE_DISK) return Exists::kDevice;
#ifndef UNDER_CE  // which has no links
        std::wstring target(32768, L'\0');
        const DWORD size = ::GetFinalPathNameByHandleW(
            file.get(), target.data(), static_cast<DWORD>(target.size()), FILE_NAME_NORMALIZED);
        if (size > 0 && size < target.size()) m_path = target.substr(0, size);
#endif
        return Exists::kFile;
    }

    // Another program has the file open and lets nobody replace it.
    bool isHeld() const {
        const Handle file(
            ::CreateFileW(m_path.c_str(), DELETE, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr));
        return !file && ::GetLastError() == ERROR_SHARING_VIOLATION;
    }

    // 0 or the cause of the failure, with nothing left behind.
    DWORD writeBeside(bool exists) {
        std::wstring beside;
        Handle file = createBeside(beside);
        if (!file) return ::GetLastError();
        if (exists) ::SetFileAttributesW(beside.c_str(), ::GetFileAttributesW(m_path.c_str()));
        if (writeAll(file.get(), m_bytes) && ::FlushFileBuffers(file.get()) != 0 && file.close() &&
            rename(beside, exists))
            return ERROR_SUCCESS;
        const DWORD cause = ::GetLastError();
        file.close();
        ::DeleteFileW(beside.c_str());
        return cause;
    }

    // Replacing gives the new file the rights of the old, too; where the disk cannot do that it is moved.
    bool rename(const std::wstring& beside, bool exists) const {
        if (exists && ::ReplaceFileW(m_path.c_str(), beside.c_str(), nullptr, REPLACEFILE_IGNORE_MERGE_ERRORS,
                                     nullptr, nullptr) != 0)
            return true;
        return ::MoveFileExW(beside.c_str(), m_path.c_str(),
                             MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
    }

    Handle createBeside(std::wstring& name) const {
        constexpr std::size_t kLongestStem = 200;  // leaves room for the ending in a name of 255 characters
        const std::size_t separator = m_path.find_last_of(kSeparators);
        const std::size_t folder = separator == m_path.npos ? 0 : separator + 1;
        const std::wstring stem = m_path.substr(0, folder) + m_path.substr(folder, kLongestStem) + L".new";
        for (DWORD number = ::GetCurrentProcessId();; ++number) {
            std::string digits;
            appendInteger(digits, number);
            name = stem + toWide(digits);
            Handle file(::CreateFileW(name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
            if (file || ::GetLastError() != ERROR_FILE_EXISTS) return file;
        }
    }

    ReplaceResult writeInPlace() const {
        Handle file(::CreateFileW(m_path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        if (!file) return failure(::GetLastError());
        const bool isDisk = ::GetFileType(file.get()) == FILE_TYPE_DISK;
        const bool written =
            writeAll(file.get(), m_bytes) &&
            (!isDisk || (::SetEndOfFile(file.get()) != 0 && ::FlushFileBuffers(file.get()) != 0)) &&
            file.close();
        ReplaceResult result = written ? ReplaceResult{} : failure(::GetLastError());
        result.inPlace = true;
        return result;
    }

    std::string m_shown;
    std::wstring m_path;
    std::string_view m_bytes;
};

// Null, with the handle closed, when the library has no room for another.
FileHandle streamOf(Handle handle, bool reads) {
    const auto number = static_cast<std::intptr_t>(reinterpret_cast<std::uintptr_t>(handle.get()));
    const int descriptor = ::_open_osfhandle(number, reads ? _O_RDONLY : 0);
    if (descriptor < 0) return nullptr;
    handle.release();
    FileHandle file(::_fdopen(descriptor, reads ? "rb" : "wb"));
    if (!file) ::_close(descriptor);
    return file;
}

}  // namespace

std::string joinPath(const std::string& folder, std::string_view name) {
    const bool needsSeparator =
        !folder.empty() && std::string_view("/\\:").find(folder.back()) == std::string_view::npos;
    return std::string(folder).append(needsSeparator ? "\\" : "").append(name);
}

FileHandle openFile(const std::string& path, FileUse use, SystemError& error) {
    error = {};
    const bool reads = use == FileUse::kRead;
    const std::string what = (reads ? "cannot read " : "cannot write ") + path;
    const std::wstring wide = toWide(path);
    Handle handle(::CreateFileW(wide.c_str(), reads ? GENERIC_READ : GENERIC_WRITE, kShareAll, nullptr,
                                reads ? OPEN_EXISTING : CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!handle) {
        const DWORD code = ::GetLastError();
        error = failureOf(what, code, isFolder(wide));
        return nullptr;
    }
    FileHandle file = streamOf(std::move(handle), reads);
    if (!file) error = systemError(what, ERROR_TOO_MANY_OPEN_FILES);
    return file;
}

ReplaceResult replaceFile(const std::string& path, std::string_view bytes) {
    return Replacement(path, bytes).run();
}

}  // namespace vkcomm
