#include "host/genout_reassembler.h"

#include <gtest/gtest.h>

#include "tests/decode/frames.h"
#include "vkcomm/formats/trimble_format.h"

namespace vkcomm::test {
namespace {

ByteSpan spanOf(std::string_view bytes) {
    return {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()};
}

std::string page(unsigned transmission, unsigned index, unsigned last, const std::string& records) {
    return trimble(0x40, std::string{chr(transmission), chr(index), chr(last)} + records);
}

// The records of the reports that the packets make.
std::vector<std::string> reportsOf(GenoutReassembler& reassembler, const std::vector<std::string>& packets) {
    std::vector<std::string> reports;
    for (const std::string& packet : packets) {
        if (!reassembler.add(spanOf(packet))) continue;
        const std::string report(reassembler.report().begin(), reassembler.report().end());
        EXPECT_EQ(report.substr(0, 3), std::string(3, '\0'));
        reports.push_back(report.substr(3));
    }
    return reports;
}

TEST(GenoutReassembler, JoinsPages) {
    const std::string whole = page(7, 0, 0, "\x63\x03xyz");

    struct {
        const char* name;
        std::vector<std::string> packets;  // before a whole one
        std::vector<std::string> reports;
        std::uint64_t lost;
    } const cases[] = {
        {"two pages", {page(7, 0, 1, "\x63\x02x"), page(7, 1, 1, "y")}, {"\x63\x02xy"}, 0},
        {"a page without records", {page(7, 0, 1, ""), page(7, 1, 1, "\x63\x01x")}, {"\x63\x01x"}, 0},
        {"the second page is missing", {page(7, 0, 1, "abc")}, {}, 1},
        {"the first page is missing", {page(7, 1, 1, "abc")}, {}, 1},
        {"a page in the middle is missing", {page(7, 0, 2, "a"), page(7, 2, 2, "c")}, {}, 2},
        {"pages of two transmissions", {page(7, 0, 1, "a"), page(8, 1, 1, "b")}, {}, 2},
        {"a transmission begins again",
         {page(7, 0, 1, "a"), page(7, 0, 1, "\x63"), page(7, 1, 1, "\x01")},
         {"\x63\x01"},
         1},
        {"the highest index changes", {page(7, 0, 2, "a"), page(7, 1, 1, "b")}, {}, 2},
        {"an index above the highest", {page(7, 1, 0, "a")}, {}, 1},
        {"too short for a page", {trimble(0x40, "ab")}, {}, 1},
        {"shorter than it says", {whole.substr(0, 10)}, {}, 1},
        {"no packet at all", {""}, {}, 1},
    };

    for (const auto& c : cases) {
        GenoutReassembler reassembler;
        EXPECT_EQ(reportsOf(reassembler, c.packets), c.reports) << c.name;
        EXPECT_EQ(reportsOf(reassembler, {whole}), std::vector<std::string>{"\x63\x03xyz"}) << c.name;
        EXPECT_EQ(reassembler.lostPages(), c.lost) << c.name;
    }
}

TEST(GenoutReassembler, TakesTheLongestTransmission) {
    GenoutReassembler reassembler;
    const std::string records(249, 'r');
    for (unsigned index = 0; index < 256; ++index)
        EXPECT_EQ(reassembler.add(spanOf(page(1, index, 255, records))), index == 255);
    EXPECT_EQ(reassembler.report().size(), 3U + 256U * 249U);
}

TEST(GenoutReassembler, PadsSatelliteRecordsThatCountThemselves) {
    const std::string none = hex("0e0100");
    const std::string two = hex("0e1102") + std::string(16, 's');
    const std::string uncounted = hex("0e0801") + std::string(8, 's');
    const std::string other = hex("630178");
    const std::string pad(1, '\0');
    const std::pair<std::string, std::string> cases[] = {
        {none + other, none + pad + other},
        {other + two, other + two + pad},
        {two + none, two + pad + none + pad},
        {uncounted + other, uncounted + other},
        {two.substr(0, 18), two.substr(0, 18)},
        {hex("63020e01"), hex("63020e01")},
        {hex("0e"), hex("0e")},
        {"", ""},
    };
    for (const auto& [records, padded] : cases) {
        GenoutReassembler reassembler;
        EXPECT_EQ(reportsOf(reassembler, {page(7, 0, 0, records)}), std::vector<std::string>{padded});
    }
    // The parser reads such reports to the end, whatever the form of the satellite record.
    for (const std::string& satellites : {none, two, uncounted}) {
        GenoutReassembler reassembler;
        ASSERT_TRUE(reassembler.add(spanOf(page(1, 0, 0, satellites + hex("010a149971f405f0092f0703")))));
        CTrimbleFormat parser;
        parser.vProcessGenout(reassembler.report());
        EXPECT_EQ(parser.PositionTime().week, 1520);
        EXPECT_EQ(parser.Satellites().list.size(), static_cast<std::size_t>(parser.Satellites().count));
    }
}

}  // namespace
}  // namespace vkcomm::test
