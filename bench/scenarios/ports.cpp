// Many receivers at once, all served by one host thread with one message queue.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <map>

#include "bench/scenarios/line.h"
#include "bench/scenarios/process.h"
#include "bench/scenarios/scenarios.h"

namespace vkcomm::bench {

using namespace std::chrono_literals;

namespace {

using Seconds = std::chrono::duration<double>;
using SteadyClock = std::chrono::steady_clock;

constexpr std::size_t kPorts = 64;
constexpr auto kBlockTime = 50ms;  // 20 a second
constexpr auto kGiveUp = 10s;      // for what is still on its way at the end

struct Station {
    Line line;
    std::size_t records = 0;
};

class Stations {
public:
    explicit Stations(const sim::Piece& block) : m_block(block) {}

    bool open() {
        for (std::size_t i = 0; i < kPorts; ++i) {
            Station station{makeLine()};
            if (!station.line.server || !station.line.open(m_messages)) return false;
            m_stations.emplace(station.line.number(), std::move(station));
        }
        return true;
    }

    // All ports are sent that many blocks on a thread beside the host's.
    void run(int blocks) {
        m_blocks = blocks;
        const auto start = SteadyClock::now();
        std::thread feeder([this] { feed(); });
        while (!m_isFed || (!isComplete() && SteadyClock::now() < m_end + kGiveUp))
            serve();
        feeder.join();
        m_wallTime = m_end - start;
    }

    std::uint64_t bytesLost() const { return m_bytesLost; }

    // Every byte is in one of the records that were sent.
    bool isComplete() const {
        return std::ranges::all_of(m_stations, [this](const auto& entry) {
            const CTrimblePort& port = *entry.second.line.port;
            return port.Counters().received == expectedBytes() && port.Counters().overflows == 0 &&
                   entry.second.records == static_cast<std::size_t>(m_blocks) * m_block.frames.size();
        });
    }

    bool isClean() {
        return std::ranges::all_of(m_stations, [](auto& entry) {
            return entry.second.line.port->Decoder().Counters().dropped == 0;
        });
    }

    Seconds wallTime() const { return m_wallTime; }

    Seconds feederTime() const { return m_feederTime; }

private:
    std::uint64_t expectedBytes() const {
        return static_cast<std::uint64_t>(m_blocks) * m_block.bytes.size();
    }

    // The ports take turns within a block's time, as receivers do that know nothing of each other.
    void feed() {
        auto due = SteadyClock::now();
        for (int block = 0; block < m_blocks; ++block)
            for (auto& [number, station] : m_stations) {
                std::this_thread::sleep_until(due);
                due += std::chrono::duration_cast<SteadyClock::duration>(kBlockTime) / kPorts;
                m_bytesLost += station.line.server->write(m_block.bytes);
            }
        m_feederTime = threadTime();
        m_end = SteadyClock::now();
        m_isFed = true;
    }

    void serve() {
        for (auto message = m_messages.wait(100ms); message; message = m_messages.fetch()) {
            if (message->id != WM_PORT_DATA) continue;
            Station& station = m_stations.at(static_cast<unsigned int>(message->lParam));
            while (station.line.port->Decoder().Read() == CNOut::RETURN_COMPLETE)
                ++station.records;
        }
    }

    const sim::Piece& m_block;
    MessageQueue m_messages;
    std::map<unsigned int, Station> m_stations;
    int m_blocks = 0;
    std::uint64_t m_bytesLost = 0;  // by the lines: a port did not take them in time
    Seconds m_wallTime{};
    Seconds m_feederTime{};
    SteadyClock::time_point m_end;
    std::atomic<bool> m_isFed = false;
};

}  // namespace

bool manyPorts(Length length) {
    const sim::Piece block = framesOf("oem4", 1000);
    const double before = holdings().residentMegabytes;
    Stations stations(block);
    if (!expect(stations.open(), "all ports open")) return false;
    const Seconds idle = processTime();
    stations.run(length == Length::kShort ? 60 : 1200);
    const Seconds used = processTime() - idle - stations.feederTime();
    figure("bytes a block", static_cast<double>(block.bytes.size()), "");
    figure("time", stations.wallTime().count(), "s");
    figure("processor time a port", 100.0 * used / stations.wallTime() / kPorts, "% of one processor");
    figure("memory a port", 1e3 * (holdings().residentMegabytes - before) / kPorts, "kB");
    return expect(stations.bytesLost() == 0, "the lines lost no byte") &&
           expect(stations.isComplete(), "each port received all bytes and gave all records") &&
           expect(stations.isClean(), "no byte was dropped");
}

}  // namespace vkcomm::bench
