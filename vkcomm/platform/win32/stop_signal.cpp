#include "vkcomm/platform/stop_signal.h"

#include "vkcomm/platform/win32/windows_api.h"

namespace vkcomm {

namespace {

std::atomic<bool> g_requested{false};

// Called on a thread of the system. False: not handled, so the program ends.
BOOL WINAPI request(DWORD /*kind*/) { return g_requested.exchange(true) ? FALSE : TRUE; }

}  // namespace

const std::atomic<bool>& stopRequested() {
    static const bool isInstalled = ::SetConsoleCtrlHandler(request, TRUE) != 0;
    static_cast<void>(isInstalled);
    return g_requested;
}

}  // namespace vkcomm
