#include "sim/live_stream.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/sim/sample.h"

namespace vkcomm::sim {
namespace {

struct Sent {
    std::string bytes;
    std::vector<std::int64_t> dues;
    LiveCounts counts;

    std::uint64_t frames() const { return counts.whole + counts.damaged + counts.dropped; }
};

Sent runOf(const LiveOptions& options, int pieces) {
    EXPECT_EQ(problemWith(options), "");
    LiveStream stream(options);
    Sent run;
    for (int i = 0; i < pieces; ++i) {
        const LivePiece piece = stream.next();
        run.bytes += hexOf(piece.bytes);
        run.dues.push_back(piece.dueMilliseconds);
    }
    run.counts = stream.counts();
    return run;
}

TEST(LiveStream, WithoutFaultsIsTheRecordingInTime) {
    for (const Family& family : families()) {
        const std::string name(family.name);
        const Piece recording = makeRecording({.family = name, .seconds = 10, .rateHz = 8});
        const Sent run = runOf({.family = name, .rateHz = 8}, 80);
        EXPECT_EQ(run.bytes, hexOf(recording.bytes)) << name;
        EXPECT_EQ(run.counts, LiveCounts{.whole = recording.frames.size()}) << name;
        for (std::size_t i = 0; i < run.dues.size(); ++i)
            ASSERT_EQ(run.dues[i], static_cast<std::int64_t>(i) * 125);
    }
}

TEST(LiveStream, SplitsAndDelaysChangeOnlyTimes) {
    const Sent smooth = runOf({.family = "oem4", .rateHz = 5}, 100);
    const Sent rough = runOf({.family = "oem4", .rateHz = 5, .splits = 7, .delayMilliseconds = 900}, 700);
    EXPECT_EQ(rough.bytes, smooth.bytes);
    EXPECT_EQ(rough.counts, smooth.counts);
    EXPECT_TRUE(std::ranges::is_sorted(rough.dues));
    std::int64_t latest = 0;
    for (std::size_t i = 0; i < rough.dues.size(); ++i) {
        const std::int64_t late = rough.dues[i] - smooth.dues[i / 7];
        ASSERT_TRUE(late >= 0 && late < 900 + 200 / 2) << late;
        latest = std::max(latest, late);
    }
    EXPECT_GT(latest, 500);
}

TEST(LiveStream, FaultsHaveTheirShare) {
    struct Case {
        const char* family;
        double drop;
        double corrupt;
    };

    for (const Case& c : {Case{"nmea", 10, 0}, Case{"oem4-server", 0, 20}, Case{"trimble", 30, 30},
                          Case{"javad", 100, 50}, Case{"csi", 0, 100}}) {
        SCOPED_TRACE(c.family);
        const LiveOptions options{.family = c.family, .dropPercent = c.drop, .corruptPercent = c.corrupt};
        const Sent run = runOf(options, 200);
        const auto clean = makeRecording({.family = c.family, .seconds = 200});
        EXPECT_EQ(run.frames(), clean.frames.size());
        const double frames = static_cast<double>(run.frames());
        const double dropped = static_cast<double>(run.counts.dropped);
        EXPECT_NEAR(dropped / frames, c.drop / 100, 0.06);
        EXPECT_NEAR(static_cast<double>(run.counts.damaged), c.corrupt / 100 * (frames - dropped),
                    0.1 * frames);
        EXPECT_EQ(run.bytes.empty(), c.drop == 100);
        EXPECT_EQ(run.bytes, runOf(options, 200).bytes) << "same seed, same faults";
    }
}

TEST(LiveStream, SaysWhatIsWrongWithItsOptions) {
    const LiveOptions cases[] = {{.family = "garmin"},         {.rateHz = 0.5},         {.rateHz = 21},
                                 {.dropPercent = -1},          {.corruptPercent = 101}, {.splits = 0},
                                 {.delayMilliseconds = 60'001}};
    for (const LiveOptions& options : cases)
        EXPECT_NE(problemWith(options), "");
}

}  // namespace
}  // namespace vkcomm::sim
