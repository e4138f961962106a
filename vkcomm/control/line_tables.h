// Command lines as tables: texts with named places that a record's values fill. Part of the library's inside.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "vkcomm/control/command_step.h"

namespace vkcomm::detail {

// Which formats a row serves: bit n stands for format n. Formats from 32 on are served by rows for all only.
using FormatSet = std::uint32_t;
inline constexpr FormatSet kAnyFormat = 0xFFFFFFFF;

constexpr FormatSet formats(std::initializer_list<int> each) {
    FormatSet set = 0;
    for (const int format : each)
        set |= FormatSet{1} << format;
    return set;
}

constexpr bool serves(FormatSet set, int format) {
    return set == kAnyFormat || (format >= 0 && format < 32 && (set >> format & 1) != 0);
}

// What stands for "<name>" in a line.
struct LineValue {
    std::string_view name;
    std::string text;
};

using LineValues = std::vector<LineValue>;

// The line with its places filled; a name that has no value stays as it stands. Values are not looked through
// for places.
std::string fillLine(std::string_view line, const LineValues& values);

// A text of a settings record for use inside a command: the low 8 bits of its characters up to the first
// control character, so that no record can slip a command of its own in.
std::string recordText(std::wstring_view text);

// The decimal number at the front of a record's text, within 32 bits.
long long recordNumber(std::wstring_view text);

// Says that the last step sets this rate. A wrapped step is left alone: the line here ends at the maker's receiver,
// which keeps its rate.
void markRate(CommandSteps& steps, const PortRate& rate);

}  // namespace vkcomm::detail
