// Which receiver commands are meant for: its family, and the type of its board, which decides the dialect and the
// frames around it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "vkcomm/frames/receiver_type.h"

namespace vkcomm {

enum class Dialect : std::uint8_t { kNovatel, kTrimble, kJavad, kCmc, kThales, kCsi, kNmea, kMaker, kTsip };

struct CommandTarget {
    Dialect dialect;
    GPSOEMTYPE type;                   // OEM_NONE where the dialect has no types
    std::string_view family;           // as receiverFamilies names it
    std::string_view called = family;  // the same as the user named it

    // Inside one of the maker's receivers: commands and answers travel in its frames.
    bool isInMakersReceiver() const;
};

// By family ("novatel" is oem4, "hemisphere" is csi), by type, or by both. Nothing, and why in error, when there is
// no such target.
std::optional<CommandTarget> commandTarget(std::string_view family, std::optional<int> type,
                                           std::string& error);

// "novatel receivers"
std::string receiversText(const CommandTarget& target);

// "%id%" at the front of a line to a Javad receiver, or of what it says about that; empty when there is none.
std::string_view javadLabel(std::string_view text);

// The families with their types, for help texts.
std::string commandTargetHelp();

}  // namespace vkcomm
