// A clock that only the test moves.
#pragma once

#include <algorithm>
#include <condition_variable>
#include <list>
#include <mutex>
#include <vector>

#include "vkcomm/platform/clock.h"
#include "vkcomm/platform/event.h"

namespace vkcomm {

// sleep is what an operation does on the test's own thread: it moves the time and is noted. wait is what the
// library's threads do: it lasts until its event is set or the test has passed it.
class FakeClock final : public Clock {
public:
    using Time = std::chrono::milliseconds;

    Time now() override {
        const std::scoped_lock lock(m_lock);
        return m_now;
    }

    void sleep(Time time) override {
        const std::scoped_lock lock(m_lock);
        m_now += time;
        sleeps.push_back(static_cast<int>(time.count()));
    }

    bool wait(Event& event, Time time) override {
        std::list<Waiter>::iterator self;
        {
            const std::scoped_lock lock(m_lock);
            self = m_waiters.emplace(m_waiters.end());
            self->time = time;
            self->deadline = m_now + time;
            m_changed.notify_all();
        }
        waitForAny(event, self->isOver);
        const std::scoped_lock lock(m_lock);
        m_waiters.erase(self);
        return event.isSet();
    }

    // Waits until a thread waits, moves the time to the earliest end and lets that thread go on. How long it had
    // wanted to wait.
    int passNext() {
        std::unique_lock lock(m_lock);
        std::list<Waiter>::iterator next;
        m_changed.wait(lock, [&] { return (next = earliest()) != m_waiters.end(); });
        m_now = next->deadline;
        next->isPassed = true;
        next->isOver.set();
        return static_cast<int>(next->time.count());
    }

    std::vector<int> passNext(int waits) {
        std::vector<int> times;
        while (waits-- > 0)
            times.push_back(passNext());
        return times;
    }

    // Blocks until a thread waits.
    void awaitWaiter() {
        std::unique_lock lock(m_lock);
        m_changed.wait(lock, [&] { return earliest() != m_waiters.end(); });
    }

    std::vector<int> sleeps;  // milliseconds

private:
    struct Waiter {
        Time time{};
        Time deadline{};
        bool isPassed = false;
        Event isOver;
    };

    std::list<Waiter>::iterator earliest() {
        auto found = m_waiters.end();
        for (auto each = m_waiters.begin(); each != m_waiters.end(); ++each)
            if (!each->isPassed && (found == m_waiters.end() || each->deadline < found->deadline))
                found = each;
        return found;
    }

    std::mutex m_lock;
    std::condition_variable m_changed;
    std::list<Waiter> m_waiters;
    Time m_now{};
};

}  // namespace vkcomm
