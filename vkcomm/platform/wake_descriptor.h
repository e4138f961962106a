// A flag that a thread can wait for together with a device, a socket or what else the system can wait for.
#pragma once

namespace vkcomm {

// Any thread may call any operation. Without descriptors left (the process has too many open) descriptor() is
// -1, which poll ignores, and set wakes nobody.
class WakeDescriptor {
public:
    WakeDescriptor();
    WakeDescriptor(const WakeDescriptor&) = delete;
    WakeDescriptor& operator=(const WakeDescriptor&) = delete;
    ~WakeDescriptor();

    // Set, it stays set until it is reset.
    void set();
    void reset();

    // Readable while the flag is set. Whoever waits must not read from it.
    int descriptor() const { return m_descriptor; }

private:
    const int m_descriptor;
};

}  // namespace vkcomm
