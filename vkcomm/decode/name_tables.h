// The tables behind record_names.h, one source file a subject; part of the library's inside.
#pragma once

#include <algorithm>
#include <span>
#include <string_view>

#include "vkcomm/decode/record_names.h"

namespace vkcomm::detail {

// What every table is checked for when it is compiled.
constexpr bool isOrderedById(std::span<const KnownName> rows) {
    return std::is_sorted(rows.begin(), rows.end(), [](const auto& a, const auto& b) { return a.id < b.id; });
}

constexpr bool namesFit(std::span<const KnownName> rows) {
    return std::all_of(rows.begin(), rows.end(), [](const KnownName& row) {
        return !row.name.empty() && row.name.size() <= RecordName::kCapacity && !row.meaning.empty();
    });
}

constexpr bool idsAreUnique(std::span<const KnownName> rows) {
    return std::adjacent_find(rows.begin(), rows.end(),
                              [](const auto& a, const auto& b) { return a.id == b.id; }) == rows.end();
}

// oem4_names.cpp: logs and commands of OEM4, OEMV, OEM6 and OEM7 by message number.
std::span<const KnownName> oem4Names();
// Here and below null stands for an unknown name.
const KnownName* findOem4(std::string_view name);

// sentence_names.cpp: sentences of makers ("PASHR,POS", "PCSI") and NovAtel's '$' logs ("POSA").
std::span<const KnownName> makerSentenceNames();
std::span<const KnownName> novatelAsciiNames();
const KnownName* findMakerSentence(std::string_view name);
const KnownName* findNovatelAscii(std::string_view name);

// packet_names.cpp: the binary families and replies.
std::span<const KnownName> packetNames(LOG_TYPE type);

}  // namespace vkcomm::detail
