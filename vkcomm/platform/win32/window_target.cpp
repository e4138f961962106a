#include "vkcomm/platform/window_target.h"

#include <vector>

#include "vkcomm/platform/win32/windows_api.h"

namespace vkcomm {

namespace {

HWND windowOf(void* window) { return static_cast<HWND>(window); }

}  // namespace

// Deliberate: to the system no window means the calling thread.
void WindowTarget::post(unsigned int message, std::uintptr_t wParam, std::intptr_t lParam) {
    if (m_window) ::PostMessageW(windowOf(m_window), message, wParam, lParam);
}

// A queue is searched by window and number alone: those of other senders are put back, in their order.
void WindowTarget::forget(unsigned int message, std::intptr_t lParam) {
    if (!m_window) return;
    std::vector<MSG> others;
    MSG found{};
    while (::PeekMessageW(&found, windowOf(m_window), message, message, PM_REMOVE | PM_QS_POSTMESSAGE) != 0) {
        if (found.message != message) {  // the wish to end the program answers to every question
            ::PostQuitMessage(static_cast<int>(found.wParam));
            break;
        }
        if (found.lParam != lParam) others.push_back(found);
    }
    for (const MSG& each : others)
        ::PostMessageW(each.hwnd, each.message, each.wParam, each.lParam);
}

}  // namespace vkcomm
