#include "vkcomm/control/bluetooth_port.h"

#include "vkcomm/platform/program_folder.h"

namespace vkcomm {

CMyBTPort::CMyBTPort() { CBTInformation::bGetBTArray(programFolder(), &m_devices); }

CMyBTPort::CMyBTPort(const std::wstring& strFolder) { CBTInformation::bGetBTArray(strFolder, &m_devices); }

const CBTInformation* CMyBTPort::Chosen() const {
    const CBTInformation* first = nullptr;
    for (int i = 0; i < m_devices.GetSize(); ++i) {
        const auto* device = dynamic_cast<const CBTInformation*>(m_devices.GetAt(i));
        if (device && device->bPreferred) return device;
        if (!first) first = device;
    }
    return first;
}

int CMyBTPort::bInitBTPort(MessageTarget* pOwner) {
    const CBTInformation* device = Chosen();
    return device ? InitBTPort(pOwner, device->uAddress.data()) : 0;
}

int CMyBTPort::bOpenPort(MessageTarget* pOwner) { return bInitBTPort(pOwner) && StartMonitoring(); }

}  // namespace vkcomm
