// Settings records in the forms that files have: text, archive, JSON.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/settings_kinds.h"
#include "vkcomm/base/object_array.h"

namespace vkcomm {

enum class SettingsForm {
    kText,         // the text block of a record, or the list file of Bluetooth devices
    kArchive,      // the record by pointer, its class named in front; of a list an object array
    kArchiveBody,  // what the record itself stores, as it stands inside other archives; no list has it
    kJson,
};

// The names that the command has for them. Empty when there is no such form, or the kind does not have it.
std::optional<SettingsForm> findSettingsForm(const SettingsKind& kind, std::string_view name);

struct SettingsProblem {
    int line = 0;  // from 1; 0: of no line
    std::string text;
};

struct Settings {
    SettingsForm form;
    base::CMyObArray records;  // exactly one unless the kind is a list
};

// Reads a file of any form. Nothing, and why in problem, when it is none of the kind.
std::optional<Settings> readSettings(const SettingsKind& kind, std::string_view bytes,
                                     SettingsProblem& problem);

// Labels of text are in the language of nGetLang().
std::string settingsBytes(const SettingsKind& kind, SettingsForm form, base::CMyObArray& records);

// The fields, by path, that would not come back from these bytes as they are in the records.
std::vector<std::string> fieldsNotKept(const SettingsKind& kind, base::CMyObArray& records,
                                       std::string_view bytes);

// Called for each field of each record, with the number of the record from 0.
template <typename Use>
void forEachField(const SettingsKind& kind, base::CMyObArray& records, Use use) {
    for (int i = 0; i < records.GetSize(); ++i)
        for (const SettingsField& field : kind.fields)
            use(i, field, field.in(*records.GetAt(i)));
}

}  // namespace vkcomm
