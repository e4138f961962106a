#include <CLI/CLI.hpp>
#include <memory>

#include "apps/vkcomm/commands.h"
#include "apps/vkcomm/output.h"
#include "apps/vkcomm/session_options.h"
#include "host/recording_tap.h"

namespace vkcomm {

namespace {

struct Options {
    SessionChoice session;
    std::string file;
};

constexpr const char* kFooter =
    R"(Every byte as it comes, until Ctrl-C or the time given; the file can be decoded and replayed.
  vkcomm record sim:oem4 log.bin --for 10s
  vkcomm decode --summary log.bin)";

int record(const Options& options) {
    std::string error;
    const auto url = parsePortUrl(options.session.url, error);
    if (url && url->kind == UrlKind::kFile) {
        complain(options.session.url + " is a file already; record takes a port");
        return kWrongUsage;
    }
    const auto recording = std::make_shared<Recording>();
    TappedDevices devices(systemCommDevices(), recording);
    const auto session = openSession(options.session, &devices);
    if (!session) return session.status;
    // Only now: a port that cannot be opened must not cost an older recording.
    SystemError failure;
    if (!recording->begin(options.file, failure)) {
        complain(failure.message());
        return kFailed;
    }

    std::uint64_t records = 0;
    const SessionSteps steps{
        [&](const RoutedRecord&) { ++records; },
        [](const SessionEvent& event) { complain(event.text); },
    };
    bool isLossTold = false;
    Progress progress(options.file, std::nullopt);
    const bool done = pumpSession(*session, options.session, steps, [&](std::chrono::milliseconds) {
        progress.at(recording->written());
        if (recording->lost() > 0 && !isLossTold)
            complain(options.file + ": " + recording->error().message() + "; reception goes on");
        isLossTold = recording->lost() > 0;
    });
    session->close();
    Output output;
    output.buffer() += std::to_string(recording->written()) + " bytes, " + std::to_string(records) +
                       " records in " + options.file + "\n";
    if (recording->lost() > 0) complain(std::to_string(recording->lost()) + " bytes could not be written");
    return done && recording->lost() == 0 ? kDone : kFailed;
}

}  // namespace

void addRecord(CLI::App& app, Run& run) {
    auto options = std::make_shared<Options>();
    CLI::App* verb = app.add_subcommand("record", "Write to a file what a receiver sends");
    verb->footer(kFooter);
    addSessionOptions(*verb, options->session);
    verb->add_option("FILE", options->file, "Is replaced when it exists")->required();
    verb->callback([options, &run] { run = [options] { return record(*options); }; });
}

}  // namespace vkcomm
