// Any bytes as GENOUT records, replies and packets: no crash, no read outside; satellites never more than
// counted; the two forms of a report and all ways to cut it into pages give the same.
#include <vector>

#include "fuzz/parser_laws.h"
#include "host/genout_reassembler.h"
#include "vkcomm/formats/trimble_format.h"

namespace {

using namespace vkcomm;
using vkcomm::fuzz::require;

std::vector<unsigned char> page(unsigned char index, unsigned char last, ByteSpan records) {
    const unsigned char head[] = {2, 0, 0x40, static_cast<unsigned char>(records.size() + 3), 9, index, last};
    std::vector<unsigned char> packet(std::size(head) + records.size());
    std::ranges::copy(records, std::ranges::copy(head, packet.begin()).out);
    return packet;
}

void processReport(ByteSpan report) {
    CTrimbleFormat bySpan, byPointer;
    bySpan.vProcessGenout(report);
    byPointer.vProcessGenout(report.data(), static_cast<int>(report.size()) + 6);
    const TrimbleSatellites& satellites = bySpan.Satellites();
    require(satellites.list.size() <= static_cast<std::size_t>(std::max<int>(satellites.count, 0)));
    require(satellites.list.size() == byPointer.Satellites().list.size());
    require(bySpan.strGetGPGGA() == byPointer.strGetGPGGA());
    fuzz::requireGga(bySpan.strGetGPGGA());
}

void cutIntoPages(ByteSpan records, std::size_t at) {
    records = records.first(std::min<std::size_t>(records.size(), 240));
    at = std::min(at, records.size());
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
    GenoutReassembler().add(input);
    const unsigned at = fuzz::takeByte(input);
    cutIntoPages(input, at);
    return 0;
}
