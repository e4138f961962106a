// CMyBTPort: a receiver-control port that reaches its receiver over Bluetooth, and the list of known devices.
#pragma once

#include <string>

#include "vkcomm/base/object_array.h"
#include "vkcomm/control/trimble_port.h"
#include "vkcomm/export.h"
#include "vkcomm/settings/bluetooth_list.h"

namespace vkcomm {

class VKCOMM_API CMyBTPort : public CTrimblePort {
public:
    // Read the list file "VKBTPort.ini" of the program's folder, or of the folder given. A list that cannot be
    // read leaves no devices.
    CMyBTPort();
    explicit CMyBTPort(const std::wstring& strFolder);

    // The first device that is preferred, else the first; null when there is none. Stays the list's.
    const CBTInformation* Chosen() const;

    // Connects to that device. 0 when there is none or it cannot be reached.
    int bInitBTPort(MessageTarget* pOwner);
    // bInitBTPort, then StartMonitoring.
    int bOpenPort(MessageTarget* pOwner);
    using CTrimblePort::bOpenPort;

    // CBTInformation records, owned by the port.
    base::CMyObArray& Devices() { return m_devices; }

private:
    base::CMyObArray m_devices;
};

}  // namespace vkcomm
