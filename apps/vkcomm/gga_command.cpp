#include <CLI/CLI.hpp>
#include <memory>

#include "apps/vkcomm/commands.h"
#include "apps/vkcomm/stream_options.h"
#include "host/position_lines.h"

namespace vkcomm {

namespace {

struct Options {
    StreamOptions stream;
    double leapSeconds = 0.0;
};

constexpr const char* kFooter =
    R"(One sentence for each position with a fix, its time as the receiver gives it: GPS time, except for CMC
receivers that send UTC. Where only NMEA sentences tell positions, those are given as they were sent.
  vkcomm simulate oem4 -o demo.bin
  vkcomm gga --leap-seconds 18 demo.bin)";

class Sentences {
public:
    explicit Sentences(const Options& options) : m_options(options) {}

    int run() {
        return runOverFiles(m_options.stream.files, m_output,
                            [this](const std::string& file) { return write(file); });
    }

private:
    bool write(const std::string& file) {
        const auto stream = openStream(file, choiceOf(m_options.stream));
        if (!stream) return false;
        std::uint64_t written = 0;
        std::uint64_t withoutFix = 0;
        const auto use = [&](const RoutedRecord& record) {
            if (!stream->router().isPosition(record)) return;
            ++(record.use == RecordUse::kPosition ? written : withoutFix);
            if (record.use == RecordUse::kPosition) append(stream->router().receiver());
        };
        if (!play(*stream, file, m_output, use)) return false;
        if (withoutFix > 0)
            complain(file + ": positions left out, having no fix: " + std::to_string(withoutFix));
        if (!complainOf(stream->problem())) return false;
        return written > 0 || complainOf(file + ": holds no position with a fix");
    }

    void append(const FamilyParser& receiver) {
        const auto time = receiver.time();
        const bool gps = !time || time->scale == TimeScale::kGps;
        const std::string gga = receiver.gga();
        m_output.buffer() +=
            gps && m_options.leapSeconds != 0.0 ? ggaMovedBack(gga, m_options.leapSeconds) : gga;
    }

    const Options& m_options;
    Output m_output;
};

}  // namespace

void addGga(CLI::App& app, Run& run) {
    auto options = std::make_shared<Options>();
    CLI::App* verb = app.add_subcommand("gga", "Write a GGA sentence for each position in a recording");
    verb->footer(kFooter);
    addStreamOptions(*verb, options->stream);
    verb->add_option("--leap-seconds", options->leapSeconds, "Take this off GPS times, to give UTC")
        ->check(CLI::Range(-100.0, 100.0));
    verb->callback([options, &run] { run = [options] { return Sentences(*options).run(); }; });
}

}  // namespace vkcomm
