// Calls of a driver that last.
#pragma once

#include "vkcomm/platform/win32/handle.h"

namespace vkcomm {

// One call on a handle that was opened overlapped: it is begun by a system call that is given pointer(), and its
// end is waited for together with other events. The handle, the buffers of the call and this object must live
// until it has ended.
//
// A handheld has no overlapped calls and needs none: there a call that waits holds nobody else up, and closing
// the handle ends it.
class OverlappedCall {
public:
    OverlappedCall() { m_overlapped.hEvent = m_ended.get(); }

    OverlappedCall(const OverlappedCall&) = delete;
    OverlappedCall& operator=(const OverlappedCall&) = delete;

#ifdef UNDER_CE
    OVERLAPPED* pointer() { return nullptr; }
#else
    OVERLAPPED* pointer() { return &m_overlapped; }
#endif

    // Set once the call has ended.
    HANDLE ended() const { return m_ended.get(); }

    // Waits for the end of what isDone says was begun. 0 or the system's error number; count is the number of bytes. A
    // wake that is set cancels it.
    DWORD finish(HANDLE file, bool isDone, HANDLE wake, DWORD& count);

    void cancel(HANDLE file);

    // Of a call that has ended; one that has not is waited for.
    DWORD result(HANDLE file, DWORD& count);

private:
    KernelEvent m_ended;
    OVERLAPPED m_overlapped{};
};

}  // namespace vkcomm
