#include "vkcomm/platform/files.h"

#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

// Modes in octal, as the manuals write them.
constexpr mode_t kNewFileMode = 0666;  // less what the process masks
constexpr mode_t kPrivateMode = 0600;
constexpr mode_t kEveryRight = 07777;
constexpr mode_t kUserAndOtherRights = 0707;
constexpr mode_t kOtherRights = 0007;

// An open file, closed at the end of its scope.
class Descriptor {
public:
    explicit Descriptor(int fd) : m_fd(fd) {}

    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    ~Descriptor() {
        if (m_fd >= 0) ::close(m_fd);
    }

    bool isOpen() const { return m_fd >= 0; }

    int get() const { return m_fd; }

    // Some systems tell only here that the bytes could not be kept.
    bool close() { return ::close(std::exchange(m_fd, -1)) == 0; }

private:
    int m_fd;
};

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(fd, bytes.data(), bytes.size());
        if (count == 0) errno = EIO;
        if (count == 0 || (count < 0 && errno != EINTR)) return false;
        if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

// Devices and pipes have nothing to flush.
bool flush(int fd) { return ::fsync(fd) == 0 || errno == EINVAL || errno == EROFS; }

std::string folderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == path.npos ? std::string() : path.substr(0, slash + 1);
}

// Where path leads when its last part is a link, or a chain of them. A loop leads nowhere: the link itself is
// given, and opening it tells the failure.
std::string followed(const std::string& path) {
    constexpr int kMostLinks = 40;
    std::string at = path;
    for (int links = 0; links < kMostLinks; ++links) {
        std::array<char, PATH_MAX> target;
        const ssize_t size = ::readlink(at.c_str(), target.data(), target.size());
        if (size <= 0) return at;
        const std::string_view to(target.data(), static_cast<std::size_t>(size));
        at = to.front() == '/' ? std::string(to) : folderOf(at).append(to);
    }
    return path;
}

// Gives a new file the mode and owner of the old one. Where the owner or group cannot be had, the new group
// gets no more rights than everybody.
void keepRights(int fd, const struct stat& old) {
    mode_t mode = old.st_mode & kEveryRight;
    if (::fchown(fd, old.st_uid, old.st_gid) != 0 && ::fchown(fd, static_cast<uid_t>(-1), old.st_gid) != 0)
        mode &= kUserAndOtherRights | (mode & kOtherRights) << 3;
    ::fchmod(fd, mode);
}

// One replacement on its way.
class Replacement {
public:
    Replacement(const std::string& path, std::string_view bytes)
        : m_shown(path), m_path(followed(path)), m_bytes(bytes) {}

    ReplaceResult run() {
        const bool exists = ::stat(m_path.c_str(), &m_old) == 0;
        if (!exists && errno != ENOENT) return failure(errno);
        if (exists && S_ISDIR(m_old.st_mode)) return failure(EISDIR);
        if (exists && !S_ISREG(m_old.st_mode)) return writeInPlace();
        // Renaming would replace a file that its owner has locked.
        if (exists && ::faccessat(AT_FDCWD, m_path.c_str(), W_OK, AT_EACCESS) != 0) return failure(errno);
        const int cause = writeBeside(exists);
        if (cause == 0) return {};
        return exists && isForbidden(cause) ? writeInPlace() : failure(cause);
    }

private:
    // Causes that concern the folder, or a file that another is mounted on, and not the bytes of the file.
    static bool isForbidden(int cause) {
        return cause == EACCES || cause == EPERM || cause == EROFS || cause == EBUSY;
    }

    ReplaceResult failure(int cause) const { return {systemError("cannot write " + m_shown, cause), false}; }

    // 0 or the cause of the failure, with nothing left behind.
    int writeBeside(bool exists) {
        std::string beside;
        Descriptor file(createBeside(beside, exists ? kPrivateMode : kNewFileMode));
        if (!file.isOpen()) return errno;
        if (exists) keepRights(file.get(), m_old);
        if (writeAll(file.get(), m_bytes) && flush(file.get()) && file.close() &&
            ::rename(beside.c_str(), m_path.c_str()) == 0) {
            flushFolder();
            return 0;
        }
        const int cause = errno;
        ::unlink(beside.c_str());
        return cause;
    }

    int createBeside(std::string& name, mode_t mode) const {
        constexpr std::size_t kLongestStem = 200;  // leaves room for the ending in a name of 255 bytes
        const std::string folder = folderOf(m_path);
        const std::string stem = folder + m_path.substr(folder.size(), kLongestStem) + ".new";
        for (int number = ::getpid();; ++number) {
            name = stem;
            appendInteger(name, number);
            const int fd = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
            if (fd >= 0 || errno != EEXIST) return fd;
        }
    }

    // The new name is on the medium once the folder is; where folders cannot be flushed nothing more can be done.
    void flushFolder() const {
        const std::string folder = folderOf(m_path);
        const Descriptor opened(::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_CLOEXEC));
        if (opened.isOpen()) ::fsync(opened.get());
    }

    ReplaceResult writeInPlace() const {
        Descriptor file(::open(m_path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY));
        if (!file.isOpen()) return failure(errno);
        const bool regular = S_ISREG(m_old.st_mode);
        const bool written = writeAll(file.get(), m_bytes) &&
                             (!regular || ::ftruncate(file.get(), static_cast<off_t>(m_bytes.size())) == 0) &&
                             flush(file.get()) && file.close();
        ReplaceResult result = written ? ReplaceResult{} : failure(errno);
        result.inPlace = true;
        return result;
    }

    std::string m_shown;
    std::string m_path;
    std::string_view m_bytes;

    struct stat m_old {};
};

}  // namespace

std::string joinPath(const std::string& folder, std::string_view name) {
    const bool needsSlash = !folder.empty() && !folder.ends_with('/');
    return std::string(folder).append(needsSlash ? "/" : "").append(name);
}

FileHandle openFile(const std::string& path, FileUse use, SystemError& error) {
    error = {};
    const bool reads = use == FileUse::kRead;
    const auto fail = [&](int cause) {
        error = systemError((reads ? "cannot read " : "cannot write ") + path, cause);
        return nullptr;
    };
    const int how = (reads ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC) | O_CLOEXEC | O_NOCTTY;
    const int fd = ::open(path.c_str(), how, kNewFileMode);
    if (fd < 0) return fail(errno);

    struct stat status {};

    const bool folder = ::fstat(fd, &status) == 0 && S_ISDIR(status.st_mode);
    FileHandle file(folder ? nullptr : ::fdopen(fd, reads ? "rb" : "wb"));
    if (file) return file;
    const int cause = folder ? EISDIR : errno;
    ::close(fd);
    return fail(cause);
}

ReplaceResult replaceFile(const std::string& path, std::string_view bytes) {
    return Replacement(path, bytes).run();
}

}  // namespace vkcomm
