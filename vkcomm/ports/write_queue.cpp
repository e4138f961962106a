#include "vkcomm/ports/write_queue.h"

#include <utility>

namespace vkcomm {

namespace {

constexpr std::size_t kDeepQueue = 20;

}  // namespace

void WriteQueue::push(Request request) {
    const std::scoped_lock lock(m_lock);
    m_requests.push_back(std::move(request));
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

void WriteQueue::clear() {
    std::deque<Request> dropped;  // freed behind the lock
    const std::scoped_lock lock(m_lock);
    m_requests.swap(dropped);
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
