// Corrections from an NTRIP caster: an NtripDialogue on a socket.
//
// Nothing here blocks the caller but the wait that pump is told to make: names are looked up, connections made and
// ended, and positions sent on a thread of the client. Destruction, at any time, interrupts what that thread does and
// waits for it; only a look-up of a name cannot be interrupted, and then the thread ends by itself when the look-up is
// over, touching nothing of this object.
//
// Threads: all operations from one thread, which also gets corrections and events; wake from any.
#pragma once

#include <functional>
#include <memory>

#include "host/ntrip_dialogue.h"
#include "vkcomm/platform/clock.h"
#include "vkcomm/platform/message_queue.h"
#include "vkcomm/platform/network.h"

namespace vkcomm {

struct NtripSteps {
    std::function<void(const CorrectionBlock&)> block;  // in order, nothing left out
    std::function<void(const NtripEvent&)> event;       // may be empty
    // A GGA sentence of where the receiver is, with its line end; empty while it has no fix. May be empty: no
    // position is ever sent.
    std::function<std::string()> position;
    // False: corrections are left where they are, and the caster has to wait. May be empty: there always is room.
    std::function<bool()> hasRoom;
    // Nothing is left in the socket for now. May be empty.
    std::function<void()> drained{};
};

class NtripClient {
public:
    // Sockets must have been started (StartWSA). The clock and the network, null for the machine's, must live as long as
    // the program: a look-up may outlast the client.
    explicit NtripClient(const CasterUrl& caster, const NtripOptions& options = {},
                         Clock& clock = systemClock(), Network* network = nullptr);
    ~NtripClient();

    NtripClient(const NtripClient&) = delete;
    NtripClient& operator=(const NtripClient&) = delete;

    // Begins to connect, also after a stop. False when the thread cannot be started.
    bool start();

    // Waits at most that long for something to happen and handles it. False when nothing more will come: the caster has
    // refused for good, or the source table is there. Call it again and again.
    bool pump(std::chrono::milliseconds time, const NtripSteps& steps);

    // Gives out what is held and ends the connection.
    void stop(const NtripSteps& steps);

    // Lets a pump that waits return.
    void wake();

    const NtripDialogue& dialogue() const { return m_dialogue; }

private:
    class Line;

    void handle(const Message& message, const NtripSteps& steps);
    void takeBytes(const NtripSteps& steps);
    void endIfSo(const NtripSteps& steps);
    void deliver(const NtripSteps& steps);
    void perform(const NtripStep& step);
    std::string lineError() const;

    NtripDialogue m_dialogue;
    Clock& m_clock;
    Network* const m_network;
    std::shared_ptr<Line> m_line;  // null before start
    unsigned int m_attempt = 0;    // the connection that is wanted
    unsigned int m_heard = 0;      // the one that messages are of now
    bool m_mayHaveBytes = false;   // in the socket
    bool m_isEnding = false;       // the connection has ended; what came before is not all taken
    bool m_isBroken = false;
};

}  // namespace vkcomm
