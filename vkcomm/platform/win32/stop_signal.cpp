#include "vkcomm/platform/stop_signal.h"

#include "vkcomm/platform/win32/windows_api.h"

namespace vkcomm {

namespace {

std::atomic<bool> g_requested{false};

// Called on a thread of the system. False: not handled, so the program ends. Of a console that is closed and of a
// session that ends the program must be done when this returns, whatever is returned: main gets all the time that the
// system gives.
BOOL WINAPI request(DWORD kind) {
    if (g_requested.exchange(true)) return FALSE;
    if (kind >= CTRL_CLOSE_EVENT) ::Sleep(INFINITE);
    return TRUE;
}

}  // namespace

const std::atomic<bool>& stopRequested() {
    static const bool isInstalled = ::SetConsoleCtrlHandler(request, TRUE) != 0;
    static_cast<void>(isInstalled);
    return g_requested;
}

}  // namespace vkcomm
