// Recorded binary logs against the text that the maker's own converter made of them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "host/decode_stream.h"
#include "tests/formats/parser_bytes.h"
#include "vkcomm/decode/record_ids.h"
#include "vkcomm/formats/oem4_format.h"

namespace vkcomm::test {
namespace {

using Log = std::vector<unsigned char>;

// The binary logs of one number, in order.
std::vector<Log> logsOf(const std::filesystem::path& path, unsigned id) {
    std::string error;
    const auto source = ByteSource::open(path.string(), error);
    EXPECT_TRUE(source) << error;
    std::vector<Log> logs;
    if (!source) return logs;
    CNOut decoder;
    const auto keep = [&](const CNOut& record) {
        const ByteSpan bytes = record.RecordBytes();
        if (record.Type() == LOG_OEM4_BINARY && record.Id() == id)
            logs.emplace_back(bytes.begin(), bytes.end());
        return true;
    };
    decodeStream(*source, decoder, kLargestChunk, {keep, {}});
    return logs;
}

// One line of the converter: "#NAMEA,header fields;body fields*crc".
struct Line {
    std::vector<std::string> header, body;
};

std::vector<std::string> split(const std::string& text) {
    std::vector<std::string> fields;
    std::istringstream stream(text);
    for (std::string field; std::getline(stream, field, ',');) {
        std::erase(field, '"');
        fields.push_back(field);
    }
    return fields;
}

std::vector<Line> linesOf(const std::filesystem::path& path, const std::string& name) {
    std::vector<Line> lines;
    std::ifstream file(path, std::ios::binary);
    for (std::string text; std::getline(file, text);) {
        if (!text.starts_with('#' + name + ',')) continue;
        const std::size_t body = text.find(';');
        lines.push_back(
            {split(text.substr(0, body)), split(text.substr(body + 1, text.rfind('*') - body - 1))});
    }
    return lines;
}

// The value is what the text shows, to half a unit of its last digit (and the last bits of a float).
void expectShown(const std::string& text, double value, const char* field) {
    const std::size_t point = text.find('.');
    const double decimals = point == std::string::npos ? 0.0 : static_cast<double>(text.size() - point - 1);
    EXPECT_NEAR(value, std::stod(text), 0.5000001 * std::pow(10.0, -decimals) + std::abs(value) * 1e-15)
        << field;
}

void expectHex(const std::string& text, unsigned long value, const char* field) {
    EXPECT_EQ(value, std::stoul(text, nullptr, 16)) << field;
}

void expectHeader(const Line& line, const Oem4Header& header) {
    const std::vector<std::string>& shown = line.header;
    ASSERT_EQ(shown.size(), 10u);
    expectShown(shown[2], header.sequence, "sequence");
    expectShown(shown[3], header.idleTime / 2.0, "idle time");
    expectShown(shown[5], header.week, "week");
    expectShown(shown[6], header.milliseconds / 1000.0, "seconds");
    expectHex(shown[7], header.receiverStatus, "receiver status");
    expectHex(shown[8], header.reserved, "reserved");
    expectShown(shown[9], header.softwareVersion, "software version");
}

class Twins : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        if (!std::filesystem::exists(recordingsFolder() / "oem4_binary")) GTEST_SKIP() << "no recordings";
    }

    // Calls check with each binary log and the line that says the same; gives their number.
    std::size_t forEach(unsigned id, const std::string& name,
                        const std::function<void(ByteSpan, const Line&)>& check) {
        const std::string twin = GetParam();
        const std::vector<Log> logs = logsOf(recordingsFolder() / "oem4_binary" / (twin + ".GPS"), id);
        const std::vector<Line> lines = linesOf(recordingsFolder() / "oem4_ascii" / (twin + ".ASC"), name);
        EXPECT_EQ(logs.size(), lines.size());
        for (std::size_t i = 0; i < std::min(logs.size(), lines.size()); ++i) {
            SCOPED_TRACE(name + ' ' + std::to_string(i));
            check(logs[i], lines[i]);
        }
        return lines.size();
    }

    CNOEM4Format m_parser;
};

const std::map<std::string, std::uint32_t> kNames{
    {"SOL_COMPUTED", 0}, {"INSUFFICIENT_OBS", 1}, {"NONE", 0}, {"SINGLE", 16}, {"WGS84", 61}, {"GPSCARD", 1}};

