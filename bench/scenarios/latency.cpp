// One record at a time goes out on the line; the host waits for it as hosts do.
#include <algorithm>
#include <chrono>

#include "bench/scenarios/line.h"
#include "bench/scenarios/scenarios.h"
#include "host/receiver_session.h"

namespace vkcomm::bench {

using namespace std::chrono_literals;

namespace {

using Time = std::chrono::steady_clock::time_point;
using Microseconds = std::chrono::duration<double, std::micro>;

constexpr auto kGiveUp = 5s;
constexpr auto kBetween = 1ms;  // all threads are asleep again by then

struct Names {
    const char* median;
    bool isAimed = true;
};

template <typename Await>
bool measure(const Names& names, Length length, ByteServer& server, const sim::Piece& frames, Await await) {
    std::vector<Microseconds> times;
    const int rounds = length == Length::kShort ? 500 : 5000;
    for (int round = 0; round < rounds; ++round) {
        std::this_thread::sleep_for(kBetween);
        const ByteSpan frame = frames.frameBytes(static_cast<std::size_t>(round) % frames.frames.size());
        const Time start = std::chrono::steady_clock::now();
        if (!expect(server.write(frame) == 0, "the line took a whole record")) return false;
        if (!expect(await(frame.size(), start + kGiveUp), "each record came out as it went in")) return false;
        times.push_back(std::chrono::steady_clock::now() - start);
    }
    std::ranges::sort(times);
    const double median = times[times.size() / 2].count();
    const double late = times[times.size() * 99 / 100].count();
    constexpr const char* kLate = "99th percentile";
    names.isAimed ? figure(names.median, median, "us", 200) : figure(names.median, median, "us");
    names.isAimed ? figure(kLate, late, "us", 2000) : figure(kLate, late, "us");
    return true;
}

// What the system itself takes: the device read on the host's own thread.
bool throughDevice(Length length, const sim::Piece& frames) {
    SystemError failure;
    const auto server = openPtyServer(failure);
    const auto device = systemCommDevices().make();
    const bool isOpen = server &&
                        device->open(comName(portMap().numberOf(server->address())), kRandomAccess) &&
                        device->setEventMask(kEventReceived);
    if (!expect(isOpen, "a device opens")) return false;
    while (server->clients() == 0)
        std::this_thread::yield();
    std::vector<unsigned char> buffer(8192);
    const auto await = [&](std::size_t size, Time giveUp) {
        std::size_t count = 0;
        for (std::uint32_t events = 0; count < size && std::chrono::steady_clock::now() < giveUp;)
            if (device->waitForEvent(events)) count += device->read(buffer);
        return count == size;
    };
    return measure({"device alone, for comparison: median", false}, length, *server, frames, await);
}

bool throughPort(Length length, const sim::Piece& frames) {
    MessageQueue messages;
    const Line line = makeLine();
    if (!expect(line.server && line.open(messages), "a port opens")) return false;
    const auto await = [&](std::size_t size, Time giveUp) {
        while (line.port->Decoder().Read() != CNOut::RETURN_COMPLETE) {
            if (std::chrono::steady_clock::now() > giveUp) return false;
            messages.wait(100ms);
        }
        return static_cast<std::size_t>(line.port->Decoder().Size()) == size;
    };
    return measure({"port and message queue: median"}, length, *line.server, frames, await);
}

bool throughSession(Length length, const sim::Piece& frames) {
    SystemError failure;
    const auto server = openPtyServer(failure);
    if (!expect(server != nullptr, "there is a pseudo-terminal")) return false;
    std::string error;
    const auto url = parsePortUrl("serial:" + server->address() + "?baud=115200", error);
    SessionOptions options;
    options.stream.family = vkcomm::findFamily("oem4");
    ReceiverSession session(*url, options);
    if (!expect(session.open(error), "a session opens")) return false;
    while (server->clients() == 0)
        std::this_thread::yield();
    std::size_t came = 0;
    const SessionSteps steps{[&](const RoutedRecord& routed) { came += routed.record.bytes.size(); }, {}};
    const auto await = [&](std::size_t size, Time giveUp) {
        for (came = 0; came == 0 && std::chrono::steady_clock::now() < giveUp;)
            session.pump(100ms, steps);
        return came == size;
    };
    return measure({"receiver session, parsed and routed: median"}, length, *server, frames, await);
}

}  // namespace

bool portLatency(Length length) {
    const sim::Piece frames = framesOf("oem4", 4000);
    return throughDevice(length, frames) && throughPort(length, frames) && throughSession(length, frames);
}

}  // namespace vkcomm::bench
