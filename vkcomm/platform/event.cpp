#include "vkcomm/platform/event.h"

#include <condition_variable>

namespace vkcomm {

// One waiting thread; stands on its stack.
class Event::Sleeper {
public:
    // The lock is held while notifying, so that the sleeper cannot be gone before that is over.
    void wake() {
        const std::scoped_lock lock(m_lock);
        m_isAwake = true;
        m_changed.notify_one();
    }

    void sleep() {
        std::unique_lock lock(m_lock);
        m_changed.wait(lock, [this] { return m_isAwake; });
    }

    void sleep(std::chrono::milliseconds time) {
        std::unique_lock lock(m_lock);
        m_changed.wait_for(lock, time, [this] { return m_isAwake; });
    }

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    bool m_isAwake = false;
};

void Event::set() {
    const std::scoped_lock lock(m_lock);
    m_isSet = true;
    for (Sleeper* each : m_sleepers)
        each->wake();
}

void Event::reset() {
    const std::scoped_lock lock(m_lock);
    m_isSet = false;
}

bool Event::isSet() const {
    const std::scoped_lock lock(m_lock);
    return m_isSet;
}

void Event::add(Sleeper& sleeper) {
    const std::scoped_lock lock(m_lock);
    m_sleepers.push_back(&sleeper);
    if (m_isSet) sleeper.wake();
}

void Event::remove(Sleeper& sleeper) {
    const std::scoped_lock lock(m_lock);
    std::erase(m_sleepers, &sleeper);
}

void Event::wait() {
    Sleeper sleeper;
    add(sleeper);
    sleeper.sleep();
    remove(sleeper);
}

bool Event::wait(std::chrono::milliseconds time) {
    Sleeper sleeper;
    add(sleeper);
    sleeper.sleep(time);
    remove(sleeper);
    return isSet();
}

int waitForAny(Event& first, Event& second) {
    for (;;) {
        Event::Sleeper sleeper;
        first.add(sleeper);
        second.add(sleeper);
        sleeper.sleep();
        first.remove(sleeper);
        second.remove(sleeper);
        if (first.isSet()) return 0;
        if (second.isSet()) return 1;  // else another thread has reset it: wait again
    }
}

}  // namespace vkcomm
