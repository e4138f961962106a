// Any bytes as $BIN records and JSHOW replies: no crash, no read outside; the satellite table holds known
// satellites only and counts stay inside it; a reply gives the same settings line by line as whole.
#include <algorithm>
#include <cmath>
#include <tuple>

#include "fuzz/parser_laws.h"
#include "vkcomm/formats/csi_format.h"

namespace {

using namespace vkcomm;
using vkcomm::fuzz::require;

void requireTable(const CsiSatelliteTable& table) {
    require(table.count <= table.rows.size());
    for (std::size_t i = 0; i < table.rows.size(); ++i) {
        const int prn = table.rows[i].prn;
        const bool known = (prn >= 1 && prn <= 37) || (prn >= 120 && prn <= 140);
        require(i < table.count ? known : prn == 0);
        require(table.rows[i].signalLevel >= -1 && table.rows[i].signalLevel <= 53);
    }
}

auto allOf(const CsiSettings& s) {
    return std::tie(s.baud, s.differentialSource, s.altitudeUse, s.limit, s.maskAngle, s.airMode, s.smoothing,
                    s.frequency, s.maximumAge, s.thisPort);
}

// Binary records, each behind two bytes: its kind and its length.
void processRecords(ByteSpan input) {
    constexpr void (CCSIFormat::*kOperations[])(ByteSpan) = {
        &CCSIFormat::ProcessSBinaryMsg1, &CCSIFormat::ProcessSBinaryMsg2, &CCSIFormat::ProcessSBinaryMsg96,
        &CCSIFormat::ProcessSBinaryMsg99};
    CCSIFormat parser;
    while (!input.empty()) {
        const auto operation = kOperations[fuzz::takeByte(input) % std::size(kOperations)];
        (parser.*operation)(fuzz::take(input, 200 + fuzz::takeByte(input)));
        requireTable(parser.Satellites());
        parser.UpdateValidSatNum();
        require(parser.Satellites().valid <= parser.Satellites().count);
        require(parser.Solution().satellitesTracked <= 32);
    }
}

void processReply(ByteSpan reply) {
    CCSIFormat whole, byLines;
    whole.ProcessCSISHOW(reply);
    reply = reply.first(static_cast<std::size_t>(std::ranges::find(reply, 0) - reply.begin()));
    while (!reply.empty()) {
        const auto end = std::ranges::find(reply, '\n');
        byLines.ProcessCSISHOW(fuzz::take(reply, static_cast<std::size_t>(end - reply.begin()) + 1));
    }
    require(allOf(whole.Settings()) == allOf(byLines.Settings()));
    require(std::isfinite(whole.Settings().limit) && std::isfinite(whole.Settings().frequency));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    processRecords({data, size});
    processReply({data, size});
    return 0;
}
