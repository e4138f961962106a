#include "vkcomm/platform/clock.h"

#include <thread>

#include "vkcomm/platform/event.h"

namespace vkcomm {

namespace {

class SystemClock final : public Clock {
public:
    std::chrono::milliseconds now() override {
        const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
        return std::chrono::duration_cast<std::chrono::milliseconds>(sinceStart);
    }

    void sleep(std::chrono::milliseconds time) override {
        if (time.count() > 0) std::this_thread::sleep_for(time);
    }
};

}  // namespace

bool Clock::wait(Event& event, std::chrono::milliseconds time) { return event.wait(time); }

Clock& systemClock() {
    static SystemClock clock;
    return clock;
}

}  // namespace vkcomm
