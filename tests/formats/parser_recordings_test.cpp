// Parsers on recordings of real receivers: what two messages, or another decoder, say of the same moment
// agrees.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <optional>

#include "host/genout_reassembler.h"
#include "host/javad_framer.h"
#include "tests/formats/parser_bytes.h"
#include "vkcomm/datum/convert.h"
#include "vkcomm/decode/record_ids.h"
#include "vkcomm/formats/cmc_format.h"
#include "vkcomm/formats/csi_format.h"
#include "vkcomm/formats/trimble_format.h"
#include "vkcomm/util/numbers.h"

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

// How many packets, reports, geodetic positions (record type 2), positions of both kinds (types 2 and 3) and
// fixed solutions with small sigmas (type 12) there are.
TEST_F(ParserRecordings, TrimblePositionsOfBothKindsAgree) {
    const std::pair<std::string, const char*> cases[] = {
        {"bd992_gsof_capture.bin", "6 3 3 3 0"},
        {"golden_gsof_bodies_REFRAMED.bin", "23 22 1 0 0"},
        {"ignav_171107134322.gsof", "5770 5770 5770 0 4238"},
        {"kamera_avx_gsof16_rmc_0p2hz.bin", "7 7 0 0 0"},
        {"kamera_avx_gsof16_rmc_utctag_1hz.bin", "5 5 0 0 0"}};
    for (const auto& [file, counts] : cases) {
        SCOPED_TRACE(file);
        GenoutReassembler reassembler;
        CTrimbleFormat parser;
        int packets = 0, reports = 0, geodetic = 0, both = 0, fixed = 0;
        for (const Record& record : decodeRecording("trimble_stx_gsof/" + file, kDecodeTrimble).records) {
            if (record.id != kTrimbleGenout) continue;
            ++packets;
            if (!reassembler.add(spanOf(record.bytes))) continue;
            ++reports;
            parser.vProcessGenout(reassembler.report());
            fixed += parser.PositionTime().flags2 == 7 && parser.Sigmas().east < 0.5F;
            const auto llh = recordIn(reassembler.report(), 2);
            const auto ecef = recordIn(reassembler.report(), 3);
            geodetic += llh.has_value();
            if (!llh || !ecef) continue;
            ++both;
            EXPECT_LT(distance(positionOf(*llh), positionOf(*ecef)), 1e-4);
            EXPECT_EQ(distance(parser.Position(), positionOf(*ecef)), 0.0) << "the record that came last";
            EXPECT_EQ(parser.PositionTime().week, 2226);
            EXPECT_NEAR(parser.Dops().pdop, std::hypot(parser.Dops().hdop, parser.Dops().vdop), 0.01);
        }
        EXPECT_EQ(row(packets, reports, geodetic, both, fixed), counts);
        EXPECT_EQ(reassembler.lostPages(), 0U);
    }
}

TEST_F(ParserRecordings, CmcMessagesTellTheSameTimeAndSatellites) {
    constexpr double kLeapSeconds = 14.0;
    CCMCFormat parser;
    double measured = 0.0;
    int compared = 0;
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
        if (parser.Status().visibleSatellites == 0) continue;
        EXPECT_NEAR(now.gpsSeconds + kLeapSeconds, measured, 1e-6) << "this receiver's message 20 tells UTC";
        EXPECT_LE(now.satellites, parser.Status().visibleSatellites);
        EXPECT_FLOAT_EQ(parser.Status().maskAngle, static_cast<float>(4.5 * kDegree));
        ++compared;
    }
    EXPECT_EQ(compared, 694);
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

// The number behind the key that stands last before the place in a text.
double numberBefore(const std::string& text, std::size_t place, const std::string& key) {
    return std::atof(&text[text.rfind(key, place) + key.size()]);
}

// How many messages there are (a separate scanner found as many, but for 27 inside messages cut short in
// greis-test), how many positions of another decoder come out again and how many of its sentences (two round
// the other way), and how many times of day differ from the week's: one where messages are cut short, and all
// of greis-test2, whose two are 18 s apart.
TEST_F(ParserRecordings, JavadMessagesSayWhatAnotherDecoderReads) {
    constexpr std::uint32_t kMillisecondsPerDay = 86'400'000;

    const struct {
        const char* file;
        const char* expected;
        const char* counts;
    } cases[] = {
        {"gpsd_greis-binary.log", "greis-binary", "485 44 44 0"},
        {"gpsd_greis-def.log", "greis-def", "450 12 12 0"},
        {"gpsd_greis-raw-2m.log", "greis-raw-2m", "3109 119 118 0"},
        {"gpsd_greis-reset.log", "greis-reset", "1097 89 88 0"},
        {"gpsd_greis-test.log", "greis-test", "521 35 35 1"},
        {"gpsd_greis-test2.log", nullptr, "110 0 0 11"},
        {"iperas_ifz-data-0.jps", nullptr, "3344 0 0 0"},
        {"rtklib_javad_20110115.jps", nullptr, "5280 0 0 0"},
    };

    for (const auto& c : cases) {
        std::string expected;
        if (c.expected) expected = recording(std::string("gpsd_expected/") + c.expected + ".log.chk");
        JavadFramer framer;
        framer.feed(spanOf(recording(std::string("javad_greis/") + c.file)));
        CJavadFormat parser;
        int positions = 0, sentences = 0, differing = 0;
        std::size_t place = 0;
        while (const auto message = framer.nextAtEnd()) {
            storeJavadMessage(parser, *message);
            if (message->id == "::" && parser.Time().milliseconds != 0)
                differing += parser.Time().milliseconds % kMillisecondsPerDay !=
                             loadLe<std::uint32_t>(message->body.data());
            if (message->id != "PV") continue;
            const XYZ& xyz = parser.Position().position;
            std::string json;
            appendFormat(json, "\"ecefx\":%.4f,\"ecefy\":%.4f,\"ecefz\":%.4f,", xyz.x, xyz.y, xyz.z);
            const std::size_t found = expected.find(json, place);
            if (found == expected.npos) continue;
            place = found;
            ++positions;
            const BLH blh = CConvert::XYZtoBLH(xyz);
            EXPECT_NEAR(blh.latitude / kDegree, numberBefore(expected, place, "\"lat\":"), 1e-9);
            EXPECT_NEAR(blh.longitude / kDegree, numberBefore(expected, place, "\"lon\":"), 1e-9);
            EXPECT_NEAR(blh.height, numberBefore(expected, place, "\"altHAE\":"), 2e-4);
            const std::string sentence = gpgga(parser.strGetGPGGA());  // GPS time, hence another
            sentences += expected.find(sentence.substr(16, sentence.find(",W,") - 13)) != expected.npos;
        }
        EXPECT_EQ(row(framer.messages(), positions, sentences, differing), c.counts) << c.file;
    }
}

}  // namespace
}  // namespace vkcomm::test
