#include "host/recording_tap.h"

#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

namespace {

class TappedDevice final : public CommDevice {
public:
    TappedDevice(std::shared_ptr<CommDevice> device, std::shared_ptr<Recording> recording)
        : m_device(std::move(device)), m_recording(std::move(recording)) {}

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

    std::size_t read(std::span<unsigned char> buffer) override {
        const std::size_t count = m_device->read(buffer);
        if (count > 0) m_recording->append(buffer.first(count));
        return count;
    }

    bool write(ByteSpan bytes, std::size_t& written) override { return m_device->write(bytes, written); }

    bool setBreak() override { return m_device->setBreak(); }

    bool clearBreak() override { return m_device->clearBreak(); }

    bool control(std::uint32_t code, const unsigned char* input, std::uint32_t length,
                 std::uint32_t& outcome) override {
        return m_device->control(code, input, length, outcome);
    }

    void close() override { m_device->close(); }

private:
    const std::shared_ptr<CommDevice> m_device;
    const std::shared_ptr<Recording> m_recording;
};

}  // namespace

bool Recording::begin(const std::string& path, SystemError& error, ByteFiles& files) {
    auto file = files.open(toWide(path), kFileCreate | kFileWrite, error);
    if (!file) return false;
    const std::lock_guard guard(m_lock);
    m_file = std::move(file);
    write(m_early);
    m_early.clear();
    return true;
}

void Recording::append(ByteSpan bytes) {
    const std::lock_guard guard(m_lock);
    if (m_file)
        write(bytes);
    else
        m_early.insert(m_early.end(), bytes.begin(), bytes.end());
}

void Recording::write(ByteSpan bytes) {
    SystemError error;
    const std::size_t count = m_file->write(bytes, error);
    m_written += count;
    m_lost += bytes.size() - count;
    if (error && !m_error) m_error = error;
}

SystemError Recording::error() const {
    const std::lock_guard guard(m_lock);
    return m_error;
}

std::shared_ptr<CommDevice> TappedDevices::make() {
    return std::make_shared<TappedDevice>(m_devices.make(), m_recording);
}

}  // namespace vkcomm
