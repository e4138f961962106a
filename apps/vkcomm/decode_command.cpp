#include <CLI/CLI.hpp>
#include <memory>

#include "apps/vkcomm/commands.h"
#include "apps/vkcomm/output.h"
#include "apps/vkcomm/stream_options.h"
#include "host/decode_summary.h"
#include "host/position_lines.h"
#include "host/record_lines.h"

namespace vkcomm {

namespace {

struct Options {
    StreamOptions stream;
    bool json = false;
    bool records = false;
    bool csv = false;
    bool summary = false;
};

constexpr const char* kFooter = R"(Lines show offset, family, Id, name, size and values of each record.
  vkcomm simulate oem4 -o demo.bin --damage 2
  vkcomm decode --family oem4 --summary demo.bin
  vkcomm decode --csv demo.bin
  vkcomm decode --json demo.bin | head)";

// Decodes one file after another to one output.
class Decoding {
public:
    explicit Decoding(const Options& options) : m_options(options) {}

    int run() {
        if (m_options.csv) m_output.buffer() += positionHeader(severalFiles());
        return runOverFiles(m_options.stream.files, m_output,
                            [this](const std::string& file) { return decodeFile(file); });
    }

private:
    bool severalFiles() const { return m_options.stream.files.size() > 1; }

    bool decodeFile(const std::string& file) {
        StreamChoice choice = choiceOf(m_options.stream);
        choice.guess = choice.guess && !m_options.records;
        const auto stream = openStream(file, choice);
        if (!stream) return false;

        const std::string shownName = severalFiles() ? file : std::string();
        if (!shownName.empty() && !m_options.json && !m_options.records && !m_options.csv &&
            !m_options.summary)
            m_output.buffer() += shownName + ":\n";
        RecordLines lines(shownName);
        DecodeSummary summary;
        const auto use = [&](const RoutedRecord& record) {
            if (m_options.summary)
                summary.count(record.record, stream->router().time());
            else
                appendLine(lines, shownName, stream->router(), record);
        };
        if (!play(*stream, file, m_output, use)) return false;
        if (m_options.summary && m_options.json)
            summary.appendJson(m_output.buffer(), shownName, stream->counters());
        else if (m_options.summary)
            summary.appendText(m_output.buffer(), shownName, stream->counters());
        return complainOf(stream->problem());
    }

    void appendLine(RecordLines& lines, const std::string& file, const RecordRouter& router,
                    const RoutedRecord& record) {
        if (m_options.csv) {
            if (router.isPosition(record))
                appendPositionLine(m_output.buffer(), file, router.receiver().snapshot());
        } else if (m_options.records) {
            if (record.record.source != RecordSource::kCarried)
                RecordLines::appendBare(m_output.buffer(), record.record);
        } else if (m_options.json) {
            lines.appendJson(m_output.buffer(), record);
        } else {
            lines.appendText(m_output.buffer(), record);
        }
    }

    const Options& m_options;
    Output m_output;
};

}  // namespace

void addDecode(CLI::App& app, Run& run) {
    auto options = std::make_shared<Options>();
    CLI::App* verb = app.add_subcommand("decode", "Show the records in a recording");
    verb->footer(kFooter);
    addStreamOptions(*verb, options->stream);
    auto* json = verb->add_flag("--json", options->json, "One JSON object a line");
    auto* records =
        verb->add_flag("--records", options->records, "Bare JSON lines: offset, type, id, size, data in hex")
            ->excludes(json);
    auto* summary = verb->add_flag("--summary", options->summary,
                                   "A table of the messages instead: count, rate, first and last time")
                        ->excludes(records);
    verb->add_flag("--csv", options->csv, "Positions only: time, position, quality, sigmas in columns")
        ->excludes(json)
        ->excludes(records)
        ->excludes(summary);
    verb->add_flag("--tilde", options->stream.tilde, "Recognise frames between two '~'");
    verb->add_option("--chunk", options->stream.chunk,
                     "Hand exactly this many bytes to the decoder at a time")
        ->check(CLI::Range(1, kLargestChunk));
    verb->callback([options, &run] { run = [options] { return Decoding(*options).run(); }; });
}

}  // namespace vkcomm
