// A network namespace for one thread, where the system permits it: its loopback interface can be taken away.
#pragma once

#include <functional>
#include <thread>

#ifdef __linux__
#include <cstring>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

namespace vkcomm::test {

// False when it cannot.
inline bool enterOwnNetwork() {
#ifdef __linux__
    return ::unshare(CLONE_NEWNET) == 0;
#else
    return false;
#endif
}

// Of the thread's own network.
inline bool setLoopback([[maybe_unused]] bool isUp) {
#ifdef __linux__
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    bool done = ::ioctl(fd, SIOCGIFFLAGS, &request) == 0;
    const int flags = isUp ? request.ifr_flags | IFF_UP : request.ifr_flags & ~IFF_UP;
    request.ifr_flags = static_cast<short>(flags);
    done = done && ::ioctl(fd, SIOCSIFFLAGS, &request) == 0;
    ::close(fd);
    return done;
#else
    return false;
#endif
}

// Runs on a thread in a network of its own, with the interface down; false when there is none to be had.
inline bool runInOwnNetwork(const std::function<void()>& run) {
    bool isOwn = false;
    std::thread([&] {
        isOwn = enterOwnNetwork() && setLoopback(false);
        if (isOwn) run();
    }).join();
    return isOwn;
}

}  // namespace vkcomm::test
