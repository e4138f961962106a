#include "host/command_set.h"

#include <nlohmann/json.hpp>

#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

constexpr std::string_view kFirstGeneration = "OEM4";
constexpr std::string_view kLaterGenerations[] = {"OEMV", "OEM6", "OEM7", "OEM06", "OM7"};

int setOfBoard(std::string_view hardware, std::string_view software) {
    if (hardware.starts_with(kFirstGeneration)) return 1;
    for (const std::string_view later : kLaterGenerations)
        if (hardware.starts_with(later)) return 2;
    const long major = parseInteger(software);
    if (major <= 0) return 0;
    return major < 3 ? 1 : 2;
}

}  // namespace

int novatelCommandSet(const CommandResult& version) {
    for (const Answer& answer : version.answers) {
        if (answer.kind != AnswerKind::kRecord) continue;
        const auto record = nlohmann::json::parse(answer.json, nullptr, false);
        if (!record.is_object() || !record.contains("hardware")) continue;
        return setOfBoard(record.value("hardware", ""), record.value("software", ""));
    }
    return 0;
}

}  // namespace vkcomm
