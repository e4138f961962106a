#include "sim/oem4_encoder.h"

#include <gtest/gtest.h>

#include "tests/sim/checks.h"

namespace vkcomm::sim {
namespace {

std::vector<std::string> encoded(const Epoch& epoch) {
    Piece piece;
    encodeOem4Start(epoch, piece);
    encodeOem4(epoch, piece);
    std::vector<std::string> logs;
    for (std::size_t i = 0; i < piece.frames.size(); ++i)
        logs.push_back(hexOf(piece.frameBytes(i)));
    return logs;
}

enum { kVersion, kBestpos, kBestvel, kPsrdop, kRangecmp, kLogs };

TEST(Oem4Encoder, WritesTheLogsOfAnEpoch) {
    Epoch epoch = sampleEpoch();
    const std::vector<std::string> logs = encoded(epoch);
    ASSERT_EQ(logs.size(), kLogs);
    EXPECT_EQ(logs[kVersion],
              "aa44121c250000207000000078b4ff0837ba9914000000000000c712010000000100000053494d55"
              "4c415445440000000000000053494d303030303030303100000000004f454d56332d53494d000000"
              "00000000332e3632300000000000000000000000332e303030000000000000000000000032303234"
              "2f4665622f32380031323a30303a303000000000e96ae0bd");
    EXPECT_EQ(logs[kBestpos],
              "aa44121c2a0000204800000078b4ff0837ba9914000000000000c712000000003200000000000000"
              "00c040c00000000000e862400000000000b058400000b4413d0000000000003ccdcccc3b0000803c"
              "310000000000c03f0000000004020202000000032d20546b");
    EXPECT_EQ(logs[kBestvel],
              "aa44121c630000202c00000078b4ff0837ba9914000000000000c712000000000800000000000000"
              "0000c03f00000000000004400000000000804640000000000000d0bf00000000d076ce64");
    EXPECT_EQ(logs[kPsrdop],
              "aa44121cae0000202400000078b4ff0837ba9914000000000000c71200001040000000400000803f"
              "0000a03f0000403f0000a04002000000030000001600000061f64ac9");
}

TEST(Oem4Encoder, WritesZerosWithoutAFix) {
    const std::vector<std::string> logs = encoded(epochWithoutFix());
    EXPECT_EQ(logs[kBestpos],
              "aa44121c2a0000204800000078b4ff0837ba9914000000000000c712010000000000000000000000"
              "0000000000000000000000000000000000000000000000003d000000000000000000000000000000"
              "00000000000000000000000004000000000000001acc6f0f");
    EXPECT_EQ(logs[kBestvel],
              "aa44121c630000202c00000078b4ff0837ba9914000000000000c712010000000000000000000000"
              "00000000000000000000000000000000000000000000000000000000000000008b08dd73");
}

// The two records are, byte for byte, those that an OEMV receiver made of these signals.
TEST(Oem4Encoder, CompressesRangesLikeAReceiver) {
    Epoch epoch = sampleEpoch();
    epoch.satellites.resize(1);
    EXPECT_EQ(encoded(epoch)[kRangecmp],
              "aa44121c8c0000203400000078b4ff0837ba9914000000000000c71202000000049c1018c68bfb2f"
              "5585a3097ddb22ab2003ecf4e60300000b9c30118287fc6f4c85a3090945fd9020038ee426030000"
              "b15a5c31");
}

// Bits first..first+count-1 of a record, least significant first.
std::uint64_t bitsOf(ByteSpan record, unsigned first, unsigned count) {
    std::uint64_t value = 0;
    for (unsigned i = 0; i < count; ++i) {
        const unsigned bit = first + i;
        if (record[bit / 8] >> bit % 8 & 1) value |= std::uint64_t{1} << i;
    }
    return value;
}

TEST(Oem4Encoder, KeepsCompressedFieldsWithinTheirBits) {
    struct Case {
        const char* name;
        Signal signal;
        std::uint64_t doppler, range, accumulated, lock, cn0;
    };

    const Case cases[] = {
        {"zero", {}, 0, 0, 0, 0, 0},
        {"weak and just locked", {0, 0, 0, 3.0, 0.03125}, 0, 0, 0, 1, 0},
        {"strong and locked for ever", {0, 0, 0, 99.0, 1e9}, 0, 0, 0, 0x1F'FFFF, 31},
        {"approaching", {0, -1.5, 2.0, 20.0, 0}, 512, 0, 384, 0, 0},
        {"receding", {0, 1.5, -2.0, 20.0, 0}, 0xFFF'FE00, 0, 0xFFFF'FE80, 0, 0},
        {"phase rolls over", {0, -16777216.25, 0, 51.0, 0}, 0, 0, 64, 0, 31},
        {"longest range", {536870911.9921875, 0, 0, 51.4, 0}, 0, 0xF'FFFF'FFFF, 0, 0, 31},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Epoch epoch = sampleEpoch();
        epoch.satellites.resize(1);
        epoch.satellites[0].l1 = c.signal;
        Piece piece;
        encodeOem4(epoch, piece);
        const ByteSpan record = piece.frameBytes(3).subspan(28 + 4, 24);
        EXPECT_EQ(bitsOf(record, 32, 28), c.doppler);
        EXPECT_EQ(bitsOf(record, 60, 36), c.range);
        EXPECT_EQ(bitsOf(record, 96, 32), c.accumulated);
        EXPECT_EQ(bitsOf(record, 144, 21), c.lock);
        EXPECT_EQ(bitsOf(record, 165, 5), c.cn0);
        EXPECT_EQ(bitsOf(record, 170, 22), 0u);
    }
}

TEST(Oem4Encoder, StopsAtTwentyFourRanges) {
    Epoch epoch = sampleEpoch();
    epoch.satellites.clear();
    for (int prn = 1; prn <= 32; ++prn)
        epoch.satellites.push_back({.number = prn, .used = true});
    Piece piece;
    encodeOem4(epoch, piece);
    EXPECT_EQ(piece.frames[3].size, 28u + 4 + 24 * 24 + 4);
    EXPECT_EQ(piece.frameBytes(3)[28], 24);
}

// Angles and Doppler are those that an OEMV receiver told of the satellite that it numbers 51.
TEST(Oem4Encoder, TellsTheSatellitesInViewEveryTenSeconds) {
    Epoch epoch = sampleEpoch();
    epoch.millisecondsOfWeek = 345'630'000;
    epoch.satellites = {{.system = SatelliteSystem::kGlonass,
                         .number = 14,
                         .elevation = 74.61156501420909,
                         .azimuth = 229.34966422980315,
                         .l1 = {.doppler = -828.864596066966}}};
    const std::vector<std::string> logs = encoded(epoch);
    ASSERT_EQ(logs.size(), kLogs + 1u);
    EXPECT_EQ(logs[kLogs].substr(0, 20), "aa44121c300000203400");
    EXPECT_EQ(logs[kLogs].substr(56, 104),
              "010000000100000001000000"
              "3300000000000000f9d995e123a75240bdf2097330ab6c40f4be57b1eae689c0f4be57b1eae689c0");
}

TEST(Oem4Encoder, SendsEveryEphemerisEveryTwoMinutes) {
    Epoch epoch = sampleEpoch();
    epoch.millisecondsOfWeek = 345'720'000;
    const std::vector<std::string> logs = encoded(epoch);
    ASSERT_EQ(logs.size(), kLogs + 3u);
    for (const auto& [index, prn] : {std::pair{kLogs + 1, "03000000"}, {kLogs + 2, "16000000"}}) {
        const std::string& log = logs[static_cast<std::size_t>(index)];
        EXPECT_EQ(log.substr(0, 20), "aa44121c290000206600");
        // Week 2303, toe 345600; subframes 1, 2 and 3 that began at 345720, 345726 and 345732.
        EXPECT_EQ(log.substr(56, 24), prn + std::string("ff08000000460500"));
        EXPECT_EQ(log.substr(80, 12), "8b0000708a84");
        EXPECT_EQ(log.substr(140, 12), "8b0000708b08");
        EXPECT_EQ(log.substr(200, 12), "8b0000708b8c");
    }
}

}  // namespace
}  // namespace vkcomm::sim
