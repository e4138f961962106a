// Recordings of real receivers, played as if they came live, against what decoding the file gives.
#include <future>
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

std::string lineOf(const RoutedRecord& routed) {
    const RecordView& record = routed.record;
    return std::to_string(record.type) + ":" + std::to_string(record.id) + "/" +
           std::to_string(static_cast<int>(record.source)) + "/" +
           std::to_string(static_cast<int>(routed.use)) + " " + std::string(textOf(record.bytes));
}

std::vector<std::string> recordings() {
    std::vector<std::string> names;
    const auto counts = nlohmann::json::parse(recording("counts.json"));
    for (const auto& entry : counts.items())
        names.push_back(entry.key());
    return names;
}

SessionSteps keepIn(Lines& lines) {
    return {[&lines](const RoutedRecord& routed) { lines.push_back(lineOf(routed)); }, {}};
}

// What decode gives; of a stream that is not recognised at once every frame.
Lines decoded(const std::string& name) {
    constexpr std::size_t kLooked = 8192;
    StreamChoice choice;
    if (!StreamCensus(spanOf(std::string_view(recording(name)).substr(0, kLooked))).guess())
        choice.mask = kDecodeAll;
    std::string error;
    const auto stream = RecordedStream::open((recordingsFolder() / name).string(), choice, error);
    EXPECT_TRUE(stream) << error;
    Lines lines;
    if (stream)
        stream->run({[&](const RoutedRecord& routed) {
                         lines.push_back(lineOf(routed));
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
            lines.push_back(lineOf(*routed));
    }
    while (const auto routed = stream.nextAtEnd())
        lines.push_back(lineOf(*routed));
    return lines;
}

// A file through a port, to its end.
Lines played(const std::string& name) {
    std::string error;
    const auto url = parsePortUrl("file:" + (recordingsFolder() / name).string() + "?speed=max", error);
    EXPECT_TRUE(url) << error;
    ReceiverSession session(*url, {});
    EXPECT_TRUE(session.open(error)) << error;
    Lines lines;
    while (session.pump(50ms, keepIn(lines))) {
    }
    return lines;
}

// Bytes through a line, which is unplugged behind them.
Lines received(const std::string& bytes) {
    SystemError failure;
    auto server = openLocalServer(failure);
    EXPECT_TRUE(server) << failure.message();
    std::string error;
    const auto url = parsePortUrl("serial:" + server->address() + "?baud=115200", error);
    SessionOptions options;
    options.reopen = false;
    ReceiverSession session(*url, options);
    EXPECT_TRUE(session.open(error)) << error;
    while (server->clients() == 0)
        std::this_thread::yield();
    Lines lines;
    for (std::string_view rest = bytes; !rest.empty();) {
        const ByteSpan piece = spanOf(rest.substr(0, 1000));
        rest.remove_prefix(piece.size() - server->write(piece));
        session.pump(1ms, keepIn(lines));
    }
    while (session.port().Counters().received < bytes.size())
        session.pump(1ms, keepIn(lines));
    server.reset();
    while (session.pump(50ms, keepIn(lines))) {
    }
    return lines;
}

class LiveRecordings : public RecordingTest {};

TEST_F(LiveRecordings, InPiecesOfAnySizeGiveTheRecordsOfTheFile) {
    for (const std::string& name : recordings()) {
        const std::string bytes = recording(name);
        const Lines expected = decoded(name);
        const bool isLong = bytes.size() > 100'000;  // so many single bytes would take their time
        for (const std::size_t piece : {isLong ? 97U : 1U, 500U, 8192U})
            EXPECT_TRUE(live(bytes, piece) == expected) << name << " in pieces of " << piece;
    }
}

TEST_F(LiveRecordings, PlayedThroughAPortGiveTheRecordsOfTheFile) {
    constexpr std::size_t kAtOnce = 16;  // each takes a tick of the playback at least
    const std::vector<std::string> names = recordings();
    for (std::size_t first = 0; first < names.size(); first += kAtOnce) {
        std::vector<std::future<Lines>> running;
        for (std::size_t i = first; i < std::min(first + kAtOnce, names.size()); ++i)
            running.push_back(std::async(std::launch::async, played, names[i]));
        for (std::size_t i = 0; i < running.size(); ++i)
            EXPECT_TRUE(running[i].get() == decoded(names[first + i])) << names[first + i];
    }
}

TEST_F(LiveRecordings, ThroughAPseudoTerminalGiveTheRecordsOfTheFile) {
    for (const char* name :
         {"nmea/gpsd_hemi.log", "nmea/gpsd_nmea-fuzzy-cases.log",
          "oem4_ascii/swri_gpgga-gprmc-bestposa_mixed.bin", "oem4_binary/gavlab_OnceEachAgain.GPS",
          "javad_greis/gpsd_greis-reset.log", "trimble_stx_rt17/rt17e_20140706.rt17"})
        EXPECT_TRUE(received(recording(name)) == decoded(name)) << name;
}

}  // namespace
}  // namespace vkcomm::test
