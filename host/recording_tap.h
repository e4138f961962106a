// Records what a device gives, whatever the kind of the device and whatever the host makes of it.
//
// The tap is a device around the device: every byte that a read returned is in the file before the port sees it, also
// bytes that find no room later. A file that takes no more bytes (a full disk) does not stop reception; what it did
// not take is counted.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "vkcomm/platform/byte_file.h"
#include "vkcomm/platform/comm_device.h"

namespace vkcomm {

// Any thread.
class Recording {
public:
    // Makes the file, or replaces an existing one, and writes what was appended before. False when that fails,
    // which error tells.
    bool begin(const std::string& path, SystemError& error, ByteFiles& files = systemByteFiles());

    void append(ByteSpan bytes);

    std::uint64_t written() const { return m_written; }

    std::uint64_t lost() const { return m_lost; }

    // The first failure.
    SystemError error() const;

private:
    void write(ByteSpan bytes);

    mutable std::mutex m_lock;
    std::unique_ptr<ByteFile> m_file;
    std::vector<unsigned char> m_early;  // appended before there was a file
    SystemError m_error;
    std::atomic<std::uint64_t> m_written{0};
    std::atomic<std::uint64_t> m_lost{0};
};

// Devices of another maker with a tap on each.
class TappedDevices final : public CommDevices {
public:
    TappedDevices(CommDevices& devices, std::shared_ptr<Recording> recording)
        : m_devices(devices), m_recording(std::move(recording)) {}

    std::shared_ptr<CommDevice> make() override;

private:
    CommDevices& m_devices;
    const std::shared_ptr<Recording> m_recording;
};

}  // namespace vkcomm
