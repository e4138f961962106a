#include "vkcomm/formats/trimble_format.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>

#include "tests/formats/parser_bytes.h"

namespace vkcomm::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

std::string gsof(unsigned type, const std::string& data) {
    return chr(type) + (chr(static_cast<unsigned>(data.size())) + data);
}

std::string gsof3(unsigned type, double first, double second, double third) {
    return gsof(type, bigOf(first) + bigOf(second) + bigOf(third));
}

std::string positionTime(unsigned flags2) { return hex("010a149971f405f0092f") + chr(flags2) + chr(3); }

std::string satellite(unsigned prn) { return chr(prn) + hex("054ffb8001b478"); }

// The report behind its unread byte and two page bytes.
std::string report(const std::string& records) { return std::string(3, '\0') + records; }

void process(CTrimbleFormat& parser, const std::string& records) {
    parser.vProcessGenout(spanOf(report(records)));
}

const std::string kSample =
    hex("11000001 0a149971f405f0092f0703"
        "0318c14064c4200000004150e2e460000000414edbb800000000"
        "09103fc000003f8000003fa000003f400000"
        "0c263c23d70a41a0000041f000003d75c28f423400003cf5c28f3ca3d70a42b400003f800000000a"
        "0e1102054f032d010eb4780c0f000a005a8c00");

TEST(TrimbleFormat, ReadsEveryAreaOfAReport) {
    CTrimbleFormat parser;
    parser.vProcessGenout(dataOf(kSample), static_cast<int>(kSample.size()) + 6);
    const TrimblePositionTime& t = parser.PositionTime();
    EXPECT_EQ(row(t.milliseconds, t.week, t.satellites, t.flags1, t.flags2, t.initialisations),
              "345600500 1520 9 47 7 3");
    EXPECT_EQ(row(parser.Position().x, parser.Position().y, parser.Position().z),
              "-2148744.25 4426641.5 4044656");
    const TrimbleDops& d = parser.Dops();
    EXPECT_EQ(row(d.pdop, d.hdop, d.vdop, d.tdop), "1.5 1 1.25 0.75");
    const TrimbleSigmas& s = parser.Sigmas();  // of a fixed solution: east and north by 5, up by 4.5
    EXPECT_EQ(row(s.positionRms, s.east, s.north, s.covariance, s.up, s.semiMajor, s.semiMinor, s.orientation,
                  s.unitVariance, s.epochs),
              "0.01 4 6 0.06 10 0.03 0.02 90 1 10");
    ASSERT_EQ(parser.Satellites().list.size(), 2U);
    const TrimbleSatellite& first = parser.Satellites().list.front();
    EXPECT_EQ(
        row(first.prn, first.flags1, first.flags2, first.elevation, first.azimuth, first.snrL1, first.snrL2),
        "5 79 3 45 270 180 120");
    EXPECT_EQ(parser.Satellites().list.back().azimuth, 90);

    process(parser, gsof(14, chr(1) + satellite(7)));
    EXPECT_EQ(row(first.elevation, first.azimuth), "-5 32769") << "signed and not";
    process(parser, gsof3(2, 0.6913004865146912, 2.0227054566107237, 87.71488682553172));
    EXPECT_NEAR(parser.Position().x, -2148744.25, 1e-4);
    EXPECT_NEAR(parser.Position().y, 4426641.5, 1e-4);
    EXPECT_NEAR(parser.Position().z, 4044656.0, 1e-4);
}

