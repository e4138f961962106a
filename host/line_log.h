// What goes over a line in both directions, with times: the proof of a setup, and what answers are read from.
//
// The log stands around the device, below the port: bytes count as sent when the device took them and as received
// when the device gave them, whatever the port or the host makes of them.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "vkcomm/platform/comm_device.h"

namespace vkcomm {

struct LineChunk {
    std::chrono::system_clock::time_point time;  // of the beginning of a write, of the end of a read
    bool isSent = false;                         // else received
    std::vector<unsigned char> bytes;
};

// Any thread; one write at a time.
class LineLog {
public:
    // What is received between these two stands behind what is sent, so that an answer never comes before its
    // question. Of a write the bytes that the device took.
    void beginWrite();
    void endWrite(ByteSpan bytes);

    void received(ByteSpan bytes);

    // What was added since the last call, in order.
    std::vector<LineChunk> take();

    // Bytes that devices took.
    std::uint64_t sent() const { return m_sent; }

private:
    std::mutex m_lock;
    std::vector<LineChunk> m_chunks;
    std::vector<LineChunk> m_duringWrite;
    std::chrono::system_clock::time_point m_writeBegan;
    bool m_isWriting = false;
    std::atomic<std::uint64_t> m_sent{0};
};

// Devices of another maker, each of which keeps the log.
class LoggedDevices final : public CommDevices {
public:
    LoggedDevices(CommDevices& devices, std::shared_ptr<LineLog> log)
        : m_devices(devices), m_log(std::move(log)) {}

    std::shared_ptr<CommDevice> make() override;

private:
    CommDevices& m_devices;
    const std::shared_ptr<LineLog> m_log;
};

}  // namespace vkcomm
