#include "host/genout_reassembler.h"

#include <gtest/gtest.h>

#include "host/byte_text.h"
#include "tests/decode/frames.h"
#include "vkcomm/formats/trimble_format.h"

namespace vkcomm::test {
namespace {

std::string page(unsigned transmission, unsigned index, unsigned last, const std::string& records) {
    return trimble(0x40, std::string{chr(transmission), chr(index), chr(last)} + records);
}

// The records of the reports that the packets make.
std::vector<std::string> reportsOf(GenoutReassembler& reassembler, const std::vector<std::string>& packets) {
    std::vector<std::string> reports;
    for (const std::string& packet : packets) {
        if (!reassembler.add(spanOf(packet))) continue;
        EXPECT_EQ(textOf(reassembler.report()).substr(0, 3), std::string(3, '\0'));
        reports.emplace_back(textOf(reassembler.report()).substr(3));
    }
    return reports;
}

TEST(GenoutReassembler, JoinsPages) {
    const std::string whole = page(7, 0, 0, "\x63\x03xyz");

    const struct {
        const char* name;
        std::vector<std::string> packets;  // before a whole one
        std::vector<std::string> reports;
        std::uint64_t lost;
    } cases[] = {
        {"two pages", {page(7, 0, 1, "\x63\x02x"), page(7, 1, 1, "y")}, {"\x63\x02xy"}, 0},
        {"a page without records", {page(7, 0, 1, ""), page(7, 1, 1, "\x63\x01x")}, {"\x63\x01x"}, 0},
        {"the second page is missing", {page(7, 0, 1, "abc")}, {}, 1},
        {"the first page is missing", {page(7, 1, 1, "abc")}, {}, 1},
        {"a page in the middle is missing", {page(7, 0, 2, "a"), page(7, 2, 2, "c")}, {}, 2},
        {"pages of two transmissions", {page(7, 0, 1, "a"), page(8, 1, 1, "b")}, {}, 2},
        {"it begins again",
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
    GenoutReassembler longest;
    for (unsigned index = 0; index < 256; ++index)
        EXPECT_EQ(longest.add(spanOf(page(1, index, 255, std::string(249, 'r')))), index == 255);
    EXPECT_EQ(longest.report().size(), 3U + 256U * 249U);
}

// The parser skips a byte behind a satellite record, which is there only when the record does not count
// itself.
TEST(GenoutReassembler, PadsSatelliteRecordsThatCountThemselves) {
    const std::string none = hex("0e0100");
    const std::string two = hex("0e1102") + std::string(16, 's');
    const std::string uncounted = hex("0e0801") + std::string(8, 's');
    const std::string time = hex("010a149971f405f0092f0703");
    const std::string pad(1, '\0');
    const std::pair<std::string, std::string> cases[] = {
        {none + time, none + pad + time},
        {time + two, time + two + pad},
        {two + none, two + pad + none + pad},
        {uncounted + time, uncounted + time},
        {two.substr(0, 18), two.substr(0, 18)},
        {hex("63020e01"), hex("63020e01")},
        {hex("0e"), hex("0e")},
        {"", ""},
    };
    for (const auto& [records, padded] : cases) {
        GenoutReassembler reassembler;
        EXPECT_EQ(reportsOf(reassembler, {page(7, 0, 0, records)}), std::vector<std::string>{padded});
        CTrimbleFormat parser;
        parser.vProcessGenout(reassembler.report());
        EXPECT_EQ(parser.PositionTime().week, records.find(time) == records.npos ? 0 : 1520);
    }
}

}  // namespace
}  // namespace vkcomm::test
