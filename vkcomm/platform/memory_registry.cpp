#include <optional>
#include <utility>

#include "vkcomm/platform/registry.h"

namespace vkcomm {

namespace {

constexpr auto kMachine = RegistryRoot::kLocalMachine;

class MemoryKey final : public RegistryKey {
public:
    MemoryKey(std::vector<std::wstring> subKeys, std::map<std::wstring, RegistryValue> values)
        : m_subKeys(std::move(subKeys)), m_values(std::move(values)) {}

    long subKey(unsigned int index, std::wstring& name) const override {
        if (index >= m_subKeys.size()) return kRegistryNoMoreItems;
        name = m_subKeys[index];
        return kRegistryOk;
    }

    long value(const std::wstring& name, RegistryValue& value) const override {
        const auto found = m_values.find(name);
        if (found == m_values.end()) return kRegistryNotFound;
        value = found->second;
        return kRegistryOk;
    }

private:
    std::vector<std::wstring> m_subKeys;
    std::map<std::wstring, RegistryValue> m_values;
};

std::optional<std::wstring> parentOf(const std::wstring& path) {
    const std::size_t last = path.rfind(L'\\');
    if (last == std::wstring::npos) return std::nullopt;
    return path.substr(0, last);
}

}  // namespace

void MemoryRegistry::set(RegistryRoot root, const std::wstring& path, const std::wstring& name,
                         RegistryValue value) {
    m_keys[{root, path}][name] = std::move(value);
    for (auto above = parentOf(path); above; above = parentOf(*above))
        m_keys.try_emplace({root, *above});
}

long MemoryRegistry::open(RegistryRoot root, const std::wstring& path, RegistryAccess /*access*/,
                          std::unique_ptr<RegistryKey>& key) {
    key.reset();
    const auto found = m_keys.find({root, path});
    if (found == m_keys.end()) return kRegistryNotFound;
    std::vector<std::wstring> subKeys;
    for (const auto& [place, values] : m_keys)
        if (place.first == root && parentOf(place.second) == path)
            subKeys.push_back(place.second.substr(path.size() + 1));
    key = std::make_unique<MemoryKey>(std::move(subKeys), found->second);
    return kRegistryOk;
}

MemoryRegistry registryOf(const std::vector<SerialPortInfo>& ports, PortMap& map) {
    MemoryRegistry registry;
    std::wstring bluetooth;
    for (const SerialPortInfo& port : ports) {
        const std::wstring name = comName(map.numberOf(port.path));
        if (port.isBluetooth)
            (bluetooth += name) += L'\0';
        else
            registry.set(kMachine, L"Drivers\\Active\\" + name.substr(0, name.size() - 1), L"Name",
                         {kRegistryText, name});
    }
    if (!bluetooth.empty())
        registry.set(kMachine, L"Software\\Microsoft\\Bluetooth\\Serial\\Ports", L"SupportedPorts",
                     {kRegistryTexts, bluetooth + L'\0'});
    return registry;
}

}  // namespace vkcomm
