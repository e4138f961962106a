#include <CLI/CLI.hpp>
#include <memory>

#include "apps/vkcomm/commands.h"
#include "apps/vkcomm/output.h"
#include "host/decode_stream.h"
#include "host/decode_summary.h"
#include "host/receiver_family.h"
#include "host/record_lines.h"

namespace vkcomm {

namespace {

struct Options {
    std::vector<std::string> files;
    bool json = false;
    bool records = false;
    bool summary = false;
    bool tilde = false;
    std::string mask;
    std::string family;
    std::optional<int> chunk;
};

constexpr const char* kFooter = R"(Lines show offset, family, Id, name, size and values of each record.
  vkcomm simulate oem4 -o demo.bin --damage 2
  vkcomm decode --family oem4 --summary demo.bin
  vkcomm decode --json demo.bin | head)";

std::uint32_t decodeMask(const Options& options) {
    if (!options.family.empty()) return findFamily(options.family)->decodeMask;
    return options.mask.empty() ? kDecodeAll
                                : static_cast<std::uint32_t>(std::stoul(options.mask, nullptr, 16));
}

// Decodes one file after another to one output.
class Decoding {
public:
    explicit Decoding(const Options& options) : m_options(options) {}

    int run() {
        bool ok = true;
        for (const std::string& file : m_options.files) {
            ok = decodeFile(file) && ok;
            if (!m_output.written()) break;
        }
        if (m_output.flush()) return ok ? kDone : kFailed;
        complain(outputFailure());
        return kFailed;
    }

private:
    bool decodeFile(const std::string& file) {
        std::string error;
        const auto source = ByteSource::open(file, error);
        if (!source) return failed(error);

        const auto decoder = std::make_unique<CNOut>();
        decoder->vSetDecodeMask(decodeMask(m_options));
        decoder->vSetTildeFrames(m_options.tilde);
        decoder->vSetClock(m_clock);

        const std::string shownName = m_options.files.size() > 1 ? file : std::string();
        if (!shownName.empty() && !m_options.json && !m_options.records && !m_options.summary)
            m_output.buffer() += shownName + ":\n";
        RecordLines lines(shownName);
        DecodeSummary summary;
        Progress progress(file, source->size());
        const DecodeSteps steps{
            [&](const CNOut& record) {
                if (m_options.summary)
                    summary.count(record);
                else
                    appendLine(lines, record);
                return m_output.written();
            },
            [&](std::uint64_t bytes) { progress.at(bytes); },
        };
        if (!decodeStream(*source, *decoder, m_options.chunk, steps)) return false;
        return finish(file, shownName, *source, summary, decoder->Counters());
    }

    void appendLine(RecordLines& lines, const CNOut& record) {
        if (m_options.records)
            RecordLines::appendBare(m_output.buffer(), record);
        else if (m_options.json)
            lines.appendJson(m_output.buffer(), record);
        else
            lines.appendText(m_output.buffer(), record);
    }

    bool finish(const std::string& file, const std::string& shownName, const ByteSource& source,
                const DecodeSummary& summary, const DecoderCounters& counters) {
        if (m_options.summary) {
            if (m_options.json)
                summary.appendJson(m_output.buffer(), shownName, counters);
            else
                summary.appendText(m_output.buffer(), shownName, counters);
        }
        if (!source.error().empty()) return failed(source.error());
        return counters.received > 0 || failed(file + ": is empty, there is nothing to decode");
    }

    static bool failed(const std::string& message) {
        complain(message);
        return false;
    }

    const Options& m_options;
    Output m_output;
    UnhurriedClock m_clock;
};

}  // namespace

void addDecode(CLI::App& app, Run& run) {
    auto options = std::make_shared<Options>();
    CLI::App* verb = app.add_subcommand("decode", "Show the records in a recording");
    verb->footer(kFooter);
    verb->add_option("FILE", options->files, "Recordings, one after another; - is standard input")
        ->required();
    auto* json = verb->add_flag("--json", options->json, "One JSON object a line");
    verb->add_flag("--records", options->records, "Bare JSON lines: offset, type, id, size, data in hex")
        ->excludes(json);
    verb->add_flag("--summary", options->summary, "Counts by message instead of records")
        ->excludes("--records");
    auto* mask = verb->add_option("--mask", options->mask, "Decode mask in hex, for example 0x800")
                     ->check(CLI::Validator(
                         [](const std::string& text) {
                             const std::string digits =
                                 text.substr(text.starts_with("0x") || text.starts_with("0X") ? 2 : 0);
                             const bool hex =
                                 !digits.empty() && digits.size() <= 8 &&
                                 digits.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
                             return hex ? std::string() : text + " is no 32-bit hexadecimal number";
                         },
                         "HEX"));
    std::vector<std::string> families;
    for (const ReceiverFamily& family : receiverFamilies())
        families.emplace_back(family.name);
    verb->add_option("--family", options->family, "Only frames of this receiver family")
        ->check(CLI::IsMember(families))
        ->excludes(mask);
    verb->add_flag("--tilde", options->tilde, "Recognise frames between two '~'");
    verb->add_option("--chunk", options->chunk, "Hand exactly this many bytes to the decoder at a time")
        ->check(CLI::Range(1, kLargestChunk));
    verb->callback([options, &run] { run = [options] { return Decoding(*options).run(); }; });
}

}  // namespace vkcomm
