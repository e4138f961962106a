// Parsers on recordings of real receivers: what two messages, or another decoder, say of the same moment
// agrees.
#include <gtest/gtest.h>

#include <cmath>
#include <optional>

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

// The data of the first record of that type in a report.
std::optional<ByteSpan> recordIn(ByteSpan report, unsigned char type) {
    for (ByteSpan rest = report.subspan(3); rest.size() >= 2 && rest.size() - 2 >= rest[1];
         rest = rest.subspan(rest[1] + 2u))
        if (rest[0] == type) return rest.first(rest[1] + 2u);
    return std::nullopt;
}

XYZ positionOf(ByteSpan record) {
    std::vector<unsigned char> report(3);
    report.insert(report.end(), record.begin(), record.end());
    CTrimbleFormat parser;
    parser.vProcessGenout(report);
    return parser.Position();
}

TEST_F(ParserRecordings, TrimblePositionsOfBothKindsAgree) {
    struct {
        const char* file;
        int packets, reports, geodetic, both;  // reports with a record of type 2, and with types 2 and 3
    } const cases[] = {{"bd992_gsof_capture.bin", 6, 3, 3, 3},
                       {"golden_gsof_bodies_REFRAMED.bin", 23, 22, 1, 0},
                       {"ignav_171107134322.gsof", 5770, 5770, 5770, 0},
                       {"kamera_avx_gsof16_rmc_0p2hz.bin", 7, 7, 0, 0},
                       {"kamera_avx_gsof16_rmc_utctag_1hz.bin", 5, 5, 0, 0}};

    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        GenoutReassembler reassembler;
        CTrimbleFormat parser;
        int packets = 0, reports = 0, geodetic = 0, both = 0;
        for (const Record& record :
             decodeRecording(std::string("trimble_stx_gsof/") + c.file, kDecodeTrimble).records) {
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
            EXPECT_EQ(parser.PositionTime().week, 2226);
            EXPECT_LT(parser.PositionTime().milliseconds, 604'800'000U);
            EXPECT_GT(parser.Dops().pdop, 0.5F);
            EXPECT_NEAR(parser.Dops().pdop, std::hypot(parser.Dops().hdop, parser.Dops().vdop), 0.01);
        }
        EXPECT_EQ(row(packets, reports, geodetic, both), row(c.packets, c.reports, c.geodetic, c.both));
        EXPECT_EQ(reassembler.lostPages(), 0U);
    }
}

TEST_F(ParserRecordings, ATrimbleRoverMovesAsItsTimeAndSigmasAllow) {
    GenoutReassembler reassembler;
    CTrimbleFormat parser;
    XYZ before;
    std::uint32_t timeBefore = 0;
    int moves = 0;
    for (const Record& record :
         decodeRecording("trimble_stx_gsof/ignav_171107134322.gsof", kDecodeTrimble).records) {
        if (!reassembler.add(spanOf(record.bytes))) continue;
        parser.vProcessGenout(reassembler.report());
        EXPECT_EQ(parser.PositionTime().week, 1974);
        EXPECT_LT(parser.PositionTime().flags2, 16) << "each report has a sigma record";
        if (parser.PositionTime().flags2 != 7) continue;
        const BLH position = CConvert::XYZtoBLH(parser.Position());
        EXPECT_NEAR(position.latitude / kDegree, 30.5, 0.5);
        EXPECT_NEAR(position.longitude / kDegree, 114.4, 0.5);
        EXPECT_LT(parser.Sigmas().east, 0.5F);
        if (parser.PositionTime().milliseconds - timeBefore == 1000) {
            EXPECT_LT(distance(parser.Position(), before), 40.0);
            ++moves;
        }
        before = parser.Position();
        timeBefore = parser.PositionTime().milliseconds;
    }
    EXPECT_GT(moves, 1000);
}

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
        before = position;
        timeBefore = now.gpsSeconds;
        if (parser.Status().visibleSatellites == 0) continue;
        EXPECT_NEAR(now.gpsSeconds + kLeapSeconds, measured, 1e-6) << "this receiver's message 20 tells UTC";
        EXPECT_LE(now.satellites, parser.Status().visibleSatellites);
        EXPECT_FLOAT_EQ(parser.Status().maskAngle, static_cast<float>(4.5 * kDegree));
        ++compared;
    }
    EXPECT_EQ(navigation, 695);
    EXPECT_GT(compared, 690);
}

