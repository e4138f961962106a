// What a simulated reference station sends, and what a simulated rover makes of corrections.
#include <gtest/gtest.h>

#include "sim/correction_feed.h"
#include "sim/live_stream.h"
#include "sim/rover_quality.h"
#include "sim/rtcm3_encoder.h"
#include "tests/host/recordings.h"
#include "tests/sim/sample.h"

namespace vkcomm::sim {
namespace {

using namespace std::chrono_literals;

ByteSpan spanOf(std::string_view text) {
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

// What a program of others reads in these bytes: the station at 4285998.4015, 645901.0247, 4664062.1328 with the
// antenna 1.5 m above; at 345618.999 s of the week G3 and G22 with L1 range 67 ms and 127835.96 m, phase 1.5 mm
// above it, 51 dBHz; at 10800.999 s of the day R9 on channel -2 with 36 double ms and 414943.52 m.
TEST(Rtcm3Encoder, WritesWhatOthersRead) {
    Epoch epoch = sampleEpoch();
    epoch.satellites.back().l1 = {22000000.5, 117000000.25, 100.0, 40.0, 500.0};
    Piece piece;
    encodeRtcm3Station(piece);
    encodeRtcm3(epoch, piece);
    ASSERT_EQ(piece.frames.size(), 3u) << "no second station: it is due every ten seconds";
    EXPECT_EQ(hexOf(piece.frameBytes(0)), "d300153ee0010309faa7748f8180fcacc70adbff67103a9877653a");
    EXPECT_EQ(hexOf(piece.frameBytes(1)),
              "d300283ec0015266e8de200cc30fec00007fd0f30ff240009bfda2c6187f600003fe87987f920004dfed001ac47e");
    EXPECT_EQ(hexOf(piece.frameBytes(2)), "d300123f20011499ece08122cf24ea0001ff424a00ef1aa0");
}

Piece secondOfCorrections() {
    Piece piece;
    encodeRtcm3(sampleEpoch(), piece);
    return piece;
}

std::string bytesOfHex(std::string_view hex) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes += static_cast<char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16));
    return bytes;
}

TEST(CorrectionFinder, CountsWhatCorrects) {
    const Piece second = secondOfCorrections();
    const std::string good(second.bytes.begin(), second.bytes.end());
    std::string bad = good;
    bad[20] ^= 1;
    Piece station;
    encodeRtcm3Station(station);
    const std::string cmr = bytesOfHex("0093020a0baa03");

    struct Case {
        const char* name;
        std::string bytes;
        std::uint64_t corrections;
    };

    for (const Case& c : {
             Case{"two messages", good, 2},
             Case{"a broken one does not hide the next", bad, 1},
             Case{"a station corrects nothing", {station.bytes.begin(), station.bytes.end()}, 0},
             Case{"behind garbage that promises a frame", "\xD3\x01\x02" + good + std::string(300, 'x'), 2},
             Case{"CMR", "garbage\x02" + cmr + "\x02" + cmr, 2},
             Case{"CMR with a wrong sum", bytesOfHex("020093020a0bab03"), 0},
             Case{"commands", "fix auto\r\nlog com1 gpgga ontime 1\r\n", 0},
         }) {
        CorrectionFinder whole, dripping;
        EXPECT_EQ(whole.feed(spanOf(c.bytes)), c.corrections) << c.name;
        std::uint64_t found = 0;
        for (const char byte : c.bytes)
            found += dripping.feed(spanOf({&byte, 1}));
        EXPECT_EQ(found, c.corrections) << c.name << ", byte by byte";
    }
}

using CorrectionRecordings = test::RecordingTest;

// The counts are those of another decoder; of RTCM 2, of the headers that pass their parity.
TEST_F(CorrectionRecordings, AreFound) {
    const std::pair<const char*, std::uint64_t> cases[] = {
        {"rtklib_testglo.rtcm3", 186 + 186}, {"rtklib_GMSD7_20121014.rtcm3", 4 * 257},
        {"gpsd_rtcm3-2.log", 84 + 83},       {"pyrtcm_pygpsdata-NTRIP-4076.log", 0},
        {"gpsd_naujoks-rtcm2.log", 92},      {"swift_trimble.rtcm", 4 * 153},
        {"gpsd_ntrip_sourcetable.log", 0},
    };
    for (const auto& [name, corrections] : cases) {
        CorrectionFinder finder;
        EXPECT_EQ(finder.feed(spanOf(test::recording(std::string("corrections/") + name))), corrections)
            << name;
    }
}

