#include <CLI/CLI.hpp>
#include <memory>

#include "apps/vkcomm/command_options.h"
#include "apps/vkcomm/commands.h"
#include "host/receiver_commands.h"

namespace vkcomm {

namespace {

constexpr const char* kFooter =
    R"(The answer is shown with its values. Not every family has every question.
  vkcomm ask sim:oem4 version
  vkcomm ask --dry-run --family trimble satellites)";

constexpr std::pair<const char*, const char*> kQuestions[] = {
    {"serial", "Serial numbers and model"},       {"options", "Options that the receiver has"},
    {"status", "State, position or settings"},    {"version", "Software and hardware versions"},
    {"satellites", "Satellites and their state"},
};

}  // namespace

void addAsk(CLI::App& app, Run& run) {
    auto choice = std::make_shared<CommandChoice>();
    CLI::App* verb = app.add_subcommand("ask", "Ask a receiver what it is and how it does");
    verb->footer(kFooter);
    verb->require_subcommand(1);
    verb->fallthrough();
    addCommandOptions(*verb, *choice);
    for (const auto& [name, about] : kQuestions) {
        CLI::App* question = verb->add_subcommand(name, about);
        question->fallthrough();
        question->callback([choice, &run, name = std::string(name)] {
            run = [choice, name] {
                CommandJob job;
                job.build = [&](const CommandTarget& target, std::string& error) {
                    return questionSteps(target, name, error);
                };
                return runCommands(*choice, job);
            };
        });
    }
}

}  // namespace vkcomm
