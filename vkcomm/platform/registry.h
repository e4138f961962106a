// The registry of a Windows system as far as port enumeration reads it: keys by path, named text values.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "vkcomm/export.h"
#include "vkcomm/platform/port_map.h"
#include "vkcomm/platform/serial_ports.h"

namespace vkcomm {

// Results of registry operations; every other number is a failure too.
inline constexpr long kRegistryOk = 0;
inline constexpr long kRegistryNotFound = 2;
inline constexpr long kRegistryNoMoreItems = 259;

// Types of values that hold text.
inline constexpr std::uint32_t kRegistryText = 1;
inline constexpr std::uint32_t kRegistryTexts = 7;  // each text ends in a zero, an empty text ends the list

enum class RegistryRoot : std::uint32_t {
    kClassesRoot = 0x80000000,
    kCurrentUser = 0x80000001,
    kLocalMachine = 0x80000002,
};

enum class RegistryAccess { kRead, kAll };

struct RegistryValue {
    std::uint32_t type = 0;
    std::wstring text;  // empty for types without text; of kRegistryTexts with every zero
};

// An open key; its destructor closes it. One thread at a time.
class VKCOMM_API RegistryKey {
public:
    virtual ~RegistryKey();

    // The name of the key under this one with that index, from 0.
    virtual long subKey(unsigned int index, std::wstring& name) const = 0;
    virtual long value(const std::wstring& name, RegistryValue& value) const = 0;
};

// Any thread. Nothing throws.
class VKCOMM_API Registry {
public:
    virtual ~Registry();

    // Path parts are separated by backslashes. On failure key is null.
    virtual long open(RegistryRoot root, const std::wstring& path, RegistryAccess access,
                      std::unique_ptr<RegistryKey>& key) = 0;
};

// The registry of the machine; lives as long as the process. Where the system has none it is a view, made anew
// at each open, of the serial ports, of what else portMap() knows, and of their numbers.
VKCOMM_API Registry& systemRegistry();

// A registry in memory. Names are compared exactly. Fill it before others open keys.
class VKCOMM_API MemoryRegistry final : public Registry {
public:
    // Adds a value, and its key with those above it.
    void set(RegistryRoot root, const std::wstring& path, const std::wstring& name, RegistryValue value);

    long open(RegistryRoot root, const std::wstring& path, RegistryAccess access,
              std::unique_ptr<RegistryKey>& key) override;

private:
    using Values = std::map<std::wstring, RegistryValue>;

    std::map<std::pair<RegistryRoot, std::wstring>, Values> m_keys;
};

// What a handheld's registry would say of these ports: an active driver each, but Bluetooth ports in the list
// of its serial profile. Ports without a number get one from map.
VKCOMM_API MemoryRegistry registryOf(const std::vector<SerialPortInfo>& ports, PortMap& map);

}  // namespace vkcomm
