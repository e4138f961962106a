#include "vkcomm/ports/serial_port.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include "vkcomm/platform/port_map.h"
#include "vkcomm/ports/port_session.h"

namespace vkcomm {

using namespace std::chrono_literals;

namespace {

constexpr std::uint32_t kDriverQueue = 8192;    // bytes each way
constexpr std::uint32_t kWriteBaseTime = 1000;  // ms
constexpr std::uint32_t kWriteByteTime = 10;
constexpr int kEmptyChecks = 25;
constexpr auto kEmptyCheckTime = 300ms;
constexpr auto kNoDeviceTime = 1000ms;
constexpr std::uint32_t kAddressSize = 6;
constexpr std::uint32_t kConnectFailed = 1;

bool setTimeouts(CommDevice& device) {
    CommTimeouts timeouts;
    device.getTimeouts(timeouts);
    timeouts = {CommTimeouts::kReturnAtOnce, 0, 0, kWriteByteTime, kWriteBaseTime};
    return device.setTimeouts(timeouts);
}

// Reads return at once, writes have a second and ten milliseconds a byte, the reader waits for characters. A port
// that was open already is used as it is, if need be.
bool setUpWaiting(CommDevice& device, bool isAlreadyOpen) {
    const bool isTimed = setTimeouts(device);
    if (!isTimed && !isAlreadyOpen) return false;
    const bool isMasked = device.setEventMask(kEventReceived);
    if (isAlreadyOpen) return true;
    if (isMasked) device.setQueueSizes(kDriverQueue, kDriverQueue);
    return isMasked;
}

void setPlainLine(CommState& state, unsigned int baud) {
    state.BaudRate = baud;
    state.ByteSize = 8;
    state.Parity = 0;
    state.StopBits = 0;
    state.fBinary = 1;
    state.fDtrControl = 0;
    state.fRtsControl = 0;
    state.fTXContinueOnXoff = 0;
    state.fInX = 0;
    state.fOutX = 0;
}

bool connect(CommDevice& device, const unsigned char* address) {
    std::uint32_t outcome = 0;
    device.control(kControlConnect, address, kAddressSize, outcome);
    return outcome != kConnectFailed;
}

}  // namespace

CSerialPort::CSerialPort()
    : m_input(std::make_unique<PortInput>()), m_rawLog(std::make_shared<RawLog>()),
      m_meter(std::make_shared<PortMeter>()), m_session(makeSession(PortKind::kClosed, nullptr, 0)) {}

CSerialPort::~CSerialPort() { vClosePort(); }

int CSerialPort::InitPort(MessageTarget* pOwner, unsigned int uPort, unsigned int uBaud) {
    const PortKind kind = isVirtual() ? PortKind::kPlayback : PortKind::kCom;
    const std::shared_ptr<PortSession> session = beginSession(kind, pOwner, uPort);
    if (kind == PortKind::kPlayback) return openPlayback(*session);
    const std::shared_ptr<CommDevice> device = openDevice(*session, comName(uPort), kRandomAccess);
    if (!device) return 0;
    if (configure(*device, uBaud)) return 1;
    m_meter->note(device->lastError());
    return 0;
}

int CSerialPort::InitBTPort(MessageTarget* pOwner, const unsigned char* pAddress) {
    const std::shared_ptr<PortSession> session =
        beginSession(PortKind::kBluetooth, pOwner, kBluetoothPortNumber);
    const std::shared_ptr<CommDevice> device = openDevice(*session, L"STR1:", 0);
    if (!device) return 0;
    if (!pAddress || connect(*device, pAddress)) return 1;
    std::uint32_t outcome = 0;
    device->control(kControlReset, pAddress, kAddressSize, outcome);
    if (connect(*device, pAddress)) return 1;
    m_meter->note(device->lastError());
    return 0;
}

int CSerialPort::openPlayback(PortSession& session) {
    std::wstring path;
    {
        const std::scoped_lock lock(m_lock);
        path = m_playbackPath;
    }
    SystemError error;
    std::unique_ptr<ByteFile> file = (m_files ? *m_files : systemByteFiles()).open(path, 0, error);
    m_meter->note(std::move(error));
    session.attach(std::move(file));
    return session.hasFile();
}

// The device, its handle now valid; null on failure.
std::shared_ptr<CommDevice> CSerialPort::openDevice(PortSession& session, const std::wstring& name,
                                                    std::uint32_t attributes) {
    std::shared_ptr<CommDevice> device = (m_devices ? *m_devices : systemCommDevices()).make();
    m_meter->note(libraryError("cannot open the port", ECANCELED));  // stands if it is closed meanwhile
    if (!session.expect(device)) return nullptr;
    if (!device->open(name, attributes)) {
        m_meter->note(device->lastError(), device->openError());
        session.expect(nullptr);
        return nullptr;
    }
    if (!session.attach(device)) return nullptr;
    m_meter->note({});
    return device;
}

bool CSerialPort::configure(CommDevice& device, unsigned int baud) {
    const bool isAlreadyOpen = device.openError() == kErrorAlreadyExists;
    if (!setUpWaiting(device, isAlreadyOpen)) return false;
    CommState state = controlBlock();
    device.getState(state);
    setPlainLine(state, baud);
    setControlBlock(state);
    if (!device.setState(state) && !isAlreadyOpen) return false;
    device.purge(kPurgeAbortWrite | kPurgeAbortRead | kPurgeClearWrite | kPurgeClearRead);
    return true;
}

int CSerialPort::StartMonitoring() { return session()->start(); }

void CSerialPort::vInitPort() { vClosePort(); }

void CSerialPort::vClosePort() {
    const std::shared_ptr<PortSession> closed = session();
    closed->close();
    if (m_rawLog->file()) m_rawLog->end();
    const std::shared_ptr<PortSession> idle = makeSession(PortKind::kClosed, nullptr, 0);
    const std::scoped_lock lock(m_lock);
    if (m_session == closed) m_session = idle;
}

int CSerialPort::bWaitWriteBufferEmpty() {
    for (int check = 0; check < kEmptyChecks; ++check) {
        const std::shared_ptr<PortSession> session = this->session();
        if (!session->isWriterRunning()) return 0;
        if (session->queue().depth() == 0) return 1;
        m_clock->sleep(kEmptyCheckTime);
    }
    return 0;
}

int CSerialPort::WaitBTEvent(CommDevice* pDevice, unsigned long* pEvents) {
    std::uint32_t events = 0;
    const bool isWaited = pDevice && pDevice->control(kControlWait, nullptr, 0, events);
    if (!pDevice) m_clock->sleep(kNoDeviceTime);
    if (pEvents) *pEvents = events;
    return isWaited;
}

void CSerialPort::vResetBTPort() {
    std::uint32_t outcome = 0;
    // Deliberate: a length without bytes; drivers look at the length.
    if (const auto device = this->device()) device->control(kControlReset, nullptr, kAddressSize, outcome);
}

void CSerialPort::SetVirtualPortFile(const std::wstring& strPath) {
    const std::scoped_lock lock(m_lock);
    m_playbackPath = strPath;
}

void CSerialPort::EnableVirtualPort(bool bEnable) {
    const std::scoped_lock lock(m_lock);
    m_isVirtual = bEnable;
}

void CSerialPort::SetVirtualPortSpeed(int nBytesPerSecond) {
    const std::scoped_lock lock(m_lock);
    m_playbackSpeed = nBytesPerSecond;
}

void CSerialPort::BeginSaveRawData(const std::wstring& strPath, unsigned int uFlags) {
    m_rawLog->begin(m_files ? *m_files : systemByteFiles(), strPath, uFlags);
}

void CSerialPort::EndSaveRawData() { m_rawLog->end(); }

int CSerialPort::bFileOpened() const { return m_rawLog->isBegun(); }

RawLogStatus CSerialPort::RawLogState() const { return m_rawLog->status(); }

CNOut& CSerialPort::Decoder() { return m_input->decoder; }

int CSerialPort::bDataReceived() const { return m_input->isDataReceived; }

void CSerialPort::vClearDataReceived() { m_input->isDataReceived = 0; }

int CSerialPort::bReaderRunning() const { return session()->isReaderRunning(); }

int CSerialPort::bReaderEnded() const { return session()->isReaderEnded(); }

int CSerialPort::bWriterRunning() const { return session()->isWriterRunning(); }

int CSerialPort::nQueueDepth() const { return static_cast<int>(session()->queue().depth()); }

unsigned int CSerialPort::uPortNumber() const {
    const std::scoped_lock lock(m_lock);
    return m_portNumber;
}

SystemError CSerialPort::LastError() const { return m_meter->error(); }

int CSerialPort::nOpenError() const { return m_meter->openError(); }

PortCounters CSerialPort::Counters() const { return m_meter->counters(); }

void CSerialPort::vSetClock(Clock& clock) { m_clock = &clock; }

void CSerialPort::vSetDevices(CommDevices& devices) { m_devices = &devices; }

void CSerialPort::vSetFiles(ByteFiles& files) { m_files = &files; }

unsigned int CSerialPort::CommThread(void* pPort) {
    return static_cast<CSerialPort*>(pPort)->session()->readCom();
}

unsigned int CSerialPort::BluetoothThread(void* pPort) {
    return static_cast<CSerialPort*>(pPort)->session()->readBluetooth();
}

unsigned int CSerialPort::VirtualPortThread(void* pPort) {
    return static_cast<CSerialPort*>(pPort)->session()->playBack();
}

unsigned int CSerialPort::WriteThread(void* pPort) {
    return static_cast<CSerialPort*>(pPort)->session()->writeRequests();
}

void CSerialPort::WriteChar(CSerialPort* pPort) { pPort->session()->drain(); }

void CSerialPort::vCommThread() { session()->readCom(); }

void CSerialPort::vVirtualPortThread() { session()->playBack(); }

std::shared_ptr<PortSession> CSerialPort::session() const {
    const std::scoped_lock lock(m_lock);
    return m_session;
}

std::shared_ptr<CommDevice> CSerialPort::device() const { return session()->device(); }

CommState CSerialPort::controlBlock() const {
    const std::scoped_lock lock(m_lock);
    return m_controlBlock;
}

void CSerialPort::setControlBlock(const CommState& state) {
    const std::scoped_lock lock(m_lock);
    m_controlBlock = state;
}

bool CSerialPort::isVirtual() const {
    const std::scoped_lock lock(m_lock);
    return m_isVirtual;
}

std::shared_ptr<PortSession> CSerialPort::makeSession(PortKind kind, MessageTarget* owner,
                                                      unsigned int port) {
    const std::scoped_lock lock(m_lock);
    SessionSetup setup;
    setup.kind = kind;
    setup.owner = owner;
    setup.port = port;
    setup.sender = reinterpret_cast<std::intptr_t>(this);
    setup.playbackSpeed = m_playbackSpeed;
    setup.input = m_input.get();
    setup.clock = m_clock;
    setup.rawLog = m_rawLog;
    setup.meter = m_meter;
    return std::make_shared<PortSession>(std::move(setup));
}

std::shared_ptr<PortSession> CSerialPort::beginSession(PortKind kind, MessageTarget* owner,
                                                       unsigned int port) {
    std::shared_ptr<PortSession> begun = makeSession(kind, owner, port);
    for (;;) {
        vInitPort();
        const std::scoped_lock lock(m_lock);
        if (!m_session->isIdle()) continue;  // another thread was faster: close its opening
        m_session = begun;
        m_portNumber = port;
        return begun;
    }
}

}  // namespace vkcomm
