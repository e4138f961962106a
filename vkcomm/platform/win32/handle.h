// Handles and events of the system.
#pragma once

#include <utility>

#include "vkcomm/platform/win32/windows_api.h"

namespace vkcomm {

// A handle that is closed by its destructor. The two values by which the system says that there is none are one
// here: null.
class Handle {
public:
    explicit Handle(HANDLE handle = nullptr) : m_handle(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}

    Handle(Handle&& other) noexcept : m_handle(other.release()) {}

    Handle& operator=(Handle&& other) noexcept {
        std::swap(m_handle, other.m_handle);
        return *this;
    }

    ~Handle() { close(); }

    HANDLE get() const { return m_handle; }

    explicit operator bool() const { return m_handle != nullptr; }

    HANDLE release() { return std::exchange(m_handle, nullptr); }

    bool close() {
        const HANDLE handle = release();
        return !handle || ::CloseHandle(handle) != 0;
    }

private:
    HANDLE m_handle;
};

// A manual-reset event, not set at first.
class KernelEvent {
public:
    KernelEvent() : m_handle(::CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

    HANDLE get() const { return m_handle.get(); }

    // False when the system had none left.
    explicit operator bool() const { return static_cast<bool>(m_handle); }

    bool isSet() const { return ::WaitForSingleObject(get(), 0) == WAIT_OBJECT_0; }

// A handheld has one call for both.
#ifdef UNDER_CE
    void set() { ::EventModify(get(), EVENT_SET); }

    void reset() { ::EventModify(get(), EVENT_RESET); }
#else
    void set() { ::SetEvent(get()); }

    void reset() { ::ResetEvent(get()); }
#endif

private:
    Handle m_handle;
};

}  // namespace vkcomm
