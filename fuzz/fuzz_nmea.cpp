// Any text, given to the field reader and the NMEA parser: no crash, and both read the same fields.
#include <cmath>

#include "fuzz/parser_laws.h"
#include "vkcomm/formats/nmea_format.h"
#include "vkcomm/formats/reply_text.h"
#include "vkcomm/formats/sentence.h"
#include "vkcomm/formats/sentence_fields.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vkcomm;
    using vkcomm::fuzz::require;
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
    require(parser.bProcessGGA({data, size}) == int{parser.Flags().gga});
    require(parser.bProcessGSA({data, size}) == int{parser.Flags().gsa});
    require(parser.bProcessGST({data, size}) == int{parser.Flags().gst});
    require(parser.bProcessRMC({data, size}) == int{parser.Flags().rmc});
    require(parser.bProcessZDA({data, size}) == int{parser.Flags().zda});
    const auto* terminated = reinterpret_cast<const unsigned char*>(text.c_str());
    require(parser.bProcessGGA(terminated) == int{parser.Flags().gga});
    require(!std::isnan(parser.Fix().position.latitude) && !std::isnan(parser.Fix().position.longitude));
    return 0;
}
