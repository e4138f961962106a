// A bounded queue of window messages, for hosts without windows.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>

#include "vkcomm/export.h"
#include "vkcomm/platform/clock.h"
#include "vkcomm/platform/event.h"
#include "vkcomm/platform/message_target.h"

namespace vkcomm {

class WakeDescriptor;

struct Message {
    unsigned int id = 0;
    std::uintptr_t wParam = 0;
    std::intptr_t lParam = 0;
    unsigned int count = 1;  // how many posted messages this one stands for

    friend bool operator==(const Message&, const Message&) = default;
};

// Messages come out in the order in which they were posted, and none is ever lost, but:
// - An error message (both port errors, a socket status of 0 or 2) equal to the one posted just before it is
//   counted there.
// - When capacity messages wait, a data message adds its bytes to the last that waits for the same port or
//   socket, and an error message is counted onto the last equal one that waits. Reports of a port may pass each
//   other that way: its bytes are in the decoder already, and its errors stand for themselves. What a socket
//   reports never changes order: nothing joins a message behind which another one of the same socket waits. The
//   messages 1066 and 1068 do not say which socket sent them and count as sent by every socket.
// A message that can join none is taken beyond the capacity. So data and errors for a host that never fetches
// take a bounded amount of memory; connections made and messages of the host's own come on top.
//
// Any thread may post, forget and look; one thread fetches.
class VKCOMM_API MessageQueue final : public MessageTarget {
public:
    static constexpr std::size_t kCapacity = 1024;

    explicit MessageQueue(std::size_t capacity = kCapacity);
    ~MessageQueue() override;

    void post(unsigned int message, std::uintptr_t wParam, std::intptr_t lParam) override;
    void forget(unsigned int message, std::intptr_t lParam) override;

    // The oldest message; nothing when there is none.
    std::optional<Message> fetch();
    // The same, after waiting for one on the clock, at most the given time.
    std::optional<Message> wait(std::chrono::milliseconds time, Clock& clock = systemClock());

    std::size_t size() const;

    // For a host's own event loop: on POSIX a descriptor that is readable while messages wait; -1 where there
    // is none. It belongs to the queue; do not read from it.
    int descriptor();

private:
    Message* placeFor(const Message& message);
    void showWhetherEmpty();

    const std::size_t m_capacity;
    mutable std::mutex m_lock;
    std::deque<Message> m_messages;
    Event m_ready;  // set while messages wait
    std::unique_ptr<WakeDescriptor> m_wake;
};

}  // namespace vkcomm
