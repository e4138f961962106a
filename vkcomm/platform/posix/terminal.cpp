#include "vkcomm/platform/terminal.h"

#include <csignal>
#include <unistd.h>

namespace vkcomm {

bool isErrorTerminal() { return isatty(STDERR_FILENO) == 1; }

bool isOutputTerminal() { return isatty(STDOUT_FILENO) == 1; }

void ignoreClosedPipes() { std::signal(SIGPIPE, SIG_IGN); }

}  // namespace vkcomm
