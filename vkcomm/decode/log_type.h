// The frame family of a decoded record. Together with the record's Id it tells the message.
#pragma once

namespace vkcomm {

enum LOG_TYPE {
    LOG_NONE = 0,             // nothing read yet, or a frame that was consumed without being recognised
    LOG_NOVATEL_ASCII = 1,    // "$POSA,…": ASCII logs of NovAtel's receivers before OEM4
    LOG_OEM4_ASCII = 3,       // "#BESTPOSA,…": OEM4 ASCII logs; Id is the message number of the binary log
    LOG_OEM4_BINARY = 4,      // AA 44 12: OEM4 binary logs; Id is the message number
    LOG_REPLY_TEXT = 5,       // "<…": an abbreviated ASCII reply other than OK and ERROR
    LOG_NMEA = 6,             // "$GPGGA,…": NMEA 0183, and $PASHR, $PTNL and other makers' sentences
    LOG_STATUS_TEXT = 8,      // plain status and error lines
    LOG_REPLY_ERROR = 9,      // "<ERROR:…"
    LOG_REPLY_OK = 10,        // "<OK"
    LOG_PORT_PROMPT = 11,     // "[COM1]", "Com1>", "Console>"
    LOG_TRIMBLE_PACKET = 12,  // 02 … 03: Trimble data collector packets; Id is the packet type
    LOG_CMC_BINARY = 13,      // 01: CMC Allstar and SUPERSTAR messages; Id is the message number
    LOG_AT_BINARY = 14,       // "@", an identifier and its complement
    LOG_RADIO = 15,           // F1, F2, F5, FF: frames of radio modems
    LOG_VAREK_REPLY = 16,     // "$$": replies of the maker's own receivers; Id stands for their two letters
    LOG_MODEM_REPLY = 19,     // "OK", "CONNECT" and frames between tildes
    LOG_TSIP = 20,            // 10: the byte that starts or ends a TSIP packet
    LOG_PERCENT = 21,         // "%…": Id is the character after the percent sign
    LOG_CSI_REPLY = 23,       // "$>…": replies to the $J commands of CSI and Hemisphere
    LOG_HEMISPHERE_BINARY = 27,  // "$BIN": Hemisphere binary messages; Id is the message number
};

// A short lower-case name for people and programs, such as "nmea"; "unknown" for a value that is not in the
// list.
constexpr const char* logTypeName(LOG_TYPE type) {
    switch (type) {
    case LOG_NONE: return "none";
    case LOG_NOVATEL_ASCII: return "novatel-ascii";
    case LOG_OEM4_ASCII: return "oem4-ascii";
    case LOG_OEM4_BINARY: return "oem4";
    case LOG_REPLY_TEXT: return "reply";
    case LOG_NMEA: return "nmea";
    case LOG_STATUS_TEXT: return "status";
    case LOG_REPLY_ERROR: return "reply-error";
    case LOG_REPLY_OK: return "reply-ok";
    case LOG_PORT_PROMPT: return "prompt";
    case LOG_TRIMBLE_PACKET: return "trimble";
    case LOG_CMC_BINARY: return "cmc";
    case LOG_AT_BINARY: return "at";
    case LOG_RADIO: return "radio";
    case LOG_VAREK_REPLY: return "maker";
    case LOG_MODEM_REPLY: return "modem";
    case LOG_TSIP: return "tsip";
    case LOG_PERCENT: return "percent";
    case LOG_CSI_REPLY: return "csi";
    case LOG_HEMISPHERE_BINARY: return "hemisphere";
    }
    return "unknown";
}

}  // namespace vkcomm
