#include "sim/caster.h"

#include <algorithm>
#include <array>
#include <utility>

#include "sim/correction_feed.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm::sim {

using namespace std::chrono_literals;

namespace {

using Milliseconds = std::chrono::milliseconds;

constexpr auto kTick = 10ms;
constexpr auto kDripEvery = 1s;
constexpr std::size_t kLongestRequest = 8192;
constexpr std::size_t kLongestLine = 1024;
constexpr int kMostReadsInARow = 16;           // so that no client keeps the others waiting
constexpr std::size_t kMostWaiting = 262'144;  // bytes for a client that does not read

ByteSpan bytesOf(std::string_view text) {
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

std::string addressOf(const std::string& host, std::uint16_t port) {
    const bool isIpv6 = host.find(':') != std::string::npos;
    std::string text = isIpv6 ? "ntrip://[" + host + "]:" : "ntrip://" + host + ":";
    appendInteger(text, port);
    return text;
}

}  // namespace

// One connection.
class Caster::Client {
public:
    Client(std::unique_ptr<Connection> connection, const CasterOptions& options, const Truth& truth)
        : m_connection(std::move(connection)), m_options(options), m_truth(truth) {}

    // Reads, answers and streams what is due; false when the connection is over. Adds to totals.
    bool serve(Milliseconds now, CasterTotals& totals) {
        if (!read()) return false;
        if (m_state == State::kAsked && !answer(totals)) return true;
        if (m_state == State::kWaitsForPosition || m_state == State::kStreams) takePositions(totals);
        if (m_state == State::kStreams) stream(now, totals);
        return write(now) && !(m_state == State::kEnds && m_out.empty());
    }

private:
    enum class State { kAsked, kWaitsForPosition, kStreams, kEnds };

    bool read();
    bool answer(CasterTotals& totals);
    void beginStream(const CasterRequest& request, const CasterMount& mount, CasterTotals& totals);
    void refuse(CasterAnswer answer, int version, CasterTotals& totals);
    void sendTable(int version);
    void takePositions(CasterTotals& totals);
    void stream(Milliseconds now, CasterTotals& totals);
    std::uint64_t left() const;
    bool write(Milliseconds now);

