// Many relays at once, each with its own caster's connection and its own receiver.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include "bench/scenarios/caster_end.h"
#include "bench/scenarios/line.h"
#include "bench/scenarios/process.h"
#include "bench/scenarios/scenarios.h"

namespace vkcomm::bench {

using namespace std::chrono_literals;

namespace {

using SteadyClock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr std::size_t kRelays = 200;
constexpr std::size_t kMessageBytes = 200;
constexpr auto kMessageTime = 100ms;  // 2 kB a second
constexpr auto kGiveUp = 10s;         // for what is still on its way at the end

struct Way {
    Line line;
    std::unique_ptr<CasterRelay> relay;
    std::size_t arrived = 0;
    bool isRight = true;
};

class Ways {
public:
    bool open() {
        for (std::size_t i = 0; i < kRelays; ++i) {
            Way way{.line = makeLine(), .relay = nullptr};
            if (!way.line.server || !way.line.open(m_messages)) return false;
            way.relay = std::make_unique<CasterRelay>(m_caster.url(), *way.line.port, CasterRelayOptions{});
            if (!way.relay->start()) return false;
            m_ways.push_back(std::move(way));
            m_connections.push_back(m_caster.accept());
            if (!m_connections.back()) return false;
        }
        return true;
    }

    // Each relay is given that many messages.
    void run(int messages) {
        m_stream = correctionFrames(messages, kMessageBytes);
        const auto start = SteadyClock::now();
        std::thread feeder([this, messages] { feed(messages); });
        while (!m_isFed || (!isComplete() && SteadyClock::now() < m_end + kGiveUp))
            take();
        feeder.join();
        m_takerTime = threadTime();
        m_wallTime = m_end - start;
    }

    bool isComplete() const {
        return std::ranges::all_of(m_ways,
                                   [this](const Way& way) { return way.arrived == m_stream.bytes.size(); });
    }

    bool isRight() const {
        return std::ranges::all_of(m_ways, [](const Way& way) { return way.isRight; });
    }

    std::uint64_t dropped() const {
        std::uint64_t blocks = 0;
        for (const Way& way : m_ways)
            blocks += way.relay->status().relay.droppedBlocks;
        return blocks;
    }

    Seconds wallTime() const { return m_wallTime; }

    // Of the threads that stand for casters and receivers, since the program's start.
    Seconds othersTime() const { return m_feederTime + m_takerTime; }

private:
    // The casters take turns within a message's time.
    void feed(int messages) {
        auto due = SteadyClock::now();
        for (int message = 0; message < messages; ++message)
            for (const auto& connection : m_connections) {
                std::this_thread::sleep_until(due);
                due += std::chrono::duration_cast<SteadyClock::duration>(kMessageTime) / kRelays;
                connection->write(m_stream.frameBytes(static_cast<std::size_t>(message)));
            }
        m_feederTime = threadTime();
        m_end = SteadyClock::now();
        m_isFed = true;
    }

    void take() {
        std::array<unsigned char, 4096> buffer;
        for (Way& way : m_ways) {
            const std::size_t count = way.line.server->read(buffer);
            const ByteSpan expected =
                ByteSpan(m_stream.bytes)
                    .subspan(way.arrived, std::min(count, m_stream.bytes.size() - way.arrived));
            way.isRight = way.isRight && std::ranges::equal(ByteSpan(buffer).first(count), expected);
            way.arrived += expected.size();
        }
        std::this_thread::sleep_for(10ms);
    }

    CasterEnd m_caster;
    MessageQueue m_messages;
    sim::Piece m_stream;
    std::vector<Way> m_ways;
    std::vector<std::unique_ptr<Connection>> m_connections;
    Seconds m_wallTime{};
    Seconds m_feederTime{}, m_takerTime{};
    SteadyClock::time_point m_end;
    std::atomic<bool> m_isFed = false;
};

}  // namespace

bool relays(Length length) {
    const Holdings before = holdings();
    Ways ways;
    if (!expect(ways.open(), "all relays connect")) return false;
    const Seconds used = processTime() - threadTime();
    ways.run(length == Length::kShort ? 50 : 600);
    const Seconds time = processTime() - used - ways.othersTime();
    const Holdings after = holdings();
    const auto count = static_cast<double>(kRelays);
    figure("relays", count, "");
    figure("time", ways.wallTime().count(), "s");
    figure("processor time of all", 100.0 * time / ways.wallTime(), "% of one processor");
    figure("memory a relay", 1e3 * (after.residentMegabytes - before.residentMegabytes) / count, "kB");
    figure("threads a relay", static_cast<double>(after.threads - before.threads) / count, "");
    figure("blocks dropped", static_cast<double>(ways.dropped()), "");
    return expect(ways.isComplete(), "each receiver got every byte") && expect(ways.isRight(), "in order");
}

}  // namespace vkcomm::bench
