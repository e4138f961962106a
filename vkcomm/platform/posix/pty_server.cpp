#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>
#include <utility>

#include "vkcomm/platform/byte_server.h"
#include "vkcomm/platform/posix/line.h"

namespace vkcomm {

namespace {

// The system reports a hang-up on this side for as long as nobody has the other one open.
class PtyServer final : public ByteServer {
public:
    PtyServer(Descriptor fd, std::string path) : m_fd(std::move(fd)), m_path(std::move(path)) {}

    std::string address() const override { return m_path; }

    std::size_t clients() override {
        pollfd watched{m_fd.get(), 0, 0};
        return ::poll(&watched, 1, 0) == 1 && (watched.revents & POLLHUP) != 0 ? 0 : 1;
    }

    std::size_t write(ByteSpan bytes) override {
        if (clients() == 0) return bytes.size();
        const std::ptrdiff_t count = ::write(m_fd.get(), bytes.data(), bytes.size());
        return bytes.size() - static_cast<std::size_t>(std::max<std::ptrdiff_t>(count, 0));
    }

    std::size_t read(std::span<unsigned char> buffer) override {
        const std::ptrdiff_t count = ::read(m_fd.get(), buffer.data(), buffer.size());
        return static_cast<std::size_t>(std::max<std::ptrdiff_t>(count, 0));
    }

    // Both sides have one set of settings.
    std::uint32_t lineRate() override {
        CommState state;
        return m_line->getState(m_fd.get(), state) == 0 ? state.BaudRate : 0;
    }

private:
    const Descriptor m_fd;
    const std::string m_path;
    const std::unique_ptr<Line> m_line = makeTtyLine(m_path);
};

// Opening the other side once is also what makes the hang-up show from the start.
int makeRaw(const std::string& path) {
    const Descriptor slave(::open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (!slave) return errno;
    termios settings{};
    if (::tcgetattr(slave.get(), &settings) != 0) return errno;
    ::cfmakeraw(&settings);
    return ::tcsetattr(slave.get(), TCSANOW, &settings) == 0 ? 0 : errno;
}

// 0 or the system's error number.
int prepare(int fd, std::string& path) {
    std::array<char, 256> name{};
    if (::grantpt(fd) != 0 || ::unlockpt(fd) != 0) return errno;
    if (const int code = ::ptsname_r(fd, name.data(), name.size()); code != 0) return code;
    path = name.data();
    return makeRaw(path);
}

}  // namespace

std::unique_ptr<ByteServer> openPtyServer(SystemError& error) {
    Descriptor fd(::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    std::string path;
    const int code = fd ? prepare(fd.get(), path) : errno;
    if (code == 0) return std::make_unique<PtyServer>(std::move(fd), path);
    error = systemError("cannot make a pseudo-terminal", code);
    return nullptr;
}

std::unique_ptr<ByteServer> openLocalServer(SystemError& error) { return openPtyServer(error); }

}  // namespace vkcomm
