#include "host/caster_relay.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "vkcomm/net/tcp_socket.h"

namespace vkcomm {

using namespace std::chrono_literals;

namespace {

constexpr std::size_t kMostEvents = 1000;
constexpr auto kIdleWait = 1000ms;
// While blocks wait for their road, how soon it is looked at again: at once when it has just taken some, else longer
// and longer.
constexpr auto kShortestWait = 1ms;
constexpr auto kLongestWait = 10ms;

}  // namespace

CasterRelay::CasterRelay(const CasterUrl& caster, CTrimblePort& port, const CasterRelayOptions& options)
    : m_options(options), m_clock(*options.clock),
      m_client(caster, options.caster, *options.clock, options.network),
      m_sink(makePortSink(port, options.receiver)), m_relay(*m_sink, options.mostAge) {}

CasterRelay::~CasterRelay() { stop(); }

bool CasterRelay::start() {
    if (m_isOver) stop();
    if (m_thread.joinable()) return true;
    StartWSA(m_options.network ? *m_options.network : systemNetwork());
    if (!m_client.start()) return false;
    m_isEnding = m_isOver = false;
    try {
        m_thread = std::thread([this] { run(); });
    } catch (const std::system_error&) {
        return false;
    }
    return true;
}

void CasterRelay::stop() {
    m_isEnding = true;
    m_client.wake();
    if (!m_thread.joinable()) return;
    m_thread.join();
    m_relay.dropAll();
    publish();
}

void CasterRelay::run() {
    NtripSteps steps;
    steps.block = [this](const CorrectionBlock& block) { m_relay.take(block, m_clock.now()); };
    steps.event = [this](const NtripEvent& event) { note(event); };
    steps.position = [this] { return position(); };
    steps.hasRoom = [this] { return m_relay.hasRoom(); };
    steps.drained = [this] { m_relay.drained(); };
    auto wait = kIdleWait;
    while (!m_isEnding) {
        m_isOver = !m_client.pump(wait, steps);
        const bool hasSent = m_relay.turn(m_clock.now());
        wait = !m_relay.isWaiting() ? kIdleWait : hasSent ? kShortestWait : std::min(2 * wait, kLongestWait);
        publish();
        if (m_isOver && !m_relay.isWaiting()) return;
    }
    m_client.stop(steps);
}

void CasterRelay::publish() {
    const NtripDialogue& dialogue = m_client.dialogue();
    const std::scoped_lock lock(m_lock);
    m_status.state = dialogue.state();
    m_status.caster = dialogue.totals();
    if (m_status.messages != dialogue.scanner().counts()) m_status.messages = dialogue.scanner().counts();
    m_status.badChecks = dialogue.scanner().badChecks();
    m_status.relay = m_relay.counters();
}

void CasterRelay::setPosition(std::string gga) {
    const std::scoped_lock lock(m_lock);
    m_gga = std::move(gga);
    m_ggaAt = m_clock.now();
}

std::string CasterRelay::position() const {
    const std::scoped_lock lock(m_lock);
    return m_clock.now() - m_ggaAt > m_options.ggaAge ? std::string() : m_gga;
}

CasterRelayStatus CasterRelay::status() const {
    const std::scoped_lock lock(m_lock);
    CasterRelayStatus status = m_status;
    if (status.caster.lastAt) status.age = m_clock.now() - *status.caster.lastAt;
    return status;
}

void CasterRelay::note(const NtripEvent& event) {
    const std::scoped_lock lock(m_lock);
    if (m_events.size() >= kMostEvents) m_events.erase(m_events.begin());
    m_events.push_back(event);
    if (event.failure != NtripFailure::kNone || event.notice == NtripNotice::kStreaming)
        m_status.failure = event.failure;
}

std::vector<NtripEvent> CasterRelay::takeEvents() {
    const std::scoped_lock lock(m_lock);
    return std::exchange(m_events, {});
}

}  // namespace vkcomm
