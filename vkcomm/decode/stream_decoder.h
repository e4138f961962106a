// Cuts the byte stream of any supported receiver into typed records, one at a time.
//
// A lead byte chooses a handler; the handler checks header, length, terminator and checksum, and either gives a
// record, answers "incomplete" (the bytes stay until more arrive), or rejects, after which the byte behind the lead is
// tried as a lead. Bad frames are never reported, only counted. Payloads are the parsers' business.
//
// Rules a host may meet:
// - Some handlers use up bytes before or without a check: 0xFF, '%', '@', 0xF5 and 0xF2 with an unknown header, 0x10;
//   '<' and "$>JSHOW" take whatever text their line holds. They can swallow bytes of other families, so set the mask
//   of the receiver's family. A '[' that is no port banner is an ordinary rejected lead.
// - A read may be complete with Type LOG_NONE: an '@' block whose complement test fails (3 bytes used), a radio frame
//   with an unknown header (7 or 4), a lone '$' when text sentences are masked off (1).
// - Size keeps its older value for those, for '%' 'G' blocks (156 bytes used) and for "$>" replies (the '$' used). A
//   0x10 byte gives LOG_TSIP; its Id is the second byte of the last record accepted, its Size that record's plus one,
//   at most 8191. RecordBytes always tells the bytes.
// - '@' records: two more bytes are used up than Size counts.
// - With Hemisphere frames enabled a '$' waits for six bytes behind it, also when it begins a text sentence.
// - What has arrived matters in three places: a prompt ("Com1>") is taken as soon as it stands at the end of the
//   input; a CR at the end of the input completes its line, and an LF that follows is a new lead; an overflow of the
//   receive buffer loses what it held. Everything else comes out the same however the input is split.
// - A line without an end is no record; at the end of the input its bytes are dropped.
// - A frame that would not fit a record of 8192 bytes is rejected, as are CMC and Trimble frames whose length byte is
//   253 or more, and '~' and JSHOW texts without an end inside a record.
// - 0xF1 10 FE 50 pauses the reading thread for three seconds through the clock (deliberate: the radio settles).
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "vkcomm/decode/framed_record.h"
#include "vkcomm/export.h"
#include "vkcomm/platform/clock.h"

namespace vkcomm {

// Bits of the decode mask. A handler runs only when its bit is set; 0xAA (OEM4 binary) always runs.
inline constexpr std::uint32_t kDecodeOem4Ascii = 0x00000001;   // '#'
inline constexpr std::uint32_t kDecodeReply = 0x00000310;       // '<': any one of the three bits
inline constexpr std::uint32_t kDecodeSentence = 0x00000020;    // '$' text
inline constexpr std::uint32_t kDecodeStatusText = 0x00000080;  // CR, LF, 'F', 'I', 'N'
inline constexpr std::uint32_t kDecodePortBanner = 0x00000400;  // '[', 'C'
inline constexpr std::uint32_t kDecodeTrimble = 0x00000800;     // 0x02
inline constexpr std::uint32_t kDecodeCmc = 0x00001000;         // 0x01
inline constexpr std::uint32_t kDecodeAt = 0x00002000;          // '@'
inline constexpr std::uint32_t kDecodeRadio = 0x00004000;       // 0xF1, 0xF2, 0xF5, 0xFF
inline constexpr std::uint32_t kDecodeMaker = 0x00008000;       // "$$"
inline constexpr std::uint32_t kDecodeModem = 0x00040000;       // 'O', '~', 'C'
inline constexpr std::uint32_t kDecodeTsip = 0x00080000;        // 0x10
inline constexpr std::uint32_t kDecodePercent = 0x00100000;     // '%'
inline constexpr std::uint32_t kDecodeHemisphere = 0x00400000;  // "$BIN", "$>"
inline constexpr std::uint32_t kDecodeAll = 0xFFFFFFFF;

inline constexpr std::size_t kLogTypeCount = LOG_HEMISPHERE_BINARY + 1;

// What the decoder has seen since it was made. received = bytes of records + dropped + bytes still held.
struct DecoderCounters {
    std::uint64_t received = 0;
    std::uint64_t dropped = 0;  // in no record: garbage, rejected leads, overflow, what Clear threw away
    std::array<std::uint64_t, kLogTypeCount> records{};   // by LOG_TYPE; [LOG_NONE] counts the untyped ones
    std::array<std::uint64_t, kLogTypeCount> rejected{};  // leads of that family that were no whole frame
    std::uint64_t unknownSentences = 0;  // '$' sentences with a good checksum and no known name (rejected)
};

class VKCOMM_API CNOut : public CNOutUnknown {
public:
    CNOut() = default;

