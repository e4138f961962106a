// The verbs of the command. Each adds its options to the parser and, when chosen, puts the work into run.
#pragma once

#include <functional>

namespace CLI {
class App;
}

namespace vkcomm {

// Exit status of the process.
enum ExitStatus { kDone = 0, kFailed = 1, kWrongUsage = 2 };

using Run = std::function<int()>;

void addAntenna(CLI::App& app, Run& run);
void addAsk(CLI::App& app, Run& run);
void addBase(CLI::App& app, Run& run);
void addBluetooth(CLI::App& app, Run& run);
void addConfigure(CLI::App& app, Run& run);
void addDecode(CLI::App& app, Run& run);
void addGga(CLI::App& app, Run& run);
void addMonitor(CLI::App& app, Run& run);
void addPorts(CLI::App& app, Run& run);
void addRecord(CLI::App& app, Run& run);
void addRelay(CLI::App& app, Run& run);
void addReplay(CLI::App& app, Run& run);
void addRover(CLI::App& app, Run& run);
void addSend(CLI::App& app, Run& run);
void addSettings(CLI::App& app, Run& run);
void addSimulate(CLI::App& app, Run& run);
void addSourceTable(CLI::App& app, Run& run);

}  // namespace vkcomm