TEST(TrimbleFormat, TheBaseIsPositionLessDeltaOfTheSameReport) {
    CTrimbleFormat parser;
    const XYZ& base = parser.BasePosition();
    process(parser, gsof3(6, 1.0, 2.0, 3.0) + gsof3(3, 30.0, 20.0, 10.0));
    EXPECT_EQ(row(base.x, base.y, base.z), "29 18 7");
    process(parser, positionTime(7) + gsof3(3, 30.0, 20.0, 10.0) + gsof3(6, 1.0, 2.0, 4.0));
    EXPECT_EQ(row(base.x, base.y, base.z), "29 18 6");
    for (const int length : {std::numeric_limits<int>::min(), -1, 0, 5})
        parser.vProcessGenout(dataOf(kSample), length);
    parser.vProcessGenout(nullptr, 100);
    const std::string raw = hex("01110000") + bigOf(1.0) + bigOf(2.0) + bigOf(3.0);
    parser.vProcessRawData(dataOf(raw), static_cast<int>(raw.size()));
    EXPECT_EQ(row(base.x, parser.Position().x, parser.Position().y), "29 30 20")
        << "nothing is kept of these";
    const auto untouchable = std::make_unique<unsigned char[]>(0);
    parser.vProcessGenout(untouchable.get(), 6);
    EXPECT_EQ(row(base.x, base.z, parser.Position().x, parser.PositionTime().week), "0 0 30 1520");
}

TEST(TrimbleFormat, ScansForRecords) {
    const std::string time = positionTime(7);
    const std::string zero(1, '\0');
    const std::string satellites = gsof(14, chr(1) + satellite(5));

    struct {
        const char* name;
        std::string bytes;  // the whole report
        bool timeRead;
    } const cases[] = {
        {"page bytes 1 of 1", zero + hex("0101") + time, true},
        {"page byte 2 is taken as a type", zero + hex("0002") + time, false},
        {"such a type's length is stepped over", zero + hex("000201ff") + time, true},
        {"a type right behind the unread byte is taken for a page", zero + time, false},
        {"unknown types are stepped over", report(gsof(99, "abc") + time), true},
        {"a wrong length is stepped over", report(gsof(1, std::string(11, '\x05')) + time), true},
        {"an empty record is stepped over", report(gsof(3, "") + time), true},
        {"the last byte is missing", report(time.substr(0, time.size() - 1)), false},
        {"a record that does not fit hides what follows", report(hex("63ff") + time), false},
        {"the byte behind satellites is skipped", report(satellites + "x" + time), true},
        {"also when it is a type", report(satellites + time), false},
        {"a type without a length", report("\x01"), false},
        {"nothing", "", false},
    };

    for (const auto& c : cases) {
        CTrimbleFormat parser;
        parser.vProcessGenout(spanOf(c.bytes));
        EXPECT_EQ(parser.PositionTime().week == 1520, c.timeRead) << c.name;
    }
}

TEST(TrimbleFormat, SatelliteRecordsGiveWhatTheyHold) {
    struct {
        const char* name;
        std::string record;
        int count;
        std::vector<int> prns;
    } const cases[] = {
        {"two", gsof(14, chr(2) + satellite(7) + satellite(8)), 2, {7, 8}},
        {"none", gsof(14, std::string(1, chr(0))), 0, {}},
        {"more counted than there are", gsof(14, chr(100) + satellite(7)), 100, {7}},
        {"fewer counted than there are", gsof(14, chr(1) + satellite(7) + satellite(8)), 1, {7}},
        {"a negative count", gsof(14, chr(0xFF) + satellite(7)), -1, {}},
        {"half a satellite", gsof(14, chr(2) + satellite(7) + satellite(8).substr(4)), 2, {7}},
        {"a length that leaves out the count", hex("0e0801") + satellite(7), 1, {7}},
        {"a record that does not fit", hex("0e1101") + satellite(7), 3, {1, 2, 3}},
    };

    for (const auto& c : cases) {
        CTrimbleFormat parser;
        process(parser, gsof(14, chr(3) + satellite(1) + satellite(2) + satellite(3)));
        process(parser, c.record);
        std::vector<int> prns;
        for (const TrimbleSatellite& satellite : parser.Satellites().list)
            prns.push_back(satellite.prn);
        EXPECT_EQ(prns, c.prns) << c.name;
        EXPECT_EQ(parser.Satellites().count, c.count) << c.name;
    }
}

char qualityOf(const CTrimbleFormat& parser) {
    const std::string sentence = gpgga(parser.strGetGPGGA());
    return sentence[sentence.find("E,") + 2];
}

