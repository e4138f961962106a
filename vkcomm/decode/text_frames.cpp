// The handlers of the decoder's text frames: sentences, ASCII logs, replies, prompts and status lines.
#include <algorithm>
#include <string_view>

#include "vkcomm/decode/record_names.h"
#include "vkcomm/decode/stream_decoder.h"
#include "vkcomm/util/checksums.h"

namespace vkcomm {

namespace {

// Lines that are known by how they begin, lead byte included; the first row that fits holds. A row that ends
// in a line end fits that line only.
struct FixedText {
    std::string_view begin;
    LOG_TYPE type;
    unsigned int id;
    bool prompt = false;  // the record is these bytes alone, and what follows them is scanned again
};

constexpr FixedText kFixedTexts[] = {
    {"\r\n", LOG_STATUS_TEXT, 8},
    {"\n\r\n", LOG_STATUS_TEXT, 8},
    {"$TRANSPARENTMODE OFF\r\n", LOG_STATUS_TEXT, 0},
    {"$TRANSPARENTMODE ON\r\n", LOG_STATUS_TEXT, 1},
    {"<ERROR:", LOG_REPLY_ERROR, 19},
    {"<OK", LOG_REPLY_OK, 21},
    {"<", LOG_REPLY_TEXT, 0},
    {"Com1>\r\n", LOG_PORT_PROMPT, 2},
    {"Com1>\n", LOG_PORT_PROMPT, 5},
    {"Com1>", LOG_PORT_PROMPT, 5, true},
    {"Com2>\r\n", LOG_PORT_PROMPT, 3},
    {"Com2>\n", LOG_PORT_PROMPT, 6},
    {"Com2>", LOG_PORT_PROMPT, 6, true},
    {"Console>\n", LOG_PORT_PROMPT, 7},
    {"Console>\r\n", LOG_PORT_PROMPT, 7},
    {"CONNECT", LOG_MODEM_REPLY, 2},
    {"FSU Tuned", LOG_STATUS_TEXT, 9},
    {"FSU DeTuned", LOG_STATUS_TEXT, 10},
    {"Invalid Command Name", LOG_STATUS_TEXT, 11},
    {"Invalid Number of Arguments", LOG_STATUS_TEXT, 12},
    {"Invalid Logger Datatype", LOG_STATUS_TEXT, 13},
    {"Invalid Command Option", LOG_STATUS_TEXT, 14},
    {"Invalid Channel Number", LOG_STATUS_TEXT, 15},
    {"Invalid Satellite Number", LOG_STATUS_TEXT, 16},
    {"Invalid Doppler", LOG_STATUS_TEXT, 17},  // deliberate: "Invalid Doppler Window" is 17 too
    {"Invalid", LOG_STATUS_TEXT, 19},
    {"NVM Error - Unable To Save", LOG_STATUS_TEXT, 20},
    {"OK", LOG_MODEM_REPLY, 1},
    {"[COM1]", LOG_PORT_PROMPT, 2},
    {"[COM2]", LOG_PORT_PROMPT, 3},
    {"[COM3]", LOG_PORT_PROMPT, 4},
};

const FixedText* findFixedText(std::string_view line) {
    const auto fits = [line](const FixedText& text) { return line.starts_with(text.begin); };
    const auto* row = std::find_if(std::begin(kFixedTexts), std::end(kFixedTexts), fits);
    return row == std::end(kFixedTexts) ? nullptr : row;
}

std::string_view asText(ByteSpan bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

inline bool CNOut::copyLine(LOG_TYPE family) {
    switch (CopyStr(m_buffer, 1, '\n')) {
    case RETURN_COMPLETE: return true;
    case RETURN_INCOMPLETE:
        waitFor(kRecordSize - 1, true);
        m_outcome = incomplete();
        return false;
    default: m_outcome = reject(family); return false;
    }
}

inline int CNOut::acceptLine() { return accept(m_buffer.iTaken()); }

int CNOut::fixedText(LOG_TYPE family) { return copyLine(family) ? acceptFixedText(family) : m_outcome; }

int CNOut::acceptFixedText(LOG_TYPE family) {
    const FixedText* text = findFixedText(textRecord());
    if (!text) return reject(family);
    if (text->prompt) return accept(text->type, text->id, static_cast<int>(text->begin.size()));
    m_type = text->type;
    m_id = text->id;
    return acceptLine();
}

int CNOut::bProcress0A() { return fixedText(LOG_STATUS_TEXT); }

int CNOut::bProcress0D() { return fixedText(LOG_STATUS_TEXT); }

int CNOut::bProcress3C() { return fixedText(LOG_REPLY_TEXT); }

int CNOut::bProcress46() { return fixedText(LOG_STATUS_TEXT); }

int CNOut::bProcress49() { return fixedText(LOG_STATUS_TEXT); }

int CNOut::bProcress4E() { return fixedText(LOG_STATUS_TEXT); }

int CNOut::bProcress4F() { return fixedText(LOG_MODEM_REPLY); }

int CNOut::bProcress43() {
    const int outcome = fixedText(LOG_PORT_PROMPT);
    if (outcome == 0 || m_lastRead != RETURN_INCOMPLETE) return outcome;
    // a prompt has no line end: it is taken as soon as it is there, so every byte that arrives is worth a
    // look
    const FixedText* text = findFixedText(asText(frame()));
    if (text && text->prompt) return accept(text->type, text->id, static_cast<int>(text->begin.size()));
    waitFor(0, false);
    return outcome;
}

int CNOut::bProcress5B() {
    constexpr int kBannerSize = 6;
    if (!have(kBannerSize)) return incomplete();
    const FixedText* text = findFixedText(asText(frame()));
    return text ? accept(text->type, text->id, kBannerSize) : reject(LOG_PORT_PROMPT);
}

int CNOut::bProcress23() {
    if (!copyLine(LOG_OEM4_ASCII)) return m_outcome;
    if (!testOem4Ascii(textRecord())) return reject(LOG_OEM4_ASCII);
    DecodeOEM4Ascii();
    return acceptLine();
}

int CNOut::bProcress25() {
    constexpr int kBinarySize = 156;
    if (!have(2)) return incomplete();
    if (byteAt(1) == 'G')
        return have(kBinarySize) ? acceptUnsized(LOG_PERCENT, 'G', kBinarySize) : incomplete();
    m_buffer.ReSync(2);  // deliberate: the character after the '%' is not kept
    if (!copyLine(LOG_PERCENT)) return m_outcome;
    m_type = LOG_PERCENT;
    m_id = m_record[1];
    return acceptLine();
}

inline int CNOut::sentence() {
    if (!copyLine(LOG_NMEA)) return m_outcome;
    const TESTXOR_RETURN check = testSentence(textRecord());
    if (check == TESTXOR_NO_STAR) return acceptFixedText(LOG_NMEA);
    if (check != TESTXOR_OK) return reject(LOG_NMEA);
    DecodeAscii();
    if (m_id != 0) return acceptLine();
    ++m_counters.unknownSentences;
    return reject(LOG_NMEA);
}

int CNOut::bProcress24() {
    constexpr int kPeeked = 7;
    if (isEnabled(kDecodeMaker)) {
        if (!have(2)) return incomplete();
        if (byteAt(1) == '$') return makerReply();
    }
    if (isEnabled(kDecodeHemisphere)) {
        if (!have(kPeeked)) return incomplete();
        const std::string_view begin = asText(frame());
        if (begin.starts_with("$BIN")) return hemisphereBinary();
        if (begin.starts_with("$>JSHOW")) return csiReply();
        if (begin[1] == '>' && begin[2] != 'J' && begin[3] != 'I')
            return acceptUnsized(LOG_CSI_REPLY, 150, 1);
    }
    return isEnabled(kDecodeSentence) ? sentence() : acceptUnsized(LOG_NONE, 0, 1);
}

int CNOut::csiReply() {
    int size = 0;
    if (!findMark('\n', kRecordSize - 1, LOG_CSI_REPLY, size)) return m_outcome;
    store(size);
    DecodeCSICmd();
    return accept(size);
}

bool CNOut::findMark(unsigned char mark, int longest, LOG_TYPE family, int& size) {
    const ByteSpan bytes = frame();
    const auto end = std::find(bytes.begin() + std::max(m_looked, 1), bytes.end(), mark);
    size = static_cast<int>(end - bytes.begin()) + 1;
    if (size <= longest && end != bytes.end()) return true;
    if (size > longest) {
        m_outcome = reject(family);
    } else {
        waitFor(size, false);
        m_outcome = incomplete();
        m_looked = size - 1;
    }
    return false;
}

void CNOut::DecodeAscii() {
    const RecordKind kind = dollarKind(textRecord());
    m_type = kind.type;
    m_id = kind.id;
}

void CNOut::DecodeOEM4Ascii() {
    m_type = LOG_OEM4_ASCII;
    m_id = oem4AsciiId(textRecord());
}

void CNOut::DecodeCSICmd() {
    m_type = LOG_CSI_REPLY;
    m_id = 150;
}

}  // namespace vkcomm
