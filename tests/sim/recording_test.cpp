#include "sim/recording.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/sim/sample.h"

namespace vkcomm::sim {
namespace {

// Frames stand in order, do not overlap and end within the bytes.
void expectOrder(const Piece& piece) {
    std::size_t end = 0;
    for (const Frame& frame : piece.frames) {
        EXPECT_GE(frame.offset, end);
        end = frame.offset + frame.size;
    }
    EXPECT_LE(end, piece.bytes.size());
}

std::string frameText(const Piece& piece, std::size_t index) { return hexOf(piece.frameBytes(index)); }

// Whole frames are as they were, the others are not; the last one stands behind a false head. That a decoder
// finds exactly those is tested with the decoder.
TEST(Recording, DamageIsWhatItSays) {
    for (const Family& family : families())
        for (const double percent : {0.0, 0.5, 2.0, 30.0, 100.0}) {
            SCOPED_TRACE(testing::Message() << family.name << ' ' << percent << " %");
            RecordingOptions options{.family = std::string(family.name),
                                     .seconds = percent < 10.0 ? 1000 : 150};
            const Piece clean = makeRecording(options);
            options.damagePercent = percent;
            const Piece damaged = makeRecording(options);
            expectOrder(damaged);
            ASSERT_EQ(damaged.frames.size(), clean.frames.size());
            std::size_t broken = 0;
            for (std::size_t i = 0; i < clean.frames.size(); ++i) {
                EXPECT_EQ(frameText(damaged, i) == frameText(clean, i), damaged.frames[i].whole) << i;
                broken += !damaged.frames[i].whole;
            }
            const double share =
                100.0 * static_cast<double>(broken) / static_cast<double>(clean.frames.size());
            EXPECT_GE(share, 0.7 * percent - 0.25);
            EXPECT_LE(share, 1.2 * percent + 0.25);
            const Frame& last = damaged.frames.back();
            const Frame& beforeLast = damaged.frames[damaged.frames.size() - 2];
            EXPECT_TRUE(last.whole);
            EXPECT_EQ(last.offset > beforeLast.offset + beforeLast.size, percent > 0.0);
            EXPECT_EQ(damaged.bytes == clean.bytes, percent == 0.0);
        }
}

TEST(Recording, PiecesJoinToTheWhole) {
    for (const Family& family : families()) {
        for (const double percent : {0.0, 5.0}) {
            SCOPED_TRACE(testing::Message() << family.name << ' ' << percent);
            const RecordingOptions options{
                .family = std::string(family.name), .seconds = 120, .rateHz = 10, .damagePercent = percent};
            const Piece whole = makeRecording(options);
            RecordingWriter writer(options);
            Piece piece;
            std::string joined;
            while (writer.next(piece)) {
                expectOrder(piece);
                joined += hexOf(piece.bytes);
                EXPECT_LT(piece.bytes.size(), 100'000u);
            }
            EXPECT_EQ(joined, hexOf(whole.bytes));
            EXPECT_FALSE(writer.next(piece));
            EXPECT_TRUE(piece.bytes.empty());
        }
    }
}

std::uint64_t fnv1a(ByteSpan bytes) {
    std::uint64_t hash = 0xCBF29CE484222325u;
    for (const unsigned char byte : bytes)
        hash = (hash ^ byte) * 0x100000001B3u;
    return hash;
}

// The numbers were taken once; a system on which they differ gives other bytes for the same seed.
TEST(Recording, SameSeedSameBytesOnEverySystem) {
#ifdef _WIN32
    GTEST_SKIP() << "the sine of this system differs in the last bit";
#endif
    struct Case {
        const char* family;
        std::uint64_t seed;
        double damage;
        std::uint64_t hash;
    };

    const Case cases[] = {
        {"nmea", 1, 0.0, 0x3C631DBDCCA9FB81u},        {"nmea", 2, 2.0, 0xC7AFCDF0938F0D65u},
        {"oem4", 1, 0.0, 0xFB9866705F3F414u},         {"oem4", 2, 2.0, 0xAD615A3521EBA9F9u},
        {"oem4-server", 1, 0.0, 0x36B572ED42D7F895u}, {"oem4-server", 2, 2.0, 0x8F6A422B4C73D877u},
        {"trimble", 1, 0.0, 0xC5355522C1DD7C06u},     {"trimble", 2, 2.0, 0x775312D09B73BD79u},
        {"javad", 1, 0.0, 0xAD6C853203E51E22u},       {"javad", 2, 2.0, 0xF1D899A1C2415451u},
        {"cmc", 1, 0.0, 0xF7AE2FAD24E3A38Fu},         {"cmc", 2, 2.0, 0x4973953F94A6D9A7u},
        {"csi", 1, 0.0, 0x5837C352262B623Du},         {"csi", 2, 2.0, 0xE63062FB1182E90Bu},
        {"maker", 1, 0.0, 0x6E0B7E9ED6C2EE45u},       {"maker", 2, 2.0, 0x41175949F70EBD54u},
    };
    for (const Case& c : cases) {
        const Piece recording = makeRecording(
            {.family = c.family, .seconds = 700, .rateHz = 3, .seed = c.seed, .damagePercent = c.damage});
        EXPECT_EQ(fnv1a(recording.bytes), c.hash) << c.family << ' ' << c.seed;
    }
}

TEST(Recording, SecondsTimesRateIsTheNumberOfEpochs) {
    struct Case {
        int seconds;
        double rateHz;
        std::size_t epochs;
    };

    for (const Case& c :
         {Case{1, 1, 1}, Case{60, 0.1, 6}, Case{1, 0.001, 1}, Case{10, 1000, 10'000}, Case{7, 0.5, 4}}) {
        const Piece recording = makeRecording({.family = "oem4", .seconds = c.seconds, .rateHz = c.rateHz});
        std::size_t positions = 0;
        for (std::size_t i = 0; i < recording.frames.size(); ++i)
            positions += recording.frameBytes(i)[4] == 42 ? 1u : 0u;  // BESTPOS
        EXPECT_EQ(positions, c.epochs) << c.seconds << " s at " << c.rateHz << " Hz";
    }
}

TEST(Recording, RefusesSenselessOptions) {
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(problemWith({}), "");
    EXPECT_EQ(
        problemWith({.family = "NMEA"}),
        "unknown family 'NMEA'; known families: nmea, oem4, oem4-server, trimble, javad, cmc, csi, maker");
    const RecordingOptions bad[] = {
        {.seconds = 0},          {.seconds = -1},         {.seconds = std::numeric_limits<int>::max()},
        {.rateHz = 0.0},         {.rateHz = -1.0},        {.rateHz = 1e6},
        {.rateHz = kNan},        {.damagePercent = -1.0}, {.damagePercent = 100.1},
        {.damagePercent = kNan},
    };
    for (const RecordingOptions& options : bad)
        EXPECT_NE(problemWith(options), "");
}

}  // namespace
}  // namespace vkcomm::sim
