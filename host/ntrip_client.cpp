#include "host/ntrip_client.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>

#include "host/byte_text.h"
#include "vkcomm/net/vrs_socket.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

using namespace std::chrono_literals;

namespace {

// Messages of the client's own thread, among those of the socket; wParam is the number of the connection.
enum OwnMessage : unsigned int {
    kAttemptBegins = 1,  // what was posted before belongs to older connections
    kNameUnknown = 2,
    kAttemptFailed = 3,
    kSendFailed = 4,
    kWoken = 5,
};

constexpr int kMostReadsInARow = 16;

// The socket's status messages.
constexpr std::uintptr_t kConnectedStatus = 1;
constexpr std::uintptr_t kBrokenStatus = 2;

// Sleeps end at once when the client does.
class EndableClock final : public Clock {
public:
    explicit EndableClock(Clock& inner) : m_inner(inner) {}

    std::chrono::milliseconds now() override { return m_inner.now(); }

    void sleep(std::chrono::milliseconds time) override { m_inner.wait(m_ended, time); }

    bool wait(Event& event, std::chrono::milliseconds time) override { return m_inner.wait(event, time); }

    void end() { m_ended.set(); }

private:
    Clock& m_inner;
    Event m_ended;
};

NtripDialogue::Position positionOf(const NtripSteps& steps) {
    return steps.position ? steps.position : [] { return std::string(); };
}

}  // namespace

// The socket and the thread that works on it. The thread shares in owning it, so that it may outlive the client.
class NtripClient::Line : public std::enable_shared_from_this<Line> {
public:
    Line(const CasterUrl& caster, Clock& clock, Network* network)
        : m_host(caster.host), m_port(caster.port), m_network(network ? *network : systemNetwork()),
          m_clock(clock), m_socket(m_clock) {}

    bool start() {
        try {
            m_thread = std::thread([self = shared_from_this()] { self->run(); });
            return true;
        } catch (const std::system_error&) {
            return false;
        }
    }

    void end() {
        bool isLookingUp = false;
        {
            const std::scoped_lock lock(m_lock);
            m_isEnding = true;
            isLookingUp = m_isLookingUp;
        }
        m_hasJobs.notify_one();
        m_clock.end();
        m_socket.Disconnect();
        if (!m_thread.joinable()) return;
        isLookingUp ? m_thread.detach() : m_thread.join();
    }

    void connect(unsigned int attempt) { add({Job::kConnect, attempt, {}}); }

    // Ends a send that waits for the peer at once: otherwise what comes next would have to wait for it.
    void disconnect(unsigned int attempt) {
        if (add({Job::kDisconnect, attempt, {}})) m_socket.Disconnect();
    }

    void sendLater(unsigned int attempt, std::string bytes) { add({Job::kSend, attempt, std::move(bytes)}); }

    MessageQueue& messages() { return m_messages; }

    CVRSSocket& socket() { return m_socket; }

private:
    struct Job {
        enum Kind : std::uint8_t { kConnect, kDisconnect, kSend } kind;

        unsigned int attempt;
        std::string bytes;
    };

    // True when the thread sends meanwhile.
    bool add(Job job) {
        bool isSending = false;
        {
            const std::scoped_lock lock(m_lock);
            m_newest = job.attempt;
            m_jobs.push_back(std::move(job));
            isSending = m_isSending;
        }
        m_hasJobs.notify_one();
        return isSending;
    }

    // The next job that is not out of date; nothing when the client ends.
    std::optional<Job> next() {
        std::unique_lock lock(m_lock);
        m_isSending = false;
        for (;;) {
            m_hasJobs.wait(lock, [this] { return m_isEnding || !m_jobs.empty(); });
            if (m_isEnding) return std::nullopt;
            Job job = std::move(m_jobs.front());
            m_jobs.pop_front();
            if (job.kind != Job::kDisconnect && job.attempt != m_newest) continue;
            m_isSending = job.kind == Job::kSend;
            return job;
        }
    }

    void run() {
        while (const auto job = next()) {
            switch (job->kind) {
            case Job::kConnect: connectNow(job->attempt); break;
            case Job::kDisconnect: m_socket.Disconnect(); break;
            case Job::kSend:
                if (m_socket.Send(spanOf(job->bytes)) != static_cast<int>(job->bytes.size()))
                    post(kSendFailed, job->attempt);
                break;
            }
        }
        m_socket.Disconnect();
    }

    void connectNow(unsigned int attempt) {
        m_socket.Disconnect();
        CSockAddrIn address;
        if (!goesOn(attempt, true)) return;
        const bool isKnown = address.CreateFrom(toWide(m_host), m_port, m_network) != 0;
        if (!goesOn(attempt, false)) return;
        if (!isKnown) return post(kNameUnknown, attempt);
        if (!m_socket.Create(CCESocket::SOCKET_TCP, &m_messages)) return post(kAttemptFailed, attempt);
        post(kAttemptBegins, attempt);
        if (!m_socket.Connect(dottedText(address.GetIPAddr()), m_port)) post(kAttemptFailed, attempt);
    }

    // Notes whether a look-up begins or is over. False when it is of no use any more.
    bool goesOn(unsigned int attempt, bool isLookingUp) {
        const std::scoped_lock lock(m_lock);
        m_isLookingUp = isLookingUp;
        return !m_isEnding && attempt == m_newest;
    }

    void post(OwnMessage message, unsigned int attempt) { m_messages.post(message, attempt, 0); }

