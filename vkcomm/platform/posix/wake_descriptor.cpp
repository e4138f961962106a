#include "vkcomm/platform/wake_descriptor.h"

#include <sys/eventfd.h>
#include <unistd.h>

namespace vkcomm {

WakeDescriptor::WakeDescriptor() : m_descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

WakeDescriptor::~WakeDescriptor() {
    if (m_descriptor >= 0) ::close(m_descriptor);
}

// Neither can fail in a way that matters: a full counter is set, an empty one is reset.
void WakeDescriptor::set() { static_cast<void>(::eventfd_write(m_descriptor, 1)); }

void WakeDescriptor::reset() {
    eventfd_t count = 0;
    static_cast<void>(::eventfd_read(m_descriptor, &count));
}

}  // namespace vkcomm
