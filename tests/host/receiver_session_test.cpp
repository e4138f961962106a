#include "host/receiver_session.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

#include "host/rate_meter.h"
#include "host/rtcm3_scanner.h"
#include "sim/recording.h"
#include "tests/decode/frames.h"
#include "tests/host/literal_frames.h"
#include "tests/ports/fake_clock.h"
#include "vkcomm/platform/byte_server.h"

namespace vkcomm {
namespace {

using namespace std::chrono_literals;

class MovedClock final : public Clock {
public:
    std::chrono::milliseconds now() override { return time; }

    void sleep(std::chrono::milliseconds) override {}

    std::chrono::milliseconds time{1000};
};

std::string simulated(const std::string& family, int seconds) {
    sim::RecordingOptions options;
    options.family = family;
    options.seconds = seconds;
    sim::RecordingWriter writer(options);
    std::string bytes;
    for (sim::Piece piece; writer.next(piece);)
        bytes.append(piece.bytes.begin(), piece.bytes.end());
    return bytes;
}

using Records = std::vector<std::string>;

std::string described(const RecordView& record) {
    return std::to_string(record.type) + ":" + std::to_string(record.id) + " " +
           std::string(textOf(record.bytes));
}

// What the decoder makes of the bytes when it has them all at once.
Records decoded(const std::string& bytes, const std::string& family) {
    UnhurriedClock clock;
    CNOut decoder;
    decoder.vSetClock(clock);
    decoder.vSetDecodeMask(findFamily(family)->decodeMask);
    const auto reader = family == "javad" ? makeJavadReader(decoder) : makeFrameReader(decoder);
    Records records;
    for (std::size_t at = 0; at < bytes.size(); at += kLargestChunk) {
        reader->feed(spanOf(std::string_view(bytes).substr(at, kLargestChunk)));
        while (const auto record = reader->next())
            records.push_back(described(*record));
    }
    while (const auto record = reader->nextAtEnd())
        records.push_back(described(*record));
    return records;
}

void take(LiveStream& stream, Records& records) {
    while (const auto routed = stream.next())
        if (routed->record.source != RecordSource::kCarried) records.push_back(described(routed->record));
}

using Milliseconds = std::chrono::milliseconds;

const std::string kSentences = simulated("nmea", 2);

TEST(LiveStream, RecognisesEachFamilyAndGivesTheRecordsOfADecodedFile) {
    for (const sim::Family& family : sim::families()) {
        const std::string bytes = simulated(std::string(family.name), 30);
        const std::string name = family.name == "oem4-server" ? "oem4" : std::string(family.name);
        for (const std::size_t piece : {std::size_t{1}, std::size_t{100}, std::size_t{5000}}) {
            MovedClock clock;
            LiveStream stream({}, clock);
            Records records;
            for (std::size_t at = 0; at < bytes.size(); at += piece) {
                stream.feed(spanOf(std::string_view(bytes).substr(at, piece)));
                take(stream, records);
            }
            while (const auto routed = stream.nextAtEnd())
                if (routed->record.source != RecordSource::kCarried)
                    records.push_back(described(routed->record));
            ASSERT_TRUE(stream.family()) << family.name;
            EXPECT_EQ(stream.family()->name, name);
            EXPECT_EQ(records, decoded(bytes, name)) << family.name << ", pieces of " << piece;
        }
    }
}

TEST(LiveStream, GivesUpALeadThatHoldsTheStreamUp) {
    struct Case {
        const char* family;
        std::string lead;
    };

    const Case cases[] = {
        {"oem4", std::string("\xAA\x44\x12\x1C\x2A\0\x02\x20\xFF\x0F", 10)},
        {"javad", "POFFFxx"},
    };
    for (const Case& c : cases) {
        const std::string bytes = simulated(c.family, 3);
        MovedClock clock;
        LiveChoice choice;
        choice.family = findFamily(c.family);
        LiveStream stream(choice, clock);
        stream.feed(spanOf(bytes));
        Records records;
        take(stream, records);
        const std::size_t before = records.size();
        stream.feed(spanOf(c.lead + bytes));
        take(stream, records);
        stream.watch();
        EXPECT_EQ(records.size(), before) << c.family << ": held behind the lead";
        clock.time += 1999ms;
        stream.watch();
        take(stream, records);
        EXPECT_EQ(records.size(), before) << c.family;
        clock.time += 1ms;
        stream.watch();
        take(stream, records);
        EXPECT_EQ(records.size(), 2 * before) << c.family;
        EXPECT_GE(stream.leadsGivenUp(), 1U) << c.family;
    }
}

TEST(LiveStream, DecodesWhatItDoesNotKnowUnlessTheRateIsInDoubt) {
    const std::string noise(9000, '\x55');
    const std::string known = simulated("nmea", 20);
    for (const bool isDoubtful : {false, true}) {
        MovedClock clock;
        LiveStream stream({}, clock);
        stream.setDoubtful(isDoubtful);
        Records records;
        stream.feed(spanOf(noise));
        take(stream, records);
        EXPECT_FALSE(stream.isRecognised());
        stream.feed(spanOf(known));
        take(stream, records);
        EXPECT_TRUE(stream.isRecognised()) << "it goes on looking";
        EXPECT_EQ(records, decoded(known, "nmea"));
        stream.restart();
        EXPECT_EQ(stream.counters().received, noise.size() + known.size());
    }
}

// What comes before takes longer than the first look.
TEST(LiveStream, RecognisesAReceiverThatStartsSlowly) {
    const struct {
        const char* name;
        std::string before;
        const char* family;
        std::size_t lost;  // records, at most
    } cases[] = {
        {"texts of the start", "booting\r\n", "javad", 100},
        {"sentences", simulated("nmea", 20), "javad", 100},
        {"sentences", simulated("nmea", 20), "oem4", 0},
        {"texts of the start", "booting\r\n", "oem4", 0},
    };

    for (const auto& c : cases) {
        const std::string known = simulated(c.family, 60);
        MovedClock clock;
        LiveStream stream({}, clock);
        Records records;
        stream.feed(spanOf(c.before));
        clock.time += 4000ms;
        stream.watch();
        take(stream, records);
        const std::size_t before = records.size();
        for (std::size_t at = 0; at < known.size(); at += 1000) {
            stream.feed(spanOf(std::string_view(known).substr(at, 1000)));
            take(stream, records);
        }
        while (stream.nextAtEnd()) {
        }
        ASSERT_TRUE(stream.family()) << c.name;
        EXPECT_EQ(stream.family()->name, c.family) << c.name;
        EXPECT_GE(records.size() + c.lost, before + decoded(known, c.family).size()) << c.name;
        EXPECT_EQ(stream.counters().received, c.before.size() + known.size()) << c.name;
    }
}

std::string rtcm3(const std::string& body) {
    const std::string frame = {'\xD3', '\0', test::chr(static_cast<unsigned>(body.size()))};
    const std::uint32_t check = crc24q(frame + body);
    return frame + body + test::chr(check >> 16) + test::chr(check >> 8 & 0xFF) + test::chr(check & 0xFF);
}

// A piece a second.
TEST(LiveStream, BytesThatMakeNoSenseForAWhileAreStrange) {
    const std::string noise(60, '\x55');

    const struct {
        const char* name;
        std::string piece;
        std::string once;    // at the tenth second
        int strangeAt;       // second; 0: never
        std::string late{};  // at the thirtieth, unless empty
    } cases[] = {
        {"noise", noise, noise, 24},
        {"noise behind a record", noise, kSentences, 34},
        {"sentences", kSentences, "", 0},
        {"corrections", rtcm3(std::string(60, 'c')), "", 0},
        {"a few bytes", "x", noise, 0},
        {"texts of a start, then the beginning of a sentence", "", std::string(760, '\x55'), 0,
         kSentences.substr(0, 20)},
    };

    for (const auto& c : cases) {
        MovedClock clock;
        LiveStream stream({}, clock);
        Records records;
        int strangeAt = 0;
        for (int second = 1; second <= 60 && strangeAt == 0; ++second) {
            const bool isLate = second == 30 && !c.late.empty();
            stream.feed(spanOf(second == 10 ? c.once : isLate ? c.late : c.piece));
            stream.watch();
            take(stream, records);
            if (stream.isStrange()) strangeAt = second;
            clock.time += 1000ms;
        }
        EXPECT_EQ(strangeAt, c.strangeAt) << c.name;
        stream.restart();
        EXPECT_FALSE(stream.isStrange()) << c.name;
    }
}

// 1,800 bytes take a line of 4800 bit/s 3.75 s.
TEST(LiveStream, WaitsForALongFrameOnASlowLine) {
    const std::string frame = test::oem4(140, std::string(1800, 'x'));
    MovedClock clock;
    LiveChoice choice;
    choice.family = findFamily("oem4");
    for (const bool isRateKnown : {true, false}) {
        LiveStream stream(choice, clock);
        if (isRateKnown) stream.setRate(4800);
        stream.feed(spanOf(frame));
        stream.feed(spanOf(frame));
        Records records;
        take(stream, records);
        records.clear();
        for (std::size_t at = 0; at < frame.size(); at += 48) {
            stream.feed(spanOf(std::string_view(frame).substr(at, 48)));
            clock.time += 100ms;
            stream.watch();
            take(stream, records);
        }
        EXPECT_EQ(records.size(), isRateKnown ? 1U : 0U);
        EXPECT_EQ(stream.leadsGivenUp() > 0, !isRateKnown);
    }
}

// A receiver's own positions outrank its sentences', whatever comes first; sentences count where there is nothing
// better.
TEST(LiveStream, TakesTheBestPositionsThatCome) {
    const struct {
        const char* name;
        const char* family;  // asked for; empty: none
        std::string bytes;
        const char* positionsFrom;
    } cases[] = {
        {"own behind sentences", "", kSentences + test::kBestpos, "oem4"},
        {"own behind sentences, asked for", "oem4", kSentences + test::kBestpos, "oem4"},
        {"sentences behind own", "", test::kBestpos + kSentences, "oem4"},
        {"raw data and sentences", "", test::kRangecmp + kSentences, "nmea"},
        {"of another family than was asked for", "trimble", kSentences + test::kBestpos, "nmea"},
        {"all", "all", kSentences + test::kBestpos, "oem4"},
    };

    for (const auto& c : cases) {
        MovedClock clock;
        LiveChoice choice;
        if (*c.family) choice.family = findFamily(c.family);
        LiveStream stream(choice, clock);
        stream.feed(spanOf(c.bytes));
        int positions = 0;
        while (const auto routed = stream.nextAtEnd())
            positions += stream.router().isPosition(*routed) ? 1 : 0;
        EXPECT_GT(positions, 0) << c.name;
        EXPECT_EQ(stream.router().familyOf(stream.router().receiver()), c.positionsFrom) << c.name;
    }
}

TEST(RateMeter, TellsTheMeanOfTheLastTenWholeSeconds) {
    const struct {
        std::vector<int> at;  // milliseconds
        int now;
        double perSecond;
    } cases[] = {
        {{}, 5000, 0.0},
        {{0, 500}, 999, 0.0},
        {{0, 500}, 1000, 2.0},
        {{0, 500, 1200}, 2000, 1.5},
        {{0, 1000, 2000}, 10000, 0.3},
        {{0, 1000, 2000}, 11000, 0.2},
        {{0, 1000, 2000}, 13000, 0.0},
        {{0, 1000, 2000}, 1000000, 0.0},
        {{0, 30000}, 31000, 0.1},
    };

    for (const auto& c : cases) {
        RateMeter meter;
        for (const int at : c.at)
            meter.add(Milliseconds(700 + at));
        EXPECT_DOUBLE_EQ(meter.perSecond(Milliseconds(700 + c.now)), c.perSecond) << c.now;
        EXPECT_EQ(meter.total(), c.at.size());
    }
}

TEST(BaudHunt, TriesAllRatesLongerEachRoundAndComesBackToTheOneFound) {
    BaudHunt hunt;
    hunt.begin(0ms);
    EXPECT_EQ(hunt.rate(), 115200U);
    EXPECT_FALSE(hunt.moveOn(1499ms));
    ASSERT_TRUE(hunt.moveOn(1500ms));
    hunt.found();
    EXPECT_FALSE(hunt.moveOn(100000ms));
    hunt.begin(200000ms);
    EXPECT_EQ(hunt.rate(), 9600U) << "the next search begins with the rate found";
    EXPECT_FALSE(hunt.moveOn(214999ms)) << "whose receiver may be starting";
    auto now = 215000ms;
    ASSERT_TRUE(hunt.moveOn(now));
    for (std::size_t i = 1; i < BaudHunt::kRates.size(); ++i)
        EXPECT_TRUE(hunt.moveOn(now += 1500ms));
    EXPECT_EQ(hunt.rate(), 9600U);
    EXPECT_FALSE(hunt.moveOn(now + 2499ms));
    EXPECT_TRUE(hunt.moveOn(now += 2500ms)) << "the second round";
    hunt.skip();
    EXPECT_EQ(hunt.rate(), 57600U);
    EXPECT_FALSE(hunt.moveOn(now + 1ms)) << "which keeps its time";
}

struct Session : testing::Test {
    Records records;
    std::vector<SessionNotice> notices;
    const SessionSteps steps{
        [this](const RoutedRecord& routed) {
            if (routed.record.source != RecordSource::kCarried) records.push_back(described(routed.record));
        },
        [this](const SessionEvent& event) { notices.push_back(event.notice); },
    };

