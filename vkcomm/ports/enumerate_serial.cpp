#include "vkcomm/ports/enumerate_serial.h"

#include <algorithm>
#include <array>

#include "vkcomm/platform/port_map.h"

namespace vkcomm {

namespace {

constexpr auto kMachine = RegistryRoot::kLocalMachine;
constexpr const wchar_t* kDrivers = L"Drivers\\Active";
constexpr const wchar_t* kBluetoothPorts = L"Software\\Microsoft\\Bluetooth\\Serial\\Ports";

void addNamedPort(const std::wstring& name, std::vector<unsigned int>& ports) {
    const auto number = static_cast<unsigned int>(CEnumerateSerial::ExtractPortIndex(name));
    if (number != 0 && std::ranges::find(ports, number) == ports.end()) ports.push_back(number);
}

int addDrivers(Registry& registry, std::vector<unsigned int>& ports) {
    std::unique_ptr<RegistryKey> drivers;
    if (registry.open(kMachine, kDrivers, RegistryAccess::kRead, drivers) != kRegistryOk) return 0;
    std::wstring subKey;
    for (unsigned int index = 0; drivers->subKey(index, subKey) == kRegistryOk; ++index) {
        std::unique_ptr<RegistryKey> driver;
        std::wstring name;
        if (CEnumerateSerial::OpenActiveDriverKey(subKey, driver, registry) == kRegistryOk &&
            CEnumerateSerial::GetKeyValue(*driver, L"Name", name) == kRegistryOk)
            addNamedPort(name, ports);
    }
    return 1;
}

// Each name ends in a zero; an empty one ends the list.
void addNamedPorts(const std::wstring& names, std::vector<unsigned int>& ports) {
    for (std::size_t at = 0; at < names.size() && names[at] != L'\0';) {
        const std::size_t end = std::min(names.find(L'\0', at), names.size());
        addNamedPort(names.substr(at, end - at), ports);
        at = end + 1;
    }
}

// An error of open behind which there is a port nevertheless.
bool isPresent(int openError) {
    constexpr std::array<int, 3> kPresent{kErrorAccessDenied, kErrorNotFunctioning, kErrorBusy};
    return std::ranges::find(kPresent, openError) != kPresent.end();
}

}  // namespace

int CEnumerateSerial::EnumerateCOMs(std::vector<unsigned int>& uPorts, Registry& registry) {
    constexpr std::size_t kShortestName = 4;
    uPorts.clear();
    const int result = addDrivers(registry, uPorts);
    long readResult = kRegistryOk;
    const std::wstring names =
        ReggyReadString(kMachine, kBluetoothPorts, L"SupportedPorts", readResult, registry);
    if (readResult == kRegistryOk && names.size() >= kShortestName) addNamedPorts(names, uPorts);
    std::ranges::sort(uPorts);
    return result;
}

int CEnumerateSerial::UsingCreateFile(std::vector<unsigned int>& uPorts, CommDevices& devices) {
    uPorts.clear();
    for (unsigned int number = 1; number <= 9; ++number) {
        const std::shared_ptr<CommDevice> device = devices.make();
        if (device->open(comName(number), 0)) {
            uPorts.push_back(number);
            device->close();
        } else if (isPresent(device->openError())) {
            uPorts.push_back(number);
        }
    }
    return 1;
}

int CEnumerateSerial::ExtractPortIndex(const std::wstring& strName) {
    constexpr unsigned int kLast = 14;
    for (unsigned int number = 1; number <= kLast; ++number)
        if (comName(number) == strName || comName(number) == strName + L":") return static_cast<int>(number);
    return 0;
}

long CEnumerateSerial::OpenActiveDriverKey(const std::wstring& strSubKey, std::unique_ptr<RegistryKey>& hKey,
                                           Registry& registry) {
    return registry.open(kMachine, std::wstring(kDrivers) + L"\\" + strSubKey, RegistryAccess::kRead, hKey);
}

long CEnumerateSerial::GetKeyValue(const RegistryKey& hKey, const std::wstring& strName,
                                   std::wstring& strValue) {
    RegistryValue value;
    const long result = hKey.value(strName, value);
    if (result == kRegistryOk) strValue = value.text;
    return result;
}

std::wstring CEnumerateSerial::ReggyReadString(RegistryRoot hRoot, const std::wstring& strPath,
                                               const std::wstring& strName, long& lResult,
                                               Registry& registry) {
    std::unique_ptr<RegistryKey> key;
    lResult = registry.open(hRoot, strPath, RegistryAccess::kAll, key);
    if (lResult != kRegistryOk) return {};
    RegistryValue value;
    lResult = key->value(strName, value);
    const bool isText = value.type == kRegistryText || value.type == kRegistryTexts;
    return lResult == kRegistryOk && isText ? value.text : std::wstring();
}

int CEnumerateSerial::IsNumeric(const std::wstring& strText, int nAllowColon) {
    return std::ranges::all_of(strText, [nAllowColon](wchar_t character) {
        return (character >= L'0' && character <= L'9') || (nAllowColon != 0 && character == L':');
    });
}

}  // namespace vkcomm