    // The next record: RETURN_COMPLETE when it is ready (its Type may be LOG_NONE), RETURN_INCOMPLETE when
    // the bytes at hand end inside a frame or there are none.
    RETURN Read() { return m_worthReading.load(std::memory_order_acquire) ? readNow() : RETURN_INCOMPLETE; }

    // Read for the end of the input: a frame that would need more bytes gives up its lead, counted as
    // dropped, and the search goes on behind it. RETURN_INCOMPLETE means that nothing is left.
    RETURN ReadRest();
    // Gives up the lead byte of the frame that the last Read left incomplete, counted as dropped; the next
    // Read goes on behind it. 1 when there was one.
    int bSkipLead();

    // Which families are recognised; all by default. Reading thread only.
    void vSetDecodeMask(std::uint32_t uMask) {
        m_decodeMask = uMask;
        wake();
    }

    std::uint32_t uGetDecodeMask() const { return m_decodeMask; }

    // Frames between two '~' are recognised only with this and their mask bit; off by default. Reading thread
    // only.
    void vSetTildeFrames(int bOn) {
        m_tildeFrames = bOn;
        wake();
    }

    int bGetTildeFrames() const { return m_tildeFrames; }

    // The clock of the radio pause, systemClock() by default; must outlive the decoder.
    void vSetClock(Clock& clock) { m_clock = &clock; }

    // Any thread.
    DecoderCounters Counters() const;

    // Sum of the bytes modulo 256.
    static unsigned int uCheckSum(const unsigned char* data, int len);
    // 1 when the frame ends in CR LF and the 16-bit sum of bytes 8 to len - 5 is the little-endian value at
    // len - 4.
    static int bCheckSumForHemisphere(const unsigned char* frame, int len);

protected:
    // One handler a lead byte. Non-zero ends the scan, zero goes on behind the lead.
    int bProcress01();
    int bProcress02();
    int bProcress0A();
    int bProcress0D();
    int bProcress10();
    int bProcress23();
    int bProcress24();
    int bProcress25();
    int bProcress3C();
    int bProcress40();
    int bProcress43();
    int bProcress46();
    int bProcress49();
    int bProcress4E();
    int bProcress4F();
    int bProcress5B();
    int bProcress7E();
    int bProcesssAA();
    int bProcressF1();
    int bProcressF2();
    int bProcressF5();
    int bProcressFF();

    // Type and Id of the record that has just been stored.
    void DecodeOEM4Binary();
    void DecodeHemisphereBinary();
    void DecodeCSICmd();
    void vDecodeTrimbleDat();
    void DecodeAscii();
    void DecodeOEM4Ascii();

private:
    using Handler = int (CNOut::*)();
    struct Lead;
    static const std::array<Lead, 256> kLeads;

    // Read once something has arrived that may complete a frame.
    RETURN readNow();
    RETURN readRecord();
    int handleLead(unsigned char lead);

    // The frame from its lead byte to the end of what has arrived.
    ByteSpan frame() const { return m_buffer.frame(); }

    int byteAt(int index) const { return frame()[static_cast<std::size_t>(index)]; }

    ByteSpan part(int first, int count) const {
        return frame().subspan(static_cast<std::size_t>(first), static_cast<std::size_t>(count));
    }

    std::string_view textRecord() const {
        return {reinterpret_cast<const char*>(m_record), static_cast<std::size_t>(m_size)};
    }

    bool isEnabled(std::uint32_t bits) const { return (m_decodeMask & bits) != 0; }

    // have: that many bytes of the frame have arrived; if not, the handler returns incomplete().
    bool have(int count) {
        if (static_cast<int>(frame().size()) >= count) return true;
        waitFor(count, false);
        return false;
    }

    int incomplete();
    int reject(LOG_TYPE family);
    // The frame's first size bytes become the record; the caller sets Type and Id, then finishes with accept.
    void store(int size);
    int accept(int consumed);
    int accept(LOG_TYPE type, unsigned int id, int size);
    // For frames that settle no Size: the bytes used up are kept all the same.
    int acceptUnsized(LOG_TYPE type, unsigned int id, int consumed);

    // The line behind the lead byte becomes the record: true. Otherwise m_outcome is what the handler
    // returns.
    bool copyLine(LOG_TYPE family);
    int acceptLine();
    // The end of the frame behind the next mark: true. Otherwise m_outcome is what the handler returns.
    bool findMark(unsigned char mark, int longest, LOG_TYPE family, int& size);
    int fixedText(LOG_TYPE family);
    int acceptFixedText(LOG_TYPE family);

    int radioFrame(int headerSize);
    int makerReply();
    int hemisphereBinary();
    int csiReply();
    int sentence();

    std::uint32_t m_decodeMask = kDecodeAll;
    int m_tildeFrames = 0;
    Clock* m_clock = &systemClock();

    int m_outcome = 0;
    bool m_pauseDue = false;
    DecoderCounters m_counters;
};

}  // namespace vkcomm
