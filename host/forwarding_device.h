// A device around a device, which does what that one does. Those that watch or change a line override what they
// need.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "vkcomm/platform/comm_device.h"

namespace vkcomm {

class ForwardingDevice : public CommDevice {
public:
    explicit ForwardingDevice(std::shared_ptr<CommDevice> device) : m_device(std::move(device)) {}

    bool open(const std::wstring& name, std::uint32_t attributes) override {
        return m_device->open(name, attributes);
    }

    int openError() const override { return m_device->openError(); }

    SystemError lastError() const override { return m_device->lastError(); }

    bool getTimeouts(CommTimeouts& timeouts) override { return m_device->getTimeouts(timeouts); }

    bool setTimeouts(const CommTimeouts& timeouts) override { return m_device->setTimeouts(timeouts); }

    bool setEventMask(std::uint32_t mask) override { return m_device->setEventMask(mask); }

    bool setQueueSizes(std::uint32_t in, std::uint32_t out) override {
        return m_device->setQueueSizes(in, out);
    }

    bool getState(CommState& state) override { return m_device->getState(state); }

    bool setState(const CommState& state) override { return m_device->setState(state); }

    bool purge(std::uint32_t flags) override { return m_device->purge(flags); }

    bool waitForEvent(std::uint32_t& events) override { return m_device->waitForEvent(events); }

    bool bytesQueued(std::uint32_t& count) override { return m_device->bytesQueued(count); }

    std::size_t read(std::span<unsigned char> buffer) override { return m_device->read(buffer); }

    bool write(ByteSpan bytes, std::size_t& written) override { return m_device->write(bytes, written); }

    bool setBreak() override { return m_device->setBreak(); }

    bool clearBreak() override { return m_device->clearBreak(); }

    bool control(std::uint32_t code, const unsigned char* input, std::uint32_t length,
                 std::uint32_t& outcome) override {
        return m_device->control(code, input, length, outcome);
    }

    void close() override { m_device->close(); }

    bool peerWaits() const override { return m_device->peerWaits(); }

private:
    const std::shared_ptr<CommDevice> m_device;
};

}  // namespace vkcomm
