// Any bytes as GENOUT records, replies and packets: no crash, no read outside; satellites never more than
// counted; the two forms of a report and all ways to cut it into pages give the same.
#include <algorithm>
#include <vector>

#include "fuzz/parser_laws.h"
#include "host/genout_reassembler.h"
#include "vkcomm/formats/trimble_format.h"

namespace {

using namespace vkcomm;
using vkcomm::fuzz::require;

std::vector<unsigned char> page(unsigned char index, unsigned char last, ByteSpan records) {
    std::vector<unsigned char> packet(7 + records.size());
    packet[0] = 2;
    packet[2] = 0x40;
    packet[3] = static_cast<unsigned char>(records.size() + 3);
    packet[4] = 9;
    packet[5] = index;
    packet[6] = last;
    std::copy(records.begin(), records.end(), packet.begin() + 7);
    return packet;
}

void requireSame(const CTrimbleFormat& left, const CTrimbleFormat& right) {
    require(left.strGetGPGGA() == right.strGetGPGGA());
    require(left.Satellites().list.size() == right.Satellites().list.size());
    require(left.PositionTime().flags2 == right.PositionTime().flags2);
}

void processReport(ByteSpan report) {
    CTrimbleFormat bySpan;
    bySpan.vProcessGenout(report);
    CTrimbleFormat byPointer;
    byPointer.vProcessGenout(report.data(), static_cast<int>(report.size()) + 6);
    if (!report.empty()) requireSame(bySpan, byPointer);
    const int count = bySpan.Satellites().count;
    require(bySpan.Satellites().list.size() <= static_cast<std::size_t>(count > 0 ? count : 0));
    require(bySpan.Satellites().list.size() <= 31);
    fuzz::requireGga(bySpan.strGetGPGGA());
}

void cutIntoPages(ByteSpan records, std::size_t at) {
    records = records.first(records.size() < 240 ? records.size() : 240);
    at = at < records.size() ? at : records.size();
    GenoutReassembler whole, cut;
    require(whole.add(page(0, 0, records)));
    require(!cut.add(page(0, 1, records.first(at))));
    require(cut.add(page(1, 1, records.subspan(at))));
    require(std::ranges::equal(whole.report(), cut.report()));
    require(whole.report().size() >= records.size() + 3);
    processReport(whole.report());
}

void processReplies(ByteSpan bytes) {
    CTrimbleFormat parser;
    parser.vProcessRetsvdata(bytes);
    parser.vProcessRecstat1(bytes);
    parser.vProcessRetopt(bytes);
    fuzz::requireGga(parser.strGetGPGGA());
    require(parser.SerialReply().bParse(bytes) == (bytes.size() >= 45 ? 1 : 0));
    require(parser.BreakReply().bParse(bytes) == 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteSpan input(data, size);
    processReport(input);
    processReplies(input);
    GenoutReassembler reassembler;
    reassembler.add(input);
    const unsigned at = fuzz::takeByte(input);
    cutIntoPages(input, at);
    return 0;
}
