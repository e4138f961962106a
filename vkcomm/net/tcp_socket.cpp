#include "vkcomm/net/tcp_socket.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

using namespace std::chrono_literals;

namespace {

constexpr int kReadBytes = 2048;
constexpr int kMostEmptyReads = 100;
constexpr auto kEmptyReadPause = 10ms;
constexpr auto kReadWait = 5000ms;
constexpr auto kAfterConnect = 500ms;
constexpr auto kAfterClose = 100ms;

enum Status : std::uintptr_t { kStatusEnded = 0, kStatusConnected = 1, kStatusReceiveError = 2 };

std::atomic<Network*> g_network{nullptr};

std::string lowBytes(const std::wstring& text) {
    std::string bytes(text.size(), '\0');
    std::transform(text.begin(), text.end(), bytes.begin(),
                   [](wchar_t c) { return static_cast<char>(static_cast<unsigned char>(c)); });
    return bytes;
}

}  // namespace

void StartWSA(Network& network) {
    if (g_network.load() == nullptr && network.start()) g_network.store(&network);
}

void CloseWSA() {
    if (Network* const network = g_network.exchange(nullptr)) network->stop();
}

// One connection, from Create to Disconnect: what its reader needs of it.
struct CCESocket::Session {
    std::unique_ptr<NetSocket> socket;
    int type = SOCKET_TCP;
    MessageTarget* owner = nullptr;
    std::thread reader;
    std::mutex sending;              // pieces of two sends do not mix
    std::atomic<bool> ended{false};  // nothing is posted and nothing stored any more
    std::atomic<bool> connected{false};
    std::atomic<bool> readerRunning{false};
    unsigned int connects = 0;  // under the lock of the link: how often the host has connected
    bool readsOn = false;       // of the reader's thread: a handler on it has connected anew

    void post(unsigned int message, std::uintptr_t wParam, const void* lParam = nullptr) const {
        if (owner && !ended.load()) owner->post(message, wParam, reinterpret_cast<std::intptr_t>(lParam));
    }
};

// What the object and its readers own together. A reader that disconnected its own socket may outlive the
// object, and holds only this and its session.
struct CCESocket::Link {
    mutable std::mutex lock;        // of what follows, up to room
    std::shared_ptr<Session> open;  // null: no socket
    int type = SOCKET_TCP;
    SocketAddress remote;
    SocketAddress sender;
    CnBuffer buffer;
    unsigned long long lost = 0;
    SystemError error;
    std::condition_variable room;  // the buffer was read, or a session has ended

    std::atomic<int> state{SOCKET_NONE};
    std::atomic<bool> read0{false};
    const CCESocket* object = nullptr;
    Clock* clock = nullptr;

    std::shared_ptr<Session> current() const {
        const std::lock_guard guard(lock);
        return open;
    }

    SocketAddress peer() const {
        const std::lock_guard guard(lock);
        return remote;
    }

    void note(const SystemError& failure) {
        const std::lock_guard guard(lock);
        error = failure;
    }

    int freeBytes() const { return CnBuffer::kCapacity - static_cast<int>(buffer.frame().size()); }

    // The reader's thread.
    void read(Session& session);
    int readToTheEnd(Session& session);
    bool waitForRoom(const Session& session, unsigned int& connects);
    bool leave(Session& session, unsigned int connects);
    void store(ByteSpan bytes, const SocketAddress& from);
};

// --- the reader ------------------------------------------------------------------------------------------

void CCESocket::Link::read(Session& session) {
    if (session.type == SOCKET_TCP) {
        session.connected.store(session.socket->connect(peer()));
        if (!session.connected.load()) note(session.socket->error());
        session.post(WM_SOCKET_STATUS, session.connected.load() ? kStatusConnected : kStatusEnded);
        if (!session.connected.load()) return session.readerRunning.store(false);
    }
    do {
        const int last = readToTheEnd(session);
        if (last < 0) session.post(WM_SOCKET_STATUS, kStatusReceiveError);
        session.post(WM_SOCKET_CLOSED, static_cast<std::uintptr_t>(last));
    } while (std::exchange(session.readsOn, false));
}

// Returns the last receive count; from then on another reader may be started.
int CCESocket::Link::readToTheEnd(Session& session) {
    std::array<unsigned char, kReadBytes> bytes;
    int emptyReads = 0;
    int count = 0;
    unsigned int connects = 0;
    while (waitForRoom(session, connects)) {
        const SocketWait wait = session.socket->waitReadable(kReadWait);
        if (wait == SocketWait::kInterrupted) break;
        if (wait == SocketWait::kTimeout) {
            emptyReads = 0;
            continue;
        }
        SocketAddress from;
        count = wait == SocketWait::kFailed ? -1 : session.socket->receive(bytes, &from);
        if (count < 0) {
            note(session.socket->error());
            if (leave(session, connects)) return count;
            session.post(WM_SOCKET_STATUS, kStatusReceiveError);
            count = 0;
        } else if (count > 0) {
            emptyReads = 0;
            store(ByteSpan(bytes).first(static_cast<std::size_t>(count)), from);
            session.post(WM_SOCKET_DATA, static_cast<std::uintptr_t>(count), object);
        } else if (++emptyReads > kMostEmptyReads) {
            if (!read0.load()) session.post(WM_SOCKET_STATUS, kStatusEnded);
            session.connected.store(false);
            emptyReads = 0;
        } else {
            clock->sleep(kEmptyReadPause);
        }
    }
    session.readerRunning.store(false);
    return count;
}

