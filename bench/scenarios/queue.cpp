// A hundred thousand write requests on a device that notes what it gets, and a clock that notes the delays.
#include <chrono>
#include <thread>

#include "bench/scenarios/scenarios.h"
#include "vkcomm/platform/comm_device.h"
#include "vkcomm/platform/event.h"
#include "vkcomm/ports/my_serial_port.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm::bench {

using namespace std::chrono_literals;

namespace {

using SteadyClock = std::chrono::steady_clock;
using Microseconds = std::chrono::duration<double, std::micro>;

constexpr unsigned int kRequests = 100'000;
constexpr unsigned int kPiecesOfACommand = 5;
constexpr unsigned int kRound = 8;           // three single requests, then a command
constexpr std::size_t kDepthThatSkips = 20;  // above it
constexpr unsigned int kCalmDepth = 12;

// What a request is, by its number.
struct Request {
    unsigned int number;

    bool isPiece() const { return number % kRound >= kRound - kPiecesOfACommand; }

    unsigned int firstOfCommand() const { return number - number % kRound + (kRound - kPiecesOfACommand); }

    unsigned long group() const { return isPiece() ? kFirstGroup + number / kRound : number % 3; }

    int delay() const { return static_cast<int>(number % 7); }
};

// One entry for each request that was written, with the delay behind it.
struct Written {
    unsigned int number;
    int delay;

    friend bool operator==(const Written&, const Written&) = default;
};

// Device and clock write to the same list, both on the writer's thread.
class Sink final : public CommDevice, public CommDevices, public Clock {
public:
    std::vector<Written> written;

    bool open(const std::wstring&, std::uint32_t) override { return true; }

    int openError() const override { return 0; }

    SystemError lastError() const override { return {}; }

    bool getTimeouts(CommTimeouts&) override { return true; }

    bool setTimeouts(const CommTimeouts&) override { return true; }

    bool setEventMask(std::uint32_t mask) override {
        if (mask == 0) m_released.set();
        return true;
    }

    bool setQueueSizes(std::uint32_t, std::uint32_t) override { return true; }

    bool getState(CommState&) override { return true; }

    bool setState(const CommState&) override { return true; }

    bool purge(std::uint32_t) override { return true; }

    bool waitForEvent(std::uint32_t& events) override {
        m_released.wait();
        events = 0;
        return true;
    }

    bool bytesQueued(std::uint32_t& count) override {
        count = 0;
        return true;
    }

    std::size_t read(std::span<unsigned char>) override { return 0; }

    bool write(ByteSpan bytes, std::size_t& count) override {
        written.push_back({loadLe<std::uint32_t>(bytes.data()), 0});
        count = bytes.size();
        return true;
    }

    bool setBreak() override { return true; }

    bool clearBreak() override { return true; }

    bool control(std::uint32_t, const unsigned char*, std::uint32_t, std::uint32_t&) override { return true; }

    void close() override { m_released.set(); }

    std::shared_ptr<CommDevice> make() override {
        return {this, [](CommDevice*) {}};
    }

    std::chrono::milliseconds now() override { return systemClock().now(); }

    void sleep(std::chrono::milliseconds time) override { systemClock().sleep(time); }

    // The pause behind a request; the others of the port wait for an event that is due.
    bool wait(Event& event, std::chrono::milliseconds time) override {
        if (time >= kLongestDelay) return Clock::wait(event, time);
        written.back().delay = static_cast<int>(time.count());
        return false;
    }

private:
    static constexpr auto kLongestDelay = 100ms;

    Event m_released;
};

struct Load {
    const char* name;
    bool isFlood;  // all at once, else never deep enough that a command is passed over
};

void add(CMySerialPort& port, unsigned int number) {
    unsigned char bytes[4];
    for (unsigned int i = 0; i < 4; ++i)
        bytes[i] = static_cast<unsigned char>(number >> 8 * i);
    const Request request{number};
    port.AddToPort(bytes, sizeof bytes, request.delay(), request.group());
}

void queueAll(CMySerialPort& port, const Load& load) {
    for (unsigned int number = 0; number < kRequests; ++number) {
        add(port, number);
        if (load.isFlood) continue;
        port.vSetWriteEvent();
        while (port.nQueueDepth() > static_cast<int>(kCalmDepth))
            std::this_thread::yield();
    }
    port.vSetWriteEvent();
    while (port.nQueueDepth() > 0)
        std::this_thread::yield();
}

// By the rule: a command whose first piece comes up while too many wait is not written, all else is.
bool isWritten(const Request& request, const Load& load) {
    return !load.isFlood || !request.isPiece() || kRequests - request.firstOfCommand() <= kDepthThatSkips;
}

std::vector<Written> expected(const Load& load) {
    std::vector<Written> all;
    for (Request request{0}; request.number < kRequests; ++request.number)
        if (isWritten(request, load)) all.push_back({request.number, request.delay()});
    return all;
}

bool run(const Load& load) {
    Sink sink;
    sink.written.reserve(kRequests);
    CMySerialPort port;
    port.vSetDevices(sink);
    port.vSetClock(sink);
    if (!expect(port.InitPort(nullptr, 1, 9600) && port.StartMonitoring(), "the port opens")) return false;
    const auto start = SteadyClock::now();
    queueAll(port, load);
    const Microseconds time = SteadyClock::now() - start;
    port.vClosePort();
    figure(load.name, time.count() / kRequests, "us a request");
    const std::vector<Written> all = expected(load);
    return expect(sink.written == all, "order, groups and delays are as queued") &&
           expect(port.Counters().skipped == kRequests - all.size(), "what is left out is counted");
}

}  // namespace

bool writeQueue(Length) {
    const bool isCalmGood = run({"queued as fast as the writer writes", false});
    const bool isFloodGood = run({"queued all at once, commands passed over", true});
    return isCalmGood && isFloodGood;
}

}  // namespace vkcomm::bench
