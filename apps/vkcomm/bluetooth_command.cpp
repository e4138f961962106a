#include <CLI/CLI.hpp>
#include <memory>

#include "apps/vkcomm/commands.h"
#include "apps/vkcomm/list_verbs.h"
#include "apps/vkcomm/output.h"
#include "host/settings_json.h"
#include "vkcomm/settings/bluetooth_list.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

namespace {

struct Options {
    std::string folder;
    std::string device;  // address or name
    std::string name;
    bool prefer = false;
    bool json = false;

    std::string path() const { return CBTInformation::listPath(folder); }
};

constexpr const char* kFooter =
    R"(The list is the file VKBTPort.ini in the folder DIR. A DEVICE is an address or a name of the list.
  vkcomm bluetooth add . 00:11:22:aa:bb:cc "Receiver 7" --prefer
  vkcomm bluetooth list .
  vkcomm bluetooth prefer . "Receiver 7"
  vkcomm bluetooth remove . 00:11:22:aa:bb:cc)";

constexpr ListFile kFile = {"device", "[BTINFO]", CBTInformation::readList, CBTInformation::listText};
constexpr std::size_t kAddressLength = 17;

using Address = std::array<unsigned char, 6>;

CBTInformation& at(base::CMyObArray& devices, int i) {
    return static_cast<CBTInformation&>(*devices.GetAt(i));
}

std::optional<Address> addressIn(const std::string& text) {
    Address address{};
    const bool is = text.size() == kAddressLength && parseBluetoothAddress(text, address);
    return is ? std::optional(address) : std::nullopt;
}

// The place of the only device of that address or name; complains of none and of several.
std::optional<int> find(base::CMyObArray& devices, const Options& options) {
    const auto address = addressIn(options.device);
    const std::wstring name = toWide(options.device);
    std::optional<int> found;
    for (int i = 0; i < devices.GetSize(); ++i) {
        if (address ? at(devices, i).uAddress != *address : at(devices, i).strName != name) continue;
        if (found) {
            complain(options.path() + ": " + options.device + " is there more than once; give the address");
            return std::nullopt;
        }
        found = i;
    }
    if (!found) notInList(options.path(), options.device);
    return found;
}

void preferOnly(base::CMyObArray& devices, int preferred) {
    for (int i = 0; i < devices.GetSize(); ++i)
        at(devices, i).bPreferred = i == preferred ? 1 : 0;
}

int list(const Options& options) {
    base::CMyObArray devices;
    if (!readList(kFile, options.path(), devices, IfMissing::kFails)) return kFailed;
    if (options.json) return show(settingsJsonLines(*findSettingsKind("bluetooth"), devices));
    std::string lines;
    for (int i = 0; i < devices.GetSize(); ++i) {
        const CBTInformation& device = at(devices, i);
        lines += bluetoothAddressText(device.uAddress, ':') + (device.bPreferred != 0 ? " * " : "   ") +
                 quotedText(toUtf8(device.strName)) + "\n";
    }
    return show(lines);
}

int add(const Options& options) {
    const auto address = addressIn(options.device);
    if (!address) {
        complain(options.device + " is no address like 00:11:22:aa:bb:cc");
        return kWrongUsage;
    }
    CBTInformation device;
    device.uAddress = *address;
    device.strName = toWide(options.name);
    if (!isStorable(device, "bluetooth", options.name)) return kWrongUsage;

    base::CMyObArray devices;
    if (!readList(kFile, options.path(), devices, IfMissing::kIsEmpty)) return kFailed;
    int place = 0;
    while (place < devices.GetSize() && at(devices, place).uAddress != *address)
        ++place;
    const bool isNew = place == devices.GetSize();
    if (isNew) devices.Add(std::make_unique<CBTInformation>());
    at(devices, place).uAddress = *address;
    at(devices, place).strName = device.strName;
    if (options.prefer) preferOnly(devices, place);
    return writeList(kFile, options.path(), devices, (isNew ? "added " : "updated ") + options.name);
}

// Finds the device, changes the list and writes it.
int change(const Options& options, const char* what, void (*apply)(base::CMyObArray&, int)) {
    base::CMyObArray devices;
    if (!readList(kFile, options.path(), devices, IfMissing::kFails)) return kFailed;
    const auto place = find(devices, options);
    if (!place) return kFailed;
    apply(devices, *place);
    return writeList(kFile, options.path(), devices, what + options.device);
}

int prefer(const Options& options) { return change(options, "now preferred: ", preferOnly); }

int remove(const Options& options) {
    return change(options, "removed ", [](base::CMyObArray& devices, int place) { devices.RemoveAt(place); });
}

}  // namespace

void addBluetooth(CLI::App& app, Run& run) {
    auto options = std::make_shared<Options>();
    CLI::App* const bluetooth =
        app.add_subcommand("bluetooth", "List and change the known Bluetooth devices");
    const auto addVerb = [&](const char* name, const char* about, int (*verb)(const Options&)) {
        return addListVerb(*bluetooth, name, about, "DIR", options->folder, kFooter,
                           [options, &run, verb] { run = [options, verb] { return verb(*options); }; });
    };
    bluetooth->require_subcommand(1);
    bluetooth->footer(kFooter);

    addVerb("list", "Show the devices; * marks the preferred one", list)
        ->add_flag("--json", options->json, "One JSON object a line");

    CLI::App* verb = addVerb("add", "Add a device, or give a known address another name", add);
    verb->add_option("ADDRESS", options->device, "Like 00:11:22:aa:bb:cc")->required();
    verb->add_option("NAME", options->name, "Name of the device")->required();
    verb->add_flag("--prefer", options->prefer, "Make it the preferred one");

    addVerb("prefer", "Make a device the preferred one", prefer)
        ->add_option("DEVICE", options->device, "Address or name")
        ->required();
    addVerb("remove", "Remove a device", remove)
        ->add_option("DEVICE", options->device, "Address or name")
        ->required();
}

}  // namespace vkcomm
