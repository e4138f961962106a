#include "vkcomm/formats/ephemeris.h"

#include <gtest/gtest.h>

#include "tests/formats/oem4_frames.h"
#include "vkcomm/formats/oem4_format.h"

namespace vkcomm::test {
namespace {

struct EphemerisField {
    template <typename T>
    EphemerisField(const char* fieldName, T actual, double wanted)
        : name(fieldName), value(static_cast<double>(actual)), expected(wanted) {}

    const char* name;
    double value;
    double expected;
};

TEST(Ephemeris, ReadsARecordedLog) {
    CNOEM4Format parser;
    parser.vProcessRawEphemB(dataOf(kRawephem11));
    EXPECT_EQ(parser.Header().softwareVersion, 4807);
    const CEphemeris& e = parser.Ephemeris();
    const double pi = 3.1415926535898;

    const EphemerisField fields[] = {{"prn", e.prn, 11},
                                     {"week", e.week, 1562},
                                     {"reference seconds", e.referenceSeconds, 518400},
                                     {"handover", e.handoverSeconds, 515226},
                                     {"week modulo 1024", e.weekModulo1024, 538},
                                     {"codes on L2", e.codesOnL2, 1},
                                     {"ura", e.uraIndex, 0},
                                     {"health", e.health, 0},
                                     {"iodc", e.iodc, 110},
                                     {"L2 P data off", e.l2PDataOff, 0},
                                     {"tgd", e.tgd, -1.1641532182693481e-08},
                                     {"toc", e.toc, 518400},
                                     {"af2", e.af2, 0.0},
                                     {"af1", e.af1, -2.0463630789890885e-12},
                                     {"af0", e.af0, -3.4992117434740067e-05},
                                     {"iode 2", e.iodeSubframe2, 110},
                                     {"crs", e.crs, 2.5},
                                     {"delta n", e.deltaN, 2.1308323994162492e-09 * pi},
                                     {"m0", e.m0, -0.20475246850401163 * pi},
                                     {"cuc", e.cuc, 2.7939677238464355e-07},
                                     {"e", e.e, 0.010375080164521933},
                                     {"cus", e.cus, 4.427507519721985e-06},
                                     {"sqrt a", e.sqrtA, 5153.7023849487305},
                                     {"toe", e.toe, 518400},
                                     {"fit", e.fitBeyondFourHours, 0},
                                     {"aodo", e.aodo, 27900},
                                     {"cic", e.cic, 7.636845111846924e-08},
                                     {"omega 0", e.omega0, 0.644505962729454 * pi},
                                     {"cis", e.cis, 1.6577541828155518e-07},
                                     {"i0", e.i0, 0.28277111845090985 * pi},
                                     {"crc", e.crc, 254.3125},
                                     {"omega", e.omega, 0.24675995856523514 * pi},
                                     {"omega dot", e.omegaDot, -2.9162947612348944e-09 * pi},
                                     {"iode 3", e.iodeSubframe3, 110},
                                     {"idot", e.idot, 9.663381206337363e-12 * pi}};

    for (const auto& field : fields)
        EXPECT_DOUBLE_EQ(field.value, field.expected) << field.name;
    EXPECT_TRUE(e.subframesInPlace);
    EXPECT_TRUE(e.isHealthy());
    EXPECT_TRUE(e.isConsistent());
}

TEST(Ephemeris, ReportsWhatMustNotBeUsed) {
    constexpr std::size_t kSubframe = 28 + 12;

    struct Case {
        const char* name;
        std::size_t at;
        unsigned flip;
        bool inPlace, healthy, consistent;
    };

    const Case cases[] = {
        {"preamble of subframe 3", kSubframe + 60, 0x01, false, true, true},
        {"number of subframe 2", kSubframe + 30 + 5, 0x04, false, true, true},
        {"health", kSubframe + 8, 0x80, true, false, true},
        {"high bits of the issue of clock", kSubframe + 8, 0x03, true, true, true},
        {"issue of clock", kSubframe + 21, 0x01, true, true, false},
        {"issue of subframe 2", kSubframe + 30 + 6, 0x80, true, true, false},
        {"issue of subframe 3", kSubframe + 60 + 27, 0x01, true, true, false},
    };
    for (const Case& c : cases) {
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
