#include "host/recording_tap.h"

#include "host/forwarding_device.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

namespace {

class TappedDevice final : public ForwardingDevice {
public:
    TappedDevice(std::shared_ptr<CommDevice> device, std::shared_ptr<Recording> recording)
        : ForwardingDevice(std::move(device)), m_recording(std::move(recording)) {}

    std::size_t read(std::span<unsigned char> buffer) override {
        const std::size_t count = ForwardingDevice::read(buffer);
        if (count > 0) m_recording->append(buffer.first(count));
        return count;
    }

private:
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