    const std::string m_host;
    const unsigned int m_port;
    Network& m_network;
    EndableClock m_clock;
    MessageQueue m_messages;  // outlives the socket, which posts to it
    CVRSSocket m_socket;
    std::thread m_thread;

    std::mutex m_lock;  // of what follows
    std::condition_variable m_hasJobs;
    std::deque<Job> m_jobs;
    unsigned int m_newest = 0;  // number of the connection that is wanted
    bool m_isEnding = false;
    bool m_isLookingUp = false;
    bool m_isSending = false;
};

NtripClient::NtripClient(const CasterUrl& caster, const NtripOptions& options, Clock& clock, Network* network)
    : m_dialogue(caster, options), m_clock(clock), m_network(network) {}

NtripClient::~NtripClient() {
    if (m_line) m_line->end();
}

bool NtripClient::start() {
    if (!m_line) {
        auto line = std::make_shared<Line>(m_dialogue.caster(), m_clock, m_network);
        if (!line->start()) return false;
        m_line = std::move(line);
    }
    m_dialogue.start(m_clock.now());
    return true;
}

void NtripClient::stop(const NtripSteps& steps) {
    if (!m_line) return;
    m_dialogue.stop();
    deliver(steps);
}

void NtripClient::wake() {
    if (m_line) m_line->messages().post(kWoken, 0, 0);
}

bool NtripClient::pump(std::chrono::milliseconds time, const NtripSteps& steps) {
    if (!m_line) return false;
    deliver(steps);
    if (const auto due = m_dialogue.dueAt()) time = std::clamp(*due - m_clock.now(), 0ms, time);
    if (m_mayHaveBytes && (!steps.hasRoom || steps.hasRoom())) time = 0ms;
    auto message = m_line->messages().wait(time, m_clock);
    for (; message; message = m_line->messages().fetch()) {
        handle(*message, steps);
        deliver(steps);
    }
    if (m_mayHaveBytes) takeBytes(steps);
    m_dialogue.passTime(m_clock.now(), positionOf(steps));
    deliver(steps);
    return m_dialogue.state() != NtripState::kOver;
}

void NtripClient::handle(const Message& message, const NtripSteps& steps) {
    const auto now = m_clock.now();
    const bool isOwn = message.id < kWoken;
    if (message.id == kAttemptBegins) m_heard = static_cast<unsigned int>(message.wParam);
    if ((isOwn ? message.wParam : m_heard) != m_attempt) return;
    switch (message.id) {
    case kNameUnknown: return m_dialogue.failed(NtripFailure::kNoHost, "", now);
    case kAttemptFailed: return m_dialogue.failed(NtripFailure::kNoConnection, lineError(), now);
    case kSendFailed: m_isEnding = m_isBroken = m_mayHaveBytes = true; return;
    case WM_SOCKET_DATA: m_mayHaveBytes = true; return;
    case WM_SOCKET_STATUS:
        if (message.wParam == kConnectedStatus) return m_dialogue.connected(now, positionOf(steps));
        if (m_dialogue.state() == NtripState::kConnecting)
            return m_dialogue.failed(NtripFailure::kNoConnection, lineError(), now);
        m_isEnding = m_mayHaveBytes = true;
        m_isBroken = message.wParam == kBrokenStatus;
        return;
    default: return;
    }
}

// Hands on what has come, and behind the last of it the end of the connection.
void NtripClient::takeBytes(const NtripSteps& steps) {
    std::array<unsigned char, 4096> bytes;
    const unsigned int attempt = m_attempt;
    for (int turn = 0; turn < kMostReadsInARow; ++turn) {
        if (steps.hasRoom && !steps.hasRoom()) return m_dialogue.heldBack(m_clock.now());
        const int count = m_line->socket().Read(bytes);
        if (count == 0) return endIfSo(steps);
        m_dialogue.received(textOf(ByteSpan(bytes).first(static_cast<std::size_t>(count))), m_clock.now());
        deliver(steps);
        if (m_attempt != attempt) return;
    }
}

void NtripClient::endIfSo(const NtripSteps& steps) {
    m_mayHaveBytes = false;
    if (steps.drained) steps.drained();
    if (!m_isEnding) return;
    m_isEnding = false;
    if (m_isBroken) return m_dialogue.failed(NtripFailure::kStreamBroken, lineError(), m_clock.now());
    m_dialogue.closed(m_clock.now());
}

void NtripClient::deliver(const NtripSteps& steps) {
    const NtripOutput output = m_dialogue.takeOutput();
    for (const NtripStep& step : output.steps)
        perform(step);
    for (const CorrectionBlock& block : output.blocks)
        steps.block(block);
    for (const NtripEvent& event : output.events)
        if (steps.event) steps.event(event);
}

void NtripClient::perform(const NtripStep& step) {
    switch (step.kind) {
    case NtripStep::Kind::kConnect: m_line->connect(++m_attempt); break;
    case NtripStep::Kind::kDisconnect:
        m_line->disconnect(++m_attempt);
        m_mayHaveBytes = m_isEnding = false;
        break;
    case NtripStep::Kind::kSend:
        // The request is the first that goes into an empty connection: it never waits. What comes later might.
        if (m_dialogue.state() == NtripState::kAsked)
            m_line->socket().Send(spanOf(step.bytes));
        else
            m_line->sendLater(m_attempt, step.bytes);
        break;
    }
}

std::string NtripClient::lineError() const { return m_line->socket().Error().text; }

}  // namespace vkcomm
