#include "vkcomm/platform/terminal.h"

#include <csignal>
#include <unistd.h>

namespace vkcomm {

bool isErrorTerminal() { return isatty(STDERR_FILENO) == 1; }

bool isOutputTerminal() { return isatty(STDOUT_FILENO) == 1; }

void prepareStandardStreams() { std::signal(SIGPIPE, SIG_IGN); }

char** utf8Arguments(int& /*argc*/, char** argv) { return argv; }

}  // namespace vkcomm
