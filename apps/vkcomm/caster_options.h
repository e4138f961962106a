// Options that all verbs on casters have.
#pragma once

#include <optional>
#include <string>

#include "host/ntrip_dialogue.h"

namespace CLI {
class App;
}

namespace vkcomm {

struct CasterChoice {
    std::string url;
    std::string passwordFile;
    int version = 0;  // 0: either
};

void addCasterOptions(CLI::App& verb, CasterChoice& choice);

// The caster that is chosen, its password from the address, the file or the environment, whichever comes first; nothing
// after complaining.
std::optional<CasterUrl> casterOf(const CasterChoice& choice);

std::optional<NtripVersion> versionOf(const CasterChoice& choice);

}  // namespace vkcomm
