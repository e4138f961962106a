// Base and rover setup.
#include "vkcomm/control/base_sequences.h"
#include "vkcomm/control/command_carriers.h"
#include "vkcomm/control/rover_sequences.h"
#include "vkcomm/control/trimble_port.h"

namespace vkcomm {

void CTrimblePort::vSetBaseStation(CBaseConfig* pConfig, const BLH& position, const std::wstring& strName,
                                   GPSOEMTYPE eType) {
    switch (setupFamily(eType)) {
    case SetupFamily::kTrimble: return vSetBaseStationTrimble(pConfig, position, strName, eType);
    case SetupFamily::kNovatel: return vSetBaseStationNovatel(eType, pConfig, position);
    case SetupFamily::kCmc: return vSetBaseStationCMC(position);
    case SetupFamily::kNone: return;
    }
}

void CTrimblePort::vSetBaseStationNovatel(GPSOEMTYPE eType, const CBaseConfig* pConfig, const BLH& position) {
    if (!pConfig) return;
    const CommandSteps steps = novatelBasePosition(eType, *pConfig, position);
    if (!steps.empty() && nSendSteps(steps) == static_cast<int>(steps.size())) m_baseFixed = 1;
}

void CTrimblePort::vSetBaseStationNovatel1(GPSOEMTYPE eType, const CBaseConfig* pConfig) {
    if (!pConfig) return;
    nSendSteps(novatelBaseOutput(eType, *pConfig, m_cmdSet));
    m_roverMode = 0;
}

void CTrimblePort::vSetBaseStationTrimble(CBaseConfig* pConfig, const BLH& position,
                                          const std::wstring& strName, GPSOEMTYPE eType) {
    if (!pConfig) return;
    setBoardLink(eType, *pConfig);
    nSendSteps(trimbleBase(m_receiverType, eType, *pConfig, position, strName));
}

void CTrimblePort::vSetBaseStationJavad(const CBaseConfigJavad* pConfig, const BLH& position) {
    if (pConfig) nSendSteps(javadBase(*pConfig, position));
}

void CTrimblePort::vSetBaseStationCMC(const BLH& position) { nSendSteps(cmcBase(position)); }

void CTrimblePort::vSetRoverStation(const CRoverConfig* pConfig, GPSOEMTYPE eType) {
    if (!pConfig) return;
    const SetupFamily family = setupFamily(eType);
    if (family == SetupFamily::kTrimble) nSendSteps(trimbleRover(m_receiverType, eType, *pConfig));
    if (family != SetupFamily::kNovatel) return;
    nSendSteps(novatelRover(eType, *pConfig, m_cmdSet, m_ionosphere));
    m_roverMode = 1;
}

void CTrimblePort::vSetRoverStationJavad(const CRoverConfigJavad* pConfig) {
    if (pConfig) nSendSteps(javadRover(*pConfig));
}

void CTrimblePort::vSendNOEM4Cmd(const std::wstring& strLine, GPSOEMTYPE eType, int nDelay) {
    nSendSteps(novatelText(eType, lowBytes(strLine), nDelay));
}

}  // namespace vkcomm
