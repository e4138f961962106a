#include "host/genout_reassembler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/decode/frames.h"
#include "vkcomm/formats/trimble_format.h"

namespace vkcomm::test {
namespace {

ByteSpan spanOf(std::string_view bytes) {
    return {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()};
}

std::string page(unsigned transmission, unsigned index, unsigned last, std::string_view records) {
    return trimble(0x40, std::string{chr(transmission), chr(index), chr(last)} + std::string(records));
}

std::string textOf(ByteSpan bytes) { return {bytes.begin(), bytes.end()}; }

const std::string kHead(3, '\0');

struct PagesCase {
    const char* name;
    std::vector<std::string> packets;
    std::vector<std::string> reports;  // the records in them
    std::uint64_t lost;
};

void PrintTo(const PagesCase& c, std::ostream* out) { *out << c.name; }

class Pages : public testing::TestWithParam<PagesCase> {};

TEST_P(Pages, BecomeReports) {
    GenoutReassembler reassembler;
    std::vector<std::string> reports;
    for (const std::string& packet : GetParam().packets)
        if (reassembler.add(spanOf(packet))) reports.push_back(textOf(reassembler.report()));
    std::vector<std::string> expected;
    for (const std::string& records : GetParam().reports)
        expected.push_back(kHead + records);
    EXPECT_EQ(reports, expected);
    EXPECT_EQ(reassembler.lostPages(), GetParam().lost);
}

const std::string kWhole = page(7, 0, 0, "\x63\x03xyz");

INSTANTIATE_TEST_SUITE_P(
    GenoutReassembler, Pages,
    testing::Values(
        PagesCase{"one page", {kWhole}, {"\x63\x03xyz"}, 0},
        PagesCase{
            "a record over two pages", {page(7, 0, 1, "\x63\x03x"), page(7, 1, 1, "yz")}, {"\x63\x03xyz"}, 0},
        PagesCase{
            "a page without records", {page(7, 0, 1, ""), page(7, 1, 1, "\x63\x03xyz")}, {"\x63\x03xyz"}, 0},
        PagesCase{"the second page is missing", {page(7, 0, 1, "abc"), kWhole}, {"\x63\x03xyz"}, 1},
        PagesCase{"the first page is missing", {page(7, 1, 1, "abc"), kWhole}, {"\x63\x03xyz"}, 1},
        PagesCase{"a page in the middle is missing",
                  {page(7, 0, 2, "a"), page(7, 2, 2, "c"), kWhole},
                  {"\x63\x03xyz"},
                  2},
        PagesCase{"pages of two transmissions",
                  {page(7, 0, 1, "a"), page(8, 1, 1, "b"), kWhole},
                  {"\x63\x03xyz"},
                  2},
        PagesCase{"a transmission begins again",
                  {page(7, 0, 1, "a"), page(7, 0, 1, "\x63\x01"), page(7, 1, 1, "b")},
                  {"\x63\x01"
                   "b"},
                  1},
        PagesCase{"the highest index changes",
                  {page(7, 0, 2, "a"), page(7, 1, 1, "b"), kWhole},
                  {"\x63\x03xyz"},
                  2},
        PagesCase{"an index above the highest", {page(7, 1, 0, "a"), kWhole}, {"\x63\x03xyz"}, 1},
        PagesCase{"too short for a page", {trimble(0x40, "ab"), kWhole}, {"\x63\x03xyz"}, 1},
        PagesCase{"shorter than it says", {kWhole.substr(0, 10), kWhole}, {"\x63\x03xyz"}, 1},
        PagesCase{"no packet at all", {"", kWhole}, {"\x63\x03xyz"}, 1}));

TEST(GenoutReassembler, TakesTheLongestTransmission) {
    GenoutReassembler reassembler;
    const std::string records(249, 'r');
    for (unsigned index = 0; index < 255; ++index)
        EXPECT_FALSE(reassembler.add(spanOf(page(1, index, 255, records))));
    EXPECT_TRUE(reassembler.add(spanOf(page(1, 255, 255, records))));
    EXPECT_EQ(reassembler.report().size(), 3U + 256U * 249U);
}

struct PadCase {
    const char* name;
    std::string records;
    std::string padded;
};

void PrintTo(const PadCase& c, std::ostream* out) { *out << c.name; }

class Pads : public testing::TestWithParam<PadCase> {};

TEST_P(Pads, StandBehindSatelliteRecords) {
    GenoutReassembler reassembler;
    ASSERT_TRUE(reassembler.add(spanOf(page(7, 0, 0, GetParam().records))));
    EXPECT_EQ(textOf(reassembler.report()), kHead + GetParam().padded);
}

const std::string kNone = hex("0e0100");
const std::string kTwo = hex("0e1102") + std::string(16, 's');
const std::string kUncounted = hex("0e0801") + std::string(8, 's');
const std::string kOther = hex("630178");
const std::string kPad = hex("00");

INSTANTIATE_TEST_SUITE_P(
    GenoutReassembler, Pads,
    testing::Values(PadCase{"no satellite", kNone + kOther, kNone + kPad + kOther},
                    PadCase{"two satellites", kTwo + kOther, kTwo + kPad + kOther},
                    PadCase{"at the end", kOther + kTwo, kOther + kTwo + kPad},
                    PadCase{"twice", kTwo + kNone, kTwo + kPad + kNone + kPad},
                    PadCase{"not where the length leaves out the count", kUncounted + kOther,
                            kUncounted + kOther},
                    PadCase{"not behind a record that is cut short", kTwo.substr(0, 18), kTwo.substr(0, 18)},
                    PadCase{"not inside other records", hex("63020e01"), hex("63020e01")},
                    PadCase{"half a head", hex("0e"), hex("0e")}, PadCase{"nothing", "", ""}));

// What the parser makes of a report, whatever the form of its satellite record.
TEST(GenoutReassembler, MakesReportsThatTheParserReadsToTheEnd) {
    const std::string time = hex("010a149971f405f0092f0703");
    for (const std::string& satellites : {kNone, kTwo, kUncounted}) {
        GenoutReassembler reassembler;
        ASSERT_TRUE(reassembler.add(spanOf(page(1, 0, 0, satellites + time))));
        CTrimbleFormat parser;
        parser.vProcessGenout(reassembler.report());
        EXPECT_EQ(parser.PositionTime().week, 1520);
        EXPECT_EQ(parser.Satellites().list.size(), static_cast<std::size_t>(parser.Satellites().count));
    }
}

}  // namespace
}  // namespace vkcomm::test
