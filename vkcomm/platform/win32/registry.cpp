#include "vkcomm/platform/registry.h"

#include <algorithm>

#include "vkcomm/platform/win32/windows_api.h"

namespace vkcomm {

namespace {

constexpr std::size_t kLongestName = 256;       // of a key
constexpr std::size_t kLargestValue = 1 << 20;  // bytes

HKEY rootKey(RegistryRoot root) {
    switch (root) {
    case RegistryRoot::kClassesRoot: return HKEY_CLASSES_ROOT;
    case RegistryRoot::kCurrentUser: return HKEY_CURRENT_USER;
    default: return HKEY_LOCAL_MACHINE;
    }
}

bool isText(DWORD type) { return type == kRegistryText || type == kRegistryTexts; }

class SystemKey final : public RegistryKey {
public:
    explicit SystemKey(HKEY key) : m_key(key) {}

    SystemKey(const SystemKey&) = delete;
    SystemKey& operator=(const SystemKey&) = delete;

    ~SystemKey() override { ::RegCloseKey(m_key); }

    long subKey(unsigned int index, std::wstring& name) const override {
        std::wstring space(kLongestName, L'\0');
        auto size = static_cast<DWORD>(space.size());
        const long result =
            ::RegEnumKeyExW(m_key, index, space.data(), &size, nullptr, nullptr, nullptr, nullptr);
        if (result == kRegistryOk) name = space.substr(0, size);
        return result;
    }

    // The size first, then the value; another program may make it longer in between.
    long value(const std::wstring& name, RegistryValue& value) const override {
        DWORD type = 0, size = 0;
        long result = ::RegQueryValueExW(m_key, name.c_str(), nullptr, &type, nullptr, &size);
        if (result != kRegistryOk) return result;
        value = {type, {}};
        if (!isText(type)) return kRegistryOk;
        if (size > kLargestValue) return ERROR_MORE_DATA;
        std::wstring text(size / sizeof(wchar_t) + 1, L'\0');
        size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
        void* place = text.data();
        result = ::RegQueryValueExW(m_key, name.c_str(), nullptr, &type, static_cast<BYTE*>(place), &size);
        if (result != kRegistryOk) return result;
        text.resize(size / sizeof(wchar_t));
        if (type == kRegistryText) text.resize(std::min(text.size(), text.find(L'\0')));
        value.text = std::move(text);
        return kRegistryOk;
    }

private:
    const HKEY m_key;
};

// A desktop keeps no list of active drivers: there a view of its serial ports stands in.
class SystemRegistry final : public Registry {
public:
    long open(RegistryRoot root, const std::wstring& path, RegistryAccess access,
              std::unique_ptr<RegistryKey>& key) override {
        key.reset();
        HKEY opened = nullptr;
        const REGSAM rights = access == RegistryAccess::kRead ? KEY_READ : KEY_ALL_ACCESS;
        const long result = ::RegOpenKeyExW(rootKey(root), path.c_str(), 0, rights, &opened);
        if (result == kRegistryOk) key = std::make_unique<SystemKey>(opened);
#ifndef UNDER_CE
        if (result == kRegistryNotFound)
            return registryOf(knownPorts(), portMap()).open(root, path, access, key);
#endif
        return result;
    }

private:
    // What the system lists, and what the host has mapped beside it.
    static std::vector<SerialPortInfo> knownPorts() {
        std::vector<SerialPortInfo> ports = listSerialPorts();
        for (const std::string& place : portMap().places())
            if (std::ranges::find(ports, place, &SerialPortInfo::path) == ports.end())
                ports.push_back({place, {}, false});
        return ports;
    }
};

}  // namespace

Registry& systemRegistry() {
    static SystemRegistry registry;
    return registry;
}

}  // namespace vkcomm
