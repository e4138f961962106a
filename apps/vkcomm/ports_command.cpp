#include <CLI/CLI.hpp>
#include <memory>

#include "apps/vkcomm/commands.h"
#include "apps/vkcomm/output.h"
#include "host/field_writer.h"
#include "host/receiver_session.h"
#include "vkcomm/platform/port_map.h"
#include "vkcomm/platform/serial_ports.h"

namespace vkcomm {

namespace {

struct PortState {
    int error;
    std::string_view text;
};

constexpr PortState kStates[] = {
    {0, "free"},
    {kErrorAlreadyExists, "free"},
    {kErrorBusy, "busy"},
    {kErrorAccessDenied, "no permission"},
    {kErrorNotFound, "gone"},
};

std::string_view stateText(int error) {
    for (const PortState& state : kStates)
        if (state.error == error) return state.text;
    return "not working";
}

// Opens the port for a moment.
int openErrorOf(const std::string& path) {
    const auto device = systemCommDevices().make();
    device->open(comName(portMap().numberOf(path)), 0);
    const int error = device->openError();
    device->close();
    return error;
}

int listPorts(bool isJson) {
    Output output;
    const std::vector<SerialPortInfo> ports = listSerialPorts();
    bool isForbidden = false;
    for (const SerialPortInfo& port : ports) {
        const int error = openErrorOf(port.path);
        isForbidden = isForbidden || error == kErrorAccessDenied;
        std::string& out = output.buffer();
        if (isJson) {
            out += '{';
            FieldWriter fields(out, LineFormat::kJson);
            fields.fileName("path", port.path);
            fields.text("state", stateText(error));
            fields.fileName("description", port.description);
            fields.boolean("bluetooth", port.isBluetooth);
            out += "}\n";
        } else {
            std::string line = port.path;
            line.resize(std::max<std::size_t>(line.size() + 2, 20), ' ');
            line += stateText(error);
            line.resize(std::max<std::size_t>(line.size() + 2, 36), ' ');
            out += line + port.description + "\n";
        }
    }
    if (isForbidden) complain("the group that owns the device, often dialout, must have you as a member");
    if (ports.empty()) complain("this machine has no serial port; sim:oem4 needs none");
    return kDone;
}

}  // namespace

void addPorts(CLI::App& app, Run& run) {
    auto isJson = std::make_shared<bool>(false);
    CLI::App* verb = app.add_subcommand("ports", "List the serial ports: free or busy, and what they are");
    verb->footer("Each port is opened for a moment to see whether it is free.\n  vkcomm ports");
    verb->add_flag("--json", *isJson, "One JSON object a line");
    verb->callback([isJson, &run] { run = [isJson] { return listPorts(*isJson); }; });
}

}  // namespace vkcomm
