#include "host/receiver_family.h"

#include <algorithm>

#include "vkcomm/decode/stream_decoder.h"

namespace vkcomm {

namespace {

template <typename... Types>
constexpr std::uint32_t types(Types... each) {
    return ((1U << each) | ...);
}

constexpr ReceiverFamily kFamilies[] = {
    {"all", kDecodeAll, ~0U, "every frame the decoder knows"},
    {"nmea", kDecodeSentence, types(LOG_NMEA), "NMEA 0183 and other '$' sentences"},
    {"oem4", kDecodeOem4Ascii | kDecodeReply | kDecodeSentence | kDecodePortBanner,
     types(LOG_OEM4_BINARY, LOG_OEM4_ASCII, LOG_NOVATEL_ASCII, LOG_REPLY_TEXT, LOG_REPLY_ERROR, LOG_REPLY_OK,
           LOG_PORT_PROMPT),
     "NovAtel OEM4 and later: binary and ASCII logs, replies, prompts, NMEA"},
    {"trimble", kDecodeTrimble | kDecodeSentence, types(LOG_TRIMBLE_PACKET),
     "Trimble packets (GENOUT, RAWDATA, replies) and NMEA"},
    {"tsip", kDecodeTsip, types(LOG_TSIP), "Trimble TSIP, byte by byte"},
    {"javad", kDecodeSentence | kDecodePercent, types(LOG_NONE, LOG_PERCENT, LOG_NMEA),
     "Javad receivers: GREIS messages, replies, NMEA"},
    {"cmc", kDecodeCmc | kDecodeSentence, types(LOG_CMC_BINARY),
     "CMC Allstar and SuperStar binary messages and NMEA"},
    {"csi", kDecodeHemisphere | kDecodeSentence, types(LOG_HEMISPHERE_BINARY, LOG_CSI_REPLY),
     "CSI and Hemisphere: $BIN messages, $> replies, NMEA"},
    {"thales", kDecodeSentence, types(LOG_NMEA), "Thales and Ashtech: $PASHR replies and NMEA"},
    {"maker", kDecodeMaker | kDecodeSentence, types(LOG_VAREK_REPLY),
     "the maker's own receivers: $$ replies and NMEA"},
    {"radio", kDecodeRadio | kDecodeModem | kDecodePercent | kDecodeAt,
     types(LOG_RADIO, LOG_MODEM_REPLY, LOG_PERCENT, LOG_AT_BINARY), "radios and modems"},
};

}  // namespace

std::span<const ReceiverFamily> receiverFamilies() { return kFamilies; }

const ReceiverFamily* findFamily(std::string_view name) {
    const auto* row = std::ranges::find(kFamilies, name, &ReceiverFamily::name);
    return row == std::end(kFamilies) ? nullptr : row;
}

}  // namespace vkcomm
