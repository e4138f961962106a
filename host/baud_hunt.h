// Finds the rate a receiver talks at: one rate after another, until records come.
#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>

namespace vkcomm {

// Does no input or output; its owner sets the rates and tells when records came.
class BaudHunt {
public:
    using Milliseconds = std::chrono::milliseconds;

    // Long enough for a receiver that reports once a second; each round gives a second more, up to the longest.
    static constexpr Milliseconds kTimePerRate{1500};
    static constexpr Milliseconds kMoreEachRound{1000};
    static constexpr Milliseconds kLongestTime{10000};
    // Of a rate that was the right one before: a receiver that has been switched on again takes its time.
    static constexpr Milliseconds kTimeOfFoundRate{15000};

    // In the order of how usual they are.
    static constexpr std::array<unsigned int, 11> kRates = {115200, 9600,   38400,  57600, 19200, 4800,
                                                            230400, 460800, 921600, 2400,  1200};

    unsigned int rate() const { return kRates[m_rate]; }

    bool isOver() const { return m_over; }

    // The port has just been opened at rate(): its time begins.
    void begin(Milliseconds now) {
        m_since = now;
        m_tried = 0;
        m_over = false;
    }

    // What comes at rate() is understood no more, though it was: the other end may have changed. rate() is tried once
    // more, like any other.
    void resume(Milliseconds now) {
        begin(now);
        m_wasFound = false;
    }

    // Records have come: rate() is the one, and the first to be tried the next time.
    void found() {
        m_over = true;
        m_wasFound = true;
    }

    // The port does not take rate(): on to the next, without a time of its own.
    void skip() { advance(); }

    // True when the time of this rate is over; rate() is then the next one.
    bool moveOn(Milliseconds now) {
        if (m_over || now - m_since < time()) return false;
        m_since = now;
        advance();
        return true;
    }

    // What so many rounds over all rates take.
    static constexpr Milliseconds timeOfRounds(int rounds) {
        Milliseconds sum{};
        for (int round = 0; round < rounds; ++round)
            sum += timeInRound(round) * static_cast<int>(kRates.size());
        return sum;
    }

private:
    static constexpr Milliseconds timeInRound(int round) {
        return std::min(kTimePerRate + round * kMoreEachRound, kLongestTime);
    }

    Milliseconds time() const {
        if (m_wasFound) return kTimeOfFoundRate;
        return timeInRound(static_cast<int>(m_tried / kRates.size()));
    }

    void advance() {
        m_rate = (m_rate + 1) % kRates.size();
        ++m_tried;
        m_wasFound = false;
    }

    std::size_t m_rate = 0;
    std::size_t m_tried = 0;  // rates left behind in this search
    Milliseconds m_since{};
    bool m_over = false;
    bool m_wasFound = false;
};

}  // namespace vkcomm
