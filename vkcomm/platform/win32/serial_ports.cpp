#include "vkcomm/platform/serial_ports.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <tuple>

#include "vkcomm/platform/win32/windows_api.h"
#include "vkcomm/util/numbers.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

namespace {

constexpr std::string_view kPrefix = "COM";

struct KeyDeleter {
    void operator()(HKEY key) const { ::RegCloseKey(key); }
};

using Key = std::unique_ptr<std::remove_pointer_t<HKEY>, KeyDeleter>;

// Where drivers tell of their ports: the name of the device is that of the value, "COM5" is in it.
Key openPortsKey() {
    HKEY key = nullptr;
    ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"HARDWARE\\DEVICEMAP\\SERIALCOMM", 0, KEY_READ, &key);
    return Key(key);
}

// "\Device\Serial0" is what the driver of built-in ports calls its first.
std::string driverName(const std::string& device) {
    const std::size_t separator = device.rfind('\\');
    return separator == device.npos ? device : device.substr(separator + 1);
}

std::optional<SerialPortInfo> portAt(HKEY key, DWORD index) {
    std::wstring device(256, L'\0');
    std::wstring port(64, L'\0');
    auto deviceSize = static_cast<DWORD>(device.size());
    auto portSize = static_cast<DWORD>(port.size() * sizeof(wchar_t));
    void* place = port.data();
    DWORD type = 0;
    if (::RegEnumValueW(key, index, device.data(), &deviceSize, nullptr, &type, static_cast<BYTE*>(place),
                        &portSize) != ERROR_SUCCESS)
        return std::nullopt;
    if (type != REG_SZ) portSize = 0;
    port.resize(std::min(portSize / sizeof(wchar_t), port.find(L'\0')));
    const std::string driver = driverName(toUtf8(device.substr(0, deviceSize)));
    return SerialPortInfo{toUtf8(port), driver, driver.starts_with("BthModem")};
}

auto sortKey(const SerialPortInfo& port) {
    const bool isCom = port.path.starts_with(kPrefix);
    return std::tuple(!isCom, isCom ? parseInteger(port.path.substr(kPrefix.size())) : 0, port.path);
}

}  // namespace

// Deliberate: root names folders, and no folder is read here.
std::vector<SerialPortInfo> listSerialPorts(const std::string& /*root*/) {
    std::vector<SerialPortInfo> ports;
    const Key key = openPortsKey();
    for (DWORD index = 0; key; ++index) {
        const auto port = portAt(key.get(), index);
        if (!port) break;
        if (!port->path.empty()) ports.push_back(*port);
    }
    std::ranges::sort(ports, {}, sortKey);
    return ports;
}

std::string standardPortPath(unsigned int number) {
    if (number == 0) return {};
    std::string path(kPrefix);
    appendInteger(path, number);
    return path;
}

}  // namespace vkcomm
