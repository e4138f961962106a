// One opening of a port, from InitPort to vClosePort: its device or playback file, its two threads, its write
// queue. This is part of the library's inside.
//
// The port object and both threads own the session together, so that a thread which a close had to leave behind
// ends on live ground: it reaches the port object (its decoder, its owner window) only through the session, under
// the lock, and not at all once the session is detached from it.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "vkcomm/decode/stream_decoder.h"
#include "vkcomm/platform/byte_file.h"
#include "vkcomm/platform/clock.h"
#include "vkcomm/platform/comm_device.h"
#include "vkcomm/platform/event.h"
#include "vkcomm/platform/message_target.h"
#include "vkcomm/ports/port_status.h"
#include "vkcomm/ports/raw_log.h"
#include "vkcomm/ports/write_queue.h"

namespace vkcomm {

// Counters and the last failure. Any thread.
class PortMeter {
public:
    template <typename Change>
    void count(Change change) {
        const std::scoped_lock lock(m_lock);
        change(m_counters);
    }

    void note(SystemError error, int openError = 0);

    PortCounters counters() const;
    SystemError error() const;
    int openError() const;

private:
    mutable std::mutex m_lock;
    PortCounters m_counters;
    SystemError m_error;
    int m_openError = 0;
};

// Where received bytes go in the port object.
struct PortInput {
    CNOut decoder;
    std::atomic<unsigned char> isDataReceived = 0;
};

enum class PortKind { kClosed, kCom, kBluetooth, kPlayback };

struct SessionSetup {
    PortKind kind = PortKind::kClosed;
    MessageTarget* owner = nullptr;  // null: no messages
    unsigned int port = 0;
    std::intptr_t sender = 0;  // the port object, as messages carry it
    int playbackSpeed = 0;     // bytes per second
    PortInput* input = nullptr;
    Clock* clock = nullptr;
    std::shared_ptr<RawLog> rawLog;
    std::shared_ptr<PortMeter> meter;
};

class PortSession : public std::enable_shared_from_this<PortSession> {
public:
    // Exit codes of the loops. Deliberate: that of a writer which was told to stop differs.
    static constexpr unsigned int kEnded = 0;
    static constexpr unsigned int kWriterStopped = 100;

    explicit PortSession(SessionSetup setup) : m_setup(std::move(setup)) {}

    const SessionSetup& setup() const { return m_setup; }

    // The device is about to be opened, which a close ends; null: that has failed. False when the session is closed.
    bool expect(std::shared_ptr<CommDevice> device);
    // From here on the handle is valid. False, and the device closed, when the session was closed meanwhile.
    bool attach(std::shared_ptr<CommDevice> device);
    void attach(std::unique_ptr<ByteFile> file);
    bool hasFile() const;
    std::unique_ptr<ByteFile> takeFile();

    // Of a closed port, with nothing in it to close.
    bool isIdle() const { return m_setup.kind == PortKind::kClosed; }

    // Null while the handle is invalid.
    std::shared_ptr<CommDevice> device() const;

    // Starts both threads and waits until their loops run, so that no request is refused for being early. True
    // also when they were started before.
    bool start();
    // See docs/ports.md for who may call it when. A second caller waits for the first to finish, unless it is one
    // of the session's own threads.
    void close();

    bool isReaderRunning() const { return m_reader.isRunning; }

    // True once the reading loop has run and come to its end.
    bool isReaderEnded() const { return m_reader.ended.isSet(); }

    bool isWriterRunning() const { return m_writer.isRunning; }

    const WriteQueue& queue() const { return m_queue; }

    // False once the session is closed.
    bool queueRequest(WriteQueue::Request request) { return m_queue.push(std::move(request)); }

    void countDiscarded(std::size_t bytes);

    // Wakes the writer; unless it has been woken and not begun yet.
    void wakeWriter();
    void setWriteEvent();

    // The loops; each runs on the thread that calls it until the session ends.
    unsigned int readCom();
    unsigned int readBluetooth();
    unsigned int playBack();
    unsigned int writeRequests();
    // Writes what is queued. Only for the writer's thread, or while there is none.
    void drain();

private:
    using Milliseconds = std::chrono::milliseconds;
    using Run = unsigned int (PortSession::*)();

    struct Loop {
        std::thread thread;                 // under the lock
        bool isLeft = false;                // under the lock; counted in threadsLeft
        std::atomic<std::thread::id> id{};  // of the thread inside the loop
        std::atomic<bool> isRunning = false;
        Event stop;  // the stop flag; for the writer also the shutdown event
        Event started;
        Event ended;
    };

    // The flags of a loop for the time it runs.
    class Running {
    public:
        Running(PortSession& session, Loop& loop);
        ~Running();

        Running(const Running&) = delete;
        Running& operator=(const Running&) = delete;

    private:
        PortSession& m_session;
        Loop& m_loop;
    };

    bool startLoop(Loop& loop, Run run);
    Run readerLoop() const;

    std::shared_ptr<CommDevice> opening() const;
    bool beginClosing();
    void closeDevice();
    void awaitEnd(Loop& loop, int slices);
    void detach();
    std::thread leave(Loop& loop);
    bool isOwnThread() const;
    void forgetMessages() const;

    // Sleeps at most that long; the loop's stop event ends it.
    void pause(Loop& loop, Milliseconds time);
    void post(unsigned int message, std::uintptr_t wParam, std::intptr_t lParam);
    void postError(unsigned int message);
    bool isPostedByAnother() const;

    // One pass of the COM reader; false when it was told to stop.
    bool comPass(CommDevice& device, std::span<unsigned char> buffer);
    std::size_t readQueued(CommDevice& device, std::span<unsigned char> buffer, std::size_t queued);
    std::size_t readDevice(CommDevice& device, std::span<unsigned char> buffer);
    std::size_t readAll(CommDevice& device);
    bool playTick(ByteFile& file, std::span<unsigned char> buffer, std::size_t chunk);
    bool awaitRoom(std::size_t bytes);
    bool awaitHost(std::size_t bytes);
    std::size_t decoderRoom() const;
    // Feeds the decoder and, for a COM port, the raw log; nothing any more once detached.
    enum class Log { kNo, kYes };
    void handOn(ByteSpan bytes, Log log);
    void markReceived();
    void announce(std::size_t bytes);
    void reportReadError(CommDevice& device);

    WriteQueue::Discard discards();
    bool serve(const WriteQueue::Head& head);
    void passOver(const CSerialWrite& request);
    bool write(const CSerialWrite& request);
    void discardAll();

    const SessionSetup m_setup;
    mutable std::mutex m_lock;
    std::shared_ptr<CommDevice> m_opening;  // being opened
    std::shared_ptr<CommDevice> m_device;
    std::unique_ptr<ByteFile> m_file;  // until the playback loop takes it
    bool m_isClosing = false;
    bool m_isDetached = false;
    bool m_isHostAway = false;               // the reader's: the host has taken nothing for long
    std::size_t m_roomLeft = 0;              // the reader's: in the decoder behind the last bytes
    std::vector<std::thread::id> m_posting;  // threads inside a post to the owner
    std::condition_variable m_posted;        // one of them has come back
    Event m_closed;

    Loop m_reader;
    Loop m_writer;
    std::atomic<bool> m_hasWriterThread = false;

    WriteQueue m_queue;
    Event m_writeEvent;
    std::atomic<bool> m_isWritePending = false;  // the event was set and the writer has not reset it yet
    GroupMemory m_groups;                        // of the writer
};

}  // namespace vkcomm