void expectBestpos(const std::vector<std::string>& shown, const BestposBody& body) {
    ASSERT_EQ(shown.size(), 21u);
    EXPECT_EQ(body.solutionStatus, kNames.at(shown[0]));
    EXPECT_EQ(body.positionType, kNames.at(shown[1]));
    expectShown(shown[2], body.latitude, "latitude");
    expectShown(shown[3], body.longitude, "longitude");
    expectShown(shown[4], body.height, "height");
    expectShown(shown[5], double{body.undulation}, "undulation");
    EXPECT_EQ(body.datum, kNames.at(shown[6]));
    expectShown(shown[7], double{body.latitudeSigma}, "latitude sigma");
    expectShown(shown[8], double{body.longitudeSigma}, "longitude sigma");
    expectShown(shown[9], double{body.heightSigma}, "height sigma");
    EXPECT_EQ(fixedText(body.baseStation), shown[10]);
    expectShown(shown[11], double{body.differentialAge}, "differential age");
    expectShown(shown[12], double{body.solutionAge}, "solution age");
    expectShown(shown[13], body.satellitesTracked, "tracked");
    expectShown(shown[14], body.satellitesUsed, "used");
    expectShown(shown[15], body.satellitesL1, "L1");
    expectShown(shown[16], body.satellitesL1L2, "L1 and L2");
    expectHex(shown[17], body.reserved68, "reserved");
    expectHex(shown[18], body.extendedStatus, "extended status");
    expectHex(shown[19], body.reserved70, "reserved");
    expectHex(shown[20], body.signalMask, "signal mask");
}

// None of these recordings has corrections, so the sigmas stay; the height error is 0.
TEST_P(Twins, SayTheSamePosition) {
    EXPECT_GT(forEach(kOem4Bestpos, "BESTPOSA",
                      [this](ByteSpan log, const Line& line) {
                          m_parser.vProcessBestposB(log);
                          expectHeader(line, m_parser.Header());
                          expectBestpos(line.body, loadBestposBody(log.data() + kOem4HeaderSize));
                          expectBestpos(line.body, m_parser.Bestpos());
                          expectShown(line.body[2], m_parser.Position().position.latitude * 57.29577951308232,
                                      "position");
                          expectShown(line.header[6], m_parser.Position().seconds, "seconds");
                      }),
              0u);
}

TEST_P(Twins, SayTheSameDops) {
    forEach(kOem4Psrdop, "PSRDOPA", [this](ByteSpan log, const Line& line) {
        m_parser.vProcessPsrDOPB(log);
        expectHeader(line, m_parser.Header());
        const PsrdopBody& dops = m_parser.Psrdop();
        const float values[] = {dops.gdop, dops.pdop, dops.hdop, dops.htdop, dops.tdop, dops.elevationCutOff};
        for (std::size_t i = 0; i < std::size(values); ++i)
            expectShown(line.body[i], double{values[i]}, "DOP");
        expectShown(line.body[6], dops.satellites, "satellites");
    });
}

TEST_P(Twins, SayTheSameVersion) {
    forEach(kOem4Version, "VERSIONA", [this](ByteSpan log, const Line& line) {
        m_parser.vProcessVerDataB(log);
        expectHeader(line, m_parser.Header());
        const VersionComponent& version = m_parser.Version();
        EXPECT_EQ(version.type, kNames.at(line.body[1]));
        EXPECT_EQ(fixedText(version.model), line.body[2]);
        EXPECT_EQ(fixedText(version.serialNumber), line.body[3]);
        EXPECT_EQ(fixedText(version.hardware), line.body[4]);
        EXPECT_EQ(fixedText(version.software), line.body[5]);
        EXPECT_EQ(fixedText(version.boot), line.body[6]);
        EXPECT_EQ(fixedText(version.compileDate), line.body[7]);
        EXPECT_EQ(fixedText(version.compileTime), line.body[8]);
    });
}

TEST_P(Twins, SayTheSameVisibleSatellites) {
    forEach(kOem4Satvis, "SATVISA", [](ByteSpan log, const Line& line) {
        const auto view = SatvisView::of(log.subspan(kOem4HeaderSize));
        ASSERT_TRUE(view);
        EXPECT_EQ(view->isValid(), line.body[0] == "TRUE");
        EXPECT_EQ(view->hasCompleteAlmanac(), line.body[1] == "TRUE");
        ASSERT_EQ(view->count(), std::stoul(line.body[2]));
        ASSERT_EQ(line.body.size(), 3 + 7 * view->count());
        for (std::size_t i = 0; i < view->count(); ++i) {
            const VisibleSatellite satellite = (*view)[i];
            const std::string* const shown = &line.body[3 + 7 * i];
            expectShown(shown[0], satellite.prn, "PRN");
            expectShown(shown[1], satellite.glonassFrequency, "frequency");
            expectShown(shown[2], satellite.health, "health");
            expectShown(shown[3], satellite.elevation, "elevation");
            expectShown(shown[4], satellite.azimuth, "azimuth");
            expectShown(shown[5], satellite.trueDoppler, "true Doppler");
            expectShown(shown[6], satellite.apparentDoppler, "apparent Doppler");
        }
    });
}

INSTANTIATE_TEST_SUITE_P(Recorded, Twins,
                         testing::Values("gavlab_ParsingData2", "gavlab_OnceEachAgain", "gavlab_OneEach",
                                         "gavlab_MorePropak", "gavlab_PropakWithGlonass"));

class Recordings : public testing::Test {
protected:
    void SetUp() override {
        if (!std::filesystem::exists(recordingsFolder() / "oem4_binary")) GTEST_SKIP() << "no recordings";
    }
};

