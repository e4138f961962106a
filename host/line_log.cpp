#include "host/line_log.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "host/forwarding_device.h"

namespace vkcomm {

namespace {

using std::chrono::system_clock;

class LoggedDevice final : public ForwardingDevice {
public:
    LoggedDevice(std::shared_ptr<CommDevice> device, std::shared_ptr<LineLog> log)
        : ForwardingDevice(std::move(device)), m_log(std::move(log)) {}

    std::size_t read(std::span<unsigned char> buffer) override {
        const std::size_t count = ForwardingDevice::read(buffer);
        m_log->received(buffer.first(count));
        return count;
    }

    bool write(ByteSpan bytes, std::size_t& written) override {
        m_log->beginWrite();
        const bool ok = ForwardingDevice::write(bytes, written);
        m_log->endWrite(bytes.first(std::min(written, bytes.size())));
        return ok;
    }

private:
    const std::shared_ptr<LineLog> m_log;
};

}  // namespace

void LineLog::beginWrite() {
    const std::lock_guard guard(m_lock);
    m_isWriting = true;
    m_writeBegan = system_clock::now();
}

void LineLog::endWrite(ByteSpan bytes) {
    const std::lock_guard guard(m_lock);
    m_isWriting = false;
    if (!bytes.empty()) m_chunks.push_back({m_writeBegan, true, {bytes.begin(), bytes.end()}});
    std::ranges::move(m_duringWrite, std::back_inserter(m_chunks));
    m_duringWrite.clear();
    m_sent += bytes.size();
}

void LineLog::received(ByteSpan bytes) {
    if (bytes.empty()) return;
    const std::lock_guard guard(m_lock);
    (m_isWriting ? m_duringWrite : m_chunks)
        .push_back({system_clock::now(), false, {bytes.begin(), bytes.end()}});
}

std::vector<LineChunk> LineLog::take() {
    const std::lock_guard guard(m_lock);
    return std::exchange(m_chunks, {});
}

std::shared_ptr<CommDevice> LoggedDevices::make() {
    return std::make_shared<LoggedDevice>(m_devices.make(), m_log);
}

}  // namespace vkcomm
