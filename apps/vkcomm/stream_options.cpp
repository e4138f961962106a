#include "apps/vkcomm/stream_options.h"

#include <CLI/CLI.hpp>

#include "apps/vkcomm/commands.h"

namespace vkcomm {

namespace {

std::string problemWithMask(const std::string& text) {
    const std::string digits = text.substr(text.starts_with("0x") || text.starts_with("0X") ? 2 : 0);
    const bool hex = !digits.empty() && digits.size() <= 8 &&
                     digits.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
    return hex ? std::string() : text + " is no 32-bit hexadecimal number";
}

}  // namespace

void addStreamOptions(CLI::App& verb, StreamOptions& options) {
    verb.add_option("FILE", options.files, "Recordings, one after another; - is standard input")->required();
    auto* mask = verb.add_option("--mask", options.mask, "Decode mask in hex, for example 0x800")
                     ->check(CLI::Validator(problemWithMask, "HEX"));
    std::vector<std::string> families;
    for (const ReceiverFamily& family : receiverFamilies())
        families.emplace_back(family.name);
    verb.add_option("--family", options.family, "Only frames of this receiver family; guessed when not given")
        ->check(CLI::IsMember(families))
        ->excludes(mask);
}

StreamChoice choiceOf(const StreamOptions& options) {
    StreamChoice choice;
    if (!options.family.empty()) choice.family = findFamily(options.family);
    if (!options.mask.empty())
        choice.mask = static_cast<std::uint32_t>(std::stoul(options.mask, nullptr, 16));
    choice.guess = options.mask.empty();
    choice.tilde = options.tilde;
    choice.chunk = options.chunk;
    return choice;
}

std::unique_ptr<RecordedStream> openStream(const std::string& file, const StreamChoice& choice) {
    std::string error;
    auto stream = RecordedStream::open(file, choice, error);
    if (!stream)
        complain(error);
    else if (const std::string guess = stream->guessText(); !guess.empty())
        complain(guess);
    return stream;
}

bool complainOf(const std::string& problem) {
    if (!problem.empty()) complain(problem);
    return problem.empty();
}

bool play(RecordedStream& stream, const std::string& file, Output& output,
          const std::function<void(const RoutedRecord&)>& use) {
    Progress progress(file, stream.size());
    const bool live = !stream.size();
    return stream.run({[&](const RoutedRecord& record) {
                           use(record);
                           return output.written();
                       },
                       [&](std::uint64_t bytes) {
                           if (live) output.flush();
                           progress.at(bytes);
                       }});
}

int runOverFiles(const std::vector<std::string>& files, Output& output,
                 const std::function<bool(const std::string&)>& one) {
    bool ok = true;
    for (const std::string& file : files) {
        ok = one(file) && ok;
        if (!output.written()) break;
    }
    if (output.flush()) return ok ? kDone : kFailed;
    complain(outputFailure());
    return kFailed;
}

}  // namespace vkcomm
