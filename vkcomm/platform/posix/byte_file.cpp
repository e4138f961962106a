#include "vkcomm/platform/byte_file.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

namespace {

constexpr mode_t kNewFileMode = 0666;  // less what the process masks

class PosixByteFile final : public ByteFile {
public:
    PosixByteFile(int fd, std::string path) : m_fd(fd), m_path(std::move(path)) {}

    PosixByteFile(const PosixByteFile&) = delete;
    PosixByteFile& operator=(const PosixByteFile&) = delete;

    ~PosixByteFile() override { ::close(m_fd); }

    std::size_t read(std::span<unsigned char> buffer, SystemError& error) override {
        for (;;) {
            const ssize_t count = ::read(m_fd, buffer.data(), buffer.size());
            if (count >= 0) return static_cast<std::size_t>(count);
            if (errno == EINTR) continue;
            error = systemError("cannot read " + m_path, errno);
            return 0;
        }
    }

    std::size_t write(ByteSpan bytes, SystemError& error) override {
        std::size_t written = 0;
        while (written < bytes.size()) {
            const ssize_t count = ::write(m_fd, bytes.data() + written, bytes.size() - written);
            if (count > 0) written += static_cast<std::size_t>(count);
            if (count > 0 || (count < 0 && errno == EINTR)) continue;
            error = systemError("cannot write " + m_path, count < 0 ? errno : EIO);
            break;
        }
        return written;
    }

    bool seekToEnd() override { return ::lseek(m_fd, 0, SEEK_END) >= 0; }

private:
    int m_fd;
    std::string m_path;
};

int systemFlags(unsigned int flags) {
    const bool writes = (flags & kFileWrite) != 0;
    const bool creates = (flags & kFileCreate) != 0;
    const bool truncates = creates && (flags & kFileNoTruncate) == 0;
    return (writes ? O_WRONLY : O_RDONLY) | (creates ? O_CREAT : 0) | (truncates ? O_TRUNC : 0) | O_CLOEXEC |
           O_NOCTTY;
}

class PosixByteFiles final : public ByteFiles {
public:
    std::unique_ptr<ByteFile> open(const std::wstring& widePath, unsigned int flags,
                                   SystemError& error) override {
        const std::string path = toUtf8(widePath);
        const int fd = ::open(path.c_str(), systemFlags(flags), kNewFileMode);

        struct stat status {};

        const int cause = fd < 0 ? errno : ::fstat(fd, &status) == 0 && S_ISDIR(status.st_mode) ? EISDIR : 0;
        if (cause == 0) return std::make_unique<PosixByteFile>(fd, path);
        if (fd >= 0) ::close(fd);
        error = systemError("cannot open " + path, cause);
        return nullptr;
    }
};

}  // namespace

ByteFiles& systemByteFiles() {
    static PosixByteFiles files;
    return files;
}

}  // namespace vkcomm
