// The writing loop of a port.
#include "vkcomm/ports/port_session.h"

#include <system_error>

namespace vkcomm {

void PortSession::wakeWriter() {
    if (!m_isWritePending.exchange(true)) m_writeEvent.set();
}

// The flag first: set behind an event that the writer has seen already, it would keep everybody from waking it again.
void PortSession::setWriteEvent() {
    m_isWritePending = true;
    m_writeEvent.set();
}

unsigned int PortSession::writeRequests() {
    const Running running(*this, m_writer);
    while (device()) {
        if (waitForAny(m_writer.stop, m_writeEvent) == 0) return kWriterStopped;
        drain();
    }
    return kEnded;
}

void PortSession::drain() {
    if (m_writer.isRunning && m_writer.id != std::this_thread::get_id()) return;
    m_writeEvent.reset();
    m_isWritePending = false;
    while (!m_writer.stop.isSet()) {
        const WriteQueue::Head head = m_queue.head();
        if (!head.request) return;
        if (!serve(head)) return discardAll();
        m_queue.pop(head.request);
    }
}

void PortSession::countDiscarded(std::size_t bytes) {
    m_setup.meter->count([bytes](PortCounters& counters) { counters.discarded += bytes; });
}

WriteQueue::Discard PortSession::discards() {
    return [this](std::size_t bytes) { countDiscarded(bytes); };
}

// Writes the request or passes over it; false on a failure.
bool PortSession::serve(const WriteQueue::Head& head) {
    const unsigned long group = head.request->ulGroup();
    const WriteVerdict verdict = judgeRequest(group, head.depth, m_groups);
    if (verdict == WriteVerdict::kSkipNewGroup) m_groups.skipped = group;
    if (verdict != WriteVerdict::kWrite) passOver(*head.request);
    if (verdict != WriteVerdict::kWrite || m_setup.kind == PortKind::kPlayback) return true;
    if (!write(*head.request)) return false;
    if (head.request->nDelay() > 0) pause(m_writer, Milliseconds(head.request->nDelay()));
    m_groups.lastWritten = group;
    return true;
}

void PortSession::passOver(const CSerialWrite& request) {
    m_setup.meter->count([](PortCounters& counters) { ++counters.skipped; });
    countDiscarded(request.Data().size());
}

bool PortSession::write(const CSerialWrite& request) {
    const std::shared_ptr<CommDevice> device = this->device();
    if (!m_hasWriterThread || !device) return false;
    std::size_t written = 0;
    const bool isTaken = device->write(request.Data(), written);
    m_setup.meter->count([&](PortCounters& counters) { counters.written += written; });
    if (isTaken && written == request.Data().size()) return true;
    m_setup.meter->note(isTaken
                            ? libraryError("cannot write to the port", static_cast<int>(std::errc::timed_out))
                            : device->lastError());
    return false;
}

void PortSession::discardAll() {
    if (m_writer.stop.isSet()) return;  // the close has ended the write, and empties the queue itself
    m_groups = {};
    m_queue.clear(discards());  // before the message, so that what a host queues in answer to it stays
    m_setup.meter->count([](PortCounters& counters) { ++counters.writeErrors; });
    postError(WM_PORT_WRITE_ERROR);
}

}  // namespace vkcomm
