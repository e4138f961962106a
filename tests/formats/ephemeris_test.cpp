#include "vkcomm/formats/ephemeris.h"

#include <gtest/gtest.h>

#include "tests/formats/oem4_frames.h"
#include "vkcomm/formats/oem4_format.h"

namespace vkcomm::test {
namespace {

TEST(Ephemeris, ReadsARecordedLog) {
    CNOEM4Format parser;
    parser.vProcessRawEphemB(dataOf(kRawephem11));
    EXPECT_EQ(parser.Header().softwareVersion, 4807);
    const CEphemeris& e = parser.Ephemeris();
    EXPECT_EQ(row(e.prn, e.week, e.referenceSeconds, e.handoverSeconds), "11 1562 518400 515226");
    EXPECT_EQ(row(e.weekModulo1024, e.codesOnL2, e.uraIndex, e.health, e.iodc, int{e.l2PDataOff}),
              "538 1 0 0 110 0");
    EXPECT_EQ(row(e.iodeSubframe2, e.iodeSubframe3, int{e.fitBeyondFourHours}, e.aodo), "110 110 0 27900");
    EXPECT_EQ(row(e.toc, e.toe, e.crs, e.crc, e.af2), "518400 518400 2.5 254.3125 0");

    struct {
        const char* name;
        double value, expected;
    } const scaled[] = {
        // clang-format off
        {"tgd", e.tgd, -1.1641532182693481e-08}, {"af1", e.af1, -2.0463630789890885e-12},
        {"af0", e.af0, -3.4992117434740067e-05}, {"e", e.e, 0.010375080164521933},
        {"sqrt a", e.sqrtA, 5153.7023849487305}, {"cuc", e.cuc, 2.7939677238464355e-07},
        {"cus", e.cus, 4.427507519721985e-06},   {"cic", e.cic, 7.636845111846924e-08},
        {"cis", e.cis, 1.6577541828155518e-07},
        // clang-format on
    };

    for (const auto& field : scaled)
        EXPECT_DOUBLE_EQ(field.value, field.expected) << field.name;
    const std::pair<double, double> semicircles[] = {
        {e.deltaN, 2.1308323994162492e-09}, {e.m0, -0.20475246850401163},
        {e.omega0, 0.644505962729454},      {e.i0, 0.28277111845090985},
        {e.omega, 0.24675995856523514},     {e.omegaDot, -2.9162947612348944e-09},
        {e.idot, 9.663381206337363e-12},
    };
    for (const auto& [value, expected] : semicircles)
        EXPECT_DOUBLE_EQ(value, expected * 3.1415926535898);
    EXPECT_TRUE(e.subframesInPlace && e.isHealthy() && e.isConsistent());
}

TEST(Ephemeris, ReportsWhatMustNotBeUsed) {
    constexpr std::size_t kSubframe = 28 + 12;

    struct {
        const char* name;
        std::size_t at;
        unsigned flip;
        bool inPlace, healthy, consistent;
    } const cases[] = {
        {"preamble of subframe 3", kSubframe + 60, 0x01, false, true, true},
        {"number of subframe 2", kSubframe + 30 + 5, 0x04, false, true, true},
        {"health", kSubframe + 8, 0x80, true, false, true},
        {"high bits of the issue of clock", kSubframe + 8, 0x03, true, true, true},
        {"issue of clock", kSubframe + 21, 0x01, true, true, false},
        {"issue of subframe 2", kSubframe + 30 + 6, 0x80, true, true, false},
        {"issue of subframe 3", kSubframe + 60 + 27, 0x01, true, true, false},
    };

    for (const auto& c : cases) {
        std::string frame = kRawephem11;
        frame[c.at] = chr(byteOf(frame[c.at]) ^ c.flip);
        CEphemeris ephemeris;
        EXPECT_EQ(CEphemeris::ConvertNovatelEphemeris(spanOf(frame).subspan(28, 102), ephemeris), 1);
        EXPECT_EQ(ephemeris.subframesInPlace, c.inPlace) << c.name;
        EXPECT_EQ(ephemeris.isHealthy(), c.healthy) << c.name;
        EXPECT_EQ(ephemeris.isConsistent(), c.consistent) << c.name;
    }
}

}  // namespace
}  // namespace vkcomm::test
