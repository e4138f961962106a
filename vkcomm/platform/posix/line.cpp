#include "vkcomm/platform/posix/line.h"

#include <cerrno>
#include <unistd.h>
#include <utility>

namespace vkcomm {

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    std::swap(m_fd, other.m_fd);
    return *this;
}

Descriptor::~Descriptor() {
    if (m_fd >= 0) ::close(m_fd);
}

int Descriptor::release() { return std::exchange(m_fd, -1); }

int Line::connect(int /*fd*/, ByteSpan /*address*/, int /*wake*/) { return ENOTTY; }

CommState StoredState::get() const {
    const std::scoped_lock lock(m_lock);
    return m_state;
}

void StoredState::set(const CommState& state) {
    const std::scoped_lock lock(m_lock);
    m_state = state;
}

std::unique_ptr<Line> makeLine(const std::string& place) {
    if (place.starts_with('/')) return makeTtyLine(place);
    if (place.starts_with("tcp://")) return makeTcpLine(place);
    if (place.starts_with("bt:")) return makeBluetoothLine(place);
    return place == "STR1:" ? makeBluetoothDriver() : nullptr;
}

}  // namespace vkcomm
