#include "vkcomm/formats/ephemeris.h"

#include <gtest/gtest.h>

#include "tests/formats/parser_bytes.h"
#include "tests/host/literal_frames.h"
#include "vkcomm/formats/oem4_format.h"

namespace vkcomm::test {
namespace {

TEST(Ephemeris, ReadsARecordedLog) {
    CNOEM4Format parser;
    parser.vProcessRawEphemB(dataOf(kRawephem));
    EXPECT_EQ(parser.Header().softwareVersion, 4807);
    const CEphemeris& e = parser.Ephemeris();
    EXPECT_EQ(row(e.prn, e.week, e.referenceSeconds, e.handoverSeconds), "11 1562 518400 515226");
    EXPECT_EQ(row(e.weekModulo1024, e.codesOnL2, e.uraIndex, e.health, e.iodc, int{e.l2PDataOff}),
              "538 1 0 0 110 0");
    EXPECT_EQ(row(e.iodeSubframe2, e.iodeSubframe3, int{e.fitBeyondFourHours}, e.aodo), "110 110 0 27900");
    EXPECT_EQ(row(e.toc, e.toe, e.crs, e.crc, e.af2), "518400 518400 2.5 254.3125 0");
    EXPECT_EQ(row(e.tgd, e.af1, e.af0),
              "-1.1641532182693481e-08 -2.0463630789890885e-12 -3.4992117434740067e-05");
    EXPECT_EQ(row(e.e, e.sqrtA), "0.010375080164521933 5153.7023849487305");
    EXPECT_EQ(row(e.cuc, e.cus), "2.7939677238464355e-07 4.427507519721985e-06");
    EXPECT_EQ(row(e.cic, e.cis), "7.636845111846924e-08 1.6577541828155518e-07");
    constexpr double kSemicircle = 3.1415926535898;
    const double inSemicircles[] = {2.1308323994162492e-09, -0.20475246850401163, 0.644505962729454,
                                    0.28277111845090985,    0.24675995856523514,  -2.9162947612348944e-09,
                                    9.663381206337363e-12};
    const double* expected = inSemicircles;
    for (const double angle : {e.deltaN, e.m0, e.omega0, e.i0, e.omega, e.omegaDot, e.idot})
        EXPECT_DOUBLE_EQ(angle, *expected++ * kSemicircle);
    EXPECT_TRUE(e.subframesInPlace && e.isHealthy() && e.isConsistent());
}

TEST(Ephemeris, ReportsWhatMustNotBeUsed) {
    constexpr std::size_t kOne = 28 + 12, kTwo = kOne + 30, kThree = kTwo + 30;

    struct {
        const char* name;
        std::size_t at;
        unsigned flip;
        const char* flags;  // in place, healthy, consistent
    } const cases[] = {
        {"preamble of subframe 3", kThree, 0x01, "0 1 1"},
        {"number of subframe 2", kTwo + 5, 0x04, "0 1 1"},
        {"health", kOne + 8, 0x80, "1 0 1"},
        {"high bits of the issue of clock", kOne + 8, 0x03, "1 1 1"},
        {"issue of clock", kOne + 21, 0x01, "1 1 0"},
        {"issue of subframe 2", kTwo + 6, 0x80, "1 1 0"},
        {"issue of subframe 3", kThree + 27, 0x01, "1 1 0"},
    };

    for (const auto& c : cases) {
        std::string frame = kRawephem;
        frame[c.at] = chr(byteOf(frame[c.at]) ^ c.flip);
        CEphemeris e;
        EXPECT_EQ(CEphemeris::ConvertNovatelEphemeris(spanOf(frame).subspan(28, 102), e), 1);
        EXPECT_EQ(row(int{e.subframesInPlace}, int{e.isHealthy()}, int{e.isConsistent()}), c.flags) << c.name;
    }
}

}  // namespace
}  // namespace vkcomm::test