TEST(RoverQuality, FollowsTheCorrections) {
    using enum FixQuality;
    const Piece second = secondOfCorrections();
    RoverQuality rover;
    const auto correctFrom = [&](std::chrono::milliseconds from, std::chrono::milliseconds to) {
        for (auto now = from; now <= to; now += 1s)
            rover.receive(second.bytes, now);
    };
    EXPECT_EQ(rover.at(0s).quality, kSingle);
    rover.receive(spanOf("no corrections at all"), 1s);
    EXPECT_EQ(rover.at(20s).quality, kSingle);
    correctFrom(20s, 22s);
    EXPECT_EQ(rover.at(22'900ms).quality, kSingle);
    EXPECT_EQ(rover.at(23s).quality, kRtkFloat);
    EXPECT_EQ(rover.at(23'500ms).correctionAge, 1.5);
    correctFrom(23s, 30s);
    EXPECT_EQ(rover.at(28s).quality, kRtkFixed);
    EXPECT_EQ(rover.at(35s).quality, kRtkFixed);
    EXPECT_EQ(rover.at(35'001ms).quality, kSingle) << "they have stopped";
    EXPECT_EQ(rover.at(35'001ms).correctionAge, 0.0);
    correctFrom(40s, 42s);
    EXPECT_EQ(rover.at(42s).quality, kSingle) << "a new series begins anew";
    EXPECT_EQ(rover.at(43s).quality, kRtkFloat);
}

// The quality field of the GGA in a piece.
char qualityIn(const LivePiece& piece) {
    const std::string text(piece.bytes.begin(), piece.bytes.end());
    std::size_t at = text.find("GGA,");
    for (int comma = 0; comma < 6 && at != text.npos; ++comma)
        at = text.find(',', at + 1);
    return at == text.npos ? '?' : text[at + 1];
}

TEST(LiveRover, ShowsItsFixWithTheNextEpoch) {
    LiveStream stream({.rateHz = 2, .isRover = true});
    std::string qualities;
    std::vector<std::int64_t> dues;
    for (const FixQuality quality : {FixQuality::kSingle, FixQuality::kRtkFloat, FixQuality::kRtkFixed,
                                     FixQuality::kNone, FixQuality::kSingle}) {
        dues.push_back(stream.earliestDue());
        stream.setFix({quality, 1.0});
        qualities += qualityIn(stream.next());
    }
    EXPECT_EQ(qualities, "15401");
    EXPECT_EQ(dues, (std::vector<std::int64_t>{0, 500, 1000, 1500, 2000}));
}

TEST(CorrectionFeed, GivesWhatIsDue) {
    const auto given = [](CorrectionFeed& feed, std::chrono::milliseconds now, std::size_t room) {
        std::string bytes;
        feed.append(now, room, bytes);
        return bytes;
    };
    const auto file = std::make_shared<const std::string>("0123456789");
    const auto once = makeFileFeed(file, 4.0, false);
    EXPECT_EQ(given(*once, 5s, 99), "") << "its time begins with the first question";
    EXPECT_EQ(given(*once, 6s, 99), "0123");
    EXPECT_EQ(given(*once, 7s, 2), "45");
    EXPECT_FALSE(once->ended());
    EXPECT_EQ(given(*once, 60s, 99), "6789");
    EXPECT_TRUE(once->ended());
    const auto loop = makeFileFeed(file, 0.0, true);
    EXPECT_EQ(given(*loop, 0s, 25), "0123456789012345678901234");
    EXPECT_TRUE(makeFileFeed(std::make_shared<const std::string>(), 1.0, true)->ended());

    const Truth truth({});
    const auto station = makeSimulatedFeed(truth);
    CorrectionFinder finder;
    EXPECT_EQ(given(*station, 4'500ms, 1).substr(0, 5), bytesOfHex("d300153ee0")) << "the station first";
    EXPECT_EQ(given(*station, 4'999ms, 1), "");
    EXPECT_EQ(finder.feed(spanOf(given(*station, 9s, 1))), 2u) << "only the newest second";
}

}  // namespace
}  // namespace vkcomm::sim
