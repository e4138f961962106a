#include "vkcomm/platform/byte_file.h"

#include <algorithm>
#include <utility>

#include "vkcomm/platform/win32/handle.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

namespace {

constexpr std::size_t kMostAtOnce = 1 << 30;

class Win32ByteFile final : public ByteFile {
public:
    Win32ByteFile(Handle file, std::string path) : m_file(std::move(file)), m_path(std::move(path)) {}

    // A pipe whose other end is closed has ended.
    std::size_t read(std::span<unsigned char> buffer, SystemError& error) override {
        DWORD count = 0;
        const auto size = static_cast<DWORD>(std::min(buffer.size(), kMostAtOnce));
        if (::ReadFile(m_file.get(), buffer.data(), size, &count, nullptr) != 0) return count;
        if (const DWORD code = ::GetLastError(); code != ERROR_BROKEN_PIPE)
            error = systemError("cannot read " + m_path, static_cast<int>(code));
        return 0;
    }

    std::size_t write(ByteSpan bytes, SystemError& error) override {
        std::size_t written = 0;
        while (written < bytes.size()) {
            DWORD count = 0;
            const auto size = static_cast<DWORD>(std::min(bytes.size() - written, kMostAtOnce));
            const bool isDone = ::WriteFile(m_file.get(), bytes.data() + written, size, &count, nullptr) != 0;
            written += count;
            if (isDone && count > 0) continue;
            error = systemError("cannot write " + m_path,
                                static_cast<int>(isDone ? DWORD{ERROR_DISK_FULL} : ::GetLastError()));
            break;
        }
        return written;
    }

    bool seekToEnd() override { return ::SetFilePointerEx(m_file.get(), {}, nullptr, FILE_END) != 0; }

private:
    const Handle m_file;
    const std::string m_path;
};

DWORD disposition(unsigned int flags) {
    if ((flags & kFileCreate) == 0) return OPEN_EXISTING;
    return (flags & kFileNoTruncate) != 0 ? OPEN_ALWAYS : CREATE_ALWAYS;
}

class Win32ByteFiles final : public ByteFiles {
public:
    std::unique_ptr<ByteFile> open(const std::wstring& path, unsigned int flags,
                                   SystemError& error) override {
        const DWORD access = (flags & kFileWrite) != 0 ? GENERIC_WRITE : GENERIC_READ;
        constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
        Handle file(::CreateFileW(path.c_str(), access, kShareAll, nullptr, disposition(flags),
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
        if (file) return std::make_unique<Win32ByteFile>(std::move(file), toUtf8(path));
        error = systemError("cannot open " + toUtf8(path), static_cast<int>(::GetLastError()));
        return nullptr;
    }
};

}  // namespace

ByteFiles& systemByteFiles() {
    static Win32ByteFiles files;
    return files;
}

}  // namespace vkcomm
