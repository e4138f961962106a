// Single values of a settings record, given by name, in place of those of a file.
#pragma once

#include <string>
#include <string_view>

#include "host/settings_file.h"

namespace vkcomm {

// "name=value", the name as vkcomm settings show lists it ("antenna.strName"). False, and why in error, when the
// record has no such field or the field cannot hold the value; the records then stay as they are.
bool overrideSetting(const SettingsKind& kind, std::string_view assignment, base::CMyObArray& records,
                     std::string& error);

// The first value that means nothing, for people; empty when all mean something.
std::string problemWithSettings(const SettingsKind& kind, base::CMyObArray& records);

}  // namespace vkcomm
