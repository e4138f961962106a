// What the verbs that give commands to receivers share: their options, and the run from the first check to the last
// answer.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "host/command_target.h"
#include "vkcomm/control/command_step.h"

namespace CLI {
class App;
}

namespace vkcomm {

struct CommandChoice {
    std::string url;  // may be empty in a dry run
    std::string family;
    std::optional<int> type;
    std::string linePort;  // of the receiver; empty: not known
    std::string transcript;
    std::string wait = "2s";
    bool dryRun = false;
    bool yes = false;
    bool json = false;
};

// The URL, --family, --type, --line-port, --dry-run, --yes, --json, --transcript and --wait.
void addCommandOptions(CLI::App& verb, CommandChoice& choice);

struct CommandJob {
    // The steps for a receiver. Nothing, and why in error, when it cannot be told.
    std::function<std::optional<CommandSteps>(const CommandTarget&, std::string& error)> build;

    // Of a NovAtel board: true when the steps depend on its command set, and where to keep what was found out; 0:
    // not known yet. May be empty.
    std::function<bool(const CommandTarget&)> needsCommandSet = {};
    int* commandSet = nullptr;

    std::string preface = {};      // lines that are shown first
    std::string jsonPreface = {};  // the same with --json
};

// Builds the steps, shows them, and unless it is a dry run gives them to the receiver. The exit status of the process.
int runCommands(const CommandChoice& choice, const CommandJob& job);

}  // namespace vkcomm
