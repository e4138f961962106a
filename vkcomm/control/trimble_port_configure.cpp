// Questions, outputs, ports and masks.
#include "vkcomm/control/command_carriers.h"
#include "vkcomm/control/thales_sequences.h"
#include "vkcomm/control/trimble_port.h"
#include "vkcomm/frames/baud_rates.h"

namespace vkcomm {

void CTrimblePort::sendCommand(const TrimbleCommand& command) {
    nSendSteps(trimbleSteps(m_receiverType, command, 0));
}

void CTrimblePort::vGetSerial() { sendCommand(serialQuery()); }

void CTrimblePort::vGetStat1() { sendCommand(statusQuery()); }

void CTrimblePort::vGetOpt() { sendCommand(optionQuery()); }

void CTrimblePort::vGetSVData(unsigned char uData, unsigned char uSatellite) {
    sendCommand(satelliteQuery(uData, uSatellite));
}

void CTrimblePort::vGetBreakInfo() { sendCommand(breakQuery()); }

void CTrimblePort::vGetAFDir() { sendCommand(fileListQuery()); }

void CTrimblePort::vGetAppFile(short nFile) { sendCommand(fileQuery(nFile)); }

void CTrimblePort::vActAppFile(short nFile) { vGetAppFile(nFile); }

void CTrimblePort::vResetTBGPS() { sendCommand(receiverReset()); }

void CTrimblePort::vOutputGSOFInfo(int nPort, GPSOEMTYPE eType) {
    constexpr int kOnceASecond = 3;
    vOutputGSOFInfo_HZ(nPort, eType, kOnceASecond);
}

void CTrimblePort::vOutputGSOFInfo_HZ(int nPort, GPSOEMTYPE eType, int nRate) {
    if (const auto command = gsofOutput(nPort, eType, nRate)) sendCommand(*command);
}

void CTrimblePort::vSetPortBaud(int nPort, int nBaud, GPSOEMTYPE eType) {
    sendCommand(portBaud(nPort, nBaud, eType));
}

void CTrimblePort::vUnlogallPort(int nPort, GPSOEMTYPE eType) { sendCommand(portSilence(nPort, eType)); }

void CTrimblePort::vSetMask(unsigned char uElevation, unsigned char uPDOP, GPSOEMTYPE eType) {
    sendCommand(positionMasks(uElevation, uPDOP, eType));
}

void CTrimblePort::vGetRaw(unsigned char uType, unsigned char uFlags) {
    sendCommand(rawQuery(uType, uFlags));
}

void CTrimblePort::vGetRaw(GPSOEMTYPE eType, int nPort, unsigned char uRate) {
    sendCommand(rawOutput(eType, nPort, uRate));
}

void CTrimblePort::vInitThales(char cPort) { nSendSteps(thalesInit(cPort)); }

void CTrimblePort::setLocalBaud(int index) {
    if (const int rate = baudOfIndex(index, 0)) bChangeBaudrate(static_cast<unsigned int>(rate));
}

void CTrimblePort::vChangeThalesBaud(char cPort, int nOldBaud, int nNewBaud, int bLocal) {
    if (nOldBaud == nNewBaud) return;
    if (bLocal) setLocalBaud(nOldBaud);
    CommandSteps steps = thalesBaud(cPort, nNewBaud);
    for (CommandStep& step : steps)
        step.newRate.reset();  // the flag alone says whether this end follows
    nSendSteps(steps);
    awaitRateChange();
    if (bLocal) setLocalBaud(nNewBaud);
}

void CTrimblePort::vWriteToPortNMEA(const std::wstring& strSentence) {
    constexpr int kDelay = 50;
    nSendSteps(starText(lowBytes(strSentence), kDelay));
}

}  // namespace vkcomm
