#include "vkcomm/formats/trimble_format.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>

#include "tests/formats/parser_bytes.h"
#include "tests/host/literal_frames.h"

namespace vkcomm::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

// Records 1, 3, 9, 12 and 14 in one packet.
const std::string kPacket =
    hex("02004076110000010a149971f405f0092f07030318c14064c4200000004150e2e460000000414edbb80000000009103fc0"
        "00003f8000003fa000003f4000000c263c23d70a3ca3d70a3cf5c28f000000003d3851ec3cf5c28f3ca3d70a42b400003f"
        "80000000010e1102054f032d010eb4780c0f000a005a8c00d603");

std::string gsof3(unsigned type, double first, double second, double third) {
    return gsof(type, bigDouble(first) + bigDouble(second) + bigDouble(third));
}

std::string satellite(unsigned prn) { return chr(prn) + hex("054ffb8001b478"); }

// A byte that is not read, two page bytes, the records.
void process(CTrimbleFormat& parser, const std::string& records) {
    parser.vProcessGenout(spanOf(std::string(3, '\0') + records));
}

void processPacket(CTrimbleFormat& parser) {
    parser.vProcessGenout(dataOf(kPacket) + 4, static_cast<int>(kPacket.size()));
}

std::string shown(const XYZ& xyz) { return row(xyz.x, xyz.y, xyz.z); }

TEST(TrimbleFormat, ReadsEveryAreaOfAReport) {
    CTrimbleFormat parser;
    processPacket(parser);
    const TrimblePositionTime& t = parser.PositionTime();
    EXPECT_EQ(row(t.milliseconds, t.week, t.satellites, t.flags1, t.flags2, t.initialisations),
              "345600500 1520 9 47 7 3");
    EXPECT_EQ(shown(parser.Position()), "-2148744.25 4426641.5 4044656");
    const TrimbleDops& d = parser.Dops();
    EXPECT_EQ(row(d.pdop, d.hdop, d.vdop, d.tdop), "1.5 1 1.25 0.75");
    EXPECT_EQ(row(parser.Sigmas().east, parser.Sigmas().north, parser.Sigmas().up),
              "0.0039999997 0.006 0.010000001");
    ASSERT_EQ(parser.Satellites().list.size(), 2U);
    const TrimbleSatellite& s = parser.Satellites().list.front();
    EXPECT_EQ(row(s.prn, s.flags1, s.flags2, s.elevation, s.azimuth, s.snrL1, s.snrL2),
              "5 79 3 45 270 180 120");
    EXPECT_EQ(row(parser.Satellites().list.back().prn, parser.Satellites().list.back().azimuth), "12 90");
    process(parser, gsof(14, chr(1) + satellite(7)));
    EXPECT_EQ(row(s.elevation, s.azimuth), "-5 32769") << "signed and not";
    process(parser, gsofPlace());
    EXPECT_NEAR(parser.Position().x, 0.0, 1e-4);
    EXPECT_NEAR(parser.Position().y, -4517661.5895, 1e-4);
    EXPECT_NEAR(parser.Position().z, 4487419.1195, 1e-4);
}

TEST(TrimbleFormat, TheBaseIsPositionLessDeltaOfTheSameReport) {
    CTrimbleFormat parser;
    process(parser, gsof3(6, 1.0, 2.0, 3.0) + gsof3(3, 30.0, 20.0, 10.0));
    EXPECT_EQ(shown(parser.BasePosition()), "29 18 7");
    for (const int length : {std::numeric_limits<int>::min(), -1, 0, 5})
        parser.vProcessGenout(dataOf(kPacket) + 4, length);
    parser.vProcessGenout(nullptr, 100);
    parser.vProcessRawData(dataOf(hex("01110000") + bigDouble(1.0) + bigDouble(2.0) + bigDouble(3.0)), 28);
    EXPECT_EQ(shown(parser.BasePosition()) + ' ' + shown(parser.Position()), "29 18 7 30 20 10");
    const auto untouchable = std::make_unique<unsigned char[]>(0);
    parser.vProcessGenout(untouchable.get(), 6);
    EXPECT_EQ(shown(parser.BasePosition()) + ' ' + shown(parser.Position()), "0 0 0 30 20 10");
}