// One compressed record against the ten fields of the maker's expansion.
void expectRange(const RangeObservation& range, const std::string* shown) {
    constexpr double kRoll = 8388608.0;
    const unsigned long status = std::stoul(shown[9], nullptr, 16);
    EXPECT_EQ(range.prn, std::stoul(shown[0]));
    EXPECT_NEAR(range.pseudorange, std::stod(shown[2]), 1.0 / 128.0);
    EXPECT_EQ(double{range.cn0}, std::stod(shown[7]));
    EXPECT_EQ(range.trackingStatus, status & 0x1F);
    expectShown(shown[8], double{range.lockTime}, "lock time");
    const bool wavelengthKnown = range.trackingStatus == 4 || range.trackingStatus == 11;
    ASSERT_EQ(std::isfinite(range.accumulatedDoppler), wavelengthKnown);
    if (wavelengthKnown) {
        EXPECT_NEAR(std::remainder(range.accumulatedDoppler - std::stod(shown[4]), kRoll), 0.0, 1e-6);
    }
}

TEST_F(Recordings, CompressedRangesAreWhatTheMakerExpands) {
    const std::vector<Log> logs =
        logsOf(recordingsFolder() / "oem4_binary/gavlab_test2_rcvr1.dat", kOem4Rangecmp);
    const std::vector<Line> lines =
        linesOf(recordingsFolder() / "oem4_ascii/gavlab_test2_rcvr1_decompressed.ASC", "RANGEA");
    ASSERT_EQ(logs.size(), 436u);
    ASSERT_EQ(lines.size(), 436u);
    std::size_t compared = 0;
    for (std::size_t epoch = 0; epoch < logs.size(); ++epoch) {
        const std::vector<std::string>& shown = lines[epoch].body;
        const std::size_t count = std::stoul(shown[0]);
        ASSERT_EQ(shown.size(), 1 + 10 * count);
        CNOEM4Format parser;
        parser.vProcessRangeCMPB(logs[epoch]);
        ASSERT_EQ(parser.Ranges().count, std::min<std::size_t>(count, kOem4Slots));
        for (std::size_t i = 0; i < count; ++i) {
            SCOPED_TRACE(std::to_string(epoch) + ' ' + std::to_string(i));
            // Records that have no slot of their own go through the first one.
            if (i >= kOem4Slots)
                parser.ProcessRangeCMPData(0, ByteSpan(logs[epoch]).subspan(32 + 24 * i, 24));
            if (std::stoul(shown[1 + 10 * i]) > 62) continue;
            expectRange(parser.Ranges().slots[i < kOem4Slots ? i : 0], &shown[1 + 10 * i]);
            ++compared;
        }
    }
    EXPECT_GT(compared, 14'000u);
}

// Distance from the earth's centre at the reference time, by the user algorithm of IS-GPS-200.
double orbitRadius(const CEphemeris& e) {
    double anomaly = e.m0;
    for (int i = 0; i < 20; ++i)
        anomaly = e.m0 + e.e * std::sin(anomaly);
    const double nu = std::atan2(std::sqrt(1 - e.e * e.e) * std::sin(anomaly), std::cos(anomaly) - e.e);
    const double twice = 2 * (nu + e.omega);
    return e.sqrtA * e.sqrtA * (1 - e.e * std::cos(anomaly)) + e.crs * std::sin(twice) +
           e.crc * std::cos(twice);
}

TEST_F(Recordings, EphemeridesAreOrbitsOfGps) {
    CNOEM4Format parser;
    const std::vector<Log> logs =
        logsOf(recordingsFolder() / "oem4_binary/rtklib_oemv_20091218.gps", kOem4Rawephem);
    ASSERT_EQ(logs.size(), 25u);
    for (const Log& log : logs) {
        parser.vProcessRawEphemB(log);
        const CEphemeris& e = parser.Ephemeris();
        SCOPED_TRACE(e.prn);
        EXPECT_TRUE(e.subframesInPlace);
        EXPECT_TRUE(e.isConsistent());
        EXPECT_GE(e.prn, 1u);
        EXPECT_LE(e.prn, 32u);
        EXPECT_EQ(e.week % 1024, e.weekModulo1024);
        EXPECT_EQ(e.toe, e.referenceSeconds);
        EXPECT_LT(std::abs(e.toe - e.toc), 7200.0 + 1.0);
        EXPECT_NEAR(orbitRadius(e), 26'560'000.0, 800'000.0);
        EXPECT_NEAR(e.i0, 0.96, 0.1);
        EXPECT_LT(e.e, 0.03);
        EXPECT_LT(std::abs(e.af0), 1e-3);
        EXPECT_NEAR(e.omegaDot, -8e-9, 2e-9);
        if (e.prn == 11) {
            EXPECT_NEAR(orbitRadius(e), 26'341'440.7, 0.05);
        }
    }
}

}  // namespace
}  // namespace vkcomm::test
