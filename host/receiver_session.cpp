#include "host/receiver_session.h"

#include <algorithm>
#include <array>
#include <system_error>
#include <thread>

#include "vkcomm/platform/event.h"
#include "vkcomm/platform/port_map.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

using namespace std::chrono_literals;

namespace {

// A wait that finds nothing for this long counts as a pause of the stream.
constexpr auto kPause = 50ms;
// Between two looks whether an opening is to be given up.
constexpr auto kStopLook = 50ms;
// Bytes per second of a replay whose address names no speed: about what a receiver at 57600 bit/s sends.
constexpr unsigned int kUsualReplaySpeed = 5000;
constexpr unsigned int kBitsPerByte = 10;
// A device that reports two errors in a row, without a byte in between, has gone.
constexpr unsigned int kErrorsOfALoss = 2;

}  // namespace

ReceiverSession::ReceiverSession(const PortUrl& url, const SessionOptions& options)
    : m_url(url), m_options(options), m_clock(*options.clock), m_port(std::make_unique<CTrimblePort>()),
      m_stream(options.stream, *options.clock), m_retry(options.firstRetry) {
    m_port->vSetClock(m_clock);
    if (options.devices) m_port->vSetDevices(*options.devices);
}

ReceiverSession::~ReceiverSession() { close(); }

bool ReceiverSession::open(std::string& error) {
    closePort();
    m_isOver = false;
    m_isFileDone = false;
    m_stream.restart();
    m_familyTold = nullptr;
    error = whyNotToOpen();
    if (!error.empty()) return false;
    if (openUnlessStopped()) {
        m_isOpen = true;
        return true;
    }
    error = m_url.text + ": " + m_port->LastError().message();
    if (m_url.baud && m_port->nOpenError() == 0 && m_port->bIsValid())
        error += "; it may not take " + std::to_string(*m_url.baud) + " bit/s";
    if (isStopped()) error = m_url.text + ": opening was given up";
    m_port->vClosePort();
    return false;
}

// Empty when nothing speaks against it.
std::string ReceiverSession::whyNotToOpen() const {
    if (m_url.kind == UrlKind::kSimulated) return m_url.text + ": the simulator has to be started first";
    const ReceiverFamily* const family = m_options.stream.family;
    if (isLine() && !m_url.baud && family && !StreamCensus::canTell(*family))
        return m_url.text + ": nothing in " + std::string(family->name) +
               " records tells a right rate from a wrong one; give it as in " + m_url.text + "?baud=9600";
    return "";
}

void ReceiverSession::close() {
    closePort();
    m_isOver = true;
}

void ReceiverSession::closePort() {
    m_port->vClosePort();
    m_isOpen = false;
}

void ReceiverSession::finish(const SessionSteps& steps) {
    close();
    takeBytes(steps);
    giveRecords(steps);
    while (const auto record = m_stream.nextAtEnd())
        steps.record(*record);
}

// A thread of its own asks, since this one waits for the other side; closing the port releases it.
int ReceiverSession::openUnlessStopped() {
    const bool isConnection = m_url.kind == UrlKind::kTcp || m_url.kind == UrlKind::kBluetooth;
    if (!isConnection || !m_options.isStopped) return openPort();
    Event opened;
    std::thread asking;
    try {
        asking = std::thread([&] {
            while (!opened.wait(kStopLook))
                if (m_options.isStopped()) m_port->vClosePort();
        });
    } catch (const std::system_error&) {
        return openPort();  // then it takes as long as it takes
    }
    const int isOpen = openPort();
    opened.set();
    asking.join();
    return isOpen && m_port->bIsValid();
}

