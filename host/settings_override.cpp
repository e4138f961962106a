#include "host/settings_override.h"

#include <nlohmann/json.hpp>

#include "host/settings_json.h"

namespace vkcomm {

namespace {

using Json = nlohmann::ordered_json;

// The member at a path such as "antenna.strName"; null when there is none.
Json* memberAt(Json& record, std::string_view path) {
    Json* member = &record;
    while (!path.empty()) {
        const std::size_t dot = std::min(path.find('.'), path.size());
        const auto found =
            member->is_object() ? member->find(std::string(path.substr(0, dot))) : member->end();
        if (found == member->end()) return nullptr;
        member = &*found;
        path.remove_prefix(std::min(dot + 1, path.size()));
    }
    return member->is_object() ? nullptr : member;
}

}  // namespace

bool overrideSetting(const SettingsKind& kind, std::string_view assignment, base::CMyObArray& records,
                     std::string& error) {
    const std::size_t equals = assignment.find('=');
    const std::string name(assignment.substr(0, equals));
    if (equals == assignment.npos) {
        error = quotedText(name) + " is not like uElevMask=10";
        return false;
    }
    const std::string value(assignment.substr(equals + 1));
    Json record = Json::parse(settingsJson(kind, records), nullptr, false);
    Json* const member = name == "kind" ? nullptr : memberAt(record, name);
    if (!member) {
        error = std::string(kind.name) + " settings have no " + quotedText(name) +
                "; vkcomm settings show lists what they have";
        return false;
    }
    *member = member->is_string() ? Json(value) : Json::parse(value, nullptr, false);
    base::CMyObArray changed;
    SettingsProblem problem;
    if (member->is_discarded() ||
        !readSettingsJson(kind, record.dump(-1, ' ', false, Json::error_handler_t::replace), changed,
                          problem)) {
        error = name + " cannot be " + quotedText(value) + (problem.text.empty() ? "" : ": " + problem.text);
        return false;
    }
    records = std::move(changed);
    return true;
}

std::string problemWithSettings(const SettingsKind& kind, base::CMyObArray& records) {
    std::string first;
    forEachField(kind, records, [&](int, const SettingsField& field, const SettingsRef& value) {
        const std::string problem = first.empty() ? problemWithValue(field, value) : std::string();
        if (!problem.empty()) first = field.path() + " " + problem + ": " + settingsValueText(value);
    });
    return first;
}

}  // namespace vkcomm
