// What differs between the kinds of descriptors behind a port: terminal, network connection, Bluetooth link.
#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>

#include "vkcomm/platform/comm_device.h"

namespace vkcomm {

// A file descriptor that is closed by its destructor; -1 is none.
class Descriptor {
public:
    explicit Descriptor(int fd = -1) : m_fd(fd) {}

    Descriptor(Descriptor&& other) noexcept : m_fd(other.release()) {}

    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor();

    int get() const { return m_fd; }

    int release();

    explicit operator bool() const { return m_fd >= 0; }

private:
    int m_fd;
};

// Why an open was refused: a kError… number, the system's number, and words that include the cure.
struct Refusal {
    int openError = 0;
    int code = 0;
    std::string text;
};

// Operations give 0 or the system's error number. They block for no longer than a driver call; the descriptor
// they are given is one that open made, and non-blocking. Those but open may come from several threads.
class Line {
public:
    virtual ~Line() = default;

    // No descriptor on failure, which refusal tells. What waits for the other side ends when the descriptor wake becomes
    // readable.
    virtual Descriptor open(Refusal& refusal, int wake) = 0;

    // Whether the other side waits while nothing is read.
    virtual bool peerWaits() const { return false; }

    virtual int getState(int fd, CommState& state) = 0;
    virtual int setState(int fd, const CommState& state) = 0;
    virtual int purge(int fd, std::uint32_t flags) = 0;
    virtual int setBreak(int fd, bool on) = 0;
    // Bytes taken, or -1 with errno.
    virtual std::ptrdiff_t write(int fd, ByteSpan bytes) = 0;
    // Lets go of what would hold up closing.
    virtual void prepareClose(int fd) = 0;

    // Only a Bluetooth driver: connects to the six bytes of an address; wake, a descriptor, ends the attempt.
    virtual bool isDriver() const { return false; }

    virtual int connect(int fd, ByteSpan address, int wake);
};

// The state of a line on which it changes nothing.
class StoredState {
public:
    CommState get() const;
    void set(const CommState& state);

private:
    mutable std::mutex m_lock;
    CommState m_state{.BaudRate = 115200, .fBinary = 1, .ByteSize = 8};
};

// The line of a place of the port map; null for text that is none. "STR1:" is the Bluetooth driver.
std::unique_ptr<Line> makeLine(const std::string& place);

std::unique_ptr<Line> makeTtyLine(const std::string& path);
// Null unless text is "tcp://host:port"; an IPv6 address stands in brackets.
std::unique_ptr<Line> makeTcpLine(const std::string& text);
std::unique_ptr<Line> makeBluetoothDriver();
// Null unless text is "bt:" and an address of six hexadecimal bytes.
std::unique_ptr<Line> makeBluetoothLine(const std::string& text);

}  // namespace vkcomm
