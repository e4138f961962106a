#include "vkcomm/formats/oem4_format.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

#include "tests/formats/parser_bytes.h"
#include "tests/host/literal_frames.h"
#include "vkcomm/datum/process_settings.h"

namespace vkcomm::test {
namespace {

using testing::HasSubstr;

// Bytes 1, 2, 3 and so on.
std::string counting(std::size_t size) {
    std::string bytes(size, '\0');
    std::iota(bytes.begin(), bytes.end(), '\1');
    return bytes;
}

// The height error is a value of the whole process.
class Bestpos : public testing::Test {
protected:
    ~Bestpos() override { vSetHerror(0.0); }

    // The recorded log with a value written at the position.
    template <typename T>
    void process(std::size_t at, T value) {
        m_parser.vProcessBestposB(spanOf(with(kBestpos, at, value)));
    }

    void processPsrdop(std::uint32_t milliseconds, float hdop) {
        m_parser.vProcessPsrDOPB(
            spanOf(with(with(oem4(174, std::string(28, '\0')), 16, milliseconds), 28 + 8, hdop)));
    }

    std::string sentence() const { return gpgga(m_parser.strGetGPGGA()); }

    CNOEM4Format m_parser;
    const BestposBody& m_body = m_parser.Bestpos();
    const Oem4Position& m_position = m_parser.Position();
};

TEST_F(Bestpos, KeepsEveryField) {
    m_parser.vProcessBestposB(dataOf(with(with(kBestpos, 10, std::uint16_t{770}), 12, std::uint8_t{87})));
    const Oem4Header& h = m_parser.Header();
    EXPECT_EQ(row(h.headerLength, h.messageId, h.messageType, h.portAddress, h.messageLength, h.sequence,
                  h.idleTime, h.timeStatus, h.week, h.milliseconds, h.receiverStatus, h.reserved,
                  h.softwareVersion),
              "28 42 2 190 72 770 87 180 1562 515220000 4982816 24901 4807");
    const BestposBody& b = m_body;
    EXPECT_EQ(row(b.solutionStatus, b.positionType, b.latitude, b.longitude, b.height, b.undulation, b.datum),
              "0 18 35.87299418486539 138.38966169772877 964.639897021465 39.25026 61");
    // Corrections of 3 s: six tenths of 1.506901026, 0.919068158 and 2.124404669.
    EXPECT_EQ(row(b.latitudeSigma, b.longitudeSigma, b.heightSigma), "0.9041406 0.5514409 1.2746428");
    EXPECT_EQ(fixedText(b.baseStation), "129");
    EXPECT_EQ(row(b.differentialAge, b.solutionAge, b.satellitesTracked, b.satellitesUsed, b.satellitesL1,
                  b.satellitesL1L2, b.reserved68, b.extendedStatus, b.reserved70, b.signalMask),
              "3 0 16 9 0 0 0 6 0 3");
    EXPECT_NEAR(m_position.position.latitude, 0.626101861075, 1e-12);
    EXPECT_NEAR(m_position.position.longitude, 2.415355247346, 1e-12);
    EXPECT_EQ(row(m_position.position.height, m_position.week, m_position.seconds, m_position.type,
                  m_position.satellitesUsed, m_position.satellitesTracked),
              "964.639897021465 1562 515220 18 9 16");

    m_parser.vProcessBestposB(spanOf(kBestposNoFix));
    EXPECT_EQ(row(b.solutionStatus, b.height, m_position.seconds), "1 -6378053.700000763 4006");
    EXPECT_EQ(fixedText(b.baseStation), "") << "begins with a zero byte";
}

TEST_F(Bestpos, ScalesSigmasInsideTheAgeWindowOnly) {
    const std::pair<float, const char*> cases[] = {
        {0.0f, "2.1244047"},  {std::nextafter(0.0f, 1.0f), "1.2746428"},
        {5.0f, "2.1244047"},  {std::nextafter(5.0f, 0.0f), "1.2746428"},
        {-1.0f, "2.1244047"}, {std::nanf(""), "2.1244047"}};
    for (const auto& [age, sigma] : cases) {
        process(28 + 56, age);
        EXPECT_EQ(row(m_body.heightSigma), sigma) << age;
    }
}

TEST_F(Bestpos, ResponseKeepsTheBodyButLowersTheHeightAgain) {
    vSetHerror(0.25);
    m_parser.vProcessBestposB(spanOf(kBestpos));
    EXPECT_DOUBLE_EQ(m_body.height, 964.639897021465 - 0.25);
    const std::string response = with(kBestposNoFix.substr(0, 28), 6, std::uint8_t{0x80});
    m_parser.vProcessBestposB(spanOf(response));
    m_parser.vProcessBestposB(dataOf(response));
    EXPECT_DOUBLE_EQ(m_body.height, 964.639897021465 - 0.75);
    EXPECT_EQ(m_position.position.height, m_body.height);
    EXPECT_FLOAT_EQ(m_body.heightSigma, 2.124404669f * 0.6f * 0.6f * 0.6f);
    EXPECT_EQ(row(m_body.positionType, m_position.week, m_position.seconds), "18 0 4006");
}

TEST_F(Bestpos, NullFrameDerivesThePositionAlone) {
    constexpr const unsigned char* kNull = nullptr;
    vSetHerror(1.0);
    m_parser.vProcessBestposB(spanOf(kBestpos));
    processPsrdop(1500, 1.0f);
    m_parser.vProcessBestposB(kNull);
    EXPECT_EQ(row(m_body.height, m_position.seconds), "963.639897021465 1.5");
    m_parser.vSetZero();
    EXPECT_EQ(row(m_body.height, m_position.satellitesUsed), "0 9") << "the position outlives the logs";
    m_parser.vProcessBestposB(kNull);
    EXPECT_EQ(row(m_position.position.latitude, m_position.satellitesUsed), "0 0");
}

TEST_F(Bestpos, GgaSaysTheStoredState) {
    processPsrdop(0, 1.26f);
    vSetHerror(2.0);
    m_parser.vProcessBestposB(spanOf(kBestpos));
    EXPECT_THAT(sentence(),
                HasSubstr("$GPGGA,230700.00,3552.3796511,N,13823.3797019,E,1,09,1.3,962.640,M,39.25,M,0,*"));
    process(16, std::uint32_t{45'296'789});
    EXPECT_THAT(sentence(), HasSubstr("$GPGGA,123456.00,3552.")) << "the fraction is dropped";
    process(16, std::uint32_t{0xFFFFFFFF});
    EXPECT_THAT(sentence(), HasSubstr("$GPGGA,170247.00,3552."));
    processPsrdop(59'999, 0.0f);
    EXPECT_THAT(sentence(), HasSubstr("$GPGGA,000059.00,3552.")) << "any log's header tells the time";
    process(28 + 8, std::nan(""));
    EXPECT_THAT(sentence(), HasSubstr("$GPGGA,230700.00,,,,,0,09,0.0,,M,,M,0,*"));
}

TEST_F(Bestpos, GgaQualityFollowsThePositionType) {
    const std::pair<char, std::vector<std::uint32_t>> cases[] = {
        {'5', {17, 32, 33, 34}},
        {'4', {48, 49, 50}},
        {'1', {0, 1, 16, 18, 31, 35, 47, 51, 64, 256 + 17, 0xFFFFFFFF}}};
    for (const auto& [quality, types] : cases)
        for (const std::uint32_t type : types) {
            process(28 + 4, type);
            EXPECT_EQ(sentence()[sentence().find(",E,") + 3], quality) << type;
        }
}

TEST(Oem4Format, KeepsDopsAndTheFirstComponent) {
    CNOEM4Format parser;
    std::string body;
    for (const float dop : {1.5f, 2.5f, 3.5f, 4.5f, 5.5f, 6.5f})
        body += littleOf(dop);
    parser.vProcessPsrDOPB(dataOf(oem4(174, body + littleOf(7u))));
    const PsrdopBody& d = parser.Psrdop();
    EXPECT_EQ(row(d.gdop, d.pdop, d.hdop, d.htdop, d.tdop, d.elevationCutOff, d.satellites),
              "1.5 2.5 3.5 4.5 5.5 6.5 7");
    parser.vProcessVerDataB(dataOf(oem4(37, littleOf(2u) + counting(108))));
    const VersionComponent& v = parser.Version();
    std::string texts;
    for (const std::string_view text :
         {fixedText(v.model), fixedText(v.serialNumber), fixedText(v.hardware), fixedText(v.software),
          fixedText(v.boot), fixedText(v.compileDate), fixedText(v.compileTime)})
        texts += text;
    EXPECT_EQ(littleOf(v.type) + texts, counting(108));
    EXPECT_EQ(parser.Header().messageId, 37);
}

TEST(Oem4Format, CopiesRawFrames) {
    REFSTATIONB_DATA station;
    PASSCOMB_LOG passed;
    CNOEM4Format().vProcessRefStationB(spanOf(counting(112)), station);
    CNOEM4Format().vProcessPasscom2B(spanOf(counting(112)), passed);
    EXPECT_EQ(std::string(station.bytes.begin(), station.bytes.end()), counting(69));
    EXPECT_EQ(std::string(passed.bytes.begin(), passed.bytes.end()), counting(112));

    CNOEM4Format parser;
    const ServerMessage915& m = parser.Message915();
    for (const unsigned tail : {12u, 16u, 13u})
        parser.vProcessMessage915(
            spanOf(oem4(915, counting(20) + chr(tail) + "bbb" + std::string(16, chr(tail)))));
    EXPECT_EQ(std::string(m.body.begin(), m.body.end()), counting(20) + chr(13) + "bbb");
    EXPECT_THAT(m.tail12, testing::Each(12));
    EXPECT_THAT(m.tail16, testing::Each(16)) << "other lengths have no tail";
    EXPECT_EQ(parser.Header().messageId, 915);
}

}  // namespace
}  // namespace vkcomm::test
