#include "vkcomm/ports/write_queue.h"

#include <utility>

namespace vkcomm {

namespace {

constexpr std::size_t kDeepQueue = 20;

}  // namespace

bool WriteQueue::push(Request request) {
    const std::scoped_lock lock(m_lock);
    if (m_isClosed) return false;
    m_requests.push_back(std::move(request));
    return true;
}

WriteQueue::Head WriteQueue::head() const {
    const std::scoped_lock lock(m_lock);
    if (m_requests.empty()) return {};
    return {m_requests.front(), m_requests.size()};
}

void WriteQueue::pop(const Request& request) {
    const std::scoped_lock lock(m_lock);
    if (!m_requests.empty() && m_requests.front() == request) m_requests.pop_front();
}

void WriteQueue::clear(const Discard& discard) {
    std::deque<Request> dropped;  // freed behind the lock
    const std::scoped_lock lock(m_lock);
    dropped = removeAll(discard);
}

void WriteQueue::close(const Discard& discard) {
    std::deque<Request> dropped;  // freed behind the lock
    const std::scoped_lock lock(m_lock);
    m_isClosed = true;
    dropped = removeAll(discard);
}

std::deque<WriteQueue::Request> WriteQueue::removeAll(const Discard& discard) {
    std::size_t bytes = 0;
    for (const Request& request : m_requests)
        bytes += request->Data().size();
    discard(bytes);
    return std::exchange(m_requests, {});
}

std::size_t WriteQueue::depth() const {
    const std::scoped_lock lock(m_lock);
    return m_requests.size();
}

WriteVerdict judgeRequest(unsigned long group, std::size_t depth, const GroupMemory& memory) {
    if (group < kFirstGroup || group == memory.lastWritten) return WriteVerdict::kWrite;
    if (group == memory.skipped) return WriteVerdict::kSkip;
    return depth > kDeepQueue ? WriteVerdict::kSkipNewGroup : WriteVerdict::kWrite;
}

}  // namespace vkcomm
