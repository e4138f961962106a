#include "vkcomm/formats/trimble_format.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>

#include "tests/formats/parser_bytes.h"

namespace vkcomm::test {
namespace {

using testing::Each;
using testing::IsEmpty;
using testing::SizeIs;

std::string gsof(unsigned type, std::string_view data) {
    return std::string{chr(type), chr(static_cast<unsigned>(data.size()))} + std::string(data);
}

std::string gsof3(unsigned type, double first, double second, double third) {
    return gsof(type, bigDouble(first) + bigDouble(second) + bigDouble(third));
}

std::string positionTime(unsigned flags2, std::uint32_t milliseconds = 345'600'500) {
    return gsof(1, big(milliseconds, 4) + big(1520, 2) + chr(9) + chr(0x2F) + chr(flags2) + chr(3));
}

std::string sigmas() {
    std::string data;
    for (int field = 1; field <= 9; ++field)
        data += bigFloat(static_cast<float>(field) * 9.0F);
    return gsof(12, data + big(17, 2));
}

std::string satellite(unsigned prn, unsigned azimuth = 270) {
    return std::string{chr(prn), chr(5), chr(0x4F), chr(0xFB)} + big(azimuth, 2) + chr(180) + chr(120);
}

// The report behind its unread byte and two page bytes.
std::string report(std::string_view records) { return std::string(3, '\0') + std::string(records); }

void process(CTrimbleFormat& parser, std::string_view records) {
    parser.vProcessGenout(spanOf(report(records)));
}

const std::string kSample =
    hex("11000001 0a149971f405f0092f0703"
        "0318c14064c4200000004150e2e460000000414edbb800000000"
        "09103fc000003f8000003fa000003f400000"
        "0c263c23d70a3ca3d70a3cf5c28f000000003d3851ec3cf5c28f3ca3d70a42b400003f800000000a"
        "0e1102054f032d010eb4780c0f000a005a8c00");

TEST(TrimbleFormat, ReadsEveryAreaOfAReport) {
    CTrimbleFormat parser;
    parser.vProcessGenout(dataOf(kSample), static_cast<int>(kSample.size()) + 6);

    EXPECT_EQ(parser.PositionTime().milliseconds, 345'600'500U);
    EXPECT_EQ(parser.PositionTime().week, 1520);
    EXPECT_EQ(parser.PositionTime().satellites, 9);
    EXPECT_EQ(parser.PositionTime().flags1, 0x2F);
    EXPECT_EQ(parser.PositionTime().flags2, 7);
    EXPECT_EQ(parser.PositionTime().initialisations, 3);
    EXPECT_EQ(parser.Position().x, -2148744.25);
    EXPECT_EQ(parser.Position().y, 4426641.5);
    EXPECT_EQ(parser.Position().z, 4044656.0);
    EXPECT_EQ(parser.Dops().pdop, 1.5F);
    EXPECT_EQ(parser.Dops().hdop, 1.0F);
    EXPECT_EQ(parser.Dops().vdop, 1.25F);
    EXPECT_EQ(parser.Dops().tdop, 0.75F);
    EXPECT_EQ(parser.Sigmas().positionRms, 0.01F);
    EXPECT_FLOAT_EQ(parser.Sigmas().east, 0.004F);
    EXPECT_FLOAT_EQ(parser.Sigmas().north, 0.006F);
    EXPECT_FLOAT_EQ(parser.Sigmas().up, 0.01F);
    EXPECT_EQ(parser.Sigmas().semiMajor, 0.03F);
    EXPECT_EQ(parser.Sigmas().orientation, 90.0F);
    EXPECT_EQ(parser.Sigmas().epochs, 10);

    ASSERT_EQ(parser.Satellites().count, 2);
    ASSERT_THAT(parser.Satellites().list, SizeIs(2));
    const TrimbleSatellite& first = parser.Satellites().list.front();
    EXPECT_EQ(first.prn, 5);
    EXPECT_EQ(first.elevation, 45);
    EXPECT_EQ(first.azimuth, 270);
    EXPECT_EQ(first.snrL1, 180);
    EXPECT_EQ(first.snrL2, 120);
    EXPECT_EQ(parser.Satellites().list.back().prn, 12);
    EXPECT_EQ(parser.Satellites().list.back().azimuth, 90);
}

TEST(TrimbleFormat, LeavesWhatAReportDoesNotCarryButTheBase) {
    CTrimbleFormat parser;
    process(parser, positionTime(7) + gsof3(3, 30.0, 20.0, 10.0) + gsof3(6, 1.0, 2.0, 3.0));
    EXPECT_EQ(parser.BasePosition().x, 29.0);
    EXPECT_EQ(parser.BasePosition().y, 18.0);
    EXPECT_EQ(parser.BasePosition().z, 7.0);

    process(parser, gsof(9, std::string(16, '\x40')));
    EXPECT_EQ(parser.Position().x, 30.0);
    EXPECT_EQ(parser.PositionTime().week, 1520);
    EXPECT_EQ(parser.BasePosition().x, 0.0);
    EXPECT_EQ(parser.BasePosition().z, 0.0);
}

TEST(TrimbleFormat, TheDeltaMayComeBeforeThePosition) {
    CTrimbleFormat parser;
    process(parser, gsof3(6, 1.0, 2.0, 3.0) + gsof3(3, 30.0, 20.0, 10.0));
    EXPECT_EQ(parser.BasePosition().x, 29.0);
}

TEST(TrimbleFormat, ConvertsAGeodeticPosition) {
    CTrimbleFormat parser;
    process(parser, gsof3(2, 0.6913004865146912, 2.0227054566107237, 87.71488682553172));
    EXPECT_NEAR(parser.Position().x, -2148744.25, 1e-4);
    EXPECT_NEAR(parser.Position().y, 4426641.5, 1e-4);
    EXPECT_NEAR(parser.Position().z, 4044656.0, 1e-4);
}

TEST(TrimbleFormat, LengthsBelowSixDoNothingAndSixReadsNoByte) {
    CTrimbleFormat parser;
    process(parser, gsof3(3, 30.0, 20.0, 10.0) + gsof3(6, 1.0, 2.0, 3.0));
    for (const int length : {std::numeric_limits<int>::min(), -1, 0, 5}) {
        parser.vProcessGenout(dataOf(kSample), length);
        EXPECT_EQ(parser.BasePosition().x, 29.0) << length;
    }
    parser.vProcessGenout(nullptr, 100);
    EXPECT_EQ(parser.BasePosition().x, 29.0);
    const auto untouchable = std::make_unique<unsigned char[]>(0);
    parser.vProcessGenout(untouchable.get(), 6);
    EXPECT_EQ(parser.BasePosition().x, 0.0);
    EXPECT_EQ(parser.Position().x, 30.0);
}

struct ScanCase {
    const char* name;
    std::string bytes;  // the whole report
    bool timeRead;
};

void PrintTo(const ScanCase& c, std::ostream* out) { *out << c.name; }

class Scan : public testing::TestWithParam<ScanCase> {};

TEST_P(Scan, FindsTheTimeRecordOrNot) {
    CTrimbleFormat parser;
    parser.vProcessGenout(spanOf(GetParam().bytes));
    EXPECT_EQ(parser.PositionTime().week == 1520, GetParam().timeRead);
}

const std::string kTime = positionTime(7);
const std::string kZero(1, '\0');

INSTANTIATE_TEST_SUITE_P(
    TrimbleFormat, Scan,
    testing::Values(
        ScanCase{"page bytes 0 of 0", kZero + hex("0000") + kTime, true},
        ScanCase{"page bytes 1 of 1", kZero + hex("0101") + kTime, true},
        ScanCase{"page byte 2 is taken as a type", kZero + hex("0002") + kTime, false},
        ScanCase{"such a type's length is stepped over", kZero + hex("000201ff") + kTime, true},
        ScanCase{"a time record right behind the unread byte has its type taken for a page", kZero + kTime,
                 false},
        ScanCase{"unknown types are stepped over", report(gsof(99, "abc") + kTime), true},
        ScanCase{"a wrong length is stepped over", report(gsof(1, std::string(11, '\x05')) + kTime), true},
        ScanCase{"an empty record is stepped over", report(gsof(3, "") + kTime), true},
        ScanCase{"the last byte is missing", report(kTime.substr(0, kTime.size() - 1)), false},
        ScanCase{"a record that does not fit hides what follows", report(hex("63ff") + kTime), false},
        ScanCase{"the byte behind satellites is skipped",
                 report(gsof(14, chr(1) + satellite(5)) + "x" + kTime), true},
        ScanCase{"also when it is a type", report(gsof(14, chr(1) + satellite(5)) + kTime), false},
        ScanCase{"a type without a length", report("\x01"), false}, ScanCase{"nothing", "", false}));

struct SatellitesCase {
    const char* name;
    std::string record;
    int count;
    std::vector<int> prns;
};

void PrintTo(const SatellitesCase& c, std::ostream* out) { *out << c.name; }

class SatelliteRecords : public testing::TestWithParam<SatellitesCase> {};

TEST_P(SatelliteRecords, GiveWhatTheyHold) {
    CTrimbleFormat parser;
    process(parser, gsof(14, chr(3) + satellite(1) + satellite(2) + satellite(3)));
    ASSERT_THAT(parser.Satellites().list, SizeIs(3));
    process(parser, GetParam().record);
    EXPECT_EQ(parser.Satellites().count, GetParam().count);
    std::vector<int> prns;
    for (const TrimbleSatellite& row : parser.Satellites().list)
        prns.push_back(row.prn);
    EXPECT_EQ(prns, GetParam().prns);
}

INSTANTIATE_TEST_SUITE_P(
    TrimbleFormat, SatelliteRecords,
    testing::Values(
        SatellitesCase{"two", gsof(14, chr(2) + satellite(7) + satellite(8)), 2, {7, 8}},
        SatellitesCase{"none", gsof(14, std::string(1, chr(0))), 0, {}},
        SatellitesCase{"more counted than there are", gsof(14, chr(100) + satellite(7)), 100, {7}},
        SatellitesCase{
            "fewer counted than there are", gsof(14, chr(1) + satellite(7) + satellite(8)), 1, {7}},
        SatellitesCase{"a negative count", gsof(14, chr(0xFF) + satellite(7)), -1, {}},
        SatellitesCase{"half a satellite", gsof(14, chr(2) + satellite(7) + satellite(8).substr(4)), 2, {7}},
        SatellitesCase{"a length that leaves out the count", hex("0e0801") + satellite(7), 1, {7}},
        SatellitesCase{"a record that does not fit", hex("0e1101") + satellite(7), 3, {1, 2, 3}}));

TEST(TrimbleFormat, SatellitesAreReadSigned) {
    CTrimbleFormat parser;
    process(parser, gsof(14, chr(1) + satellite(7, 0x8001)));
    EXPECT_EQ(parser.Satellites().list.front().elevation, -5);
    EXPECT_EQ(parser.Satellites().list.front().azimuth, 0x8001);
}

struct FlagsCase {
    const char* name;
    unsigned flags2;
    unsigned kept;  // behind a sigma record
    bool scaled;
    char quality;  // behind a sigma record
    char alone;    // of a report without sigmas
};

void PrintTo(const FlagsCase& c, std::ostream* out) { *out << c.name; }

class SolutionFlags : public testing::TestWithParam<FlagsCase> {};

char qualityOf(const CTrimbleFormat& parser) {
    const std::string sentence = gpgga(parser.strGetGPGGA());
    return sentence[sentence.find("E,") + 2];
}

TEST_P(SolutionFlags, ScaleSigmasAndTellTheQuality) {
    CTrimbleFormat parser;
    process(parser, positionTime(GetParam().flags2) + gsof3(3, -2148744.25, 4426641.5, 4044656.0));
    EXPECT_EQ(qualityOf(parser), GetParam().alone);
    process(parser, sigmas());
    EXPECT_EQ(parser.PositionTime().flags2, GetParam().kept);
    EXPECT_EQ(parser.Sigmas().east, GetParam().scaled ? 3.6F : 18.0F);
    EXPECT_EQ(parser.Sigmas().north, GetParam().scaled ? 5.4F : 27.0F);
    EXPECT_EQ(parser.Sigmas().covariance, 36.0F);
    EXPECT_EQ(parser.Sigmas().up, GetParam().scaled ? 10.0F : 45.0F);
    EXPECT_EQ(parser.Sigmas().unitVariance, 81.0F);
    EXPECT_EQ(qualityOf(parser), GetParam().quality);
}

INSTANTIATE_TEST_SUITE_P(TrimbleFormat, SolutionFlags,
                         testing::Values(FlagsCase{"autonomous", 0, 0, false, '1', '1'},
                                         FlagsCase{"code differential", 1, 1, false, '2', '2'},
                                         FlagsCase{"float", 3, 3, false, '5', '5'},
                                         FlagsCase{"wide-area", 4, 4, false, '1', '1'},
                                         FlagsCase{"fixed", 7, 7, true, '4', '4'},
                                         FlagsCase{"fixed with the OmniSTAR bit", 15, 15, true, '4', '4'},
                                         FlagsCase{"fixed, static constraint", 0x17, 7, true, '4', '1'},
                                         FlagsCase{"float, network", 0x23, 3, false, '5', '1'}));

TEST(TrimbleFormat, RepliesAreKeptWithTheirNumbersInHostOrder) {
    std::string bytes;
    for (unsigned i = 0; i < 48; ++i)
        bytes += chr(i);
    CTrimbleFormat parser;
    parser.vProcessRetsvdata(dataOf(bytes));
    EXPECT_EQ(parser.SatelliteSets().front(), 0x00010203U);
    EXPECT_EQ(parser.SatelliteSets().back(), 0x2C2D2E2FU);
    parser.vProcessRetsvdata(spanOf(std::string(47, '\xFF')));
    EXPECT_EQ(parser.SatelliteSets().front(), 0x00010203U);

    bytes += chr(48);
    parser.vProcessRetopt(dataOf(bytes));
    EXPECT_EQ(parser.Options().bytes.back(), 48);
    EXPECT_EQ(parser.Options().syncTime, 0x0203);
    EXPECT_EQ(parser.Options().fastestRate, 0x0405);
    EXPECT_EQ(parser.Options().memoryInstalled, 0x1D1E);
    parser.vProcessRetopt(spanOf(std::string(48, '\xFF')));
    EXPECT_EQ(parser.Options().syncTime, 0x0203);

    parser.vProcessRecstat1(dataOf(bytes));
    EXPECT_EQ(parser.Status()[20], 20);
    parser.vProcessRecstat1(spanOf(std::string(20, '\xFF')));
    EXPECT_EQ(parser.Status()[0], 0);
}

TEST(TrimbleFormat, GgaOfAReportAndAStatus) {
    CTrimbleFormat parser;
    parser.vProcessGenout(spanOf(kSample));
    parser.vProcessRecstat1(spanOf("xx09xxxxxxxxxxxxxxxxx"));
    EXPECT_EQ(gpgga(parser.strGetGPGGA()),
              "$GPGGA,000000.00,3936.5160152,N,11553.5491517,E,4,09,1.0,87.715,M,1.00,M,0,*6E\r\n");
}

TEST(TrimbleFormat, GgaCountsSatellitesFromTwoCharacters) {
    struct {
        const char* status;
        const char* field;
    } const cases[] = {{"xx12", ",4,12,"}, {"xx 7", ",4,07,"}, {"xx4x", ",4,04,"}, {"xxab", ",4,00,"}};

    for (const auto& c : cases) {
        CTrimbleFormat parser;
        parser.vProcessGenout(spanOf(kSample));
        parser.vProcessRecstat1(spanOf(c.status + std::string(17, '5')));
        EXPECT_THAT(gpgga(parser.strGetGPGGA()), testing::HasSubstr(c.field)) << c.status;
    }
}

TEST(TrimbleFormat, GgaWithoutAFiniteStateSaysSo) {
    CTrimbleFormat parser;
    process(parser, gsof3(3, std::numeric_limits<double>::quiet_NaN(), 0.0, 0.0));
    EXPECT_THAT(gpgga(parser.strGetGPGGA()), testing::StartsWith("$GPGGA,000000.00,,,,,0,00,"));
}

TEST(TrimbleFormat, GgaOfAFreshParserIsAtTheCentreOfTheEarth) {
    EXPECT_THAT(gpgga(CTrimbleFormat().strGetGPGGA()),
                testing::StartsWith(
                    "$GPGGA,000000.00,0000.0000000,N,00000.0000000,E,1,00,0.0,-6378137.000,M,1.00,M,0,*"));
}

TEST(TrimbleFormat, KeepsNothingOfRawData) {
    CTrimbleFormat parser;
    process(parser, gsof3(3, 30.0, 20.0, 10.0));
    const std::string raw = hex("01110000") + bigDouble(1.0) + bigDouble(2.0) + bigDouble(3.0);
    parser.vProcessRawData(dataOf(raw), static_cast<int>(raw.size()));
    EXPECT_EQ(parser.Position().x, 30.0);
    EXPECT_EQ(parser.Position().y, 20.0);
}

}  // namespace
}  // namespace vkcomm::test
