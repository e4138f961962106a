// Cuts the byte stream of a Javad receiver into its messages, and hands them to the parser.
//
// A message is two characters of id, three upper-case hexadecimal digits of length, and a body, which ends in
// a checksum over everything before it: one byte, or two hexadecimal digits in the text messages MF and PM.
// JP, RE and ER have none and count as messages when their body is plain text. CR and LF may stand between
// messages, and lines of text that begin with a character from '!' to '/' and end in CR, LF or both (NMEA
// sentences, replies): in those no message is sought.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "vkcomm/formats/javad_format.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm {

struct JavadMessage {
    std::string_view id;       // two characters; none for a line of text
    ByteSpan body;             // checksum included
    ByteSpan bytes;            // the whole message, its head of five characters included
    std::uint64_t offset = 0;  // of its first byte, counted from the first byte ever fed
};

// Finds its way again behind damaged or foreign bytes: where no message with a right checksum begins, one
// byte is dropped and the next is tried. However the stream is split, the same messages come out. Not locked:
// one thread at a time. Copying copies everything.
class JavadFramer {
public:
    void feed(ByteSpan bytes);

    // Lines of text come out too, as messages without an id or a body; by default they are dropped.
    void setGivesLines(bool on) { m_givesLines = on; }

    // The next message, valid until the next feed, next or nextAtEnd; nothing when the bytes at hand end
    // inside one or there are none.
    std::optional<JavadMessage> next();
    // next for the end of the stream: a message that is not whole is given up, and the search goes on behind
    // its first byte. Nothing means that no bytes are left.
    std::optional<JavadMessage> nextAtEnd();
    // Gives up the first byte that is held; false when there is none.
    bool giveUpLead();

    // Bytes fed so far are those of messages, lines given, separators (CR and LF outside of both), dropped
    // ones, and held ones.
    std::uint64_t messages() const { return m_messages; }

    std::uint64_t messageBytes() const { return m_messageBytes; }

    std::uint64_t lineBytes() const { return m_lineBytes; }

    std::uint64_t separators() const { return m_separators; }

    std::uint64_t dropped() const { return m_dropped; }

    std::size_t held() const { return m_buffer.size() - m_start; }

private:
    std::optional<JavadMessage> search(bool atEnd);
    JavadMessage take(std::size_t size);
    JavadMessage takeLine(std::size_t size);
    void skip(std::size_t size);

    std::vector<unsigned char> m_buffer;
    std::size_t m_start = 0;     // of what is held, in the buffer
    std::uint64_t m_offset = 0;  // of the same, in the stream
    std::uint64_t m_messages = 0;
    std::uint64_t m_messageBytes = 0;
    std::uint64_t m_lineBytes = 0;
    std::uint64_t m_separators = 0;
    std::uint64_t m_dropped = 0;
    bool m_givesLines = false;
};

// The receiver's checksum: for each byte, the 8-bit sum is turned left by two and the byte is XORed in; two
// more turns at the end.
unsigned char javadChecksum(ByteSpan bytes);

// Gives a message to the operation of parser that reads it: PO, PV, DP, GT, RD, SG and PS. False for other
// messages, and for those that are too short.
bool storeJavadMessage(CJavadFormat& parser, const JavadMessage& message);

}  // namespace vkcomm
