#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "apps/vkcomm/command_run.h"
#include "apps/vkcomm/commands.h"
#include "host/receiver_commands.h"

namespace vkcomm {

namespace {

struct Options {
    CommandChoice command;
    std::string question;
};

constexpr const char* kFooter =
    R"(The answer is shown with its values. Receivers of type 5, 6, 11, 12, 15 and 16 pass the question to the board inside.
  vkcomm ask sim:oem4 version
  vkcomm ask --dry-run --family trimble satellites
Questions that each family has:
)";

constexpr const char* kQuestions[] = {"serial", "options", "status", "version", "satellites"};

int ask(const Options& options) {
    CommandChoice choice = options.command;
    std::string question = options.question;
    // Without a port the only argument is the question.
    if (choice.dryRun && question.empty()) question = std::exchange(choice.url, {});
    if (std::ranges::find(kQuestions, question) == std::end(kQuestions)) {
        const std::string given = question.empty() ? "" : ", not " + question;
        return wrongUsage("ask for serial, options, status, version or satellites" + given);
    }
    CommandJob job;
    job.build = [&](const CommandTarget& target, std::string& error) {
        return questionSteps(target, question, error);
    };
    return runCommands(choice, job);
}

}  // namespace

void addAsk(CLI::App& app, Run& run) {
    auto options = std::make_shared<Options>();
    CLI::App* verb = app.add_subcommand("ask", "Ask a receiver what it is and how it does");
    verb->footer(kFooter + questionsHelp());
    addCommandOptions(*verb, options->command);
    verb->add_option("WHAT", options->question, "serial, options, status, version or satellites");
    verb->callback([options, &run] { run = [options] { return ask(*options); }; });
}

}  // namespace vkcomm
