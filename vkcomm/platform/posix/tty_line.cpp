// Serial ports and pseudo-terminals by termios.
#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <grp.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <system_error>
#include <termios.h>
#include <unistd.h>

#include "vkcomm/platform/posix/line.h"

namespace vkcomm {

namespace {

struct Rate {
    std::uint32_t baud;
    speed_t speed;
};

constexpr Rate kRates[] = {
    {300, B300},       {600, B600},     {1200, B1200},   {2400, B2400},   {4800, B4800},
    {9600, B9600},     {19200, B19200}, {38400, B38400}, {57600, B57600}, {115200, B115200},
#ifdef B230400
    {230400, B230400},
#endif
#ifdef B460800
    {460800, B460800},
#endif
#ifdef B921600
    {921600, B921600},
#endif
};

struct Size {
    unsigned char bits;
    tcflag_t flag;
};

constexpr Size kSizes[] = {{5, CS5}, {6, CS6}, {7, CS7}, {8, CS8}};

const Rate* findRate(std::uint32_t baud) {
    const Rate* found = std::ranges::find(kRates, baud, &Rate::baud);
    return found == std::end(kRates) ? nullptr : found;
}

int result(int call) { return call == 0 ? 0 : errno; }

void setFlag(tcflag_t& flags, tcflag_t flag, bool on) { on ? flags |= flag : flags &= ~flag; }

// Puts the state into settings that carry every byte unchanged, without handshake, whatever was set before.
int apply(const CommState& state, termios& settings) {
    const Rate* rate = findRate(state.BaudRate);
    const Size* size = std::ranges::find(kSizes, state.ByteSize, &Size::bits);
    constexpr unsigned char kEven = 2, kTwoStopBits = 2;
    if (!rate || size == std::end(kSizes) || state.Parity > kEven ||
        (state.StopBits != 0 && state.StopBits != kTwoStopBits))
        return EINVAL;
    ::cfmakeraw(&settings);
    settings.c_cflag |= CLOCAL | CREAD;
    settings.c_cflag &= ~(CRTSCTS | CSIZE | PARENB | PARODD | CSTOPB);
    settings.c_cflag |= size->flag;
    setFlag(settings.c_cflag, PARENB, state.Parity != 0);
    setFlag(settings.c_cflag, PARODD, state.Parity == 1);
    setFlag(settings.c_cflag, CSTOPB, state.StopBits != 0);
    setFlag(settings.c_iflag, IXOFF, state.fInX != 0);
    setFlag(settings.c_iflag, IXON, state.fOutX != 0);
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 0;
    return result(::cfsetispeed(&settings, rate->speed) | ::cfsetospeed(&settings, rate->speed));
}

void setModemLine(int fd, int line, bool on) {
    static_cast<void>(::ioctl(fd, on ? TIOCMBIS : TIOCMBIC, &line));  // pseudo-terminals have none
}

// The group that may read and write the device; empty when that is no group to join.
std::string groupOf(const std::string& path) {
    struct stat status {};

    if (::stat(path.c_str(), &status) != 0 || (status.st_mode & S_IRGRP) == 0 || status.st_gid == 0)
        return {};
    std::array<char, 4096> space{};
    group entry{};
    group* found = nullptr;
    const int code = ::getgrgid_r(status.st_gid, &entry, space.data(), space.size(), &found);
    return code == 0 && found ? found->gr_name : std::string();
}

std::string accessCure(const std::string& path) {
    const std::string name = groupOf(path);
    if (name.empty()) return "its owner must give you the right to read and write it";
    return "join the group " + name + " (sudo usermod -aG " + name + " \"$USER\") and log in again";
}

struct Cause {
    int code;
    int openError;
    std::string (*cure)(const std::string& path);
};

std::string plugIn(const std::string& /*path*/) { return "is it plugged in and switched on?"; }

std::string stopOther(const std::string& path) {
    return "another program holds it; 'fuser " + path + "' names that program";
}

std::string chooseAnother(const std::string& /*path*/) { return "it is no serial port; choose another path"; }

constexpr Cause kCauses[] = {
    {ENOENT, kErrorNotFound, plugIn},        {ENODEV, kErrorNotFound, plugIn},
    {ENXIO, kErrorNotFound, plugIn},         {EACCES, kErrorAccessDenied, accessCure},
    {EPERM, kErrorAccessDenied, accessCure}, {EBUSY, kErrorBusy, stopOther},
    {ENOTTY, kErrorNotFound, chooseAnother}, {EISDIR, kErrorNotFound, chooseAnother},
};

Refusal explain(int code, const std::string& path) {
    const std::string words = std::generic_category().message(code);
    const Cause* cause = std::ranges::find(kCauses, code, &Cause::code);
    if (cause == std::end(kCauses)) return {kErrorNotFunctioning, code, words};
    return {cause->openError, code, words + "; " + cause->cure(path)};
}

bool isPseudoTerminal(int fd) {
    constexpr unsigned int kFirstMajor = 136, kLastMajor = 143;

    struct stat status {};

    if (::fstat(fd, &status) != 0) return false;
    return major(status.st_rdev) >= kFirstMajor && major(status.st_rdev) <= kLastMajor;
}

// Takes the open terminal for this process alone. The lock also holds against those whom the system lets open
// an exclusive terminal (the superuser), and against this process itself. Deliberate: a pseudo-terminal is not
// made exclusive, because it would stay so, held by nobody, when this process is killed.
int claim(int fd) {
    termios settings{};
    if (::tcgetattr(fd, &settings) != 0) return errno == EIO ? ENODEV : errno;  // a driver's empty place
    int isTaken = 0;
    if (::ioctl(fd, TIOCGEXCL, &isTaken) == 0 && isTaken != 0) return EBUSY;
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) return EBUSY;
    return isPseudoTerminal(fd) ? 0 : result(::ioctl(fd, TIOCEXCL));
}

class TtyLine final : public Line {
public:
    explicit TtyLine(std::string path) : m_path(std::move(path)) {}

