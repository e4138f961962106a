// Settings records as JSON: an object a record, named like the fields, with its kind; a list is an array of them.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "host/settings_file.h"

namespace vkcomm {

// One member a line, so that a line tells a value. Numbers have the fewest digits that tell them apart; one that is
// not finite is null.
std::string settingsJson(const SettingsKind& kind, base::CMyObArray& records);

// An object a line, for programs that read line by line, without the members named.
std::string settingsJsonLines(const SettingsKind& kind, base::CMyObArray& records,
                              std::initializer_list<const char*> without = {});

// Appends the records. Members that are missing keep their defaults; members that are unknown, of another type
// or out of the range of their field are a problem, as is another kind. False, and why in problem.
bool readSettingsJson(const SettingsKind& kind, std::string_view text, base::CMyObArray& records,
                      SettingsProblem& problem);

// True when bytes begin like JSON.
bool looksLikeJson(std::string_view bytes);

// The line of the member of that name in the record of that number; 0 when it has none.
int jsonLineOf(std::string_view text, std::string_view name, int record);

}  // namespace vkcomm
