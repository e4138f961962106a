// The window of a Windows host as the place where messages go. Other systems have MessageQueue alone.
#pragma once

#include "vkcomm/export.h"
#include "vkcomm/platform/message_target.h"

#ifdef _WIN32

namespace vkcomm {

// Posts to the queue of the thread that made the window; when that queue is full (10,000 messages) the system drops
// what is posted. A window that is gone gets nothing.
//
// forget must find the messages in that queue and so works only on the thread that made the window, which is
// therefore the one to close ports and sockets: closed elsewhere, they leave their messages in the queue.
class VKCOMM_API WindowTarget final : public MessageTarget {
public:
    // An HWND, which the host owns. Null: nobody gets anything.
    explicit WindowTarget(void* window) : m_window(window) {}

    void post(unsigned int message, std::uintptr_t wParam, std::intptr_t lParam) override;
    void forget(unsigned int message, std::intptr_t lParam) override;

private:
    void* const m_window;
};

}  // namespace vkcomm

#endif
