#include <CLI/CLI.hpp>

#include "apps/vkcomm/commands.h"
#include "apps/vkcomm/output.h"
#include "apps/vkcomm/secret_arguments.h"
#include "vkcomm/platform/terminal.h"

int main(int argc, char** argv) {
    using namespace vkcomm;
    prepareStandardStreams();
    argv = utf8Arguments(argc, argv);
    hideSecrets(argc, argv);

    CLI::App app("Talk to GNSS receivers.", "vkcomm");
    app.allow_windows_style_options(false);  // a path may begin with a slash
    app.set_version_flag("--version", VKCOMM_VERSION);
    app.require_subcommand(1);
    app.footer("vkcomm VERB --help explains each verb, with an example that needs no hardware.\n"
               "The exit status is 0 when done, 1 when something failed, 2 for wrong usage.");
    Run run;
    addDecode(app, run);
    addGga(app, run);
    addSimulate(app, run);
    addPorts(app, run);
    addMonitor(app, run);
    addRecord(app, run);
    addReplay(app, run);
    addBase(app, run);
    addRover(app, run);
    addConfigure(app, run);
    addSend(app, run);
    addAsk(app, run);
    addRelay(app, run);
    addSourceTable(app, run);
    addSettings(app, run);
    addAntenna(app, run);
    addBluetooth(app, run);
    const auto isVerb = [argv](const CLI::App* verb) { return verb->get_name() == argv[1]; };
    if (argc > 1 && argv[1][0] != '-' && app.get_subcommands(isVerb).empty()) {
        complain(std::string(argv[1]) + " is no verb; vkcomm --help lists them");
        return kWrongUsage;
    }
    try {
        app.parse(argc, argv);
        return run();
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kDone : kWrongUsage;
    } catch (const std::exception& error) {
        complain(error.what());
        return kFailed;
    }
}
