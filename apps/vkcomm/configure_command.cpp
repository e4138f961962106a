#include <CLI/CLI.hpp>
#include <memory>

#include "apps/vkcomm/command_options.h"
#include "apps/vkcomm/commands.h"
#include "host/receiver_configuration.h"

namespace vkcomm {

namespace {

struct Options {
    CommandChoice command;
    Configuration choice;
};

constexpr const char* kFooter =
    R"(Ports are named as the receiver does: 2 on Trimble, com2 on NovAtel, b on Javad and Thales receivers.
  vkcomm configure sim:trimble unlog --port 1
  vkcomm configure --dry-run --family novatel baud --port com2 --rate 57600
  vkcomm configure --dry-run gsof --port 2 --type 7)";

int configure(const Options& options) {
    CommandChoice choice = options.command;
    if (choice.family.empty() && !choice.type) choice.family = familyOfAction(options.choice.action);
    CommandJob job;
    job.build = [&](const CommandTarget& target, std::string& error) {
        return configurationSteps(target, options.choice, error);
    };
    return runCommands(choice, job);
}

class Actions {
public:
    Actions(CLI::App& verb, std::shared_ptr<Options> options, Run& run)
        : m_verb(verb), m_options(std::move(options)), m_run(run) {}

    Actions& add(const char* name, const char* about) {
        m_action = m_verb.add_subcommand(name, about);
        m_action->fallthrough();
        m_action->callback([options = m_options, &run = m_run, action = std::string(name)] {
            run = [options, action] {
                options->choice.action = action;
                return configure(*options);
            };
        });
        return *this;
    }

    Actions& withPort() {
        m_action->add_option("--port", m_options->choice.port, "Port of the receiver");
        return *this;
    }

    template <typename Value>
    Actions& with(const char* name, Value& value, const char* about) {
        m_action->add_option(name, value, about)->capture_default_str();
        return *this;
    }

private:
    CLI::App& m_verb;
    const std::shared_ptr<Options> m_options;
    Run& m_run;
    CLI::App* m_action = nullptr;
};

constexpr const char* kRateCode =
    "1 to 13: 10 Hz, 5 Hz, 1 Hz, 2 s, 5 s, 10 s, 30 s, 60 s, 5 min, 10 min, 2 Hz, 15 s, 20 Hz";

}  // namespace

void addConfigure(CLI::App& app, Run& run) {
    auto options = std::make_shared<Options>();
    CLI::App* verb = app.add_subcommand("configure", "Set outputs, rates and masks of a receiver");
    verb->footer(kFooter);
    verb->require_subcommand(1);
    addCommandOptions(*verb, options->command);
    Configuration& choice = options->choice;
    Actions actions(*verb, options, run);
    actions.add("gsof", "Trimble: GSOF records on a port; the receiver takes its factory defaults first")
        .withPort()
        .with("--rate-code", choice.rateCode, kRateCode);
    actions.add("baud", "Rate of a port").withPort().with("--rate", choice.baud, "300 to 115200 bit/s");
    actions.add("mask", "Elevation mask, and PDOP mask where there is one")
        .with("--elevation", choice.elevation, "Degrees")
        .with("--pdop", choice.pdop, "0 to 255; 6 when not given");
    actions.add("unlog", "All output of a port off").withPort();
    actions.add("raw", "Trimble: raw data on a port")
        .withPort()
        .with("--rate-code", choice.rateCode, "As with gsof; 0: off");
    actions.add("thales-init", "Thales: the NMEA sentences that are decoded, on one port").withPort();
    actions.add("reset", "Back to factory defaults");
}

}  // namespace vkcomm
