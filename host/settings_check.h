// Finds what is wrong in a settings file, with its line: values that mean nothing, lines that are missing, cut or
// no numbers, labels of another block.
#pragma once

#include <string_view>
#include <vector>

#include "host/settings_file.h"

namespace vkcomm {

// In the order of the lines; what belongs to no line stands first. Of more than a hundred the rest is left out, which
// the last one says. Sets and restores the label language of the
// process: no other thread may write text blocks meanwhile.
std::vector<SettingsProblem> checkSettings(const SettingsKind& kind, std::string_view bytes);

}  // namespace vkcomm
