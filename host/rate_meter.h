// How often something happens now: the mean of the last ten whole seconds.
#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <optional>

namespace vkcomm {

// One thread at a time; times never go back.
class RateMeter {
public:
    void add(std::chrono::milliseconds now, std::uint64_t amount = 1) {
        if (!m_first) m_first = now;
        moveTo(now);
        m_seconds[slot(m_second)] += amount;
        m_total += amount;
    }

    // 0 within the first second.
    double perSecond(std::chrono::milliseconds now) const {
        if (!m_first) return 0.0;
        RateMeter then = *this;
        then.moveTo(now);
        return then.perSecond();
    }

    std::uint64_t total() const { return m_total; }

private:
    static constexpr std::int64_t kSeconds = 10;

    double perSecond() const {
        const std::int64_t whole = std::min(m_second, kSeconds);
        if (whole == 0) return 0.0;
        const std::uint64_t sum = std::reduce(m_seconds.begin(), m_seconds.end());
        return static_cast<double>(sum - m_seconds[slot(m_second)]) / static_cast<double>(whole);
    }

    static std::size_t slot(std::int64_t second) { return static_cast<std::size_t>(second % (kSeconds + 1)); }

    void moveTo(std::chrono::milliseconds now) {
        const std::int64_t second = (now - *m_first).count() / 1000;
        if (second - m_second > kSeconds) m_seconds.fill(0);
        for (; m_second < second && second - m_second <= kSeconds; ++m_second)
            m_seconds[slot(m_second + 1)] = 0;
        m_second = second;
    }

    std::optional<std::chrono::milliseconds> m_first;
    std::int64_t m_second = 0;                            // since the first
    std::array<std::uint64_t, kSeconds + 1> m_seconds{};  // the one that runs, and those before it
    std::uint64_t m_total = 0;
};

}  // namespace vkcomm
