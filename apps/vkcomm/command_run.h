// A run of commands on an open port, from the first look at the receiver to the last answer.
#pragma once

#include <optional>
#include <string>

#include "apps/vkcomm/command_options.h"
#include "apps/vkcomm/output.h"
#include "host/command_report.h"

namespace vkcomm {

// What is shown on standard output while commands run.
class ShownCommands {
public:
    explicit ShownCommands(bool json) : m_json(json) {}

    void preface(const CommandJob& job);
    void begins(const Command& command);
    // Of a command that did not begin both; null in a dry run.
    void ends(const Command& command, const CommandResult* result);

    // False after complaining when standard output did not take everything.
    bool isWhole() const;

private:
    void put(const std::string& text);

    const bool m_json;
    bool m_hasBegun = false;
    bool m_isWhole = true;
    CommandReport m_report;
    Output m_output;
};

// Complains. The exit status of the process.
int wrongUsage(const std::string& why);

// The receiver's port at the end of the line, 0 when it is not given; nothing, and why in error, for no port.
std::optional<int> linePortOf(const CommandChoice& choice, const CommandTarget& target, std::string& error);

inline constexpr const char* kNeedsYes =
    "this sets the receiver back to its factory defaults, and what was set before is lost: add --yes";

// Opens the port and runs the job; without a target the receiver's family is recognised. The exit status of the
// process.
int runOnPort(const CommandChoice& choice, const CommandJob& job, std::optional<CommandTarget> target,
              ShownCommands& shown);

}  // namespace vkcomm