    static PortUrl url(const std::string& text) {
        std::string error;
        const auto parsed = parsePortUrl(text, error);
        EXPECT_TRUE(parsed) << error;
        return parsed.value_or(PortUrl{});
    }

    bool has(SessionNotice notice) const { return std::ranges::find(notices, notice) != notices.end(); }

    template <typename Condition>
    void pumpUntil(ReceiverSession& session, Condition condition) {
        while (!condition())
            if (!session.pump(50ms, steps)) break;
    }
};

TEST_F(Session, AFileAPtyAndATcpConnectionGiveTheSameRecords) {
    const std::string bytes = simulated("oem4", 20);
    const Records expected = decoded(bytes, "oem4");
    const auto path = std::filesystem::path(testing::TempDir()) /
                      ("vkcomm_session_" + std::to_string(std::random_device()()) + ".bin");
    std::ofstream(path, std::ios::binary) << bytes;
    ReceiverSession file(url("file:" + path.string() + "?speed=max"), {});
    std::string error;
    ASSERT_TRUE(file.open(error)) << error;
    while (file.pump(50ms, steps)) {
    }
    std::filesystem::remove(path);
    EXPECT_EQ(records, expected);
    EXPECT_TRUE(has(SessionNotice::kEnded));

    SystemError failure;
    for (const char* kind : {"local", "tcp"}) {
        const auto server = std::string_view(kind) == "local" ? openLocalServer(failure)
                                                              : openTcpServer("127.0.0.1", 0, failure);
        ASSERT_TRUE(server) << failure.message();
        records.clear();
        ReceiverSession session(url(server->address()), {});
        ASSERT_TRUE(session.open(error)) << error;
        while (server->clients() == 0)
            std::this_thread::yield();
        for (std::size_t at = 0; at < bytes.size(); at += 1000) {
            EXPECT_EQ(server->write(spanOf(std::string_view(bytes).substr(at, 1000))), 0U);
            session.pump(50ms, steps);
        }
        pumpUntil(session, [&] { return records.size() >= expected.size(); });
        EXPECT_EQ(records, expected) << kind;
        EXPECT_TRUE(has(SessionNotice::kFamilyFound));
    }
#ifndef _WIN32
    EXPECT_TRUE(has(SessionNotice::kRateFound)) << "the pseudo-terminal was given no rate";
#endif
}

// A frame of 1,800 bytes takes more than the time that a lead may stay.
TEST_F(Session, ASlowlyPlayedFileKeepsItsLongFrames) {
    constexpr std::size_t kBytesPerTick = 50;
    std::string bytes;
    while (bytes.size() < 3 * 1800)
        bytes += test::oem4(140, std::string(1800, 'x'));
    const auto path = std::filesystem::path(testing::TempDir()) /
                      ("vkcomm_slow_" + std::to_string(std::random_device()()) + ".bin");
    std::ofstream(path, std::ios::binary) << bytes;
    FakeClock clock;
    SessionOptions options;
    options.clock = &clock;
    ReceiverSession session(url("file:" + path.string() + "?speed=500"), options);
    std::string error;
    ASSERT_TRUE(session.open(error)) << error;
    for (std::size_t played = 0; played < bytes.size(); played += kBytesPerTick) {
        clock.awaitWaiter();
        session.pump(0ms, steps);
        clock.passNext();
    }
    session.finish(steps);
    std::filesystem::remove(path);
    EXPECT_EQ(session.stream().leadsGivenUp(), 0U);
    EXPECT_EQ(records, decoded(bytes, "oem4"));
    EXPECT_EQ(records.size(), 3U);
}

TEST_F(Session, ComesBackAfterTheDeviceWasGone) {
    const std::string bytes = simulated("nmea", 10);
    SystemError failure;
    auto server = openTcpServer("127.0.0.1", 0, failure);
    ASSERT_TRUE(server) << failure.message();
    const PortUrl address = url(server->address());
    SessionOptions options;
    options.firstRetry = 20ms;
    options.lastRetry = 40ms;
    ReceiverSession session(address, options);
    std::string error;
    ASSERT_TRUE(session.open(error)) << error;
    while (server->clients() == 0)
        std::this_thread::yield();
    server->write(spanOf(bytes));
    pumpUntil(session, [&] { return records.size() == decoded(bytes, "nmea").size(); });

    server.reset();
    pumpUntil(session, [&] { return has(SessionNotice::kNotOpened); });
    EXPECT_FALSE(session.isOpen());
    server = openTcpServer("127.0.0.1", static_cast<std::uint16_t>(address.number), failure);
    ASSERT_TRUE(server) << failure.message();
    pumpUntil(session, [&] { return has(SessionNotice::kOpened); });
    while (server->clients() == 0)
        std::this_thread::yield();
    records.clear();
    server->write(spanOf(bytes));
    pumpUntil(session, [&] { return records.size() == decoded(bytes, "nmea").size(); });
    EXPECT_EQ(records, decoded(bytes, "nmea"));
    EXPECT_EQ(session.reopened(), 1U);

    options.reopen = false;
    ReceiverSession once(address, options);
    ASSERT_TRUE(once.open(error)) << error;
    server.reset();
    while (once.pump(50ms, steps)) {
    }
    EXPECT_EQ(notices.back(), SessionNotice::kLost);
}

// What comes at once does not fit into what is between the two.
TEST_F(Session, AConnectionThatIsQuickerThanTheHostLosesNothing) {
    const std::string bytes = simulated("oem4", 4000);
    const std::size_t expected = decoded(bytes, "oem4").size();
    SystemError failure;
    const auto server = openTcpServer("127.0.0.1", 0, failure);
    ASSERT_TRUE(server) << failure.message();
    std::string error;
    ReceiverSession session(url(server->address()), {});
    ASSERT_TRUE(session.open(error)) << error;
    while (server->clients() == 0)
        std::this_thread::yield();
    for (std::string_view rest = bytes; !rest.empty();) {
        while (const std::size_t taken = rest.size() - server->write(spanOf(rest)))
            rest.remove_prefix(taken);
        session.pump(1ms, steps);
    }
    pumpUntil(session, [&] { return session.port().Counters().received >= bytes.size(); });
    session.finish(steps);
    EXPECT_EQ(records.size(), expected);
    EXPECT_EQ(session.port().Counters().overflows, 0U);
}

TEST_F(Session, SaysWhyAPortCannotBeOpened) {
#ifdef _WIN32
    const std::string port = "COM98";
#else
    const std::string port = "/dev/vkcomm-none";
#endif
    std::string error;
    EXPECT_FALSE(ReceiverSession(url("serial:" + port), {}).open(error));
    EXPECT_NE(error.find(port), std::string::npos) << error;
    EXPECT_NE(error.find("plugged in"), std::string::npos) << error;
    EXPECT_FALSE(ReceiverSession(url("file:/no/such/file"), {}).open(error));
    EXPECT_NE(error.find("/no/such/file"), std::string::npos) << error;
    EXPECT_FALSE(ReceiverSession(url("tcp://127.0.0.1:1"), {}).open(error));
    EXPECT_FALSE(error.empty());
}

}  // namespace
}  // namespace vkcomm
