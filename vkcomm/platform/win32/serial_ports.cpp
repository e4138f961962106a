#include "vkcomm/platform/serial_ports.h"

#include <algorithm>
#include <memory>
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

// False behind the last. A value that is not like those of drivers gives a port without a path.
bool portAt(HKEY key, DWORD index, SerialPortInfo& info) {
    constexpr std::size_t kLongestName = 16384;  // of a value, with the character that ends it
    std::wstring device(kLongestName, L'\0');
    std::wstring port(64, L'\0');
    auto deviceSize = static_cast<DWORD>(device.size());
    auto portSize = static_cast<DWORD>(port.size() * sizeof(wchar_t));
    void* place = port.data();
    DWORD type = 0;
    const long result = ::RegEnumValueW(key, index, device.data(), &deviceSize, nullptr, &type,
                                        static_cast<BYTE*>(place), &portSize);
    info = {};
    if (result == ERROR_MORE_DATA) return true;
    if (result != ERROR_SUCCESS) return false;
    if (type != REG_SZ) portSize = 0;
    port.resize(std::min(portSize / sizeof(wchar_t), port.find(L'\0')));
    const std::string driver = driverName(toUtf8(device.substr(0, deviceSize)));
    info = {toUtf8(port), driver, driver.starts_with("BthModem")};
    return true;
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
    SerialPortInfo port;
    for (DWORD index = 0; key && portAt(key.get(), index, port); ++index)
        if (!port.path.empty()) ports.push_back(port);
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
