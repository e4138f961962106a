// What the verbs that look at recordings share: their options, and the run over one file after another.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/vkcomm/output.h"
#include "host/recorded_stream.h"

namespace CLI {
class App;
}

namespace vkcomm {

struct StreamOptions {
    std::vector<std::string> files;
    std::string mask;
    std::string family;
    bool tilde = false;
    std::optional<int> chunk;
};

// FILE…, --mask and --family.
void addStreamOptions(CLI::App& verb, StreamOptions& options);

StreamChoice choiceOf(const StreamOptions& options);

// Opens a recording and says which family was guessed. Null when it cannot be opened, which it complains of.
std::unique_ptr<RecordedStream> openStream(const std::string& file, const StreamChoice& choice);

// Complains of a problem; true when there is none.
bool complainOf(const std::string& problem);

// Runs stream, shows how far it is, and gives each record to use, which may append to the output. What comes
// through a pipe is put out as soon as it has come. False when the output takes no more.
bool play(RecordedStream& stream, const std::string& file, Output& output,
          const std::function<void(const RoutedRecord&)>& use);

// Runs one over each file while the output takes what it is given. The exit status of the process.
int runOverFiles(const std::vector<std::string>& files, Output& output,
                 const std::function<bool(const std::string&)>& one);

}  // namespace vkcomm