TEST_F(ParserRecordings, HemisphereMessagesTellTheSameTimeMotionAndSatellites) {
    constexpr double kEarth = 6'367'000.0;  // a middle radius, metres
    CCSIFormat parser;
    CsiNavigation before;
    double observed = 0.0, tracked = 0.0;
    int fixes = 0;
    const std::string name = "csi_bin/rtklib_cres_20080526.partA_first131072.bin";
    for (const Record& record : decodeRecording(name, kDecodeHemisphere).records) {
        const ByteSpan bytes = spanOf(record.bytes);
        if (record.id == kBin96) parser.ProcessSBinaryMsg96(bytes), observed = loadLe<double>(&bytes[12]);
        if (record.id == kBin99) parser.ProcessSBinaryMsg99(bytes), tracked = loadLe<double>(&bytes[12]);
        if (record.id != kBin1) continue;
        parser.ProcessSBinaryMsg1(bytes);
        const CsiNavigation& now = parser.Navigation();
        EXPECT_EQ(row(now.gpsWeek, now.navigationMode), "1481 4");
        EXPECT_NEAR(now.latitude, 35.87, 0.05);
        EXPECT_NEAR(now.longitude, 138.39, 0.05);
        if (++fixes > 1) {
            // Metres a second, from two positions a second apart.
            const double north = (now.latitude - before.latitude) * kDegree * kEarth;
            const double east =
                (now.longitude - before.longitude) * kDegree * kEarth * std::cos(now.latitude * kDegree);
            EXPECT_NEAR(north, (double{now.velocityNorth} + double{before.velocityNorth}) / 2, 1.5);
            EXPECT_NEAR(east, (double{now.velocityEast} + double{before.velocityEast}) / 2, 1.5);
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

TEST_F(ParserRecordings, JavadMessagesAreAsManyAsASeparateScannerFinds) {
    const std::pair<const char*, std::uint64_t> cases[] = {
        {"gpsd_greis-binary.log", 485},      {"gpsd_greis-def.log", 450},
        {"gpsd_greis-raw-2m.log", 3109},     {"gpsd_greis-reset.log", 1097},
        {"gpsd_greis-test.log", 494 + 27},  // 27 inside messages cut short
        {"gpsd_greis-test2.log", 110},       {"iperas_ifz-data-0.jps", 3344},
        {"rtklib_javad_20110115.jps", 5280},
    };
    for (const auto& [file, messages] : cases) {
        JavadFramer framer;
        framer.feed(spanOf(recording(std::string("javad_greis/") + file)));
        while (framer.nextAtEnd()) {
        }
        EXPECT_EQ(framer.messages(), messages) << file;
    }
}

// The numbers behind "name": in a line of JSON; none when one is missing.
std::optional<XYZ> numbersIn(std::string_view line, std::initializer_list<std::string_view> names) {
    double numbers[3];
    double* number = numbers;
    for (const std::string_view name : names) {
        const std::string key = "\"" + std::string(name) + "\":";
        const std::size_t at = line.find(key);
        if (at == line.npos) return std::nullopt;
        *number++ = std::strtod(std::string(line.substr(at + key.size(), 30)).c_str(), nullptr);
    }
    return XYZ{numbers[0], numbers[1], numbers[2]};
}

struct ExpectedFix {
    XYZ position;
    XYZ geodetic;  // degrees, metres
};

std::vector<ExpectedFix> expectedFixes(std::string_view text) {
    std::vector<ExpectedFix> fixes;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        const auto position = numbersIn(line, {"ecefx", "ecefy", "ecefz"});
        const auto geodetic = numbersIn(line, {"lat", "lon", "altHAE"});
        if (position && geodetic) fixes.push_back({*position, *geodetic});
    }
    return fixes;
}

TEST_F(ParserRecordings, JavadPositionsAreThoseOfAnotherDecoder) {
    const std::pair<std::string, std::size_t> cases[] = {{"greis-binary", 44},
                                                         {"greis-def", 12},
                                                         {"greis-raw-2m", 119},
                                                         {"greis-reset", 89},
                                                         {"greis-test", 35}};
    for (const auto& [name, positions] : cases) {
        const std::vector<ExpectedFix> fixes = expectedFixes(recording("gpsd_expected/" + name + ".log.chk"));
        JavadFramer framer;
        framer.feed(spanOf(recording("javad_greis/gpsd_" + name + ".log")));
        CJavadFormat parser;
        std::size_t found = 0;
        while (const auto message = framer.nextAtEnd()) {
            if (!storeJavadMessage(parser, *message) || message->id != "PV" || found == fixes.size())
                continue;
            const ExpectedFix& fix = fixes[found];
            if (!(distance(parser.Position().position, fix.position) <= 1e-4)) continue;
            const BLH got = CConvert::XYZtoBLH(parser.Position().position);
            EXPECT_NEAR(got.latitude / kDegree, fix.geodetic.x, 1e-9);
            EXPECT_NEAR(got.longitude / kDegree, fix.geodetic.y, 1e-9);
            EXPECT_NEAR(got.height, fix.geodetic.z, 2e-4);
            ++found;
        }
        EXPECT_EQ(row(found, fixes.size()), row(positions, positions)) << name;
    }
}

TEST_F(ParserRecordings, JavadMessagesTellTheSameTimeAndTheGgaIsThatOfAnotherDecoder) {
    constexpr std::uint32_t kMillisecondsPerDay = 86'400'000;
    const std::string expected = recording("gpsd_expected/greis-binary.log.chk");
    JavadFramer framer;
    framer.feed(spanOf(recording("javad_greis/gpsd_greis-binary.log")));
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
