#include "vkcomm/platform/stop_signal.h"

#include <csignal>

namespace vkcomm {

namespace {

std::atomic<bool> g_requested{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may use nothing else");

void request(int signal) {
    g_requested.store(true);
    std::signal(signal, SIG_DFL);
}

}  // namespace

const std::atomic<bool>& stopRequested() {
    static const bool isInstalled = [] {
        for (const int signal : {SIGINT, SIGTERM})
            std::signal(signal, request);
        return true;
    }();
    static_cast<void>(isInstalled);
    return g_requested;
}

}  // namespace vkcomm
