#include "host/receiver_family.h"

#include <algorithm>

#include "vkcomm/decode/stream_decoder.h"

namespace vkcomm {

namespace {

constexpr ReceiverFamily kFamilies[] = {
    {"all", kDecodeAll, "every frame the decoder knows"},
    {"nmea", kDecodeSentence, "NMEA 0183 and other '$' sentences"},
    {"oem4", kDecodeOem4Ascii | kDecodeReply | kDecodeSentence | kDecodePortBanner,
     "NovAtel OEM4 and later: binary and ASCII logs, replies, prompts, NMEA"},
    {"trimble", kDecodeTrimble | kDecodeSentence, "Trimble packets (GENOUT, RAWDATA, replies) and NMEA"},
    {"tsip", kDecodeTsip, "Trimble TSIP, byte by byte"},
    {"javad", kDecodeSentence, "Javad receivers: their NMEA sentences"},
    {"cmc", kDecodeCmc | kDecodeSentence, "CMC Allstar and SuperStar binary messages and NMEA"},
    {"csi", kDecodeHemisphere | kDecodeSentence, "CSI and Hemisphere: $BIN messages, $> replies, NMEA"},
    {"thales", kDecodeSentence, "Thales and Ashtech: $PASHR replies and NMEA"},
    {"maker", kDecodeMaker | kDecodeSentence, "the maker's own receivers: $$ replies and NMEA"},
    {"radio", kDecodeRadio | kDecodeModem | kDecodePercent | kDecodeAt, "radios and modems"},
};

}  // namespace

std::span<const ReceiverFamily> receiverFamilies() { return kFamilies; }

const ReceiverFamily* findFamily(std::string_view name) {
    const auto* row = std::ranges::find(kFamilies, name, &ReceiverFamily::name);
    return row == std::end(kFamilies) ? nullptr : row;
}

}  // namespace vkcomm