    Descriptor open(Refusal& refusal, int /*wake*/) override {
        Descriptor fd(::open(m_path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
        const int code = fd ? claim(fd.get()) : errno;
        if (code == 0) return fd;
        refusal = explain(code, m_path);
        return Descriptor();
    }

    int getState(int fd, CommState& state) override {
        termios settings{};
        if (::tcgetattr(fd, &settings) != 0) return errno;
        const Rate* rate = std::ranges::find(kRates, ::cfgetospeed(&settings), &Rate::speed);
        const Size* size = std::ranges::find(kSizes, settings.c_cflag & CSIZE, &Size::flag);
        int lines = 0;
        static_cast<void>(::ioctl(fd, TIOCMGET, &lines));
        state = CommState{};
        state.BaudRate = rate == std::end(kRates) ? 0 : rate->baud;
        state.fBinary = 1;
        state.fDtrControl = (lines & TIOCM_DTR) != 0;
        state.fRtsControl = (lines & TIOCM_RTS) != 0;
        state.fInX = (settings.c_iflag & IXOFF) != 0;
        state.fOutX = (settings.c_iflag & IXON) != 0;
        state.ByteSize = size->bits;
        if ((settings.c_cflag & PARENB) != 0) state.Parity = (settings.c_cflag & PARODD) != 0 ? 1 : 2;
        state.StopBits = (settings.c_cflag & CSTOPB) != 0 ? 2 : 0;
        return 0;
    }

    // The system reports success when it could set anything at all: what counts is looked at afterwards.
    int setState(int fd, const CommState& state) override {
        termios settings{};
        if (::tcgetattr(fd, &settings) != 0) return errno;
        if (const int code = apply(state, settings); code != 0) return code;
        if (::tcsetattr(fd, TCSANOW, &settings) != 0) return errno;
        setModemLine(fd, TIOCM_DTR, state.fDtrControl != 0);
        setModemLine(fd, TIOCM_RTS, state.fRtsControl != 0);
        termios set{};
        if (::tcgetattr(fd, &set) != 0) return errno;
        return ::cfgetospeed(&set) == ::cfgetospeed(&settings) ? 0 : EINVAL;
    }

    // Nothing blocks in a read, and a blocked write ends by its time-out: only the clear flags have an effect.
    int purge(int fd, std::uint32_t flags) override {
        const bool in = (flags & kPurgeClearRead) != 0;
        const bool out = (flags & kPurgeClearWrite) != 0;
        if (!in && !out) return 0;
        return result(::tcflush(fd, in && out ? TCIOFLUSH : in ? TCIFLUSH : TCOFLUSH));
    }

    int setBreak(int fd, bool on) override { return result(::ioctl(fd, on ? TIOCSBRK : TIOCCBRK)); }

    std::ptrdiff_t write(int fd, ByteSpan bytes) override { return ::write(fd, bytes.data(), bytes.size()); }

    // A driver that is held up by its peer keeps close waiting for half a minute unless nothing is left to send.
    // A line stays exclusive as long as anybody has it open, and would be refused to the next opening.
    void prepareClose(int fd) override {
        static_cast<void>(::tcflush(fd, TCIOFLUSH));
        static_cast<void>(::ioctl(fd, TIOCNXCL));
    }

private:
    const std::string m_path;
};

}  // namespace

std::unique_ptr<Line> makeTtyLine(const std::string& path) { return std::make_unique<TtyLine>(path); }

}  // namespace vkcomm
