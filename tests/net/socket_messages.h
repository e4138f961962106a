// What the socket tests share: a clock that runs ahead, and the owner of a socket.
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "vkcomm/platform/clock.h"
#include "vkcomm/platform/message_target.h"

namespace vkcomm::test {

// Time passes only by sleeping.
class SleptTime final : public Clock {
public:
    std::chrono::milliseconds now() override { return std::chrono::milliseconds(m_slept.load()); }

    void sleep(std::chrono::milliseconds time) override {
        m_slept += time.count();
        onSleep(time);
        std::this_thread::yield();
    }

    std::function<void(std::chrono::milliseconds)> onSleep = [](auto) {};  // on the thread that sleeps

private:
    std::atomic<long long> m_slept{0};
};

using Texts = std::vector<std::string>;

// Keeps messages as text, "1065 6 object"; may act on one while it is posted.
class Messages final : public MessageTarget {
public:
    void post(unsigned int message, std::uintptr_t wParam, std::intptr_t lParam) override {
        std::string text = std::to_string(message) + " " + std::to_string(static_cast<int>(wParam));
        if (lParam != 0) text += " object";
        std::function<void()> action;
        {
            const std::lock_guard guard(m_lock);
            m_texts.push_back(text);
            if (text == m_actOn) action = m_action;
        }
        m_changed.notify_all();
        if (action) action();
    }

    void forget(unsigned int message, std::intptr_t lParam) override {
        const std::lock_guard guard(m_lock);
        m_forgotten.emplace_back(message, lParam);
    }

    void on(std::string text, std::function<void()> action) {
        m_actOn = std::move(text);
        m_action = std::move(action);
    }

    // Waits for that many messages.
    Texts first(std::size_t count) {
        std::unique_lock guard(m_lock);
        m_changed.wait(guard, [&] { return m_texts.size() >= count; });
        return {m_texts.begin(), m_texts.begin() + static_cast<std::ptrdiff_t>(count)};
    }

    Texts all() {
        const std::lock_guard guard(m_lock);
        return m_texts;
    }

    using Forgotten = std::vector<std::pair<unsigned int, std::intptr_t>>;

    Forgotten forgotten() {
        const std::lock_guard guard(m_lock);
        return m_forgotten;
    }

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    Texts m_texts;
    Forgotten m_forgotten;
    std::string m_actOn;
    std::function<void()> m_action;
};

}  // namespace vkcomm::test
