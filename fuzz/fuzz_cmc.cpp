// Any bytes as a CMC frame: no crash, no read outside; a frame given twice leaves what it left the first
// time, and every state makes a sentence.
#include "fuzz/parser_laws.h"
#include "vkcomm/formats/cmc_format.h"

namespace {

using namespace vkcomm;
using vkcomm::fuzz::require;

constexpr void (CCMCFormat::*kOperations[])(ByteSpan) = {
    &CCMCFormat::vProcress20Dat, &CCMCFormat::vProcess30Dat, &CCMCFormat::vProcess33Dat,
    &CCMCFormat::vProcess45Dat,  &CCMCFormat::vProcess49Dat, &CCMCFormat::vProcess75Dat,
};

void requireInRange(const CCMCFormat& parser) {
    require(parser.Navigation().gpsSeconds >= 0.0 && parser.Navigation().gpsSeconds < 604800.0);
    require(parser.Navigation().mode < 32 && parser.Navigation().satellites < 16);
    require(parser.Status().message30 < 16 && parser.Status().visibleSatellites < 16);
    require(parser.Identification().text.size() <= 13);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const ByteSpan frame(data, size);
    CCMCFormat parser;
    for (const auto operation : kOperations) {
        (parser.*operation)(frame);
        requireInRange(parser);
        const std::wstring once = parser.strGetGPGGA();
        fuzz::requireGga(once);
        (parser.*operation)(frame);
        require(parser.strGetGPGGA() == once);
    }
    return 0;
}
