// Frames of the simulator against those that receivers in the field sent, byte for byte; the few that no
// recording holds were made by hand from their layout. That whole epochs read as they were meant is the
// business of reading_test.cpp.
#include <gtest/gtest.h>

#include <functional>

#include "sim/cmc_messages.h"
#include "sim/csi_messages.h"
#include "sim/ephemeris.h"
#include "sim/javad_messages.h"
#include "sim/maker_encoder.h"
#include "sim/oem4_encoder.h"
#include "sim/trimble_packets.h"
#include "tests/sim/sample.h"

namespace vkcomm::sim {
namespace {

// The bytes of frame index of what add appends.
std::string frameOf(const std::function<void(Piece&)>& add, std::size_t index = 0) {
    Piece piece;
    add(piece);
    return index < piece.frames.size() ? hexOf(piece.frameBytes(index)) : "no such frame";
}

TEST(Vectors, Cmc) {
    CmcNavigation n{
        .hours = 5, .minutes = 51, .seconds = 0x1.ffff9bb9p-1, .day = 4, .month = 7, .year = 2009};
    n.latitude = 0x1.dea500cf67cfbp-1;
    n.longitude = -0x1.fada56d057874p+0;
    n.height = 0x1.3c221cp+9f;
    n.horizontalMerit = 0x1.86dacap+3f;
    n.verticalMerit = 0x1.b8f246p+3f;
    n.hdop = 31;
    n.vdop = 33;
    n.mode = 0xA2;
    n.satellites = 5;
    n.systemMode = 3;
    EXPECT_EQ(frameOf([&](Piece& piece) { addCmcNavigation(n, piece); }),
              "0114eb470533000090bbf9ffef3f0407d907fb7cf60c50eaed3f7478056da5adffbf0e111e440000000000000000"
              "000000000000000000000000656d434123795c411f002100a2050300002214");

    std::vector<CmcSatellite> satellites = {
        {1, true, 76, 110, 50},  {11, true, 67, 212, 50}, {29, true, 55, 284, 40},  {3, true, 41, 63, 36},
        {28, true, 22, 277, 36}, {9, false, 18, 156, 0},  {30, false, 15, 327, 0},  {23, false, 14, 223, 0},
        {22, false, 6, 31, 0},   {8, false, 1, 208, 0},   {137, false, 28, 172, 0}, {134, false, 26, 203, 0},
    };
    const char* const visible =
        "0121de3d0c614c6e00326b43d400327d371c012863293f00247c1615012409129c00001e0f470100170edf000016"
        "061f00000801d00000001cac6400001acb5e00b10c";
    EXPECT_EQ(frameOf([&](Piece& piece) { addCmcVisibility(satellites, piece); }), visible);
    satellites.push_back({32, true, 1, 1, 1});
    EXPECT_EQ(frameOf([&](Piece& piece) { addCmcVisibility(satellites, piece); }), visible)
        << "twelve and no more";
}

TEST(Vectors, Csi) {
    constexpr double kTime = 0x1.a6a2000000519p+16;  // one second of a Crescent in Japan
    BinPosition p{.correctionAge = 7, .satellites = 8, .week = 1481, .secondsOfWeek = kTime};
    p.latitude = 0x1.1efbb54dc0cadp+5;
    p.longitude = 0x1.14c7945e03dc6p+7;
    p.height = 0x1.f1f2a2p+9f;
    p.north = -0x1.02c8c8p-5f;
    p.east = -0x1.4d7612p-4f;
    p.up = -0x1.371aa6p-4f;
    p.residualDeviation = 0x1.7d3824p-3f;
    p.mode = 4;
    p.extendedAge = 7;
    EXPECT_EQ(frameOf([&](Piece& piece) { addBinPosition(p, piece); }),
              "2442494e010034000708c90519050000206afa40ad0cdc54bbef4140c63de045794c614051f97844646401bd09bb"
              "a6bd538d9bbd129c3e3e0400070081130d0a");

    const BinDops dops{.tracked = 0x20A2'5B10, .used = 0x20A2'4910, .leapSeconds = 14, .hdop = 9, .vdop = 15};
    EXPECT_EQ(frameOf([&](Piece& piece) { addBinDops(dops, piece); }),
              "2442494e02001000105ba2201049a2200e0009000f0000006e020d0a");

    // the first and the last channel of each: in message 99 less the bytes on the tracking loops
    BinRanges ranges{.week = 1481, .secondsOfWeek = kTime};
    ranges.channels[0] = {12, 118, 255, 8, 3, -540344, 0x1.3cfe23a0a123bp+24, 0x1.667400be7d55ep+22};
    ranges.channels[11] = {137, 29, 255, 9, 3, 6148, 0x1.1bdf1193330eap+25, 0x1.034f206324992p+18};
    const std::string m96 = frameOf([&](Piece& piece) { addBinRanges(ranges, piece); });
    EXPECT_EQ(m96.substr(0, 88), "2442494e60002c010000c90519050000206afa40"
                                 "0c76ff0883147cff3b120a3ae2cf73415ed5e70b40675641");
    EXPECT_EQ(m96.substr(2 * (20 + 11 * 24), 48), "891dff0943800100ea303319f1bd814192493206f2341041");
    EXPECT_EQ(m96.size(), 2 * 312u);

    BinTracking tracking{.mode = 0x0B, .leapSeconds = 14, .week = 1481, .secondsOfWeek = kTime};
    tracking.channels[0] = {0, 12, 0x5F, 2, 2, 0, 2, 0, 64, 60, 0};
    tracking.channels[11] = {11, 137, 0x5F, 2, 2, 0, 0, 0, 47, 84, 6};
    const std::string m99 = frameOf([&](Piece& piece) { addBinTracking(tracking, piece); });
    EXPECT_EQ(m99.substr(0, 64), "2442494e630030010b0ec90519050000206afa40000c5f0202000200403c0000");
    EXPECT_EQ(m99.substr(2 * (20 + 11 * 24), 24), "0b895f02020000002f540600");
    EXPECT_EQ(m99.size(), 2 * 316u);
}

TEST(Vectors, Javad) {
    const unsigned char indices[] = {11, 2,  46, 49, 48, 10, 13,  4,   32,  17, 28,
                                     23, 24, 12, 20, 47, 41, 129, 137, 193, 71};
    const Ecef place{-0x1.e3a181683952ep+21, 0x1.98cf4fbeff735p+21, 0x1.c37196d805f58p+21};
    const JavadVelocity velocity{-0x1.e348eep-9f, 0x1.089638p-7f, -0x1.b73bb4p-9f, 0x1.9febc2p-8f};
    const JavadSigmas sigmas{0x1.cbc15p-2f, 0x1.86cd44p-1f, 0x1.c1d61cp-8f, 0x1.519f2ap-7f, 1};
    const std::pair<const char*, std::function<void(Piece&)>> cases[] = {
        {"7e7e303035b852860018", [](Piece& p) { addReceiverTime(8'803'000, p); }},
        {"5244303036db07010f00b3",
         [](Piece& p) {
             addDate({2011, 1, 15, 0}, p);
         }},
        {"4754303037fc42ab1fbb03b4", [](Piece& p) { addGpsTime(531'317'500, 955, p); }},
        {"44503030457b44213f3fc9803f76af083f011a",
         [](Piece& p) { addDops(0x1.4288f6p-1f, 0x1.01927ep+0f, 0x1.115eecp-1f, 1, p); }},
        {"50563032452e958316183a4ec135f7effbf48c4941585f806d19374c41a073bd3f77a471bb1c4b043cda9d5bbbe1f5cf3b0"
         "188",
         [&](Piece& p) {
             addPositionVelocity({place, 0x1.7ae74p+0f, 1}, velocity, p);
         }},
        {"504f30314500000020c46440c100000060e4e2504100000000b8db4e410000003f0443",
         [](Piece& p) {
             addPosition({{-2148744.25, 4426641.5, 4044656.0}, 0.5f, 4}, p);
         }},
        {"5347303132a8e0e53ea266433f0eebe03b95cf283c016c", [&](Piece& p) { addSigmas(sigmas, p); }},
        {"5053303039040c080a07090664e2",
         [](Piece& p) {
             addStatistics({4, 12, 8, 10, 7, 9, 6, 100}, p);
         }},
        {"53493031360b022e31300a0d0420111c17180c142f298189c1474a",
         [&](Piece& p) { addPerSatellite("SI", indices, p); }},
        {"4d463030394a5030313031303946", [](Piece& p) { addMessageForm("JP01010", p); }},
        {"5245303036253125616263", [](Piece& p) { addReply("%1%abc", p); }},
    };
    for (const auto& [expected, add] : cases)
        EXPECT_EQ(frameOf(add), expected);
}

TEST(Vectors, Trimble) {
    ByteWriter records;
    addGsofTime({345'600'500, 1520, 9, 0x2F, 7, 3}, records);
    addGsofPosition({-2148744.25, 4426641.5, 4044656.0}, records);
    addGsofDops(1.5f, 1.0f, 1.25f, 0.75f, records);
    addGsofSigmas({0.01f, 0.02f, 0.03f, 0.0f, 0.045f, 0.03f, 0.02f, 90.0f, 1.0f, 1}, records);
    addGsofSatellites(
        std::array<GsofSatellite, 2>{{{5, 0x4F, 3, 45, 270, 180, 120}, {12, 0x0F, 0, 10, 90, 140, 0}}},
        records);
    addGsofVelocity({2.5f, 0.0f, -0.25f}, records);
    EXPECT_EQ(frameOf([&](Piece& piece) { addGenout(0x11, records.bytes(), 244, piece); }),
              "02004085110000010a149971f405f0092f07030318c14064c4200000004150e2e460000000414edbb80000000009"
              "103fc000003f8000003fa000003f4000000c263c23d70a3ca3d70a3cf5c28f000000003d3851ec3cf5c28f3ca3d7"
              "0a42b400003f80000000010e1102054f032d010eb4780c0f000a005a8c00080d014020000000000000be80000099"
              "03");
}

// What PRN 11 broadcast for 19 December 2009, and how a receiver kept it.
TEST(Vectors, Ephemeris) {
    Ephemeris e;
    e.week = 1562;
    e.codesOnL2 = 1;
    e.iodc = 110;
    e.groupDelay = -25;
    e.clockReference = e.reference = 32400;
    e.clockDrift = -18;
    e.clockOffset = -75145;
    e.crs = 80;
    e.meanMotionDifference = 18743;
    e.meanAnomaly = -439702578;
    e.cuc = 150;
    e.eccentricity = 89121260;
    e.cus = 2377;
    e.rootOfSemiMajorAxis = 2702024316;
    e.correctionAge = 31;
    e.cic = 41;
    e.ascendingNode = 1384066016;
    e.cis = 89;
    e.inclination = 607246353;
    e.crc = 8138;
    e.perigee = 529912976;
    e.nodeRate = -25652;
    e.inclinationRate = 85;
    // words 3 to 10 of subframes 2 and 3 are those sent; in subframe 1 words 4 to 7 are reserved
    const std::string subframes = hexOf(subframesOf(e, 515'220));
    EXPECT_EQ(subframes.substr(12, 6) + subframes.substr(42, 18), "8690006e7e9000ffeefb69dc");
    EXPECT_EQ(subframes.substr(72, 48), "6e00504937e5caabce0096054fe1ec0949a10d9e7c7e907c");
    EXPECT_EQ(subframes.substr(132), "0029527f2be000592431d8111fca1f95d490ff9bcc6e0154");
    // preamble, the time in the handover word, the subframe
    for (const std::size_t subframe : {1u, 2u, 3u}) {
        const std::string head = subframes.substr(60 * (subframe - 1), 12);
        EXPECT_EQ(head.substr(0, 2), "8b");
        const unsigned long word = std::stoul(head.substr(6), nullptr, 16);
        EXPECT_EQ((word >> 7) * 6, 515'220 + 6 * subframe);
        EXPECT_EQ(word >> 2 & 7, subframe);
    }
    EXPECT_EQ(hexOf(subframesOf(e, 604'794)).substr(6, 4), "0000") << "the last subframe but two of a week";

    e.iodc = 0x16E;
    e.health = 1;
    e.accuracyIndex = 2;
    const std::string packet = hexOf(svEphemeris(11, 515'220, e).bytes());
    EXPECT_EQ(packet.substr(0, 40), "010b061a016e006e0007dc940007e9000007e900");
    EXPECT_EQ(packet.substr(88, 16), "bf02589000000000") << "af0, 2^-31 s";
    EXPECT_EQ(packet.substr(136, 16), "bfca355432000000") << "m0, semicircles";
    EXPECT_EQ(packet.substr(200, 16), "40b421b3cf800000") << "the root of a";
    EXPECT_EQ(packet.substr(packet.size() - 8), "00001012");
}

// The records are those that an OEMV receiver made of these signals and angles.
TEST(Vectors, Oem4) {
    Epoch epoch = sampleEpoch();
    epoch.satellites.resize(1);
    const auto encode = [&](Piece& piece) { encodeOem4(epoch, piece); };
    EXPECT_EQ(frameOf(encode, 3), "aa44121c8c0000203400000078b4ff0837ba9914000000000000c71202000000"
                                  "049c1018c68bfb2f5585a3097ddb22ab2003ecf4e6030000"
                                  "0b9c30118287fc6f4c85a3090945fd9020038ee426030000b15a5c31");
    EXPECT_EQ(frameOf(encode, 1),
              "aa44121c630000202c00000078b4ff0837ba9914000000000000c712000000000800000000000000"
              "0000c03f00000000000004400000000000804640000000000000d0bf00000000d076ce64")
        << "BESTVEL, made by hand";

    epoch.millisecondsOfWeek = 345'630'000;
    epoch.satellites = {{.system = SatelliteSystem::kGlonass,
                         .number = 14,
                         .elevation = 74.61156501420909,
                         .azimuth = 229.34966422980315,
                         .l1 = {.doppler = -828.864596066966}}};
    EXPECT_EQ(frameOf(encode, 4).substr(56, 104),
              "010000000100000001000000"
              "3300000000000000f9d995e123a75240bdf2097330ab6c40f4be57b1eae689c0f4be57b1eae689c0");
}

// Bits first..first+count-1, least significant first.
std::uint64_t bitsOf(ByteSpan record, unsigned first, unsigned count) {
    std::uint64_t value = 0;
    for (unsigned bit = first + count; bit-- > first;)
        value = value << 1 | (static_cast<unsigned>(record[bit / 8]) >> bit % 8 & 1U);
    return value;
}

TEST(Vectors, CompressedRangesStayWithinTheirBits) {
    const struct {
        const char* name;
        Signal signal;
        std::uint64_t doppler, range, accumulated, lock, cn0;
    } cases[] = {
        {"zero", {}, 0, 0, 0, 0, 0},
        {"weak and just locked", {0, 0, 0, 3.0, 0.03125}, 0, 0, 0, 1, 0},
        {"strong and locked for ever", {0, 0, 0, 99.0, 1e9}, 0, 0, 0, 0x1F'FFFF, 31},
        {"approaching", {0, -1.5, 2.0, 20.0, 0}, 512, 0, 384, 0, 0},
        {"receding", {0, 1.5, -2.0, 20.0, 0}, 0xFFF'FE00, 0, 0xFFFF'FE80, 0, 0},
        {"phase rolls over", {0, -16777216.25, 0, 51.0, 0}, 0, 0, 64, 0, 31},
        {"longest range", {536870911.9921875, 0, 0, 51.4, 0}, 0, 0xF'FFFF'FFFF, 0, 0, 31},
    };

    for (const auto& c : cases) {
        Epoch epoch = sampleEpoch();
        epoch.satellites[0].l1 = c.signal;
        Piece piece;
        encodeOem4(epoch, piece);
        const ByteSpan record = piece.frameBytes(3).subspan(28 + 4, 24);
        EXPECT_EQ(bitsOf(record, 32, 28), c.doppler) << c.name;
        EXPECT_EQ(bitsOf(record, 60, 36), c.range) << c.name;
        EXPECT_EQ(bitsOf(record, 96, 32), c.accumulated) << c.name;
        EXPECT_EQ(bitsOf(record, 144, 21), c.lock) << c.name;
        EXPECT_EQ(bitsOf(record, 165, 5), c.cn0) << c.name;
        EXPECT_EQ(bitsOf(record, 170, 22), 0u) << c.name;
    }
}

// A frame of 55 bytes says that another follows.
TEST(Vectors, MakerCutsRepliesInPieces) {
    EXPECT_EQ(frameOf([](Piece& piece) { addSiReply("A B", piece); }), "242453491803412042220d0a");
    const std::pair<std::size_t, std::vector<std::size_t>> cases[] = {
        {0, {0}}, {54, {54}}, {55, {55, 0}}, {56, {55, 1}}, {110, {55, 55, 0}}};
    for (const auto& [length, expected] : cases) {
        Piece piece;
        addSiReply(std::string(length, 'x'), piece);
        std::vector<std::size_t> sizes;
        for (const Frame& frame : piece.frames)
            sizes.push_back(frame.size - 9);
        EXPECT_EQ(sizes, expected) << length;
    }
}

}  // namespace
}  // namespace vkcomm::sim
