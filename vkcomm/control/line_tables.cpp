#include "vkcomm/control/line_tables.h"

#include <algorithm>
#include <limits>

#include "vkcomm/frames/frame_bytes.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm::detail {

namespace {

const LineValue* valueOf(std::string_view name, const LineValues& values) {
    const auto found = std::find_if(values.begin(), values.end(),
                                    [name](const LineValue& each) { return each.name == name; });
    return found == values.end() ? nullptr : &*found;
}

}  // namespace

std::string fillLine(std::string_view line, const LineValues& values) {
    std::string filled;
    while (!line.empty()) {
        const std::size_t end = line.front() == '<' ? line.find('>') : line.npos;
        const LineValue* value = end == line.npos ? nullptr : valueOf(line.substr(1, end - 1), values);
        filled += value ? value->text : std::string(line.substr(0, 1));
        line.remove_prefix(value ? end + 1 : 1);
    }
    return filled;
}

std::string recordText(std::wstring_view text) {
    std::string bytes = lowBytes(text);
    bytes.erase(
        std::find_if(bytes.begin(), bytes.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }),
        bytes.end());
    return bytes;
}

long long recordNumber(std::wstring_view text) {
    using Limits = std::numeric_limits<std::int32_t>;
    return std::clamp<long long>(parseInteger(text), Limits::min(), Limits::max());
}

void markRate(CommandSteps& steps, const PortRate& rate) {
    if (!steps.empty() && !steps.back().wrapped) steps.back().newRate = rate;
}

}  // namespace vkcomm::detail
