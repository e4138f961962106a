#include "host/command_target.h"

#include <algorithm>
#include <span>

namespace vkcomm {

namespace {

struct TargetRow {
    std::string_view family;
    std::string_view alias;
    Dialect dialect;
    std::span<const GPSOEMTYPE> types;  // the first is the usual one; none: OEM_NONE
};

constexpr GPSOEMTYPE kNovatelTypes[] = {OEM_NOVATEL, OEM_NOVATEL_5, OEM_NOVATEL_6, OEM_NOVATEL_18,
                                        OEM_NOVATEL_19};
constexpr GPSOEMTYPE kTrimbleTypes[] = {OEM_TRIMBLE,    OEM_TRIMBLE_7,        OEM_TRIMBLE_8,
                                        OEM_TRIMBLE_14, OEM_VAREK_TRIMBLE_15, OEM_VAREK_TRIMBLE_16};
constexpr GPSOEMTYPE kCmcTypes[] = {OEM_CMC, OEM_TYPE_11, OEM_TYPE_12};
constexpr GPSOEMTYPE kMakerTypes[] = {OEM_NONE,    OEM_TYPE_3,  OEM_TYPE_4, OEM_TYPE_9,
                                      OEM_TYPE_10, OEM_TYPE_13, OEM_TYPE_17};

constexpr TargetRow kTargets[] = {
    {"oem4", "novatel", Dialect::kNovatel, kNovatelTypes},
    {"trimble", "", Dialect::kTrimble, kTrimbleTypes},
    {"javad", "", Dialect::kJavad, {}},
    {"cmc", "", Dialect::kCmc, kCmcTypes},
    {"thales", "ashtech", Dialect::kThales, {}},
    {"csi", "hemisphere", Dialect::kCsi, {}},
    {"nmea", "", Dialect::kNmea, {}},
    {"maker", "", Dialect::kMaker, kMakerTypes},
    {"tsip", "", Dialect::kTsip, {}},
};

constexpr GPSOEMTYPE kWrapped[] = {OEM_NOVATEL_5, OEM_NOVATEL_6,        OEM_TYPE_11,
                                   OEM_TYPE_12,   OEM_VAREK_TRIMBLE_15, OEM_VAREK_TRIMBLE_16};

bool has(const TargetRow& row, int type) { return std::ranges::find(row.types, type) != row.types.end(); }

bool fits(const TargetRow& row, std::string_view family, std::optional<int> type) {
    const bool isFamily = family.empty() || family == row.family || family == row.alias;
    return isFamily && (type ? has(row, *type) : !family.empty());
}

std::string typesText(const TargetRow& row) {
    std::string text;
    for (const GPSOEMTYPE type : row.types)
        text.append(text.empty() ? "" : " ").append(std::to_string(type));
    return text;
}

}  // namespace

bool CommandTarget::isInMakersReceiver() const {
    return std::ranges::find(kWrapped, type) != std::end(kWrapped);
}

std::optional<CommandTarget> commandTarget(std::string_view family, std::optional<int> type,
                                           std::string& error) {
    for (const TargetRow& row : kTargets)
        if (fits(row, family, type))
            return CommandTarget{row.dialect,
                                 type                ? static_cast<GPSOEMTYPE>(*type)
                                 : row.types.empty() ? OEM_NONE
                                                     : row.types.front(),
                                 row.family, family.empty() || family == row.family ? row.family : row.alias};
    error =
        "no commands are known for " + (family.empty() ? "the receiver" : "family " + std::string(family));
    if (type) error += (family.empty() ? " of type " : " and type ") + std::to_string(*type);
    error += "; known are " + commandTargetHelp();
    return std::nullopt;
}

std::string_view javadLabel(std::string_view text) {
    const std::size_t end = text.starts_with('%') ? text.find('%', 1) : text.npos;
    return end == text.npos ? std::string_view() : text.substr(0, end + 1);
}

std::string receiversText(const CommandTarget& target) { return std::string(target.called) + " receivers"; }

std::string commandTargetHelp() {
    std::string text;
    for (const TargetRow& row : kTargets) {
        text += (text.empty() ? "" : ", ") + std::string(row.family);
        if (!row.types.empty()) text += " (types " + typesText(row) + ")";
    }
    return text;
}

}  // namespace vkcomm
