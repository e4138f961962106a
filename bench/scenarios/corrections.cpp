// Corrections through one relay: from a caster over the loopback interface, through the port, to the receiver's end of
// a pseudo-terminal.
#include <algorithm>
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
using Bytes = std::vector<unsigned char>;

constexpr auto kGiveUp = 20s;

// One caster, relay and receiver, connected.
struct Route {
    CasterEnd caster{};
    MessageQueue messages{};
    Line line{makeLine()};
    std::unique_ptr<CasterRelay> relay{};
    std::unique_ptr<Connection> connection{};

    bool open(const CasterRelayOptions& options = {}) {
        if (!line.server || !line.open(messages)) return false;
        relay = std::make_unique<CasterRelay>(caster.url(), *line.port, options);
        if (relay->start()) connection = caster.accept();
        return connection != nullptr;
    }

    // Appends what has reached the receiver.
    std::size_t take(Bytes& bytes) const {
        std::array<unsigned char, 65536> buffer;
        const std::size_t count = line.server->read(buffer);
        bytes.insert(bytes.end(), buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(count));
        return count;
    }
};

// Median and 99th percentile of messages that come one at a time.
bool messageLatency(const Route& route, Length length) {
    const sim::Piece frames = correctionFrames(100, 170);
    std::vector<std::chrono::duration<double, std::milli>> times;
    const std::size_t rounds = length == Length::kShort ? 300 : 3000;
    Bytes arrived;
    while (times.size() < rounds) {
        std::this_thread::sleep_for(2ms);
        const ByteSpan frame = frames.frameBytes(times.size() % frames.frames.size());
        arrived.clear();
        const auto start = SteadyClock::now();
        route.connection->write(frame);
        while (arrived.size() < frame.size() && SteadyClock::now() < start + kGiveUp)
            if (route.take(arrived) == 0) std::this_thread::yield();
        times.push_back(SteadyClock::now() - start);
        if (!expect(std::ranges::equal(arrived, frame), "each message arrives as it was sent")) return false;
    }
    std::ranges::sort(times);
    figure("byte in to byte out: median", times[rounds / 2].count(), "ms", 1.0);
    figure("99th percentile", times[rounds * 99 / 100].count(), "ms", 3.0);
    return true;
}

void idleTime(Length length) {
    const Seconds before = processTime();
    const auto idle = length == Length::kShort ? 2s : 20s;
    std::this_thread::sleep_for(idle);
    figure("processor time while nothing comes", 100.0 * (processTime() - before) / Seconds(idle),
           "% of one processor", 0.1);
}

// What is given as fast as the relay takes it arrives whole.
bool burst(const Route& route, Length length) {
    const sim::Piece frames = correctionFrames(length == Length::kShort ? 2'000 : 20'000, 1000);
    const auto start = SteadyClock::now();
    std::thread feeder([&] {
        for (ByteSpan rest(frames.bytes); !rest.empty();) {
            const auto taken = route.connection->write(rest.first(std::min<std::size_t>(rest.size(), 65536)));
            if (!taken) return;
            rest = rest.subspan(*taken);
            if (*taken == 0) std::this_thread::sleep_for(1ms);
        }
    });
    Bytes arrived;
    for (auto last = start; arrived.size() < frames.bytes.size() && SteadyClock::now() < last + kGiveUp;) {
        if (route.take(arrived) > 0)
            last = SteadyClock::now();
        else
            std::this_thread::sleep_for(1ms);
    }
    const Seconds time = SteadyClock::now() - start;
    feeder.join();
    const RelayCounters counters = route.relay->status().relay;
    figure("a burst", static_cast<double>(frames.bytes.size()) / 1e6, "MB");
    figure("passes at", static_cast<double>(arrived.size()) / 1e6 / time.count(), "MB/s");
    figure("blocks dropped", static_cast<double>(counters.droppedBlocks), "");
    return expect(arrived == frames.bytes, "the burst arrives whole and in order");
}

// More than a slow road carries is offered; how much goes along it.
bool slowRoad(const char* name, GPSOEMTYPE type, Length length) {
    constexpr double kCeiling = 55 / 0.050;
    Route route;
    CasterRelayOptions options;
    options.receiver = type;
    if (!expect(route.open(options), "a route opens")) return false;
    const sim::Piece frames = correctionFrames(1000, 200);
    Bytes arrived;
    std::vector<std::pair<SteadyClock::time_point, std::uint64_t>> steps;
    const int blocks = length == Length::kShort ? 50 : 200;
    for (int block = 0; block < blocks; ++block) {
        route.connection->write(frames.frameBytes(static_cast<std::size_t>(block)));
        for (const auto next = SteadyClock::now() + 100ms; SteadyClock::now() < next;
             std::this_thread::sleep_for(1ms)) {
            route.take(arrived);
            const std::uint64_t sent = route.relay->status().relay.sentBytes;
            if (sent > 0 && (steps.empty() || steps.back().second != sent))
                steps.emplace_back(SteadyClock::now(), sent);
        }
    }
    route.relay->stop();
    const RelayCounters counters = route.relay->status().relay;
    const auto giveUp = SteadyClock::now() + kGiveUp;
    while (route.line.port->nQueueDepth() > 0 && SteadyClock::now() < giveUp)
        if (route.take(arrived) == 0) std::this_thread::sleep_for(1ms);
    route.take(arrived);
    if (!expect(steps.size() > 2, "the road takes block after block")) return false;
    // A block begins its way when it is counted: the last is still on it.
    const Seconds time = steps.back().first - steps.front().first;
    const double rate = static_cast<double>(steps[steps.size() - 2].second) / time.count();
    figure((std::string(name) + " road, offered").c_str(), 2000, "bytes/s");
    figure("ceiling", kCeiling, "bytes/s");
    figure("reached", rate, "bytes/s");
    figure("dropped in whole blocks", static_cast<double>(counters.droppedBytes), "bytes");
    return expect(arrived.size() >= counters.sentBytes, "what the road took arrives");
}

}  // namespace

bool corrections(Length length) {
    Route route;
    if (!expect(route.open(), "a route opens") || !messageLatency(route, length)) return false;
    idleTime(length);
    return burst(route, length);
}

bool roads(Length length) {
    return slowRoad("VD", OEM_TYPE_10, length) && slowRoad("CORS", OEM_TYPE_13, length);
}

}  // namespace vkcomm::bench
