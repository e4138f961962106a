// There are no descriptors here: events of the system do their work, and a host with a window has a queue.
#include "vkcomm/platform/wake_descriptor.h"

namespace vkcomm {

WakeDescriptor::WakeDescriptor() : m_descriptor(-1) {}

WakeDescriptor::~WakeDescriptor() = default;

void WakeDescriptor::set() {}

void WakeDescriptor::reset() {}

}  // namespace vkcomm
