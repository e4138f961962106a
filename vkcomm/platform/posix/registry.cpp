#include "vkcomm/platform/registry.h"

#include <algorithm>
#include <filesystem>

namespace vkcomm {

namespace {

bool isDevicePath(const std::string& place) { return place.starts_with('/'); }

// What the system lists, and what the host has mapped beside it and can be reached now.
std::vector<SerialPortInfo> knownPorts() {
    std::vector<SerialPortInfo> ports = listSerialPorts();
    std::error_code ignored;
    for (const std::string& place : portMap().places())
        if (std::ranges::find(ports, place, &SerialPortInfo::path) == ports.end() &&
            (!isDevicePath(place) || std::filesystem::exists(place, ignored)))
            ports.push_back({place, {}, false});
    return ports;
}

class PortView final : public Registry {
public:
    long open(RegistryRoot root, const std::wstring& path, RegistryAccess access,
              std::unique_ptr<RegistryKey>& key) override {
        return registryOf(knownPorts(), portMap()).open(root, path, access, key);
    }
};

}  // namespace

Registry& systemRegistry() {
    static PortView view;
    return view;
}

}  // namespace vkcomm
