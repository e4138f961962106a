// The texts of the host library: values, columns, shifted sentences; and looking ahead in a source.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <limits>

#include "host/byte_source.h"
#include "host/decode_summary.h"
#include "host/field_writer.h"
#include "host/position_lines.h"
#include "tests/decode/frames.h"

namespace vkcomm::test {
namespace {

using testing::HasSubstr;

std::string written(LineFormat format) {
    std::string out;
    FieldWriter fields(out, format);
    fields.integer("a", -1);
    fields.beginList("rows");
    for (const double value : {1.25, std::numeric_limits<double>::quiet_NaN()}) {
        fields.beginItem();
        fields.real("x", value, 1);
        fields.text("t", "\"");
        fields.endItem();
    }
    fields.endList();
    fields.number("small", 1.5e-11);
    fields.beginList("none");
    fields.endList();
    fields.bytes("raw", std::array<unsigned char, 2>{0x0A, 0xFF});
    fields.beginList("numbers");
    fields.item(std::int64_t{7});
    fields.item(0.25, 2);
    fields.endList();
    return out;
}

TEST(FieldWriter, NestsLists) {
    EXPECT_EQ(
        written(LineFormat::kJson),
        R"("a":-1,"rows":[{"x":1.2,"t":"\""},{"x":null,"t":"\""}],"small":1.5e-11,"none":[],"raw":"0aff",)"
        R"("numbers":[7,0.25])");
    EXPECT_EQ(written(LineFormat::kText),
              " a=-1 rows=[{x=1.2 t=\"},{x=null t=\"}] small=1.5e-11 none=[] raw=0aff numbers=[7,0.25]");
}

TEST(Positions, BecomeColumns) {
    ReceiverSnapshot snapshot;
    const auto line = [&](std::string_view file) {
        std::string out;
        appendPositionLine(out, file, snapshot);
        return out;
    };
    EXPECT_EQ(line({}), ",,,,,,,0,,,,,,\n");
    snapshot.time = ReceiverTime{2200, 345678.5, TimeScale::kGps};
    snapshot.position = SnapshotPosition{-35.5, 138.25, 12.34567, HeightReference::kSeaLevel};
    snapshot.quality = 4;
    snapshot.satellitesUsed = 9;
    snapshot.dops.hdop = 0.75;
    snapshot.sigmas = {0.01, 0.02, 0.03, {}};
    EXPECT_EQ(
        line("a,\"b\""),
        "\"a,\"\"b\"\"\",gps,2200,345678.500,-35.500000000,138.250000000,12.3457,sea,4,9,0.75,0.0100,0.0200,"
        "0.0300,\n");
    const std::string header = positionHeader(true);
    EXPECT_EQ(std::ranges::count(header, ','), std::ranges::count(line("x"), ','));
    EXPECT_EQ(header, "file," + positionHeader(false));
}

TEST(Gga, MovesBackToUtc) {
    const std::string rest = ",3552.3796511,N,13823.3797019,E,1,09,0.0,964.640,M,39.25,M,0,";

    struct Case {
        const char* time;
        double seconds;
        const char* moved;
    };

    const Case cases[] = {
        {"230700.00", 18, "230642.00"},  {"000010.00", 18, "235952.00"},    {"235959.99", -0.01, "000000.00"},
        {"120000.00", 0.5, "115959.50"}, {"000000.00", 86400, "000000.00"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ggaMovedBack(sentence("GPGGA," + (c.time + rest)), c.seconds),
                  sentence("GPGGA," + (c.moved + rest)))
            << c.time;
    for (const std::string& unchanged :
         {std::string(), sentence("GPGGA,,,,,,0,,,,,,,,"), std::string("$GPGGA")})
        EXPECT_EQ(ggaMovedBack(unchanged, 18), unchanged);
}

TEST(Times, Differ) {
    const auto gps = [](std::optional<int> week, double seconds) {
        return ReceiverTime{week, seconds, TimeScale::kGps};
    };
    EXPECT_EQ(secondsBetween(gps(2200, 604799), gps(2201, 1)), 2.0);
    EXPECT_EQ(secondsBetween(gps({}, 86399), gps({}, 1)), 2.0);
    EXPECT_EQ(secondsBetween(gps({}, 1), gps(2200, 1)), std::nullopt);
}

TEST(Summary, TellsRateAndTimes) {
    DecodeSummary summary;
    RecordView record;
    record.type = LOG_OEM4_BINARY;
    record.id = 42;
    summary.count(record, std::nullopt);
    for (int i = 0; i < 5; ++i)
        summary.count(record, ReceiverTime{1562, 604799.0 + i * 0.5, TimeScale::kGps});
    std::string text;
    summary.appendText(text, {}, {});
    EXPECT_THAT(text, HasSubstr("2.00 Hz  2009-12-19 23:59:59.000  2009-12-20 00:00:01.000"));
    std::string json;
    summary.appendJson(json, {}, {});
    EXPECT_THAT(json, HasSubstr(R"("count":6,"rate_hz":2.000,"time_scale":"gps","first_week":1562,)"
                                R"("first_seconds":604799.000,"last_week":1562,"last_seconds":604801.000)"));
}

TEST(ByteSource, LooksAheadWithoutReading) {
    const std::string path = testing::TempDir() + "vkcomm_peek";
    std::FILE* file = std::fopen(path.c_str(), "wb");
    ASSERT_TRUE(file);
    std::fputs("0123456789", file);
    std::fclose(file);
    std::string error;
    const auto source = ByteSource::open(path, error);
    ASSERT_TRUE(source) << error;
    const auto text = [](ByteSpan bytes) { return std::string(bytes.begin(), bytes.end()); };
    std::array<unsigned char, 4> buffer{};
    EXPECT_EQ(text(source->peek(6)), "012345");
    EXPECT_EQ(source->read(buffer), 4U);
    EXPECT_EQ(text(buffer), "0123");
    EXPECT_EQ(text(source->peek(3)), "456");
    EXPECT_EQ(source->read(buffer), 4U);
    EXPECT_EQ(text(buffer), "4567");
    EXPECT_EQ(text(source->peek(100)), "89");
    EXPECT_EQ(source->read(buffer), 2U);
    EXPECT_EQ(source->read(buffer), 0U);
    EXPECT_EQ(source->error(), "");
    std::remove(path.c_str());
}

}  // namespace
}  // namespace vkcomm::test
