// Finds the rate a receiver talks at: one rate after another, until records come.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>

namespace vkcomm {

// Does no input or output; its owner sets the rates and tells when records came.
class BaudHunt {
public:
    // Long enough for a receiver that reports once a second.
    static constexpr std::chrono::milliseconds kTimePerRate{1500};

    // In the order of how usual they are.
    static constexpr std::array<unsigned int, 11> kRates = {115200, 9600,   38400,  57600, 19200, 4800,
                                                            230400, 460800, 921600, 2400,  1200};

    unsigned int rate() const { return kRates[m_rate]; }

    bool isOver() const { return m_over; }

    // The port has just been opened, or set to rate(): its time begins.
    void begin(std::chrono::milliseconds now) {
        m_since = now;
        m_over = false;
    }

    // Records have come: rate() is the one, and the first to be tried the next time.
    void found() { m_over = true; }

    // True when the time of this rate is over; rate() is then the next one.
    bool moveOn(std::chrono::milliseconds now) {
        if (m_over || now - m_since < kTimePerRate) return false;
        m_rate = (m_rate + 1) % kRates.size();
        m_since = now;
        return true;
    }

private:
    std::size_t m_rate = 0;
    std::chrono::milliseconds m_since{};
    bool m_over = false;
};

}  // namespace vkcomm
