// Any bytes as a settings file of every kind: no crash in reading or checking; what was read comes back whole
// from an archive, and from JSON and text to the same bytes.
#include "fuzz/parser_laws.h"
#include "host/settings_check.h"
#include "host/settings_file.h"

namespace {

using namespace vkcomm;
using vkcomm::fuzz::require;

std::string again(const SettingsKind& kind, SettingsForm form, const std::string& bytes) {
    SettingsProblem problem;
    auto settings = readSettings(kind, bytes, problem);
    require(settings && settings->form == form);
    return settingsBytes(kind, form, settings->records);
}

void requireForms(const SettingsKind& kind, base::CMyObArray& records) {
    const std::string archive = settingsBytes(kind, SettingsForm::kArchive, records);
    require(again(kind, SettingsForm::kArchive, archive) == archive);
    const std::string json = settingsBytes(kind, SettingsForm::kJson, records);
    require(again(kind, SettingsForm::kJson, json) == json);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    for (const SettingsKind& kind : settingsKinds()) {
        SettingsProblem problem;
        auto settings = readSettings(kind, bytes, problem);
        require(settings.has_value() == problem.text.empty());
        if (settings) requireForms(kind, settings->records);
        if (!settings) require(checkSettings(kind, bytes).size() == 1);
        if (settings) checkSettings(kind, bytes);
    }
    return 0;
}