TEST(TrimbleFormat, ScansForRecords) {
    const std::string time = hex("010a149971f405f0092f0703");
    const std::string head(3, '\0'), pad(1, 'x');
    const std::string one = gsof(14, chr(1) + satellite(5));

    struct {
        const char* name;
        std::string report;
        std::string found;  // week, count and PRNs of satellites
    } const cases[] = {
        {"page bytes 1 of 1", hex("000101") + time, "1520 0"},
        {"page byte 2 is taken as a type", hex("00000201ff") + time, "1520 0"},
        {"a type right behind the unread byte is taken for a page", hex("00") + time, "0 0"},
        {"unknown types are stepped over", head + gsof(99, "abc") + time, "1520 0"},
        {"also those of a wrong length", head + time + gsof(1, std::string(11, '\x05')) + one, "1520 1 5"},
        {"the last byte is missing", head + time.substr(0, time.size() - 1), "0 0"},
        {"a record that does not fit hides what follows", head + hex("63ff") + time, "0 0"},
        {"a type without a length", head + "\x01", "0 0"},
        {"the byte behind satellites is skipped", head + one + pad + time, "1520 1 5"},
        {"also when it is a type", head + one + time, "0 1 5"},
        {"the next list replaces this one", head + one + pad + gsof(14, chr(0) + pad), "0 0"},
        {"more counted than there are", head + gsof(14, chr(100) + satellite(7)), "0 100 7"},
        {"fewer counted than there are", head + gsof(14, chr(1) + satellite(7) + satellite(8)), "0 1 7"},
        {"a negative count", head + gsof(14, chr(0xFF) + satellite(7)), "0 -1"},
        {"half a satellite", head + gsof(14, chr(2) + satellite(7) + satellite(8).substr(4)), "0 2 7"},
        {"a length that leaves out the count", head + hex("0e0801") + satellite(7) + time, "1520 1 7"},
        {"a list that lacks a byte", head + one + pad + hex("0e0901") + satellite(7).substr(1), "0 1 5"},
    };

    for (const auto& c : cases) {
        CTrimbleFormat parser;
        parser.vProcessGenout(spanOf(c.report));
        std::string found = row(parser.PositionTime().week, parser.Satellites().count);
        for (const TrimbleSatellite& satellite : parser.Satellites().list)
            found += ' ' + row(satellite.prn);
        EXPECT_EQ(found, c.found) << c.name;
    }
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
        const auto quality = [&parser] {
            const std::string sentence = gpgga(parser.strGetGPGGA());
            return sentence[sentence.find(",W,") + 3];
        };
        process(parser, gsofTime(2200, 0, 9, c.flags2) + gsofPlace());
        EXPECT_EQ(quality(), c.alone) << c.flags2;
        process(parser, gsofSigmas());
        const TrimbleSigmas& s = parser.Sigmas();
        EXPECT_EQ(row(s.east, s.north, s.up), c.scaled ? "0.1 0.05 0.19999999" : "0.5 0.25 0.9") << c.flags2;
        EXPECT_EQ(row(s.positionRms, s.covariance, s.semiMajor, s.semiMinor, s.orientation, s.unitVariance,
                      s.epochs),
                  "1 0 0.6 0.2 45 1 30");
        EXPECT_EQ(parser.PositionTime().flags2, c.kept);
        EXPECT_EQ(quality(), c.quality) << c.flags2;
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
    const std::string other(49, '\xFF');
    parser.vProcessRetsvdata(spanOf(other).first(47));
    parser.vProcessRetopt(spanOf(other).first(48));
    parser.vProcessRecstat1(spanOf(other).first(20));
    EXPECT_EQ(row(parser.SatelliteSets().front(), parser.SatelliteSets().back()),
              row(0x00010203, 0x2C2D2E2F));
    const TrimbleOptions& o = parser.Options();
    EXPECT_EQ(row(o.bytes.back(), o.syncTime, o.fastestRate, o.memoryInstalled),
              row(48, 0x0203, 0x0405, 0x1D1E));
    EXPECT_EQ(row(parser.Status().front(), parser.Status().back()), "0 20");
}

TEST(TrimbleFormat, GgaOfAReportAndAStatus) {
    CTrimbleFormat parser;
    const auto sentence = [&parser] { return gpgga(parser.strGetGPGGA()); };
    EXPECT_THAT(sentence(),
                StartsWith("$GPGGA,000000.00,0000.0000000,N,00000.0000000,E,1,00,0.0,-6378137.000,M,1.00,"));
    processPacket(parser);
    const std::pair<std::string, const char*> statuses[] = {
        {"xx12", ",4,12,"}, {"xx 7", ",4,07,"}, {"xx4x", ",4,04,"}, {"xxab", ",4,00,"}, {"xx09", ",4,09,"}};
    for (const auto& [status, field] : statuses) {
        parser.vProcessRecstat1(spanOf(status + std::string(17, '5')));
        EXPECT_THAT(sentence(), HasSubstr(field));
    }
    EXPECT_EQ(sentence(),
              "$GPGGA,000000.00,3936.5160152,N,11553.5491517,E,4,09,1.0,87.715,M,1.00,M,0,*6E\r\n");
    process(parser, gsof3(3, std::numeric_limits<double>::quiet_NaN(), 0.0, 0.0));
    EXPECT_THAT(sentence(), StartsWith("$GPGGA,000000.00,,,,,0,09,"));
}

}  // namespace
}  // namespace vkcomm::test
