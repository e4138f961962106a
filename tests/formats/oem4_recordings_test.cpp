// Recorded binary logs against the text that the maker's own converter made of them.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>

#include "tests/formats/parser_bytes.h"
#include "vkcomm/decode/record_ids.h"
#include "vkcomm/formats/oem4_format.h"

namespace vkcomm::test {
namespace {

// The binary logs of one number, in order.
std::vector<std::string> logsOf(const std::string& name, unsigned id) {
    std::vector<std::string> logs;
    for (Record& record : decodeRecording("oem4_binary/" + name, kDecodeAll).records)
        if (record.type == LOG_OEM4_BINARY && record.id == id) logs.push_back(std::move(record.bytes));
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

std::vector<Line> linesOf(const std::string& file, const std::string& name) {
    std::vector<Line> lines;
    std::istringstream stream(recording("oem4_ascii/" + file));
    for (std::string text; std::getline(stream, text);) {
        if (!text.starts_with('#' + name + ',')) continue;
        const std::size_t body = text.find(';');
        lines.push_back(
            {split(text.substr(0, body)), split(text.substr(body + 1, text.rfind('*') - body - 1))});
    }
    return lines;
}

// The values are what the texts show, to half a unit of their last digits (and the last bits of a float).
void expectShown(const std::string* texts, std::initializer_list<double> values) {
    for (const double value : values) {
        const std::string& text = *texts++;
        const std::size_t point = text.find('.');
        const double decimals = point == text.npos ? 0.0 : static_cast<double>(text.size() - point - 1);
        EXPECT_NEAR(value, std::stod(text), 0.5000001 * std::pow(10.0, -decimals) + std::abs(value) * 1e-15);
    }
}

void expectHex(const std::string* texts, std::initializer_list<unsigned long> values) {
    for (const unsigned long value : values)
        EXPECT_EQ(value, std::stoul(*texts++, nullptr, 16));
}

const std::map<std::string, std::uint32_t> kNames{
    {"SOL_COMPUTED", 0}, {"INSUFFICIENT_OBS", 1}, {"NONE", 0}, {"SINGLE", 16}, {"WGS84", 61}, {"GPSCARD", 1}};

class Twins : public RecordingTest, public testing::WithParamInterface<const char*> {
protected:
    // Calls check with each binary log and the line that says the same; gives their number.
    std::size_t forEach(unsigned id, const std::string& name,
                        const std::function<void(ByteSpan, const std::vector<std::string>&)>& check) {
        const std::vector<std::string> logs = logsOf(GetParam() + std::string(".GPS"), id);
        const std::vector<Line> lines = linesOf(GetParam() + std::string(".ASC"), name);
        EXPECT_EQ(logs.size(), lines.size());
        for (std::size_t i = 0; i < std::min(logs.size(), lines.size()); ++i) {
            SCOPED_TRACE(name + ' ' + std::to_string(i));
            check(spanOf(logs[i]), lines[i].body);
            expectHeader(loadOem4Header(dataOf(logs[i])), lines[i].header);
        }
        return lines.size();
    }

    static void expectHeader(const Oem4Header& h, const std::vector<std::string>& shown) {
        ASSERT_EQ(shown.size(), 10u);
        expectShown(&shown[2], {double(h.sequence), h.idleTime / 2.0});
        expectShown(&shown[5], {double(h.week), h.milliseconds / 1000.0});
        expectHex(&shown[7], {h.receiverStatus, h.reserved});
        expectShown(&shown[9], {double(h.softwareVersion)});
    }

    CNOEM4Format m_parser;
};

// None of these recordings has corrections, so the sigmas stay; the height error is 0.
TEST_P(Twins, SayTheSamePosition) {
    const std::size_t logs = forEach(kOem4Bestpos, "BESTPOSA", [this](ByteSpan log, const auto& shown) {
        m_parser.vProcessBestposB(log);
        const BestposBody& b = m_parser.Bestpos();
        ASSERT_EQ(shown.size(), 21u);
        EXPECT_EQ(b.solutionStatus, kNames.at(shown[0]));
        EXPECT_EQ(b.positionType, kNames.at(shown[1]));
        expectShown(&shown[2], {b.latitude, b.longitude, b.height, double{b.undulation}});
        EXPECT_EQ(b.datum, kNames.at(shown[6]));
        expectShown(&shown[7], {double{b.latitudeSigma}, double{b.longitudeSigma}, double{b.heightSigma}});
        EXPECT_EQ(fixedText(b.baseStation), shown[10]);
        expectShown(&shown[11], {double{b.differentialAge}, double{b.solutionAge}});
        expectShown(&shown[13], {double(b.satellitesTracked), double(b.satellitesUsed),
                                 double(b.satellitesL1), double(b.satellitesL1L2)});
        expectHex(&shown[17], {b.reserved68, b.extendedStatus, b.reserved70, b.signalMask});
    });
    EXPECT_GT(logs, 0u);
}

TEST_P(Twins, SayTheSameDops) {
    forEach(kOem4Psrdop, "PSRDOPA", [this](ByteSpan log, const auto& shown) {
        m_parser.vProcessPsrDOPB(log);
        const PsrdopBody& d = m_parser.Psrdop();
        expectShown(&shown[0], {double{d.gdop}, double{d.pdop}, double{d.hdop}, double{d.htdop},
                                double{d.tdop}, double{d.elevationCutOff}, double(d.satellites)});
    });
}

TEST_P(Twins, SayTheSameVersion) {
    forEach(kOem4Version, "VERSIONA", [this](ByteSpan log, const auto& shown) {
        m_parser.vProcessVerDataB(log);
        const VersionComponent& v = m_parser.Version();
        EXPECT_EQ(v.type, kNames.at(shown[1]));
        const std::string_view texts[] = {
            fixedText(v.model), fixedText(v.serialNumber), fixedText(v.hardware),   fixedText(v.software),
            fixedText(v.boot),  fixedText(v.compileDate),  fixedText(v.compileTime)};
        for (std::size_t i = 0; i < std::size(texts); ++i)
            EXPECT_EQ(texts[i], shown[2 + i]);
    });
}

TEST_P(Twins, SayTheSameVisibleSatellites) {
    forEach(kOem4Satvis, "SATVISA", [](ByteSpan log, const auto& shown) {
        const auto view = SatvisView::of(log.subspan(kOem4HeaderSize));
        ASSERT_TRUE(view);
        EXPECT_EQ(view->isValid(), shown[0] == "TRUE");
        EXPECT_EQ(view->hasCompleteAlmanac(), shown[1] == "TRUE");
        ASSERT_EQ(view->count(), std::stoul(shown[2]));
        ASSERT_EQ(shown.size(), 3 + 7 * view->count());
        for (std::size_t i = 0; i < view->count(); ++i) {
            const VisibleSatellite s = (*view)[i];
            expectShown(&shown[3 + 7 * i], {double(s.prn), double(s.glonassFrequency), double(s.health),
                                            s.elevation, s.azimuth, s.trueDoppler, s.apparentDoppler});
        }
    });
}

INSTANTIATE_TEST_SUITE_P(Recorded, Twins,
                         testing::Values("gavlab_ParsingData2", "gavlab_OnceEachAgain", "gavlab_OneEach",
                                         "gavlab_MorePropak", "gavlab_PropakWithGlonass"));

class Recordings : public RecordingTest {};

// One compressed record against the ten fields of the maker's expansion.
void expectRange(const RangeObservation& range, const std::string* shown) {
    EXPECT_EQ(range.prn, std::stoul(shown[0]));
    EXPECT_NEAR(range.pseudorange, std::stod(shown[2]), 1.0 / 128.0);
    EXPECT_EQ(double{range.cn0}, std::stod(shown[7]));
    expectShown(&shown[8], {double{range.lockTime}});
    EXPECT_EQ(range.trackingStatus, std::stoul(shown[9], nullptr, 16) & 0x1F);
    const bool wavelengthKnown = range.trackingStatus == 4 || range.trackingStatus == 11;
    ASSERT_EQ(std::isfinite(range.accumulatedDoppler), wavelengthKnown);
    const double apart = wavelengthKnown ? range.accumulatedDoppler - std::stod(shown[4]) : 0.0;
    EXPECT_NEAR(std::remainder(apart, 8388608.0), 0.0, 1e-6);
}

TEST_F(Recordings, CompressedRangesAreWhatTheMakerExpands) {
    const std::vector<std::string> logs = logsOf("gavlab_test2_rcvr1.dat", kOem4Rangecmp);
    const std::vector<Line> lines = linesOf("gavlab_test2_rcvr1_decompressed.ASC", "RANGEA");
    ASSERT_EQ(logs.size(), 436u);
    ASSERT_EQ(lines.size(), 436u);
    std::size_t compared = 0;
    for (std::size_t epoch = 0; epoch < logs.size(); ++epoch) {
        const std::vector<std::string>& shown = lines[epoch].body;
        const std::size_t count = std::stoul(shown[0]);
        ASSERT_EQ(shown.size(), 1 + 10 * count);
        CNOEM4Format parser;
        parser.vProcessRangeCMPB(spanOf(logs[epoch]));
        ASSERT_EQ(parser.Ranges().count, std::min<std::size_t>(count, kOem4Slots));
        for (std::size_t i = 0; i < count; ++i) {
            SCOPED_TRACE(std::to_string(epoch) + ' ' + std::to_string(i));
            // Records that have no slot of their own go through the first one.
            if (i >= kOem4Slots) parser.ProcessRangeCMPData(0, spanOf(logs[epoch]).subspan(32 + 24 * i, 24));
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
    const std::vector<std::string> logs = logsOf("rtklib_oemv_20091218.gps", kOem4Rawephem);
    ASSERT_EQ(logs.size(), 25u);
    for (const std::string& log : logs) {
        parser.vProcessRawEphemB(spanOf(log));
        const CEphemeris& e = parser.Ephemeris();
        SCOPED_TRACE(e.prn);
        EXPECT_TRUE(e.subframesInPlace && e.isConsistent());
        EXPECT_TRUE(e.prn >= 1 && e.prn <= 32);
        EXPECT_EQ(e.week % 1024, e.weekModulo1024);
        EXPECT_EQ(e.toe, e.referenceSeconds);
        EXPECT_NEAR(e.toe, e.toc, 7201.0);
        EXPECT_NEAR(orbitRadius(e), 26'560'000.0, 800'000.0);
        EXPECT_NEAR(e.i0, 0.96, 0.1);
        EXPECT_LT(e.e, 0.03);
        EXPECT_LT(std::abs(e.af0), 1e-3);
        EXPECT_NEAR(e.omegaDot, -8e-9, 2e-9);
        EXPECT_TRUE(e.prn != 11 || std::abs(orbitRadius(e) - 26'341'440.7) < 0.05);
    }
}

}  // namespace
}  // namespace vkcomm::test
