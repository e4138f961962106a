// Recorded binary logs against the text that the maker's own converter made of them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

#include "tests/formats/parser_bytes.h"
#include "vkcomm/decode/record_ids.h"
#include "vkcomm/formats/oem4_format.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm::test {
namespace {

using testing::HasSubstr;

class Oem4Recordings : public RecordingTest {};

// The binary logs of one number, in order.
std::vector<std::string> logsOf(const std::string& file, unsigned id) {
    std::vector<std::string> logs;
    for (Record& record : decodeRecording("oem4_binary/" + file, kDecodeAll).records)
        if (record.type == LOG_OEM4_BINARY && record.id == id) logs.push_back(std::move(record.bytes));
    return logs;
}

// The lines "#NAMEA,header fields;body fields*crc" of the converter.
std::vector<std::string> linesOf(const std::string& file, const std::string& name) {
    std::vector<std::string> lines;
    std::istringstream stream(recording("oem4_ascii/" + file));
    for (std::string line; std::getline(stream, line);)
        if (line.starts_with('#' + name + ',')) lines.push_back(line);
    return lines;
}

// What the converter shows of a log in its own formats: the header from the sequence number on, and bodies.

std::string shownHeader(ByteSpan log) {
    const Oem4Header h = loadOem4Header(log.data());
    std::string text;
    appendFormat(text, ",%u,%.1f,FINESTEERING,%u,%.3f,%08x,%04x,%u;", h.sequence, h.idleTime / 2.0, h.week,
                 h.milliseconds / 1000.0, h.receiverStatus, h.reserved, h.softwareVersion);
    return text;
}

// No corrections, so the standard deviations stay; the height error is 0.
std::string shownBestpos(ByteSpan log) {
    CNOEM4Format parser;
    parser.vProcessBestposB(log);
    const BestposBody& b = parser.Bestpos();
    EXPECT_EQ(row(b.solutionStatus, b.positionType, b.datum), "0 16 61");
    std::string text = "SOL_COMPUTED,SINGLE";
    appendFormat(text, ",%.11f,%.11f,%.4f,%.4f,WGS84,%.4f,%.4f,%.4f,\"%.4s\",%.3f,%.3f", b.latitude,
                 b.longitude, b.height, b.undulation, b.latitudeSigma, b.longitudeSigma, b.heightSigma,
                 b.baseStation.data(), b.differentialAge, b.solutionAge);
    appendFormat(text, ",%u,%u,%u,%u,%x,%02x,%02x,%02x*", b.satellitesTracked, b.satellitesUsed,
                 b.satellitesL1, b.satellitesL1L2, b.reserved68, b.extendedStatus, b.reserved70,
                 b.signalMask);
    return text;
}

std::string shownPsrdop(ByteSpan log) {
    CNOEM4Format parser;
    parser.vProcessPsrDOPB(log);
    const PsrdopBody& d = parser.Psrdop();
    std::string text;
    appendFormat(text, "%.4f,%.4f,%.4f,%.4f,%.4f,%.1f,%u,", d.gdop, d.pdop, d.hdop, d.htdop, d.tdop,
                 d.elevationCutOff, d.satellites);
    return text;
}

std::string shownVersion(ByteSpan log) {
    CNOEM4Format parser;
    parser.vProcessVerDataB(log);
    const VersionComponent& v = parser.Version();
    EXPECT_EQ(v.type, 1u);
    std::string text = row(log[28]) + ",GPSCARD";
    for (const std::string_view field :
         {fixedText(v.model), fixedText(v.serialNumber), fixedText(v.hardware), fixedText(v.software),
          fixedText(v.boot), fixedText(v.compileDate), fixedText(v.compileTime)})
        text += ",\"" + std::string(field) + '"';
    return text;
}

std::string shownSatvis(ByteSpan log) {
    const auto view = SatvisView::of(log.subspan(kOem4HeaderSize));
    if (!view || !view->isValid() || !view->hasCompleteAlmanac()) return "not valid";
    std::string text = "TRUE,TRUE," + std::to_string(view->count());
    for (std::size_t i = 0; i < view->count(); ++i) {
        const VisibleSatellite s = (*view)[i];
        appendFormat(text, ",%d,%d,%u,%.1f,%.1f,%.3f,%.3f", s.prn, s.glonassFrequency, s.health, s.elevation,
                     s.azimuth, s.trueDoppler, s.apparentDoppler);
    }
    return text + '*';
}

TEST_F(Oem4Recordings, LogsSayWhatTheirTextTwinsShow) {
    const char* const files[] = {"gavlab_ParsingData2", "gavlab_OnceEachAgain", "gavlab_OneEach",
                                 "gavlab_MorePropak", "gavlab_PropakWithGlonass"};

    struct {
        const char* name;
        unsigned id;
        std::string (*shown)(ByteSpan log);
        std::size_t logs;  // in all files
    } const cases[] = {
        {"BESTPOSA", kOem4Bestpos, shownBestpos, 24},
        {"PSRDOPA", kOem4Psrdop, shownPsrdop, 2},
        {"VERSIONA", kOem4Version, shownVersion, 2},
        {"SATVISA", kOem4Satvis, shownSatvis, 19},
    };

    for (const auto& c : cases) {
        std::size_t compared = 0;
        for (const std::string file : files) {
            const std::vector<std::string> logs = logsOf(file + ".GPS", c.id);
            const std::vector<std::string> lines = linesOf(file + ".ASC", c.name);
            ASSERT_EQ(logs.size(), lines.size()) << file << ' ' << c.name;
            for (std::size_t i = 0; i < logs.size(); ++i, ++compared)
                EXPECT_THAT(lines[i], HasSubstr(shownHeader(spanOf(logs[i])) + c.shown(spanOf(logs[i]))));
        }
        EXPECT_EQ(compared, c.logs) << c.name;
    }
}

// One compressed record against the ten fields of the maker's expansion.
void expectRange(const RangeObservation& range, const std::string (&shown)[10]) {
    EXPECT_EQ(range.prn, std::stoul(shown[0]));
    EXPECT_NEAR(range.pseudorange, std::stod(shown[2]), 1.0 / 128.0);
    EXPECT_EQ(double{range.cn0}, std::stod(shown[7]));
    EXPECT_NEAR(range.lockTime, std::stod(shown[8]), 0.00051);
    EXPECT_EQ(range.trackingStatus, std::stoul(shown[9], nullptr, 16) & 0x1F);
    const bool wavelengthKnown = range.trackingStatus == 4 || range.trackingStatus == 11;
    ASSERT_EQ(std::isfinite(range.accumulatedDoppler), wavelengthKnown);
    const double apart = wavelengthKnown ? range.accumulatedDoppler - std::stod(shown[4]) : 0.0;
    EXPECT_NEAR(std::remainder(apart, 8388608.0), 0.0, 1e-6);
}

// Records go through one slot one by one, since an epoch has more than 24.
TEST_F(Oem4Recordings, CompressedRangesAreWhatTheMakerExpands) {
    const std::vector<std::string> logs = logsOf("gavlab_test2_rcvr1.dat", kOem4Rangecmp);
    const std::vector<std::string> lines = linesOf("gavlab_test2_rcvr1_decompressed.ASC", "RANGEA");
    ASSERT_EQ(row(logs.size(), lines.size()), "436 436");
    CNOEM4Format parser;
    std::size_t compared = 0;
    for (std::size_t epoch = 0; epoch < logs.size(); ++epoch) {
        std::istringstream fields(lines[epoch].substr(lines[epoch].find(';') + 1));
        std::string count, shown[10];
        std::getline(fields, count, ',');
        parser.vProcessRangeCMPB(spanOf(logs[epoch]));
        ASSERT_EQ(parser.Ranges().count, std::min(std::stoul(count), 24ul));
        for (std::size_t i = 0; i < std::stoul(count); ++i) {
            SCOPED_TRACE(row(epoch, i));
            for (std::string& field : shown)
                std::getline(fields, field, ',');
            if (std::stoul(shown[0]) > 62) continue;
            parser.ProcessRangeCMPData(0, spanOf(logs[epoch]).subspan(32 + 24 * i, 24));
            expectRange(parser.Ranges().slots[0], shown);
            ++compared;
        }
    }
    EXPECT_GT(compared, 14'000u);
}

// Distance from the earth's centre at the reference time; the corrections make some 300 m of it.
double orbitRadius(const CEphemeris& e) {
    double anomaly = e.m0;
    for (int i = 0; i < 20; ++i)
        anomaly = e.m0 + e.e * std::sin(anomaly);
    return e.sqrtA * e.sqrtA * (1 - e.e * std::cos(anomaly));
}

TEST_F(Oem4Recordings, EphemeridesAreOrbitsOfGps) {
    CNOEM4Format parser;
    const std::vector<std::string> logs = logsOf("rtklib_oemv_20091218.gps", kOem4Rawephem);
    ASSERT_EQ(logs.size(), 25u);
    for (const std::string& log : logs) {
        parser.vProcessRawEphemB(spanOf(log));
        const CEphemeris& e = parser.Ephemeris();
        SCOPED_TRACE(e.prn);
        EXPECT_TRUE(e.subframesInPlace && e.isConsistent() && e.prn >= 1 && e.prn <= 32);
        EXPECT_EQ(row(e.week % 1024, e.toe), row(e.weekModulo1024, double(e.referenceSeconds)));
        EXPECT_NEAR(e.toe, e.toc, 7201.0);
        EXPECT_NEAR(orbitRadius(e), 26'560'000.0, 800'000.0);
        EXPECT_NEAR(e.i0, 0.96, 0.1);
        EXPECT_NEAR(e.omegaDot, -8e-9, 2e-9);
        EXPECT_LT(std::abs(e.af0), 1e-3);
    }
}

}  // namespace
}  // namespace vkcomm::test
