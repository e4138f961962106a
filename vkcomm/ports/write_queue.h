// The requests that wait for a port's writer, and the rule by which it passes over some. This is part of the
// library's inside.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

#include "vkcomm/ports/serial_write.h"

namespace vkcomm {

// In order of arrival. The head stays until it has been written and its delay is over, so that depth and "empty"
// tell what has not gone out yet. Any thread; the lock is held for the length of each call only.
class WriteQueue {
public:
    using Request = std::shared_ptr<const CSerialWrite>;

    struct Head {
        Request request;  // null: the queue is empty
        std::size_t depth = 0;
    };

    // Told how many bytes are removed unwritten, before anybody can see that they are gone. Must not use the queue.
    using Discard = std::function<void(std::size_t)>;

    // False once the queue is closed.
    bool push(Request request);
    Head head() const;
    // Removes the head if it still is that request.
    void pop(const Request& request);
    void clear(const Discard& discard);
    // Clears it and takes nothing more.
    void close(const Discard& discard);
    std::size_t depth() const;

private:
    std::deque<Request> removeAll(const Discard& discard);

    mutable std::mutex m_lock;
    std::deque<Request> m_requests;
    bool m_isClosed = false;
};

// Group ids that the writer remembers; 0 when there is none.
struct GroupMemory {
    unsigned long lastWritten = 0;
    unsigned long skipped = 0;
};

enum class WriteVerdict { kWrite, kSkip, kSkipNewGroup };

// What the writer does with a request of that group at the head of a queue of that depth, itself included. Above
// twenty, a command of several pieces that has not been begun is passed over whole; one that has been begun is
// finished, and single requests are always written.
WriteVerdict judgeRequest(unsigned long group, std::size_t depth, const GroupMemory& memory);

}  // namespace vkcomm
