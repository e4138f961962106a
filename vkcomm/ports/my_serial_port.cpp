#include "vkcomm/ports/my_serial_port.h"

#include <memory>

#include "vkcomm/frames/text_lines.h"
#include "vkcomm/ports/port_session.h"
#include "vkcomm/util/numbers.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

using namespace std::chrono_literals;

namespace {

WriteQueue::Request makeRequest(const unsigned char* data, unsigned long length, int delay,
                                unsigned long group) {
    auto request = std::make_shared<CSerialWrite>();
    request->bSetData(data, static_cast<unsigned int>(length), delay, group);
    return request;
}

}  // namespace

unsigned long CMySerialPort::WriteToPort(const unsigned char* pData, unsigned long ulLength, int nDelay,
                                         unsigned long ulGroup, int bSetEvent) {
    const std::shared_ptr<PortSession> session = this->session();
    if (!session->isWriterRunning() || !session->device() || (!pData && ulLength > 0)) return 0;
    if (!session->queueRequest(makeRequest(pData, ulLength, nDelay, ulGroup))) return 0;
    if (bSetEvent) session->wakeWriter();
    return ulLength;
}

void CMySerialPort::WriteToPort(const CSerialWrite* pWrite) {
    if (pWrite) WriteToPort(pWrite->Data().data(), pWrite->uLength(), pWrite->nDelay(), pWrite->ulGroup(), 1);
}

unsigned long CMySerialPort::AddToPort(const unsigned char* pData, unsigned long ulLength, int nDelay,
                                       unsigned long ulGroup) {
    const std::shared_ptr<PortSession> session = this->session();
    if (!session->queueRequest(makeRequest(pData, ulLength, nDelay, ulGroup)))
        session->countDiscarded(ulLength);
    return ulLength;
}

void CMySerialPort::AddToPort(const CSerialWrite* pWrite) {
    if (pWrite) AddToPort(pWrite->Data().data(), pWrite->uLength(), pWrite->nDelay(), pWrite->ulGroup());
}

void CMySerialPort::vSetWriteEvent() { session()->setWriteEvent(); }

void CMySerialPort::vWriteToPort(const std::wstring& strText, int nDelay, unsigned long ulGroup) {
    writeLine(lowBytes(strText), nDelay, ulGroup);
}

void CMySerialPort::vWriteThalesCmd(const std::wstring& strText, int nDelay, unsigned long ulGroup) {
    writeLine(starLine(lowBytes(strText)), nDelay, ulGroup);
}

void CMySerialPort::vWriteJavadCmd(const std::wstring& strText, int nDelay, unsigned long ulGroup) {
    writeLine(javadLine(lowBytes(strText)), nDelay, ulGroup);
}

void CMySerialPort::writeLine(const std::string& line, int delay, unsigned long group) {
    WriteToPort(bytesOf(line).data(), static_cast<unsigned long>(line.size()), delay, group, 1);
}

void CMySerialPort::vBreakCmd() {
    constexpr auto kBreakTime = 260ms;
    const std::shared_ptr<CommDevice> device = this->device();
    if (!device) return;
    for (const auto quietTime : {1500ms, 100ms}) {
        device->setBreak();
        ClockInUse().sleep(kBreakTime);
        device->clearBreak();
        ClockInUse().sleep(quietTime);
    }
}

void CMySerialPort::vSwitchCommBreak(unsigned char uAction, unsigned char uOption) {
    const std::shared_ptr<CommDevice> device = this->device();
    switch (uAction) {
    case 0:
    case 7:
        if (device) device->setBreak();
        break;
    case 1:
    case 8:
        if (device) device->clearBreak();
        break;
    case 10:
        if (uOption == 0) writeLine("freset\r\n", 0, 0);
        if (uOption == 1) writeLine("log bestposb ontime 1\r\n", 0, 0);
        break;
    default: break;
    }
}

int CMySerialPort::bChangeBaudrate(unsigned int uBaud) {
    const std::shared_ptr<CommDevice> device = this->device();
    CommState state = controlBlock();
    if (!device || !device->getState(state)) return 0;
    setControlBlock(state);
    Decoder().Clear();
    if (state.BaudRate == uBaud) return 0;
    state.BaudRate = uBaud;
    setControlBlock(state);
    return device->setState(state);
}

std::wstring CMySerialPort::strGetBaud() const {
    std::string text;
    appendInteger(text, controlBlock().BaudRate);
    return toWide(text);
}

CommState CMySerialPort::GetDCB() const { return controlBlock(); }

int CMySerialPort::bIsValid() const { return device() != nullptr; }

}  // namespace vkcomm
