#include "apps/vkcomm/command_options.h"

#include <CLI/CLI.hpp>

#include "apps/vkcomm/command_run.h"
#include "apps/vkcomm/commands.h"
#include "apps/vkcomm/session_options.h"

namespace vkcomm {

namespace {

int dryRun(const CommandPlan& plan, const CommandJob& job, ShownCommands& shown) {
    shown.preface(job);
    for (const Command& command : plan)
        shown.ends(command, nullptr);
    complain(
        std::string("dry run: nothing was sent") +
        (resetsReceiver(plan) ? "; sending it will need --yes, as the receiver loses its settings" : ""));
    return shown.isWhole() ? kDone : kFailed;
}

// Empty when there is a port to open, or none is needed.
std::string problemWithUrl(const CommandChoice& choice) {
    if (choice.dryRun && choice.url.empty()) return {};
    if (choice.url.empty()) return "say which receiver: " + std::string(portUrlHelp()) + "; or --dry-run";
    std::string error;
    const auto url = parsePortUrl(choice.url, error);
    if (!url) return error;
    return url->kind == UrlKind::kFile
               ? choice.url + " is a file; commands need a port, and words that belong together quotes"
               : std::string();
}

}  // namespace

void addCommandOptions(CLI::App& verb, CommandChoice& choice) {
    verb.add_option("URL", choice.url, "The receiver: " + std::string(portUrlHelp()));
    verb.add_option("--family", choice.family, "Receiver family: " + commandTargetHelp());
    verb.add_option("--type", choice.type, "Type of the receiver's board; the usual one when not given");
    verb.add_option(
        "--line-port", choice.linePort,
        "Port of the receiver that this line ends at: when base, rover or configure baud change its rate "
        "the line follows; NovAtel boards name it themselves");
    auto* dry = verb.add_flag("--dry-run", choice.dryRun, "Show what would be sent, without a port");
    verb.add_flag("--yes", choice.yes, "Also what costs the receiver its settings");
    verb.add_flag("--json", choice.json, "One JSON object for each command");
    verb.add_option("--transcript", choice.transcript, "File for every byte sent and received, with times")
        ->excludes(dry);
    verb.add_option("--wait", choice.wait, "Longest wait for an answer")
        ->check(checkDuration)
        ->capture_default_str();
}

int runCommands(const CommandChoice& choice, const CommandJob& job) {
    if (const std::string problem = problemWithUrl(choice); !problem.empty()) return wrongUsage(problem);
    std::optional<CommandTarget> target;
    std::string error;
    const bool isNamed = !choice.family.empty() || choice.type;
    if (isNamed && !(target = commandTarget(choice.family, choice.type, error))) return wrongUsage(error);
    if (!target && choice.dryRun) return wrongUsage("a dry run needs --family: " + commandTargetHelp());

    if (target && !linePortOf(choice, *target, error)) return wrongUsage(error);

    ShownCommands shown(choice.json);
    const bool learns = target && job.needsCommandSet && job.needsCommandSet(*target) && *job.commandSet == 0;
    if (learns && choice.dryRun)
        return wrongUsage("these settings depend on the board's command set; give --command-set 1 or 2");
    if (target && !learns) {
        // What is wrong is told before a port is opened.
        const auto given = job.build(*target, error);
        if (!given) return wrongUsage(error);
        const CommandPlan plan = planOf(*target, *given);
        if (choice.dryRun) return dryRun(plan, job, shown);
        if (resetsReceiver(plan) && !choice.yes) return wrongUsage(kNeedsYes);
    }
    return runOnPort(choice, job, target, shown);
}

}  // namespace vkcomm
