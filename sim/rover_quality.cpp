#include "sim/rover_quality.h"

namespace vkcomm::sim {

void RoverQuality::receive(ByteSpan bytes, std::chrono::milliseconds now) {
    const std::uint64_t found = m_finder.feed(bytes);
    if (found == 0) return;
    m_corrections += found;
    if (!m_last || now - *m_last > m_times.lostAfter) m_first = now;
    m_last = now;
}

Fix RoverQuality::at(std::chrono::milliseconds now) const {
    if (!m_last || now - *m_last > m_times.lostAfter) return {FixQuality::kSingle, 0.0};
    const auto lasted = now - *m_first;
    const FixQuality quality = lasted >= m_times.fixedAfter   ? FixQuality::kRtkFixed
                               : lasted >= m_times.floatAfter ? FixQuality::kRtkFloat
                                                              : FixQuality::kSingle;
    if (quality == FixQuality::kSingle) return {quality, 0.0};
    return {quality, static_cast<double>((now - *m_last).count()) / 1000.0};
}

}  // namespace vkcomm::sim