int ReceiverSession::openPort() {
    m_readErrors = 0;
    m_hunt.begin(m_clock.now());
    m_stream.setDoubtful(isHunting());
    m_stream.setRate(isFile() ? kBitsPerByte * speed() : rate());
    if (isFile()) return openFile();
    if (m_url.kind == UrlKind::kBluetooth)
        return m_port->InitBTPort(&m_messages, m_url.address.data()) && m_port->StartMonitoring();
    const std::string place = m_url.kind == UrlKind::kTcp
                                  ? "tcp://" + m_url.target + ":" + std::to_string(m_url.number)
                                  : m_url.target;
    const unsigned int number = m_url.kind == UrlKind::kCom ? m_url.number : portMap().numberOf(place);
    return isHunting() ? openLine(number) : m_port->bOpenPort(&m_messages, number, m_url.baud.value_or(0));
}

// At the first of the hunt's rates that the line can be set to.
int ReceiverSession::openLine(unsigned int number) {
    for (std::size_t tries = 0; tries < BaudHunt::kRates.size(); ++tries) {
        m_lineRate = m_hunt.rate();
        if (m_port->bOpenPort(&m_messages, number, m_lineRate)) return 1;
        if (m_port->nOpenError() != 0) return 0;  // it is not the rate
        m_hunt.skip();
    }
    return 0;
}

void ReceiverSession::setNextRate() {
    for (std::size_t tries = 0; tries < BaudHunt::kRates.size(); ++tries) {
        if (m_hunt.rate() == m_lineRate || m_port->bChangeBaudrate(m_hunt.rate())) break;
        m_hunt.skip();
    }
    m_lineRate = m_hunt.rate();
}

// Bytes per second of a played file.
unsigned int ReceiverSession::speed() const {
    return m_url.speed ? static_cast<unsigned int>(*m_url.speed) : kUsualReplaySpeed;
}

int ReceiverSession::openFile() {
    m_port->SetVirtualPortFile(toWide(m_url.target));
    m_port->SetVirtualPortSpeed(static_cast<int>(speed()));
    m_port->EnableVirtualPort(true);
    return m_port->bOpenPort(&m_messages, 0, 0);
}

std::optional<unsigned int> ReceiverSession::rate() const {
    if (!isLine() || isHunting()) return std::nullopt;
    return m_url.baud ? *m_url.baud : m_hunt.rate();
}

bool ReceiverSession::pump(std::chrono::milliseconds time, const SessionSteps& steps) {
    if (m_isOver) return false;
    if (!m_isOpen) {
        m_clock.sleep(std::clamp(m_nextTry - m_clock.now(), 0ms, time));
        if (m_clock.now() >= m_nextTry) openAgain(steps);
        return true;
    }
    // Before the messages: what was received until the reader ended is then read below.
    const bool fileOver = isFile() && m_port->bReaderEnded();
    auto message = m_messages.wait(fileOver ? 0ms : std::min(time, Milliseconds(kPause)), m_clock);
    for (; message; message = m_messages.fetch())
        handle(*message, steps);
    if (m_isOpen) takeBytes(steps);
    if (m_clock.now() - m_lastBytes >= kPause) m_stream.pause();
    m_stream.watch();
    giveRecords(steps);
    if (fileOver) endFile(steps);
    keepHouse(steps);
    return !m_isOver;
}

void ReceiverSession::endFile(const SessionSteps& steps) {
    const SystemError error = m_port->LastError();
    finish(steps);
    m_isFileDone = !error;
    if (error)
        tell(steps, SessionNotice::kLost, m_url.target + ": " + error.message());
    else
        tell(steps, SessionNotice::kEnded, m_url.target + " is over");
}

void ReceiverSession::handle(const Message& message, const SessionSteps& steps) {
    switch (message.id) {
    case WM_PORT_DATA:
        m_readErrors = 0;
        m_retry = m_options.firstRetry;
        break;
    case WM_PORT_READ_ERROR:
        m_readErrors += message.count;
        if (m_isOpen && m_readErrors >= kErrorsOfALoss) lose(m_port->LastError().message(), steps);
        break;
    case WM_PORT_WRITE_ERROR:
        tell(steps, SessionNotice::kWriteFailed, "writing failed: " + m_port->LastError().message());
        break;
    default: break;
    }
}

