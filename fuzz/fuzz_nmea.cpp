// Any text, given to the field reader and the NMEA parser: no crash, and both read the same fields.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "vkcomm/formats/nmea_format.h"
#include "vkcomm/formats/sentence.h"
#include "vkcomm/formats/sentence_fields.h"

namespace {

void require(bool holds) {
    if (!holds) std::abort();
}

std::wstring widened(std::string_view text) {
    std::wstring wide;
    for (const char c : text)
        wide += static_cast<wchar_t>(static_cast<unsigned char>(c));
    return wide;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vkcomm;
    const std::string text(reinterpret_cast<const char*>(data), size);
    CSentence sentence;
    sentence = text.c_str();
    const SentenceFields fields(text.c_str());
    for (int n = 0; n < static_cast<int>(SentenceFields::kMostFields); ++n) {
        const auto index = static_cast<std::size_t>(n);
        require(sentence.Field(n) == widened(fields.text(index)));
        require(sentence.Integer(n) == fields.integer(index));
        require(sentence.Double(n) == fields.real(index));
    }
    (void)sentence.GetNumberOfDataFields();

    CNmeaFormat parser;
    require(parser.bProcessGGA({data, size}) == (parser.Flags().gga ? 1 : 0));
    require(parser.bProcessGSA({data, size}) == (parser.Flags().gsa ? 1 : 0));
    require(parser.bProcessGST({data, size}) == (parser.Flags().gst ? 1 : 0));
    require(parser.bProcessRMC({data, size}) == (parser.Flags().rmc ? 1 : 0));
    require(parser.bProcessZDA({data, size}) == (parser.Flags().zda ? 1 : 0));
    require(parser.bProcessGGA(reinterpret_cast<const unsigned char*>(text.c_str())) ==
            (parser.Flags().gga ? 1 : 0));
    require(!std::isnan(parser.Fix().position.latitude) && !std::isnan(parser.Fix().position.longitude));
    return 0;
}
