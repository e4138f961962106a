#include "vkcomm/platform/serial_ports.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <tuple>

#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kStandardName = "ttyS";
constexpr std::string_view kBluetoothName = "rfcomm";

std::string lineOf(const fs::path& file) {
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    return line;
}

// A name ends in a number, or has none.
std::size_t lengthWithoutNumber(std::string_view name) {
    const std::size_t last = name.find_last_not_of("0123456789");
    return last == std::string_view::npos ? 0 : last + 1;
}

bool isNamed(std::string_view name, std::string_view kind) {
    return name.substr(0, lengthWithoutNumber(name)) == kind && name.size() > kind.size();
}

auto sortKey(std::string_view name) {
    const std::size_t length = lengthWithoutNumber(name);
    return std::tuple(!isNamed(name, kStandardName), name.substr(0, length),
                      parseInteger(name.substr(length)));
}

// Terminals without a device behind them are screens and pseudo-terminals; a Bluetooth port has one only while
// it is connected. Drivers keep places for ports that are not there, whose type is 0.
bool isPort(const fs::path& entry) {
    std::error_code ignored;
    if (isNamed(entry.filename().string(), kBluetoothName)) return true;
    return fs::exists(entry / "device", ignored) && lineOf(entry / "type") != "0";
}

// The nearest device above the terminal that names its product: the USB device, past its interface.
std::string productOf(const fs::path& device) {
    constexpr int kLevels = 4;
    fs::path folder = device;
    for (int level = 0; level < kLevels; ++level, folder = folder.parent_path()) {
        const std::string product = lineOf(folder / "product");
        if (product.empty()) continue;
        std::string text = lineOf(folder / "manufacturer");
        if (!text.empty()) text += ' ';
        return text += product;
    }
    return {};
}

std::string descriptionOf(const fs::path& entry) {
    std::error_code ignored;
    const fs::path device = fs::canonical(entry / "device", ignored);
    if (device.empty()) return {};
    if (std::string product = productOf(device); !product.empty()) return product;
    return fs::read_symlink(device / "driver", ignored).filename().string();
}

}  // namespace

std::vector<SerialPortInfo> listSerialPorts(const std::string& root) {
    std::vector<fs::path> entries;
    std::error_code ended;
    for (fs::directory_iterator each(root + "/sys/class/tty", ended), end; !ended && each != end;
         each.increment(ended))
        if (isPort(each->path())) entries.push_back(each->path());
    std::ranges::sort(entries, [](const fs::path& a, const fs::path& b) {
        const std::string first = a.filename().string();
        const std::string second = b.filename().string();
        return sortKey(first) < sortKey(second);
    });

    std::vector<SerialPortInfo> ports;
    for (const fs::path& entry : entries) {
        const std::string name = entry.filename().string();
        std::string path = root + "/dev/";
        ports.push_back({path += name, descriptionOf(entry), isNamed(name, kBluetoothName)});
    }
    return ports;
}

std::string standardPortPath(unsigned int number) {
    if (number == 0) return {};
    std::string path = "/dev/ttyS";
    appendInteger(path, number - 1);
    return path;
}

}  // namespace vkcomm