void ReceiverSession::takeBytes(const SessionSteps& steps) {
    CNOut& decoder = m_port->Decoder();
    std::array<unsigned char, 4096> bytes;
    while (const int waiting = decoder.iBytesInRxBuf()) {
        m_lastBytes = m_clock.now();
        const int count = std::min(waiting, static_cast<int>(bytes.size()));
        if (decoder.eRead(bytes.data(), count, 1) != CNOut::RETURN_COMPLETE) break;
        m_stream.feed(ByteSpan(bytes).first(static_cast<std::size_t>(count)));
    }
    const std::uint64_t overflows = m_port->Counters().overflows;
    if (overflows > m_overflows)
        tell(steps, SessionNotice::kOverflow, "bytes were lost: this program was too slow to take them");
    m_overflows = overflows;
}

void ReceiverSession::giveRecords(const SessionSteps& steps) {
    if (m_stream.isProven() && isHunting()) {
        m_hunt.found();
        m_stream.setDoubtful(false);
        m_stream.setRate(m_hunt.rate());
        tell(steps, SessionNotice::kRateFound,
             "the receiver talks at " + std::to_string(m_hunt.rate()) + " bit/s");
    }
    if (m_stream.isRecognised() && !m_options.stream.family && m_stream.family() != m_familyTold) {
        m_familyTold = m_stream.family();
        tell(steps, SessionNotice::kFamilyFound, "family: " + std::string(m_stream.family()->name));
    }
    while (const auto record = m_stream.next())
        steps.record(*record);
}

void ReceiverSession::keepHouse(const SessionSteps& steps) {
    if (m_stream.leadsGivenUp() > m_leadsTold)
        tell(steps, SessionNotice::kLeadGivenUp, "a byte that began no frame held the stream up");
    m_leadsTold = m_stream.leadsGivenUp();
    if (m_isOpen && isLine() && !m_url.baud) searchRate(steps);
}

void ReceiverSession::searchRate(const SessionSteps& steps) {
    std::string text;
    if (m_hunt.isOver() && m_stream.isStrange()) {
        m_hunt.resume(m_clock.now());
        m_lineRate = m_hunt.rate();
        m_port->bChangeBaudrate(m_lineRate);  // commands may have changed it meanwhile
        text = "what comes is not understood any more; looking for the rate again";
    } else if (m_hunt.moveOn(m_clock.now())) {
        setNextRate();
        text = "trying " + std::to_string(m_hunt.rate()) + " bit/s";
    } else {
        return;
    }
    m_stream.restart();
    m_stream.setDoubtful(true);
    m_stream.setRate(std::nullopt);
    tell(steps, SessionNotice::kRateTried, text);
}

void ReceiverSession::lose(const std::string& why, const SessionSteps& steps) {
    finish(steps);
    tell(steps, SessionNotice::kLost, m_url.text + (why.empty() ? " has gone" : ": " + why));
    m_isOver = !m_options.reopen;
    waitToRetry();
}

void ReceiverSession::openAgain(const SessionSteps& steps) {
    std::string error;
    if (open(error)) {
        ++m_reopened;
        tell(steps, SessionNotice::kOpened, m_url.text + " is open again");
        return;
    }
    waitToRetry();
    if (!isStopped()) tell(steps, SessionNotice::kNotOpened, error);
}

// Longer each time, until bytes come: a device that opens and goes again at once is no better than one that
// does not open.
void ReceiverSession::waitToRetry() {
    m_nextTry = m_clock.now() + m_retry;
    m_retry = std::min(2 * m_retry, m_options.lastRetry);
}

void ReceiverSession::tell(const SessionSteps& steps, SessionNotice notice, const std::string& text) const {
    if (steps.event) steps.event({notice, text});
}

}  // namespace vkcomm
