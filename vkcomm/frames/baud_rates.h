// The baud rates that settings and receivers number 0 to 9.
#pragma once

#include <array>

namespace vkcomm {

inline constexpr std::array<int, 10> kBaudRates = {300,  600,   1200,  2400,  4800,
                                                   9600, 19200, 38400, 57600, 115200};

// The rate of an index; other for one outside 0 to 9.
constexpr int baudOfIndex(int index, int other) {
    return index >= 0 && index < static_cast<int>(kBaudRates.size())
               ? kBaudRates[static_cast<std::size_t>(index)]
               : other;
}

}  // namespace vkcomm
