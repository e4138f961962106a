// Recordings of real receivers, played as if they came live, against what decoding the file gives.
#include <filesystem>
#include <future>
#include <limits>
#include <nlohmann/json.hpp>
#include <thread>

#include "host/receiver_session.h"
#include "host/recorded_stream.h"
#include "tests/host/recordings.h"
#include "vkcomm/platform/byte_server.h"

namespace vkcomm::test {
namespace {

using namespace std::chrono_literals;

using Lines = std::vector<std::string>;

std::string lineOf(const RoutedRecord& routed, const RecordRouter& router) {
    const RecordView& record = routed.record;
    return std::to_string(record.type) + ":" + std::to_string(record.id) + "/" +
           std::to_string(static_cast<int>(record.source)) + "/" +
           std::to_string(static_cast<int>(routed.use)) + (router.isPosition(routed) ? "P " : " ") +
           std::string(textOf(record.bytes));
}

std::vector<std::string> recordings(std::uintmax_t sizeLimit = std::numeric_limits<std::uintmax_t>::max()) {
    std::vector<std::string> names;
    const auto counts = nlohmann::json::parse(recording("counts.json"));
    for (const auto& entry : counts.items())
        if (std::filesystem::file_size(recordingsFolder() / entry.key()) < sizeLimit)
            names.push_back(entry.key());
    return names;
}

SessionSteps keepIn(Lines& lines, const ReceiverSession& session) {
    return {[&](const RoutedRecord& routed) { lines.push_back(lineOf(routed, session.stream().router())); },
            {}};
}

// What decode gives.
Lines decoded(const std::string& name) {
    std::string error;
    const auto stream = RecordedStream::open((recordingsFolder() / name).string(), {}, error);
    EXPECT_TRUE(stream) << error;
    Lines lines;
    if (stream)
        stream->run({[&](const RoutedRecord& routed) {
                         lines.push_back(lineOf(routed, stream->router()));
                         return true;
                     },
                     {}});
    return lines;
}

Lines live(const std::string& bytes, std::size_t piece) {
    UnhurriedClock clock;
    LiveStream stream({}, clock);
    Lines lines;
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
        stream.feed(spanOf(std::string_view(bytes).substr(at, piece)));
        while (const auto routed = stream.next())
            lines.push_back(lineOf(*routed, stream.router()));
    }
    while (const auto routed = stream.nextAtEnd())
        lines.push_back(lineOf(*routed, stream.router()));
    return lines;
}

// Lets the time stand still: on a busy machine bytes may come late, which is not what these recordings are for.
SessionOptions unhurried() {
    static UnhurriedClock clock;
    SessionOptions options;
    options.clock = &clock;
    options.reopen = false;
    return options;
}

// A file through a port, to its end.
Lines played(const std::string& name) {
    std::string error;
    const auto url = parsePortUrl("file:" + (recordingsFolder() / name).string() + "?speed=max", error);
    EXPECT_TRUE(url) << error;
    ReceiverSession session(*url, unhurried());
    EXPECT_TRUE(session.open(error)) << error;
    Lines lines;
    while (session.pump(50ms, keepIn(lines, session))) {
    }
    return lines;
}

// A file through a line, which is unplugged behind it.
Lines received(const std::string& name) {
    const std::string bytes = recording(name);
    SystemError failure;
    auto server = openLocalServer(failure);
    EXPECT_TRUE(server) << failure.message();
    std::string error;
    const auto url = parsePortUrl("serial:" + server->address() + "?baud=115200", error);
    ReceiverSession session(*url, unhurried());
    EXPECT_TRUE(session.open(error)) << error;
    while (server->clients() == 0)
        std::this_thread::yield();
    Lines lines;
    const SessionSteps steps = keepIn(lines, session);
    for (std::size_t sent = 0; sent < bytes.size();) {
        const ByteSpan piece = spanOf(std::string_view(bytes).substr(sent, 1000));
        sent += piece.size() - server->write(piece);
        do {  // a terminal does not wait for a slow host
            session.pump(1ms, steps);
        } while (session.port().Counters().received < sent);
    }
    server.reset();
    while (session.pump(50ms, steps)) {
    }
    return lines;
}

// Several at once, since each waits most of its time.
void expectRecordsOfTheFiles(const std::vector<std::string>& names, Lines (*take)(const std::string& name)) {
    constexpr std::size_t kAtOnce = 16;
    for (std::size_t first = 0; first < names.size(); first += kAtOnce) {
        std::vector<std::future<Lines>> running;
        for (std::size_t i = first; i < std::min(first + kAtOnce, names.size()); ++i)
            running.push_back(std::async(std::launch::async, take, names[i]));
        for (std::size_t i = 0; i < running.size(); ++i)
            EXPECT_TRUE(running[i].get() == decoded(names[first + i])) << names[first + i];
    }
}

constexpr std::size_t kLong = 100'000;  // so many bytes singly, or over a line, would take their time

class LiveRecordings : public RecordingTest {};

TEST_F(LiveRecordings, InPiecesOfAnySizeGiveTheRecordsOfTheFile) {
    for (const std::string& name : recordings()) {
        const std::string bytes = recording(name);
        const Lines expected = decoded(name);
        for (const std::size_t piece : {bytes.size() > kLong ? 97U : 1U, 500U, 8192U})
            EXPECT_TRUE(live(bytes, piece) == expected) << name << " in pieces of " << piece;
    }
}

TEST_F(LiveRecordings, PlayedThroughAPortGiveTheRecordsOfTheFile) {
    expectRecordsOfTheFiles(recordings(), played);
}

TEST_F(LiveRecordings, ThroughAPseudoTerminalGiveTheRecordsOfTheFile) {
    expectRecordsOfTheFiles(recordings(kLong), received);
}

}  // namespace
}  // namespace vkcomm::test
