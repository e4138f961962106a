// Passwords on the command line, kept from everybody who can list processes and from every message.
#pragma once

#include <string>

namespace vkcomm {

// Blanks in argv what may be a password, in addresses and behind --user: other users see argv itself, where the system
// lets them (Windows keeps a copy of its own). Call it first of all.
void hideSecrets(int argc, char** argv);

// What stood in place of a blanked value; any other text as it is.
std::string revealed(const std::string& blanked);

}  // namespace vkcomm