TEST(TrimbleFormat, Flags2TellTheQualityAndScaleSigmas) {
    struct {
        unsigned flags2, kept;  // as sent, and behind a sigma record
        bool scaled;
        char alone, quality;  // of a report without sigmas, and with them
    } const cases[] = {
        {0, 0, false, '1', '1'},   {1, 1, false, '2', '2'},    {3, 3, false, '5', '5'},
        {4, 4, false, '1', '1'},   {7, 7, true, '4', '4'},     {15, 15, true, '4', '4'},
        {0x17, 7, true, '1', '4'}, {0x23, 3, false, '1', '5'},
    };

    for (const auto& c : cases) {
        CTrimbleFormat parser;
        process(parser, positionTime(c.flags2) + gsof3(3, -2148744.25, 4426641.5, 4044656.0));
        EXPECT_EQ(qualityOf(parser), c.alone) << c.flags2;
        process(parser, kSample.substr(kSample.find(hex("0c26")), 40));
        const TrimbleSigmas& s = parser.Sigmas();
        EXPECT_EQ(row(s.east, s.north, s.up), c.scaled ? "4 6 10" : "20 30 45") << c.flags2;
        EXPECT_EQ(parser.PositionTime().flags2, c.kept);
        EXPECT_EQ(qualityOf(parser), c.quality) << c.flags2;
    }
}

TEST(TrimbleFormat, RepliesAreKeptWithTheirNumbersInHostOrder) {
    std::string bytes;
    for (unsigned i = 0; i < 49; ++i)
        bytes += chr(i);
    CTrimbleFormat parser;
    parser.vProcessRetsvdata(dataOf(bytes));
    parser.vProcessRetopt(dataOf(bytes));
    parser.vProcessRecstat1(dataOf(bytes));
    parser.vProcessRetsvdata(spanOf(std::string(47, '\xFF')));
    parser.vProcessRetopt(spanOf(std::string(48, '\xFF')));
    parser.vProcessRecstat1(spanOf(std::string(20, '\xFF')));
    EXPECT_EQ(parser.SatelliteSets().front(), 0x00010203U);
    EXPECT_EQ(parser.SatelliteSets().back(), 0x2C2D2E2FU);
    const TrimbleOptions& o = parser.Options();
    EXPECT_EQ(row(o.bytes.back(), o.syncTime, o.fastestRate, o.memoryInstalled),
              row(48, 0x0203, 0x0405, 0x1D1E));
    EXPECT_EQ(row(parser.Status()[0], parser.Status()[20]), "0 20");
}

TEST(TrimbleFormat, GgaOfAReportAndAStatus) {
    CTrimbleFormat parser;
    const auto sentence = [&] { return gpgga(parser.strGetGPGGA()); };
    EXPECT_THAT(sentence(),
                StartsWith("$GPGGA,000000.00,0000.0000000,N,00000.0000000,E,1,00,0.0,-6378137.000,M,1.00,"));
    parser.vProcessGenout(spanOf(kSample));
    parser.vProcessRecstat1(spanOf("xx09xxxxxxxxxxxxxxxxx"));
    EXPECT_EQ(sentence(),
              "$GPGGA,000000.00,3936.5160152,N,11553.5491517,E,4,09,1.0,87.715,M,1.00,M,0,*6E\r\n");

    const std::pair<const char*, const char*> statuses[] = {
        {"xx12", ",4,12,"}, {"xx 7", ",4,07,"}, {"xx4x", ",4,04,"}, {"xxab", ",4,00,"}};
    for (const auto& [status, field] : statuses) {
        parser.vProcessRecstat1(spanOf(status + std::string(17, '5')));
        EXPECT_THAT(sentence(), HasSubstr(field));
    }
    process(parser, gsof3(3, std::numeric_limits<double>::quiet_NaN(), 0.0, 0.0));
    EXPECT_THAT(sentence(), StartsWith("$GPGGA,000000.00,,,,,0,00,"));
}

}  // namespace
}  // namespace vkcomm::test
