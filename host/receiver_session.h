// A receiver at an address, from opening to the last record: what a host does around a port.
//
// The session owns the port and its messages, opens it, finds out the rate where none was given (and again when what
// comes is understood no more), hands on every record, opens it again when the device went away, and tells what happens
// in events.
//
// Threads: pump, open and close from one thread, which also gets all records and events; commands may be given to
// port() from any.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "host/baud_hunt.h"
#include "host/live_stream.h"
#include "host/port_url.h"
#include "vkcomm/control/trimble_port.h"
#include "vkcomm/platform/message_queue.h"

namespace vkcomm {

enum class SessionNotice : std::uint8_t {
    kOpened,     // again, after a loss
    kLost,       // the device has gone, or the other side has closed
    kNotOpened,  // trying again has failed; the next try comes later
    kRateTried,  // of a search for the rate, which may begin again after it was found
    kRateFound,
    kFamilyFound,  // also when another shows later: a receiver may send sentences first
    kLeadGivenUp,  // a byte that looked like the lead of a frame held the stream up
    kOverflow,     // the host was slow: bytes were lost
    kWriteFailed,  // what was queued is discarded
    kEnded,        // the file is over; one that could not be read to its end is kLost
};

struct SessionEvent {
    SessionNotice notice;
    std::string text;  // for people
};

struct SessionOptions {
    LiveChoice stream;
    bool reopen = true;
    std::chrono::milliseconds firstRetry{500};  // doubled with each failure
    std::chrono::milliseconds lastRetry{10000};
    // Asked from another thread while a connection is being opened, which may take many seconds; true ends that.
    // Empty: nothing does.
    std::function<bool()> isStopped;
    CommDevices* devices = nullptr;  // null: the machine's
    Clock* clock = &systemClock();
};

struct SessionSteps {
    std::function<void(const RoutedRecord&)> record;
    std::function<void(const SessionEvent&)> event;
};

class ReceiverSession {
public:
    // A simulated receiver's address is for the caller to turn into that of a port first.
    ReceiverSession(const PortUrl& url, const SessionOptions& options);
    ~ReceiverSession();

    // False when the port cannot be opened; error then says why, and what helps where that is known. Pumping tries
    // again all the same.
    bool open(std::string& error);
    // Closes. Pumping is over until the next open.
    void close();
    // Closes and hands on what has come until then, also what was held as not whole or not recognised yet.
    void finish(const SessionSteps& steps);

    // Waits at most that long for something to happen and handles it. False when nothing more will come: the
    // file is over, or the device is lost and is not to be opened again. Call it again and again.
    bool pump(std::chrono::milliseconds time, const SessionSteps& steps);

    const PortUrl& url() const { return m_url; }

    CTrimblePort& port() { return *m_port; }

    const LiveStream& stream() const { return m_stream; }

    bool isOpen() const { return m_isOpen; }

    // True when all of a file has come.
    bool isFileDone() const { return m_isFileDone; }

    // Times the device was opened again.
    unsigned int reopened() const { return m_reopened; }

    // The rate in use; nothing for ports without one, and while it is searched.
    std::optional<unsigned int> rate() const;

private:
    using Milliseconds = std::chrono::milliseconds;

    bool isLine() const { return m_url.kind == UrlKind::kSerial || m_url.kind == UrlKind::kCom; }

    bool isFile() const { return m_url.kind == UrlKind::kFile; }

    bool isHunting() const { return isLine() && !m_url.baud && !m_hunt.isOver(); }

    bool isStopped() const { return m_options.isStopped && m_options.isStopped(); }

    std::string whyNotToOpen() const;
    int openUnlessStopped();
    int openPort();
    unsigned int speed() const;
    int openFile();
    int openLine(unsigned int number);
    void setNextRate();
    void endFile(const SessionSteps& steps);
    void openAgain(const SessionSteps& steps);
    void handle(const Message& message, const SessionSteps& steps);
    void takeBytes(const SessionSteps& steps);
    void giveRecords(const SessionSteps& steps);
    void keepHouse(const SessionSteps& steps);
    void searchRate(const SessionSteps& steps);
    void closePort();
    void waitToRetry();
    void lose(const std::string& why, const SessionSteps& steps);
    void tell(const SessionSteps& steps, SessionNotice notice, const std::string& text) const;

    const PortUrl m_url;
    const SessionOptions m_options;
    Clock& m_clock;
    MessageQueue m_messages;  // outlives the port, which posts to it
    std::unique_ptr<CTrimblePort> m_port;
    LiveStream m_stream;
    BaudHunt m_hunt;
    bool m_isOpen = false;
    bool m_isOver = false;
    bool m_isFileDone = false;
    const ReceiverFamily* m_familyTold = nullptr;
    unsigned int m_readErrors = 0;  // without bytes in between
    unsigned int m_reopened = 0;
    std::uint64_t m_overflows = 0;
    std::uint64_t m_leadsTold = 0;
    unsigned int m_lineRate = 0;  // while hunting: what the line is set to
    Milliseconds m_lastBytes{};
    Milliseconds m_nextTry{};
    Milliseconds m_retry{};
};

}  // namespace vkcomm
