#include "apps/vkcomm/secret_arguments.h"

#include <algorithm>
#include <map>
#include <string_view>

namespace vkcomm {

namespace {

constexpr std::string_view kScheme = "://";
constexpr std::string_view kUserOption = "--user";  // NAME:PASSWORD
constexpr char kBlank = '*';

// The part of a text that may be a password. In an address from the first ':' behind the scheme, which may have been
// forgotten, to the last '@': more than the password when the address is not well formed, so that a slip of the pen
// shows nothing either.
struct Part {
    std::size_t begin = 0;
    std::size_t end = 0;
};

Part passwordInAddress(std::string_view text) {
    const std::size_t scheme = text.find(kScheme);
    const std::size_t colon = text.find(':', scheme == text.npos ? 0 : scheme + kScheme.size());
    const std::size_t at = text.rfind('@');
    if (colon == text.npos || at == text.npos || at <= colon) return {};
    return {colon + 1, at};
}

Part passwordInUser(std::string_view text) {
    const std::size_t colon = text.find(':');
    return {colon == text.npos ? 0 : colon + 1, text.size()};
}

std::map<std::string, std::string>& secrets() {
    static std::map<std::string, std::string> all;
    return all;
}

// Those that take the address of a caster; other verbs may be given files with such names.
bool isOfCaster(std::string_view verb) { return verb == "relay" || verb == "sourcetable"; }

}  // namespace

void hideSecrets(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        const std::size_t equals = argument.starts_with("--") ? argument.find('=') : argument.npos;
        const std::size_t valueAt = equals == argument.npos ? 0 : equals + 1;
        const std::string_view option = valueAt > 0 ? argument.substr(0, equals) : argv[i - 1];
        const std::string value(argument.substr(valueAt));
        if (option != kUserOption && value.find(kScheme) == value.npos && !isOfCaster(argv[1])) continue;
        const Part password = option == kUserOption ? passwordInUser(value) : passwordInAddress(value);
        if (password.begin == password.end) continue;
        char* const shown = argv[i] + valueAt;
        std::fill(shown + password.begin, shown + password.end, kBlank);
        secrets()[shown] = value;
    }
}

std::string revealed(const std::string& blanked) {
    const auto found = secrets().find(blanked);
    return found == secrets().end() ? blanked : found->second;
}

}  // namespace vkcomm
