// One receiver connection: a COM port, the Bluetooth serial driver, or a recorded file played back as if it were a
// port (the virtual port).
//
// A reader thread feeds every received byte into the decoder inside and tells the owner by a message (see
// platform/message_target.h); a writer thread works off a queue of CSerialWrite requests. Life: InitPort or
// InitBTPort, StartMonitoring, writing (CMySerialPort), vClosePort, and so on again. docs/ports.md tells what each
// close leads to.
//
// Threads: the host's thread calls everything; closing, deleting included, may come from any thread, also from a
// message handler on one of the port's own threads. After a close nothing of the port is touched any more by
// threads that it had to leave behind. The owner window, the clock and the seams must outlive the port.
//
// Truth values are int 1 and 0. Nothing throws.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "vkcomm/decode/stream_decoder.h"
#include "vkcomm/export.h"
#include "vkcomm/platform/byte_file.h"
#include "vkcomm/platform/clock.h"
#include "vkcomm/platform/comm_device.h"
#include "vkcomm/platform/message_target.h"
#include "vkcomm/ports/port_status.h"
#include "vkcomm/ports/serial_write.h"

namespace vkcomm {

class PortMeter;
class PortSession;
class RawLog;
enum class PortKind;
struct PortInput;

class VKCOMM_API CSerialPort {
public:
    // What data messages of the Bluetooth port carry as port number.
    static constexpr unsigned int kBluetoothPortNumber = 128;

    CSerialPort();
    virtual ~CSerialPort();

    CSerialPort(const CSerialPort&) = delete;
    CSerialPort& operator=(const CSerialPort&) = delete;

    // Close what is open, then open "COM<uPort>:" at that rate (8 data bits, no parity, one stop bit, no flow
    // control), or the playback file when the virtual port is enabled. pOwner gets the messages; null: none. 0 on
    // failure, which LastError explains; vClosePort then, too. A device that reports itself as already open
    // (error 183) is used whether or not it takes the settings.
    int InitPort(MessageTarget* pOwner, unsigned int uPort, unsigned int uBaud);
    // The same for the Bluetooth driver "STR1:", connected to the 6-byte address; null: as it is connected now. A
    // connection that fails is tried once more behind a reset.
    int InitBTPort(MessageTarget* pOwner, const unsigned char* pAddress);
    // Starts both threads and returns when they run; does nothing more when they do. 0 on a port that was never
    // opened or is closed, and when a thread cannot be started. Behind an InitPort that failed the threads start and
    // end at once.
    int StartMonitoring();

    // Closes, and makes ready to open.
    void vInitPort();
    // Stops both threads, closes the device, empties the queue, ends the raw log and takes back messages that the
    // owner has not fetched; data messages by their port number, so that of ports with one number in one queue (two
    // played files are both 0) the others' go too. Waits at most 2 s for each thread, and for a message that is
    // being posted. Harmless when nothing is open.
    void vClosePort();

    // 1 once the queue is empty, 0 when the writer does not run or after 7.5 s. Looks every 300 ms.
    int bWaitWriteBufferEmpty();

    // Waits for the driver's event word. 0 on failure; without a device after a second.
    int WaitBTEvent(CommDevice* pDevice, unsigned long* pEvents);
    // Resets the driver.
    void vResetBTPort();

    // The virtual port; all three count from the next InitPort on. Default "./data.bin" at 200 bytes per second,
    // off. Ticks of 100 ms, each with a tenth of the speed, at least one byte. Playback waits while the decoder has
    // no room; its end shows in bReaderEnded. Nothing can be written to it.
    void SetVirtualPortFile(const std::wstring& strPath);
    void EnableVirtualPort(bool bEnable);
    void SetVirtualPortSpeed(int nBytesPerSecond);

    // Copies what the COM reader receives to a file, until EndSaveRawData or vClosePort; the other readers log
    // nothing. uFlags: 0 replaces the file, 0x2000 (kFileNoTruncate) appends to it. bFileOpened is 1 in between,
    // also when the file could not be opened (deliberate); RawLogState tells.
    void BeginSaveRawData(const std::wstring& strPath, unsigned int uFlags);
    void EndSaveRawData();
    int bFileOpened() const;
    RawLogStatus RawLogState() const;

    // Where records come from: call Read on the host's thread after WM_PORT_DATA.
    CNOut& Decoder();
    // 1 once bytes were handed to the decoder; stays until it is cleared.
    int bDataReceived() const;
    void vClearDataReceived();

    int bReaderRunning() const;
    // 1 once the reader has come to its end: of a played file, when all of it was handed to the decoder.
    int bReaderEnded() const;
    int bWriterRunning() const;
    // Requests that are not written yet, the one being written or waited for included.
    int nQueueDepth() const;
    unsigned int uPortNumber() const;

    // The last failure of opening, reading or writing, for people.
    SystemError LastError() const;
    // Of the last InitPort or InitBTPort: a kError… number of platform/comm_device.h, 0 when the device opened.
    int nOpenError() const;
    PortCounters Counters() const;

    // Seams, to be set while the port is closed; default is the machine's.
    void vSetClock(Clock& clock);
    void vSetDevices(CommDevices& devices);
    void vSetFiles(ByteFiles& files);

    Clock& ClockInUse() const { return *m_clock; }

    // The loops as thread entries, for hosts that run them on threads of their own instead of StartMonitoring:
    // until pPort, a CSerialPort, is closed or its file ends. The exit code is 0; 100 when a writer was told to
    // stop. A writer so run discards what is queued, as WriteChar does: only StartMonitoring makes a writer that
    // writes.
    static unsigned int CommThread(void* pPort);
    static unsigned int BluetoothThread(void* pPort);
    static unsigned int VirtualPortThread(void* pPort);
    static unsigned int WriteThread(void* pPort);
    // Writes what is queued; does nothing while a writer thread runs that is not the calling one. Without a writer
    // thread all is discarded, with WM_PORT_WRITE_ERROR.
    static void WriteChar(CSerialPort* pPort);

    void vCommThread();
    void vVirtualPortThread();

protected:
    // Never null; an idle one while the port is closed.
    std::shared_ptr<PortSession> session() const;
    // Null while the handle is invalid.
    std::shared_ptr<CommDevice> device() const;

    // The line's settings as they were last read or set.
    CommState controlBlock() const;
    void setControlBlock(const CommState& state);

private:
    std::shared_ptr<PortSession> makeSession(PortKind kind, MessageTarget* owner, unsigned int port);
    std::shared_ptr<PortSession> beginSession(PortKind kind, MessageTarget* owner, unsigned int port);
    int openPlayback(PortSession& session);
    std::shared_ptr<CommDevice> openDevice(PortSession& session, const std::wstring& name,
                                           std::uint32_t attributes);
    bool configure(CommDevice& device, unsigned int baud);
    bool isVirtual() const;

    Clock* m_clock = &systemClock();
    CommDevices* m_devices = nullptr;  // null: the machine's
    ByteFiles* m_files = nullptr;

    const std::unique_ptr<PortInput> m_input;
    const std::shared_ptr<RawLog> m_rawLog;
    const std::shared_ptr<PortMeter> m_meter;

    mutable std::mutex m_lock;  // of what follows
    CommState m_controlBlock;
    unsigned int m_portNumber = 0;
    bool m_isVirtual = false;
    std::wstring m_playbackPath = L"./data.bin";
    int m_playbackSpeed = 200;  // bytes per second
    std::shared_ptr<PortSession> m_session;
};

}  // namespace vkcomm
