// Lists the COM port numbers that the device has, for the host's port choice.
//
// All operations are static and keep nothing. Lists are emptied first. Nothing throws; any thread may call.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "vkcomm/export.h"
#include "vkcomm/platform/comm_device.h"
#include "vkcomm/platform/registry.h"

namespace vkcomm {

class VKCOMM_API CEnumerateSerial {
public:
    // The numbers of active drivers and of Bluetooth serial ports in the registry, ascending, each once.
    // Returns 1, or 0 when the list of drivers could not be opened (the Bluetooth ports are listed all the
    // same).
    static int EnumerateCOMs(std::vector<unsigned int>& uPorts, Registry& registry = systemRegistry());

    // The numbers from 1 to 9 that can be opened or are there but busy, refused to the user or not working.
    // Returns 1.
    static int UsingCreateFile(std::vector<unsigned int>& uPorts, CommDevices& devices = systemCommDevices());

    // The number in exactly "COM%d:" or "COM%d", from 1 to 14; otherwise 0. Deliberate: drivers with other
    // numbers (15 and more stand for what is no receiver port) are not recognised.
    static int ExtractPortIndex(const std::wstring& strName);

    // Opens the key of an active driver for reading. Gives the result of the registry; hKey is null unless 0.
    static long OpenActiveDriverKey(const std::wstring& strSubKey, std::unique_ptr<RegistryKey>& hKey,
                                    Registry& registry = systemRegistry());

    // Reads a text value. Gives the result of the registry; strValue keeps its content unless 0.
    static long GetKeyValue(const RegistryKey& hKey, const std::wstring& strName, std::wstring& strValue);

    // A text or list-of-texts value by the path of its key; empty when it cannot be read (lResult is then what
    // the registry says) or has another type. A list comes with its zeros. The name is deliberately so spelled,
    // and the key is deliberately opened for all access, as the devices expect it.
    static std::wstring ReggyReadString(RegistryRoot hRoot, const std::wstring& strPath,
                                        const std::wstring& strName, long& lResult,
                                        Registry& registry = systemRegistry());

    // Whether every character is a digit, or a colon if nAllowColon is not 0; true for an empty text.
    static int IsNumeric(const std::wstring& strText, int nAllowColon);
};

}  // namespace vkcomm
