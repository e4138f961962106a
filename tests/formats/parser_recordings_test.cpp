// Parsers on recordings of real receivers: what two messages, or another decoder, say of the same moment
// agrees.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <vector>

#include "host/genout_reassembler.h"
#include "host/javad_framer.h"
#include "tests/formats/parser_bytes.h"
#include "vkcomm/datum/convert.h"
#include "vkcomm/decode/record_ids.h"
#include "vkcomm/formats/cmc_format.h"
#include "vkcomm/formats/csi_format.h"
#include "vkcomm/formats/trimble_format.h"

namespace vkcomm::test {
namespace {

constexpr double kDegree = 0.017453292519943295;

double distance(const XYZ& left, const XYZ& right) {
    const XYZ apart = left - right;
    return std::hypot(apart.x, apart.y, apart.z);
}

class ParserRecordings : public RecordingTest {};

// --- Trimble

struct GsofCase {
    const char* file;
    int packets;
    int reports;
    int geodetic;   // records of type 2
    int cartesian;  // reports with types 2 and 3
    int week;       // of every position; 0: none has one
};

void PrintTo(const GsofCase& c, std::ostream* out) { *out << c.file; }

class GsofRecording : public RecordingTest, public testing::WithParamInterface<GsofCase> {};

// The data of the first record of that type in a report.
std::optional<ByteSpan> recordIn(ByteSpan report, unsigned char type) {
    for (ByteSpan rest = report.subspan(3); rest.size() >= 2 && rest.size() - 2 >= rest[1];
         rest = rest.subspan(rest[1] + 2u))
        if (rest[0] == type) return rest.first(rest[1] + 2u);
    return std::nullopt;
}

XYZ positionOf(ByteSpan record) {
    std::string report(3, '\0');
    report.append(record.begin(), record.end());
    CTrimbleFormat parser;
    parser.vProcessGenout(spanOf(report));
    return parser.Position();
}

TEST_P(GsofRecording, PositionsOfBothKindsAgree) {
    const std::string name = std::string("trimble_stx_gsof/") + GetParam().file;
    GenoutReassembler reassembler;
    CTrimbleFormat parser;
    int packets = 0, reports = 0, geodetic = 0, both = 0;
    for (const Record& record : decodeRecording(name, kDecodeTrimble).records) {
        if (record.id != kTrimbleGenout) continue;
        ++packets;
        if (!reassembler.add(spanOf(record.bytes))) continue;
        ++reports;
        parser.vProcessGenout(reassembler.report());
        const auto llh = recordIn(reassembler.report(), 2);
        const auto ecef = recordIn(reassembler.report(), 3);
        geodetic += llh.has_value();
        if (!llh || !ecef) continue;
        ++both;
        EXPECT_LT(distance(positionOf(*llh), positionOf(*ecef)), 1e-4);
        EXPECT_EQ(distance(parser.Position(), positionOf(*ecef)), 0.0) << "the record that came last";
        EXPECT_EQ(parser.PositionTime().week, GetParam().week);
        EXPECT_GT(parser.PositionTime().satellites, 3);
        EXPECT_LT(parser.PositionTime().satellites, 64);
        EXPECT_LT(parser.PositionTime().milliseconds, 604'800'000U);
        EXPECT_GT(parser.Dops().pdop, 0.5F);
        EXPECT_LT(parser.Dops().pdop, 20.0F);
        EXPECT_NEAR(parser.Dops().pdop, std::hypot(parser.Dops().hdop, parser.Dops().vdop), 0.01);
    }
    EXPECT_EQ(packets, GetParam().packets);
    EXPECT_EQ(reports, GetParam().reports);
    EXPECT_EQ(geodetic, GetParam().geodetic);
    EXPECT_EQ(both, GetParam().cartesian);
    EXPECT_EQ(reassembler.lostPages(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Trimble, GsofRecording,
                         testing::Values(GsofCase{"bd992_gsof_capture.bin", 6, 3, 3, 3, 2226},
                                         GsofCase{"golden_gsof_bodies_REFRAMED.bin", 23, 22, 1, 0, 0},
                                         GsofCase{"ignav_171107134322.gsof", 5770, 5770, 5770, 0, 0},
                                         GsofCase{"kamera_avx_gsof16_rmc_0p2hz.bin", 7, 7, 0, 0, 0},
                                         GsofCase{"kamera_avx_gsof16_rmc_utctag_1hz.bin", 5, 5, 0, 0, 0}));

TEST_F(ParserRecordings, ATrimbleRoverMovesAsItsTimeAndSigmasAllow) {
    GenoutReassembler reassembler;
    CTrimbleFormat parser;
    XYZ before;
    std::uint32_t timeBefore = 0;
    int moves = 0, fixed = 0;
    const std::string name = "trimble_stx_gsof/ignav_171107134322.gsof";
    for (const Record& record : decodeRecording(name, kDecodeTrimble).records) {
        if (!reassembler.add(spanOf(record.bytes))) continue;
        parser.vProcessGenout(reassembler.report());
        EXPECT_EQ(parser.PositionTime().week, 1974);
        EXPECT_LT(parser.PositionTime().flags2, 16) << "each report has a sigma record";
        const BLH position = CConvert::XYZtoBLH(parser.Position());
        if (position.latitude == 0.0) continue;
        EXPECT_NEAR(position.latitude / kDegree, 30.5, 0.5);
        EXPECT_NEAR(position.longitude / kDegree, 114.4, 0.5);
        const double elapsed = (parser.PositionTime().milliseconds - timeBefore) / 1000.0;
        const bool isFixed = parser.PositionTime().flags2 == 7;
        if (isFixed && elapsed == 1.0 && fixed > 0) {
            EXPECT_LT(distance(parser.Position(), before), 40.0);
            ++moves;
        }
        fixed += isFixed;
        if (isFixed) {
            EXPECT_LT(parser.Sigmas().east, 0.5F);
        }
        before = parser.Position();
        timeBefore = parser.PositionTime().milliseconds;
    }
    EXPECT_GT(fixed, 1000);
    EXPECT_GT(moves, 1000);
}

// --- CMC

TEST_F(ParserRecordings, CmcMessagesTellTheSameTimeAndSatellites) {
    constexpr double kLeapSeconds = 14.0;
    CCMCFormat parser;
    XYZ before;
    double measured = 0.0, timeBefore = 0.0;
    int navigation = 0, compared = 0;
    for (const Record& record : decodeRecording("cmc_allstar/rtklib_ss2_20080517.log", kDecodeCmc).records) {
        if (record.id == kCmcMeasurements) measured = loadLe<double>(dataOf(record.bytes) + 7);
        if (record.id == kCmcVisibility) parser.vProcess33Dat(spanOf(record.bytes));
        if (record.id == kCmcReceiverStatus) parser.vProcess49Dat(spanOf(record.bytes));
        if (record.id != kCmcNavigation) continue;
        parser.vProcress20Dat(spanOf(record.bytes));
        const CmcNavigation& now = parser.Navigation();
        EXPECT_EQ(now.gpsWeek, 1479U);
        EXPECT_NEAR(now.position.latitude / kDegree, 35.87, 0.05);
        EXPECT_NEAR(now.position.longitude / kDegree, 138.39, 0.05);
        const XYZ position = CConvert::BLHtoXYZ(now.position);
        if (++navigation > 1) {
            EXPECT_NEAR(now.gpsSeconds - timeBefore, 1.0, 1e-3);
            EXPECT_LT(distance(position, before), 30.0);
        }
        if (parser.Status().visibleSatellites > 0) {
            EXPECT_NEAR(now.gpsSeconds + kLeapSeconds, measured, 1e-6)
                << "this receiver's message 20 tells UTC";
            EXPECT_LE(now.satellites, parser.Status().visibleSatellites);
            EXPECT_FLOAT_EQ(parser.Status().maskAngle, static_cast<float>(4.5 * kDegree));
            ++compared;
        }
        before = position;
        timeBefore = now.gpsSeconds;
    }
    EXPECT_EQ(navigation, 695);
    EXPECT_GT(compared, 690);
}

// --- Hemisphere

// Metres a second, from two positions a second apart.
struct Motion {
    double north;
    double east;
};

Motion motionBetween(const CsiNavigation& before, const CsiNavigation& now) {
    constexpr double kEarth = 6'367'000.0;  // a middle radius, metres
    return {(now.latitude - before.latitude) * kDegree * kEarth,
            (now.longitude - before.longitude) * kDegree * kEarth * std::cos(now.latitude * kDegree)};
}

TEST_F(ParserRecordings, HemisphereMessagesTellTheSameTimeMotionAndSatellites) {
    CCSIFormat parser;
    CsiNavigation before;
    double observed = 0.0, tracked = 0.0;
    int fixes = 0;
    const std::string name = "csi_bin/rtklib_cres_20080526.partA_first131072.bin";
    for (const Record& record : decodeRecording(name, kDecodeHemisphere).records) {
        const ByteSpan bytes = spanOf(record.bytes);
        if (record.id == kBin96) {
            parser.ProcessSBinaryMsg96(bytes);
            observed = loadLe<double>(&bytes[12]);
        }
        if (record.id == kBin99) {
            parser.ProcessSBinaryMsg99(bytes);
            tracked = loadLe<double>(&bytes[12]);
        }
        if (record.id != kBin1) continue;
        parser.ProcessSBinaryMsg1(bytes);
        const CsiNavigation& now = parser.Navigation();
        EXPECT_EQ(now.gpsWeek, 1481);
        EXPECT_EQ(now.navigationMode, 4U);
        EXPECT_NEAR(now.latitude, 35.87, 0.05);
        EXPECT_NEAR(now.longitude, 138.39, 0.05);
        if (++fixes > 1) {
            const Motion moved = motionBetween(before, now);
            EXPECT_NEAR(moved.north, (double{now.velocityNorth} + double{before.velocityNorth}) / 2, 1.5);
            EXPECT_NEAR(moved.east, (double{now.velocityEast} + double{before.velocityEast}) / 2, 1.5);
        }
        if (fixes > 2) {
            EXPECT_NEAR(now.gpsSeconds, observed, 2.0);
            EXPECT_NEAR(now.gpsSeconds, tracked, 2.0);
            EXPECT_LE(parser.Solution().satellites, parser.Satellites().count);
            EXPECT_GE(parser.Satellites().valid, 4U);
        }
        before = now;
    }
    EXPECT_EQ(fixes, 155);
}

// --- Javad

struct JavadCountCase {
    const char* file;
    std::uint64_t messages;
};

void PrintTo(const JavadCountCase& c, std::ostream* out) { *out << c.file; }

class JavadCounts : public RecordingTest, public testing::WithParamInterface<JavadCountCase> {};

TEST_P(JavadCounts, AreThoseOfASeparateScanner) {
    const std::string stream = recording(std::string("javad_greis/") + GetParam().file);
    JavadFramer framer;
    framer.feed(spanOf(stream));
    while (framer.nextAtEnd()) {
    }
    EXPECT_EQ(framer.messages(), GetParam().messages);
}

INSTANTIATE_TEST_SUITE_P(Javad, JavadCounts,
                         testing::Values(JavadCountCase{"gpsd_greis-binary.log", 485},
                                         JavadCountCase{"gpsd_greis-def.log", 450},
                                         JavadCountCase{"gpsd_greis-raw-2m.log", 3109},
                                         JavadCountCase{"gpsd_greis-reset.log", 1097},
                                         // damaged: 27 stand inside messages that are cut short
                                         JavadCountCase{"gpsd_greis-test.log", 494 + 27},
                                         JavadCountCase{"gpsd_greis-test2.log", 110},
                                         JavadCountCase{"iperas_ifz-data-0.jps", 3344},
                                         JavadCountCase{"rtklib_javad_20110115.jps", 5280}));

struct JavadPositionsCase {
    const char* name;
    int positions;  // that the other decoder gives
};

void PrintTo(const JavadPositionsCase& c, std::ostream* out) { *out << c.name; }

class JavadPositions : public RecordingTest, public testing::WithParamInterface<JavadPositionsCase> {};

// The number behind "name": in a line of JSON.
std::optional<double> numberIn(std::string_view line, std::string_view name) {
    const std::string key = "\"" + std::string(name) + "\":";
    const std::size_t at = line.find(key);
    if (at == line.npos) return std::nullopt;
    return std::strtod(std::string(line.substr(at + key.size(), 30)).c_str(), nullptr);
}

struct ExpectedFix {
    XYZ position;
    BLH geodetic;  // degrees
};

std::vector<ExpectedFix> expectedFixes(std::string_view text) {
    std::vector<ExpectedFix> fixes;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        const auto x = numberIn(line, "ecefx"), y = numberIn(line, "ecefy"), z = numberIn(line, "ecefz");
        const auto latitude = numberIn(line, "lat"), longitude = numberIn(line, "lon"),
                   height = numberIn(line, "altHAE");
        if (x && y && z && latitude && longitude && height)
            fixes.push_back({{*x, *y, *z}, {*latitude, *longitude, *height}});
    }
    return fixes;
}

TEST_P(JavadPositions, AreThoseOfAnotherDecoder) {
    const std::string stream = recording(std::string("javad_greis/gpsd_") + GetParam().name + ".log");
    const std::vector<ExpectedFix> fixes =
        expectedFixes(recording(std::string("gpsd_expected/") + GetParam().name + ".log.chk"));
    JavadFramer framer;
    framer.feed(spanOf(stream));
    CJavadFormat parser;
    std::size_t found = 0;
    while (const auto message = framer.nextAtEnd()) {
        if (!storeJavadMessage(parser, *message) || message->id != "PV" || found == fixes.size()) continue;
        const ExpectedFix& fix = fixes[found];
        if (!(distance(parser.Position().position, fix.position) <= 1e-4)) continue;
        const BLH got = CConvert::XYZtoBLH(parser.Position().position);
        EXPECT_NEAR(got.latitude / kDegree, fix.geodetic.latitude, 1e-9);
        EXPECT_NEAR(got.longitude / kDegree, fix.geodetic.longitude, 1e-9);
        EXPECT_NEAR(got.height, fix.geodetic.height, 2e-4);
        ++found;
    }
    EXPECT_EQ(static_cast<int>(found), GetParam().positions);
    EXPECT_EQ(found, fixes.size());
}

INSTANTIATE_TEST_SUITE_P(Javad, JavadPositions,
                         testing::Values(JavadPositionsCase{"greis-binary", 44},
                                         JavadPositionsCase{"greis-def", 12},
                                         JavadPositionsCase{"greis-raw-2m", 119},
                                         JavadPositionsCase{"greis-reset", 89},
                                         JavadPositionsCase{"greis-test", 35}));

TEST_F(ParserRecordings, JavadMessagesTellTheSameTimeAndTheGgaIsThatOfAnotherDecoder) {
    constexpr std::uint32_t kMillisecondsPerDay = 86'400'000;
    const std::string stream = recording("javad_greis/gpsd_greis-binary.log");
    const std::string expected = recording("gpsd_expected/greis-binary.log.chk");
    JavadFramer framer;
    framer.feed(spanOf(stream));
    CJavadFormat parser;
    int compared = 0;
    while (const auto message = framer.nextAtEnd()) {
        storeJavadMessage(parser, *message);
        if (message->id != "::" || parser.Position().solutionType == 0) continue;
        EXPECT_EQ(parser.Time().milliseconds % kMillisecondsPerDay,
                  loadLe<std::uint32_t>(message->body.data()));
        // latitude and longitude to all seven decimals; the other's time is UTC, 18 s behind
        const std::string sentence = gpgga(parser.strGetGPGGA());
        const std::string upToLongitude = sentence.substr(16, sentence.find(",W,") + 3 - 16);
        EXPECT_NE(expected.find(upToLongitude), std::string::npos) << sentence;
        ++compared;
    }
    EXPECT_EQ(compared, 44);
}

}  // namespace
}  // namespace vkcomm::test