    const std::unique_ptr<Connection> m_connection;
    const CasterOptions& m_options;
    const Truth& m_truth;
    State m_state = State::kAsked;
    std::string m_in;   // not understood yet
    std::string m_out;  // not taken by the system yet
    bool m_inChunks = false;
    std::unique_ptr<CorrectionFeed> m_feed;
    std::uint64_t m_streamed = 0;
    std::optional<Milliseconds> m_lastDrip;
};

// Whoever has been answered may still send; nobody looks at that.
bool Caster::Client::read() {
    std::array<unsigned char, 4096> buffer;
    for (int turn = 0; turn < kMostReadsInARow; ++turn) {
        const auto count = m_connection->read(buffer);
        if (!count) return false;
        if (*count == 0) return true;
        if (m_state != State::kEnds)
            m_in.append(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(*count));
        if (m_in.size() > kLongestRequest) return true;
    }
    return true;
}

// False while the request is not whole.
bool Caster::Client::answer(CasterTotals& totals) {
    const std::size_t size = requestSize(m_in);
    if (size == 0 && m_in.size() <= kLongestRequest) return false;
    const auto request = parseCasterRequest(std::string_view(m_in).substr(0, size));
    m_in.erase(0, size);
    if (!request) {
        refuse(CasterAnswer::kBadRequest, 1, totals);
        return true;
    }
    if (request->mount.empty()) {
        ++totals.tables;
        sendTable(request->version);
        return true;
    }
    const auto mount = std::ranges::find(m_options.mounts, request->mount, &CasterMount::name);
    const bool isOpen = m_options.user.empty() && m_options.password.empty();
    if (mount == m_options.mounts.end())
        refuse(CasterAnswer::kNotFound, request->version, totals);
    else if (!isOpen && !isAuthorized(request->authorization, m_options.user, m_options.password))
        refuse(CasterAnswer::kUnauthorized, request->version, totals);
    else
        beginStream(*request, *mount, totals);
    return true;
}

void Caster::Client::beginStream(const CasterRequest& request, const CasterMount& mount,
                                 CasterTotals& totals) {
    ++totals.streams;
    const bool isPlaced = isPosition(request.gga);
    if (isPlaced) ++totals.positions;
    m_out += casterHead(CasterAnswer::kStream, request.version);
    m_inChunks = request.version == 2;
    m_state = mount.needsPosition && !isPlaced ? State::kWaitsForPosition : State::kStreams;
    m_feed = m_options.file ? makeFileFeed(m_options.file, m_options.bytesPerSecond, m_options.loop)
                            : makeSimulatedFeed(m_truth);
}

// Version 1 knows no answer for an unknown mount point but the source table.
void Caster::Client::refuse(CasterAnswer answer, int version, CasterTotals& totals) {
    ++totals.refusals;
    if (answer == CasterAnswer::kNotFound && version == 1) return sendTable(version);
    m_out += casterHead(answer, version);
    m_state = State::kEnds;
}

void Caster::Client::sendTable(int version) {
    m_out += sourceTableAnswer(m_options.mounts, !m_options.user.empty(), version);
    m_state = State::kEnds;
}

void Caster::Client::takePositions(CasterTotals& totals) {
    for (std::size_t end; (end = m_in.find('\n')) != m_in.npos; m_in.erase(0, end + 1)) {
        const std::string_view line = std::string_view(m_in).substr(0, end);
        if (!isPosition(line.substr(0, line.find_last_not_of('\r') + 1))) continue;
        ++totals.positions;
        m_state = State::kStreams;
    }
    if (m_in.size() > kLongestLine) m_in.clear();
}

// The bytes of the stream that the faults still let through.
std::uint64_t Caster::Client::left() const {
    std::uint64_t most = ~std::uint64_t{0};
    for (const auto& limit : {m_options.closeAfter, m_options.stallAfter})
        if (limit) most = std::min(most, *limit - std::min(*limit, m_streamed));
    return most;
}

void Caster::Client::stream(Milliseconds now, CasterTotals& totals) {
    const auto isStalled = [this] { return m_options.stallAfter && m_streamed >= *m_options.stallAfter; };
    if (isStalled()) return;
    std::string bytes;
    m_feed->append(now, kMostWaiting - std::min(kMostWaiting, m_out.size()), bytes);
    bytes.resize(static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), left())));
    m_streamed += bytes.size();
    totals.bytes += bytes.size();
    if (!bytes.empty()) m_out += m_inChunks ? chunkOf(bytes) : bytes;
    if (isStalled()) return;
    if (m_feed->ended() && m_inChunks) m_out += kLastChunk;
    if (m_feed->ended() || m_options.closeAfter == m_streamed) m_state = State::kEnds;
}

bool Caster::Client::write(Milliseconds now) {
    if (m_out.empty()) return true;
    const bool isWait = m_options.drips && m_lastDrip && now - *m_lastDrip < kDripEvery;
    if (isWait) return true;
    m_lastDrip = now;
    const auto taken = m_connection->write(bytesOf(m_out).first(m_options.drips ? 1 : m_out.size()));
    if (taken) m_out.erase(0, *taken);
    return taken.has_value();
}

Caster::Caster(const CasterOptions& options, std::unique_ptr<Listener> listener, const std::string& host,
               Clock& clock)
    : m_options(options), m_truth({.seed = options.seed}), m_address(addressOf(host, listener->port())),
      m_clock(clock), m_listener(std::move(listener)) {}

Caster::~Caster() { stop(); }

void Caster::start() {
    m_thread = std::thread([this] { run(); });
}

void Caster::stop() {
    m_isStopped = true;
    if (m_thread.joinable()) m_thread.join();
}

CasterTotals Caster::totals() const {
    const std::scoped_lock lock(m_lock);
    return m_totals;
}

void Caster::run() {
    const auto start = m_clock.now();
    std::vector<std::unique_ptr<Client>> clients;
    while (!m_isStopped) {
        for (auto wait = kTick; auto connection = m_listener->accept(wait); wait = 0ms)
            clients.push_back(std::make_unique<Client>(std::move(connection), m_options, m_truth));
        CasterTotals totals = this->totals();
        std::erase_if(clients,
                      [&](const auto& client) { return !client->serve(m_clock.now() - start, totals); });
        const std::scoped_lock lock(m_lock);
        m_totals = totals;
    }
    m_listener.reset();
}

}  // namespace vkcomm::sim
