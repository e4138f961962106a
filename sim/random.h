// The pseudo-random numbers of the simulator: the same from a seed on every system, unlike the standard
// library's distributions.
#pragma once

#include <cstdint>

namespace vkcomm::sim {

// The SplitMix64 generator. A value type: copies go on independently. Not for secrets.
class Random {
public:
    explicit Random(std::uint64_t seed) : m_state(seed) {}

    std::uint64_t next() {
        std::uint64_t z = m_state += 0x9E3779B97F4A7C15u;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        return z ^ (z >> 31);
    }

    // A number from 0 to limit - 1; limit must not be 0.
    std::uint32_t below(std::uint32_t limit) {
        return static_cast<std::uint32_t>(((next() >> 32) * limit) >> 32);
    }

    // True with the given probability: never at 0, always at 1.
    bool chance(double probability) { return static_cast<double>(next() >> 11) * 0x1p-53 < probability; }

private:
    std::uint64_t m_state;
};

}  // namespace vkcomm::sim
