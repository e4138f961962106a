#include "sim/live_simulator.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vkcomm::sim {

using namespace std::chrono_literals;

LiveSimulator::LiveSimulator(const LiveOptions& options, std::unique_ptr<ByteServer> server, Clock& clock)
    : m_address(server->address()), m_clock(clock), m_stream(options), m_server(std::move(server)),
      m_rover(options.rover), m_firstRate(options.baud), m_rate(options.baud), m_random(options.seed ^ 0xBAD),
      m_receiver(makeCommandedReceiver(options.family)) {}

LiveSimulator::~LiveSimulator() { stop(); }

void LiveSimulator::start(std::optional<std::chrono::milliseconds> unplugAfter) {
    m_isRunning = true;
    m_thread = std::thread([this, unplugAfter] { run(unplugAfter); });
}

void LiveSimulator::stop() {
    m_stop.set();
    if (m_thread.joinable()) m_thread.join();
}

LiveTotals LiveSimulator::totals() const {
    const std::scoped_lock lock(m_lock);
    return m_totals;
}

CommandTally LiveSimulator::commands(std::uint64_t seen) const {
    const std::scoped_lock lock(m_lock);
    CommandTally tally{m_receiver->obeyed(), m_receiver->refused(), m_receiver->state(), {}};
    const auto& notes = m_receiver->notes();
    const auto added = std::min<std::uint64_t>(tally.count() - std::min(seen, tally.count()), notes.size());
    tally.notes.assign(notes.end() - static_cast<std::ptrdiff_t>(added), notes.end());
    return tally;
}

void LiveSimulator::run(std::optional<std::chrono::milliseconds> unplugAfter) {
    const auto start = m_clock.now();
    const auto reach = [&](std::int64_t dueMilliseconds) {
        const std::chrono::milliseconds due(dueMilliseconds);
        const bool isLast = unplugAfter && due >= *unplugAfter;
        return waitUntil(start + (isLast ? *unplugAfter : due)) && !isLast;
    };
    while (reach(m_stream.earliestDue())) {
        m_stream.setFix(m_rover.at(m_clock.now()));
        const LivePiece piece = m_stream.next();
        if (!reach(piece.dueMilliseconds)) break;
        send(piece);
    }
    m_server.reset();
    m_isRunning = false;
}

// Meanwhile takes what is sent, so that nobody's write is held up for long. False when stopped.
bool LiveSimulator::waitUntil(std::chrono::milliseconds due) {
    constexpr auto kLongest = 20ms;
    for (auto now = m_clock.now(); now < due; now = m_clock.now()) {
        if (m_clock.wait(m_stop, std::min<std::chrono::milliseconds>(due - now, kLongest))) return false;
        receive();
    }
    return !m_stop.isSet();
}

// Who asks without end waits until the answers are out.
void LiveSimulator::receive() {
    constexpr std::size_t kMostAnswers = 65'536;
    std::array<unsigned char, 4096> buffer;
    while (m_answers.size() < kMostAnswers) {
        const std::size_t size = m_server->read(buffer);
        if (size == 0) break;
        obey(ByteSpan(buffer).first(size));
    }
    if (m_betweenEpochs) answer();
}

void LiveSimulator::obey(ByteSpan bytes) {
    const std::uint32_t rate = theirRate();
    Reaction reaction;
    const std::scoped_lock lock(m_lock);
    m_totals.bytesReceived += bytes.size();
    if (rate == 0)
        reaction = m_receiver->receive(bytes);
    else
        obeyAtRate(bytes, rate, reaction);
    m_rover.receive(reaction.rest, m_clock.now());
    m_answers.insert(m_answers.end(), reaction.answer.begin(), reaction.answer.end());
}

// Byte by byte, since each may end the command that changes the rate.
void LiveSimulator::obeyAtRate(ByteSpan bytes, std::uint32_t rate, Reaction& reaction) {
    for (const unsigned char& byte : bytes) {
        if (rate != portRate()) {
            ++m_totals.bytesGarbled;
            continue;
        }
        const Reaction each = m_receiver->receive({&byte, 1});
        reaction.say(each.answer);
        reaction.leave(each.rest);
    }
}

void LiveSimulator::answer() {
    write(std::exchange(m_answers, {}));
    if (m_rate == 0) return;
    const std::scoped_lock lock(m_lock);
    m_rate = portRate();
}

// What commands have made it; factory defaults are the rate at first.
std::uint32_t LiveSimulator::portRate() const {
    const std::uint32_t changed = m_receiver->portRate();
    return changed != 0 ? changed : m_firstRate;
}

// Of who is attached; 0 when it does not matter.
std::uint32_t LiveSimulator::theirRate() { return m_rate != 0 ? m_server->lineRate() : 0; }

void LiveSimulator::send(const LivePiece& piece) {
    write(piece.bytes);
    m_betweenEpochs = piece.endsEpoch;
    const std::scoped_lock lock(m_lock);
    m_totals.frames = m_stream.counts();
}

void LiveSimulator::write(ByteSpan bytes) {
    if (bytes.empty()) return;
    std::vector<unsigned char> garbage;
    if (const std::uint32_t rate = theirRate(); rate != 0 && rate != m_rate) {
        garbage.resize(bytes.size());
        std::ranges::generate(garbage, [&] { return static_cast<unsigned char>(m_random.below(256)); });
        bytes = garbage;
    }
    const std::size_t lost = m_server->write(bytes);
    const std::scoped_lock lock(m_lock);
    m_totals.bytesSent += bytes.size();
    m_totals.bytesLost += lost;
}

}  // namespace vkcomm::sim
