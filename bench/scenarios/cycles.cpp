// A port that is opened, used and closed again and again, on a pseudo-terminal.
#include <chrono>

#include "bench/scenarios/line.h"
#include "bench/scenarios/process.h"
#include "bench/scenarios/scenarios.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm::bench {

using namespace std::chrono_literals;

namespace {

constexpr int kWarmUp = 50;
constexpr double kMostGrowth =
    1.0;  // megabytes: what allocators keep, not what ten thousand cycles would leave

bool talk(const Line& line, MessageQueue& messages, ByteSpan frame) {
    const unsigned char command[] = {'l', 'o', 'g', '\r'};
    line.port->WriteToPort(command, sizeof command, 0, 0, 1);
    if (line.server->write(frame) != 0) return false;
    while (line.port->Decoder().Read() != CNOut::RETURN_COMPLETE)
        if (!messages.wait(10s)) return false;
    unsigned char echo[sizeof command];
    for (std::size_t count = 0; count < sizeof echo;)
        count += line.server->read(std::span(echo).subspan(count));
    return true;
}

// The port object is a new one each time, the line stays.
bool cycle(Line& line, MessageQueue& messages, ByteSpan frame) {
    line.port = std::make_unique<CTrimblePort>();
    const bool isGood = line.open(messages) && talk(line, messages, frame);
    line.port.reset();
    return isGood;
}

void show(const char* when, const Holdings& now) {
    figure(when, static_cast<double>(now.descriptors), "descriptors");
    figure("", static_cast<double>(now.threads), "threads");
    figure("", static_cast<double>(now.heapBlocks), "blocks of memory");
    figure("", now.residentMegabytes, "MB resident");
}

}  // namespace

bool openAndClose(Length length) {
    const sim::Piece frames = framesOf("oem4", 1);
    MessageQueue messages;
    Line line = makeLine();
    if (!expect(line.server != nullptr, "there is a pseudo-terminal")) return false;
    for (int i = 0; i < kWarmUp; ++i)
        if (!expect(cycle(line, messages, frames.frameBytes(0)), "each cycle works")) return false;
    const int cycles = length == Length::kShort ? 500 : 10'000;
    const Holdings before = holdings();
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < cycles; ++i)
        if (!expect(cycle(line, messages, frames.frameBytes(0)), "each cycle works")) return false;
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
    const Holdings after = holdings();
    figure("cycles", cycles, "");
    figure("time a cycle", time.count() / cycles, "ms");
    show("before", before);
    show("after", after);
    return expect(after.descriptors <= before.descriptors, "no descriptor is left open") &&
           expect(after.threads <= before.threads, "no thread is left running") &&
           expect(after.heapBlocks <= before.heapBlocks, "no block of memory is left") &&
           expect(after.residentMegabytes - before.residentMegabytes <= kMostGrowth, "memory does not grow");
}

}  // namespace vkcomm::bench