// False when the host has connected anew meanwhile, counting on this reader.
bool CCESocket::Link::leave(Session& session, unsigned int connects) {
    const std::lock_guard guard(lock);
    if (session.connects != connects) return false;
    session.connected.store(false);
    session.readerRunning.store(false);
    return true;
}

// False when the reader is to stop. Tells how often the host has connected.
bool CCESocket::Link::waitForRoom(const Session& session, unsigned int& connects) {
    std::unique_lock guard(lock);
    room.wait(guard, [&] {
        return session.ended.load() || session.type != SOCKET_TCP || freeBytes() >= kReadBytes;
    });
    connects = session.connects;
    return !session.ended.load();
}

void CCESocket::Link::store(ByteSpan bytes, const SocketAddress& from) {
    const std::lock_guard guard(lock);
    const std::size_t held = buffer.frame().size();
    if (buffer.Set(bytes.data(), static_cast<int>(bytes.size())) != BUFFER_SET_OK)
        lost += held + bytes.size();
    sender = from;
}

// --- life ------------------------------------------------------------------------------------------------

CCESocket::CCESocket(Clock& clock) : m_link(std::make_shared<Link>()), m_clock(&clock) {
    m_link->object = this;
    m_link->clock = &clock;
}

CCESocket::CCESocket(const CCESocket& other) : CCESocket(*other.m_clock) { copySettings(other); }

CCESocket& CCESocket::operator=(const CCESocket& other) {
    if (this == &other) return *this;
    Disconnect();
    copySettings(other);
    return *this;
}

CCESocket::~CCESocket() { Disconnect(); }

void CCESocket::copySettings(const CCESocket& other) {
    const std::scoped_lock guard(m_link->lock, other.m_link->lock);
    m_link->type = other.m_link->type;
    m_link->remote = other.m_link->remote;
    m_link->sender = other.m_link->sender;
    m_link->buffer = other.m_link->buffer;
    m_link->read0.store(other.m_link->read0.load());
}

int CCESocket::Create(int type, MessageTarget* owner) {
    Network* const network = g_network.load();
    const bool isKnown = type == SOCKET_TCP || type == SOCKET_UDP;
    if (network == nullptr || !isKnown || m_link->current()) return 0;

    const auto session = std::make_shared<Session>();
    session->type = type;
    session->owner = owner;
    SystemError error;
    session->socket = network->open(type == SOCKET_TCP ? SocketKind::kStream : SocketKind::kDatagram, error);
    if (session->socket && type == SOCKET_TCP && !session->socket->setGracefulClose()) {
        error = session->socket->error();
        session->socket.reset();
    }
    const std::lock_guard guard(m_link->lock);
    m_link->error = error;
    if (!session->socket) return 0;
    m_link->open = session;
    m_link->type = type;
    m_link->buffer.Clear();
    m_link->state.store(SOCKET_CREATED);
    return 1;
}

int CCESocket::Connect(const std::wstring& host, unsigned int port) {
    Network* const network = g_network.load();
    const auto session = m_link->current();
    if (network == nullptr || !session || port > 0xFFFF) return 0;
    const int mostState = session->type == SOCKET_TCP ? SOCKET_CREATED : SOCKET_CONNECTED;
    if (m_link->state.load() > mostState) return 0;

    const auto address = network->resolve(toUtf8(host));
    if (!address) {
        m_link->note({"cannot find the host " + toUtf8(host), -1, "its name does not resolve"});
        return 0;
    }
    const SocketAddress remote{*address, static_cast<std::uint16_t>(port)};
    {
        const std::lock_guard guard(m_link->lock);
        m_link->remote = remote;
    }
    if (session->type == SOCKET_UDP) session->connected.store(session->socket->connect(remote));
    if (session->type == SOCKET_UDP && !session->connected.load()) {
        m_link->note(session->socket->error());
        Disconnect();
        return 0;
    }
    if (!startReader(session)) return 0;
    m_clock->sleep(kAfterConnect);
    return 1;
}

// False when it cannot, and when another thread has disconnected meanwhile. The lock keeps Disconnect and the reader
// away until the thread object is in place.
bool CCESocket::startReader(const std::shared_ptr<Session>& session) {
    std::thread last;
    {
        const std::lock_guard guard(m_link->lock);
        if (session->ended.load()) return false;
        m_link->state.store(SOCKET_CONNECTED);
        ++session->connects;
        if (session->readerRunning.exchange(true)) return true;
        if (session->reader.get_id() == std::this_thread::get_id()) return session->readsOn = true;
        last = std::move(session->reader);
    }
    if (last.joinable()) last.join();
    SystemError error;
    {
        const std::lock_guard guard(m_link->lock);
        if (session->ended.load()) return false;
        try {
            session->reader = std::thread([link = m_link, session] { link->read(*session); });
        } catch (const std::system_error& failure) {
            error = systemError("cannot start the reader of a socket", failure.code().value());
        }
    }
    if (!error) return true;
    session->readerRunning.store(false);
    m_link->note(error);
    Disconnect();
    return false;
}

