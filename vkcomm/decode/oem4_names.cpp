// Names of OEM4 messages: logs and commands in one table by message number.
#include "vkcomm/decode/name_index.h"
#include "vkcomm/decode/name_tables.h"
#include "vkcomm/decode/oem4_command_rows.h"
#include "vkcomm/decode/oem4_log_rows.h"

namespace vkcomm {

namespace {

constexpr std::size_t kRowCount = detail::kOem4Logs.size() + detail::kOem4Commands.size();

// Where a log and a command share a number the log comes first and gives it its name.
constexpr std::array<KnownName, kRowCount> logsAndCommands() {
    std::array<KnownName, kRowCount> rows{};
    std::merge(detail::kOem4Logs.begin(), detail::kOem4Logs.end(), detail::kOem4Commands.begin(),
               detail::kOem4Commands.end(), rows.begin(),
               [](const KnownName& a, const KnownName& b) { return a.id < b.id; });
    return rows;
}

constexpr std::array<KnownName, kRowCount> kRows = logsAndCommands();
constexpr detail::NameIndex kIndex(kRows);

static_assert(detail::isOrderedById(kRows) && detail::namesFit(kRows) && kIndex.isUnique());

}  // namespace

std::span<const KnownName> detail::oem4Names() { return kRows; }

const KnownName* detail::findOem4(std::string_view name) { return kIndex.find(name); }

}  // namespace vkcomm
