// The caster under the verb simulate.
#pragma once

#include "apps/vkcomm/commands.h"

namespace vkcomm {

// Adds the word caster to the verb simulate.
void addSimulateCaster(CLI::App& simulate, Run& run);

}  // namespace vkcomm