void CCESocket::Disconnect() {
    std::shared_ptr<Session> session;
    {
        const std::lock_guard guard(m_link->lock);
        session = std::exchange(m_link->open, nullptr);
        m_link->state.store(SOCKET_NONE);
        if (session) session->ended.store(true);
    }
    if (!session) return;
    m_link->room.notify_all();
    session->socket->shutdown();
    session->socket->interrupt();
    session->connected.store(false);
    if (session->reader.get_id() == std::this_thread::get_id())
        session->reader.detach();
    else if (session->reader.joinable())
        session->reader.join();
    if (session->owner) session->owner->forget(WM_SOCKET_DATA, reinterpret_cast<std::intptr_t>(this));
    session.reset();
    m_clock->sleep(kAfterClose);
}

// --- sending and the rest --------------------------------------------------------------------------------

int CCESocket::Send(const unsigned char* bytes, int length) {
    if (bytes == nullptr || length < 1) return -1;
    return Send(ByteSpan(bytes, static_cast<std::size_t>(length)));
}

int CCESocket::Send(ByteSpan bytes) {
    const auto session = m_link->current();
    if (g_network.load() == nullptr || !session || m_link->state.load() < SOCKET_CONNECTED) return -1;

    const std::lock_guard guard(session->sending);
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ByteSpan rest = bytes.subspan(sent);
        const int count = session->type == SOCKET_TCP ? session->socket->send(rest)
                                                      : session->socket->sendTo(rest, m_link->peer());
        if (count <= 0) {
            m_link->note(session->socket->error());
            break;
        }
        sent += static_cast<std::size_t>(count);
    }
    return sent == 0 ? -1 : static_cast<int>(sent);
}

int CCESocket::Send(const std::wstring& text) {
    const std::string bytes = lowBytes(text);
    return Send(ByteSpan(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()));
}

int CCESocket::GetDataSize() const {
    const std::lock_guard guard(m_link->lock);
    return m_link->buffer.iAmount();
}

int CCESocket::Read(std::span<unsigned char> out) {
    int count = 0;
    WithBuffer([&](CnBuffer& buffer) {
        count = static_cast<int>(std::min(out.size(), static_cast<std::size_t>(buffer.iAmount())));
        buffer.bGetThenRearrange(out.data(), count);
    });
    return count;
}

void CCESocket::WithBuffer(const std::function<void(CnBuffer&)>& use) {
    {
        const std::lock_guard guard(m_link->lock);
        use(m_link->buffer);
    }
    m_link->room.notify_all();
}

unsigned long long CCESocket::LostBytes() const {
    const std::lock_guard guard(m_link->lock);
    return m_link->lost;
}

int CCESocket::GetSocketType() const {
    const std::lock_guard guard(m_link->lock);
    return m_link->type;
}

int CCESocket::GetSocketState() const { return m_link->state.load(); }

int CCESocket::IsConnected() const {
    const auto session = m_link->current();
    return session && session->connected.load() ? 1 : 0;
}

int CCESocket::IsReaderRunning() const {
    const auto session = m_link->current();
    return session && session->readerRunning.load() ? 1 : 0;
}

void CCESocket::vSetRead0Flag(int flag) { m_link->read0.store(flag != 0); }

SystemError CCESocket::Error() const {
    const std::lock_guard guard(m_link->lock);
    return m_link->error;
}

// --- names -----------------------------------------------------------------------------------------------

std::wstring CCESocket::GetLocalName() const {
    Network* const network = g_network.load();
    return network ? toWide(network->hostName()) : std::wstring();
}

std::wstring CCESocket::GetIPAddress() const {
    const auto session = m_link->current();
    const auto local = session ? session->socket->localAddress() : std::nullopt;
    return local ? dottedText(local->address) : std::wstring();
}

unsigned int CCESocket::GetPortNumber() const {
    const auto session = m_link->current();
    const auto local = session ? session->socket->localAddress() : std::nullopt;
    return local ? local->port : 0;
}

std::wstring CCESocket::GetLocalAddress() const {
    Network* const network = g_network.load();
    const auto address = network ? network->resolve(network->hostName()) : std::nullopt;
    return address ? dottedText(*address) : std::wstring();
}

const char* CCESocket::lpGetLocoalAddress() {
    m_localAddress = toUtf8(GetLocalAddress());
    return m_localAddress.c_str();
}

CSockAddrIn CCESocket::SenderAddress() const {
    const std::lock_guard guard(m_link->lock);
    return CSockAddrIn(m_link->sender);
}

}  // namespace vkcomm
