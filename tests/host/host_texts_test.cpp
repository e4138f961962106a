// The texts of the host library: values, columns, shifted sentences; and looking ahead in a source.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <limits>

#include "host/byte_source.h"
#include "host/byte_text.h"
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
        fields.text("t", "\"\xE9");
        fields.endItem();
    }
    fields.endList();
    fields.number("small", 1.5e-11);
    fields.bytes("raw", std::array<unsigned char, 2>{0x0A, 0xFF});
    fields.split("plain", ",a;b", ",;");
    fields.split("odd", "a,\\", ",");
    fields.split("none", "", ",");
    fields.beginList("numbers");
    fields.item(std::int64_t{7});
    fields.item(0.25, 2);
    fields.endList();
    return out;
}

TEST(FieldWriter, WritesValuesListsAndGroups) {
    EXPECT_EQ(
        written(LineFormat::kJson),
        R"("a":-1,"rows":[{"x":1.2,"t":"\"\u00e9"},{"x":null,"t":"\"\u00e9"}],"small":1.5e-11,"raw":"0aff",)"
        R"("plain":["","a","b"],"odd":["a","\\"],"none":[""],"numbers":[7,0.25])");
    EXPECT_EQ(written(LineFormat::kText),
              R"( a=-1 rows=[{x=1.2 t="\xe9},{x=null t="\xe9}] small=1.5e-11 raw=0aff plain=[,a,b] odd=[a,\])"
              R"( none=[] numbers=[7,0.25])");
}

TEST(Positions, BecomeColumns) {
    const auto line = [](std::string_view file, const ReceiverSnapshot& snapshot) {
        std::string out;
        appendPositionLine(out, file, snapshot);
        return out;
    };
    EXPECT_EQ(line({}, {}), ",,,,,,,0,,,,,,\n");
    ReceiverSnapshot snapshot;
    snapshot.time = ReceiverTime{2200, 345678.5, TimeScale::kGps};
    snapshot.position = SnapshotPosition{-35.5, 138.25, 12.34567, HeightReference::kSeaLevel};
    snapshot.quality = 4;
    snapshot.satellitesUsed = 9;
    snapshot.dops.hdop = 0.75;
    snapshot.sigmas = {0.01, 0.02, 0.03, {}};
    EXPECT_EQ(line("a,\"b\"", snapshot),
              "\"a,\"\"b\"\"\",gps,2200,345678.500,-35.500000000,138.250000000,12.3457,"
              "sea,4,9,0.75,0.0100,0.0200,0.0300,\n");
    const std::string header = positionHeader(true);
    EXPECT_EQ(std::ranges::count(header, ','), std::ranges::count(line("x", {}), ','));
    EXPECT_EQ(header, "file," + positionHeader(false));
}

TEST(Gga, MovesBackToUtc) {
    const std::string rest = ",3552.3796511,N,13823.3797019,E,1,09,0.0,964.640,M,39.25,M,0,";

    const struct {
        const char* time;
        double seconds;
        const char* moved;
    } cases[] = {
        {"230700.00", 18, "230642.00"},  {"000010.00", 18, "235952.00"},    {"235959.99", -0.01, "000000.00"},
        {"120000.00", 0.5, "115959.50"}, {"000000.00", 86400, "000000.00"},
    };

    for (const auto& c : cases)
        EXPECT_EQ(ggaMovedBack(sentence("GPGGA," + (c.time + rest)), c.seconds),
                  sentence("GPGGA," + (c.moved + rest)));
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
    const RecordView record{LOG_OEM4_BINARY, 42, RecordSource::kStream, {}, 0};
    summary.count(record, std::nullopt);
    for (int i = 0; i < 5; ++i)
        summary.count(record, ReceiverTime{1562, 604799.0 + i * 0.5, TimeScale::kGps});
    std::string text;
    summary.appendText(text, {}, {});
    EXPECT_THAT(text,
                HasSubstr(" 2.000  2009-12-19 23:59:59.000  2009-12-20 00:00:01.000 gps  best position\n"));
    std::string json;
    summary.appendJson(json, {}, {});
    EXPECT_THAT(json, HasSubstr(R"("count":6,"rate_hz":2.000,"time_scale":"gps","first_week":1562,)"
                                R"("first_seconds":604799.000,"last_week":1562,"last_seconds":604801.000)"));
}

TEST(ByteSource, LooksAheadWithoutReading) {
    const std::string path = testing::TempDir() + "vkcomm_peek";
    const std::string contents = std::string(70'000, 'a') + "0123456789";
    std::ofstream(path, std::ios::binary) << contents;
    std::string error;
    const auto source = ByteSource::open(path, error);
    ASSERT_TRUE(source) << error;
    EXPECT_EQ(source->size(), contents.size());
    EXPECT_TRUE(contents.starts_with(textOf(source->peek(6))));
    std::vector<unsigned char> buffer(7'000);
    std::string read;
    while (const std::size_t count = source->read(buffer)) {
        read += textOf(ByteSpan(buffer).first(count));
        const std::string_view ahead = textOf(source->peek(10));
        EXPECT_GE(ahead.size(), std::min<std::size_t>(10, contents.size() - read.size()));
        EXPECT_TRUE(std::string_view(contents).substr(read.size()).starts_with(ahead));
    }
    EXPECT_EQ(read, contents);
    EXPECT_EQ(source->error(), "");
    std::remove(path.c_str());
}

}  // namespace
}  // namespace vkcomm::test
