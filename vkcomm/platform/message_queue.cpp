#include "vkcomm/platform/message_queue.h"

#include <algorithm>
#include <array>
#include <limits>

#include "vkcomm/platform/wake_descriptor.h"

namespace vkcomm {

namespace {

enum class Sender { kHost, kPort, kSocket };

// What the queue knows of a message id.
struct Kind {
    unsigned int id;
    Sender sender;
    bool isData;       // wParam is a number of bytes, lParam tells whose
    bool namesSender;  // by port number or object
};

constexpr std::array<Kind, 6> kKinds{{
    {WM_PORT_DATA, Sender::kPort, true, true},
    {WM_PORT_READ_ERROR, Sender::kPort, false, true},
    {WM_PORT_WRITE_ERROR, Sender::kPort, false, true},
    {WM_SOCKET_DATA, Sender::kSocket, true, true},
    {WM_SOCKET_CLOSED, Sender::kSocket, false, false},
    {WM_SOCKET_STATUS, Sender::kSocket, false, false},
}};

constexpr Kind kindOf(unsigned int id) {
    const auto found = std::ranges::find(kKinds, id, &Kind::id);
    return found == kKinds.end() ? Kind{id, Sender::kHost, false, false} : *found;
}

bool isError(const Message& message) {
    constexpr std::uintptr_t kConnected = 1;
    return message.id == WM_PORT_READ_ERROR || message.id == WM_PORT_WRITE_ERROR ||
           (message.id == WM_SOCKET_STATUS && message.wParam != kConnected);
}

// Port errors have the port number where data messages have the count.
std::uintptr_t senderName(const Message& message, const Kind& kind) {
    return kind.sender == Sender::kPort && !kind.isData ? message.wParam
                                                        : static_cast<std::uintptr_t>(message.lParam);
}

bool mayBeOfOneSender(const Message& first, const Message& second) {
    const Kind a = kindOf(first.id);
    const Kind b = kindOf(second.id);
    if (a.sender != b.sender) return false;
    return !a.namesSender || !b.namesSender || senderName(first, a) == senderName(second, b);
}

// Whether message must stay behind waiting.
bool holdsBack(const Message& waiting, const Message& message) {
    return kindOf(message.id).sender != Sender::kPort && mayBeOfOneSender(waiting, message);
}

bool canJoin(const Message& message, const Message& waiting) {
    if (message.id != waiting.id || message.lParam != waiting.lParam) return false;
    return kindOf(message.id).isData || (isError(message) && message.wParam == waiting.wParam);
}

template <typename T>
T cappedSum(T a, T b) {
    return b > std::numeric_limits<T>::max() - a ? std::numeric_limits<T>::max() : static_cast<T>(a + b);
}

void join(const Message& message, Message& waiting) {
    if (kindOf(message.id).isData) waiting.wParam = cappedSum(waiting.wParam, message.wParam);
    waiting.count = cappedSum(waiting.count, 1u);
}

}  // namespace

MessageQueue::MessageQueue(std::size_t capacity) : m_capacity(capacity) {}

MessageQueue::~MessageQueue() = default;

void MessageQueue::post(unsigned int message, std::uintptr_t wParam, std::intptr_t lParam) {
    const Message posted{message, wParam, lParam};
    const std::scoped_lock lock(m_lock);
    if (Message* place = placeFor(posted)) return join(posted, *place);
    m_messages.push_back(posted);
    if (m_messages.size() == 1) showWhetherEmpty();
}

// The message that waits and takes this one in; null when it must stand by itself.
Message* MessageQueue::placeFor(const Message& message) {
    if (m_messages.empty()) return nullptr;
    Message& last = m_messages.back();
    if (isError(message) && canJoin(message, last)) return &last;
    if (m_messages.size() < m_capacity) return nullptr;
    const auto found = std::find_if(m_messages.rbegin(), m_messages.rend(), [&](const Message& waiting) {
        return canJoin(message, waiting) || holdsBack(waiting, message);
    });
    return found != m_messages.rend() && canJoin(message, *found) ? &*found : nullptr;
}

void MessageQueue::forget(unsigned int message, std::intptr_t lParam) {
    const std::scoped_lock lock(m_lock);
    std::erase_if(m_messages,
                  [&](const Message& each) { return each.id == message && each.lParam == lParam; });
    showWhetherEmpty();
}

std::optional<Message> MessageQueue::fetch() {
    const std::scoped_lock lock(m_lock);
    if (m_messages.empty()) return std::nullopt;
    const Message message = m_messages.front();
    m_messages.pop_front();
    if (m_messages.empty()) showWhetherEmpty();
    return message;
}

std::optional<Message> MessageQueue::wait(std::chrono::milliseconds time, Clock& clock) {
    if (const auto message = fetch()) return message;
    clock.wait(m_ready, time);
    return fetch();
}

std::size_t MessageQueue::size() const {
    const std::scoped_lock lock(m_lock);
    return m_messages.size();
}

int MessageQueue::descriptor() {
    const std::scoped_lock lock(m_lock);
    if (!m_wake) {
        m_wake = std::make_unique<WakeDescriptor>();
        showWhetherEmpty();
    }
    return m_wake->descriptor();
}

void MessageQueue::showWhetherEmpty() {
    const bool isEmpty = m_messages.empty();
    isEmpty ? m_ready.reset() : m_ready.set();
    if (m_wake) isEmpty ? m_wake->reset() : m_wake->set();
}

}  // namespace vkcomm
