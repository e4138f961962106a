#include "sim/cmc_commands.h"
#include "sim/commanded_receiver.h"
#include "sim/csi_commands.h"
#include "sim/javad_commands.h"
#include "sim/maker_commands.h"
#include "sim/novatel_commands.h"
#include "sim/thales_commands.h"
#include "sim/trimble_commands.h"
#include "sim/tsip_commands.h"

namespace vkcomm::sim {

namespace {

template <typename Commands>
std::unique_ptr<CommandedReceiver> make() {
    return std::make_unique<Commands>();
}

struct FamilyRow {
    std::string_view name;
    std::unique_ptr<CommandedReceiver> (*make)();
};

constexpr FamilyRow kFamilies[] = {
    {"nmea", make<ThalesCommands>},     {"thales", make<ThalesCommands>},
    {"oem4", make<NovatelCommands>},    {"oem4-server", make<NovatelCommands>},
    {"trimble", make<TrimbleCommands>}, {"javad", make<JavadCommands>},
    {"cmc", make<CmcCommands>},         {"csi", make<CsiCommands>},
    {"maker", make<MakerCommands>},     {"tsip", make<TsipCommands>},
};

}  // namespace

std::unique_ptr<CommandedReceiver> makeCommandedReceiver(std::string_view family) {
    for (const FamilyRow& row : kFamilies)
        if (row.name == family) return row.make();
    return nullptr;
}

}  // namespace vkcomm::sim
