// The writing face of a port: queues bytes and command lines, line breaks, baud rate.
//
// Any thread may call; what is queued by one thread goes out in that order. Nothing throws but what a growing
// container throws.
#pragma once

#include <string>

#include "vkcomm/export.h"
#include "vkcomm/ports/serial_port.h"
#include "vkcomm/ports/serial_write.h"

namespace vkcomm {

class VKCOMM_API CMySerialPort : public CSerialPort {
public:
    // Queues a copy of the bytes; the writer pauses nDelay milliseconds behind them. ulGroup from kFirstGroup up
    // marks the pieces of one command, which back-pressure drops whole. bSetEvent wakes the writer. ulLength, or 0
    // and nothing is queued: the port is not open or its writer does not run, or pData is null.
    unsigned long WriteToPort(const unsigned char* pData, unsigned long ulLength, int nDelay,
                              unsigned long ulGroup, int bSetEvent);
    // The same with the writer woken; the request stays the caller's. Null does nothing.
    void WriteToPort(const CSerialWrite* pWrite);

    // Queue a copy whatever the port's state and wake nobody: for several pieces, then vSetWriteEvent. Requests
    // that wait when the port is closed, or opened, are dropped.
    unsigned long AddToPort(const unsigned char* pData, unsigned long ulLength, int nDelay,
                            unsigned long ulGroup);
    void AddToPort(const CSerialWrite* pWrite);
    void vSetWriteEvent();

    // Queue the low 8 bits of every character: as they stand, as a Thales line ("*" and the XOR of all characters
    // but the first behind it), as a Javad line (white space at the ends removed, "@" and the XOR of all including
    // the "@" behind it); the lines end in CR LF.
    void vWriteToPort(const std::wstring& strText, int nDelay, unsigned long ulGroup);
    void vWriteThalesCmd(const std::wstring& strText, int nDelay, unsigned long ulGroup);
    void vWriteJavadCmd(const std::wstring& strText, int nDelay, unsigned long ulGroup);

    // Two breaks of 260 ms, 1.5 s between them and 100 ms behind; returns when they are over. Without an open port
    // nothing, at once.
    void vBreakCmd();
    // 0 and 7 begin a break, 1 and 8 end it; 10 queues "freset" (uOption 0) or a log request of one position a
    // second (1). Anything else does nothing.
    void vSwitchCommBreak(unsigned char uAction, unsigned char uOption);

    // Drops what is buffered in the decoder and sets the rate. 0 when the port has that rate already (deliberate:
    // nothing was changed) and on failure; a port whose state cannot be read is left alone.
    int bChangeBaudrate(unsigned int uBaud);
    // The rate that was last read or set, in decimal.
    std::wstring strGetBaud() const;
    CommState GetDCB() const;
    // 1 while the handle is valid: a device is open, a playback file is not one.
    int bIsValid() const;

private:
    void writeLine(const std::string& line, int delay, unsigned long group);
};

}  // namespace vkcomm
