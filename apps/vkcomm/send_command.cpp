#include <CLI/CLI.hpp>
#include <memory>

#include "apps/vkcomm/command_run.h"
#include "apps/vkcomm/commands.h"
#include "host/receiver_commands.h"

namespace vkcomm {

namespace {

struct Options {
    CommandChoice command;
    std::string text;
    std::optional<std::string> hex;
};

constexpr const char* kFooter =
    R"(A text goes out in the family's own form: NovAtel and Hemisphere lines get a line end, Javad, Thales and NMEA lines
also their checksum, texts for the maker's receivers are compiled into a frame. Bytes go out as they are.
  vkcomm send sim:oem4 "log bestposb ontime 5"
  vkcomm send --dry-run --family thales '$PASHS,NME,GGA,A,ON,1'
  vkcomm send sim:trimble --hex "02 00 06 00 06 03")";

int send(const Options& options) {
    CommandChoice choice = options.command;
    std::string text = options.text;
    // Without a port the only argument is the text.
    if (choice.dryRun && !options.hex && text.empty()) text = std::exchange(choice.url, {});
    if (options.hex.value_or(text).empty()) return wrongUsage("say what to send: a text in quotes, or --hex");
    CommandJob job;
    job.build = [&](const CommandTarget& target, std::string& error) {
        return options.hex ? hexCommand(target, *options.hex, error) : textCommand(target, text, error);
    };
    return runCommands(choice, job);
}

}  // namespace

void addSend(CLI::App& app, Run& run) {
    auto options = std::make_shared<Options>();
    CLI::App* verb = app.add_subcommand("send", "Send a command to a receiver and show its answer");
    verb->footer(kFooter);
    addCommandOptions(*verb, options->command);
    auto* text = verb->add_option("TEXT", options->text, "The command, one argument: in quotes");
    verb->add_option("--hex", options->hex, "Bytes instead of a text, as hexadecimal digits")->excludes(text);
    verb->callback([options, &run] { run = [options] { return send(*options); }; });
}

}  // namespace vkcomm
