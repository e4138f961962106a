#include "sim/javad_messages.h"

#include <algorithm>
#include <array>
#include <bit>

#include "sim/byte_writer.h"

namespace vkcomm::sim {

namespace {

constexpr std::string_view kHexDigits = "0123456789ABCDEF";
constexpr std::size_t kHeadSize = 5;

std::uint8_t checkOf(ByteSpan bytes) {
    std::uint8_t check = 0;
    for (const unsigned char byte : bytes)
        check = static_cast<std::uint8_t>(std::rotl(check, 2) ^ byte);
    return std::rotl(check, 2);
}

void appendHex(std::size_t value, unsigned digits, ByteWriter& text) {
    while (digits-- > 0)
        text.le(static_cast<std::uint8_t>(kHexDigits[value >> 4 * digits & 15]));
}

ByteWriter headOf(std::string_view id, std::size_t length) {
    ByteWriter message;
    message.text(id, 2);
    appendHex(length, 3, message);
    return message;
}

template <typename... Fields>
void addMessage(std::string_view id, Piece& piece, Fields... fields) {
    ByteWriter message = headOf(id, (sizeof fields + ...) + 1);
    (message.le(fields), ...);
    message.le(checkOf(message.bytes()));
    piece.addFrame(message.bytes());
}

// The value of an upper-case hexadecimal digit, or -1.
int hexValue(unsigned char digit) {
    const auto at = kHexDigits.find(static_cast<char>(digit));
    return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

bool isIdCharacter(unsigned char character) { return character >= 0x30 && character <= 0x7E; }

// Texts without a checksum: once begun they are messages, whatever they hold.
bool isUnchecked(ByteSpan head) {
    constexpr std::array<std::string_view, 3> kIds{"JP", "RE", "ER"};
    const std::string_view id(reinterpret_cast<const char*>(head.data()), 2);
    return std::ranges::find(kIds, id) != kIds.end();
}

// Right with a byte of checksum, or with two digits, as texts have it.
bool isRight(ByteSpan message) {
    if (checkOf(message.first(message.size() - 1)) == message.back()) return true;
    const ByteSpan digits = message.last(2);
    return hexValue(digits[0]) * 16 + hexValue(digits[1]) == checkOf(message.first(message.size() - 2));
}

bool isText(unsigned char character) { return (character >= 0x20 && character <= 0x7E) || character == '\t'; }

// Lines of plain text may stand between messages, if they begin so that no message does.
Match matchLine(ByteSpan bytes) {
    const auto end = std::ranges::find_if_not(bytes, isText);
    if (end == bytes.end()) return Match::kUnfinished;
    return *end == '\r' || *end == '\n' ? Match::kFrame : Match::kNone;
}

Match matchMessage(ByteSpan bytes) {
    if (bytes.empty()) return Match::kNone;
    if (bytes[0] >= 0x21 && bytes[0] <= 0x2F) return matchLine(bytes);
    const ByteSpan head = bytes.first(std::min(bytes.size(), kHeadSize));
    if (!std::ranges::all_of(head.first(std::min<std::size_t>(head.size(), 2)), isIdCharacter))
        return Match::kNone;
    std::size_t length = 0;
    for (std::size_t i = 2; i < head.size(); ++i) {
        if (hexValue(head[i]) < 0) return Match::kNone;
        length = length * 16 + static_cast<std::size_t>(hexValue(head[i]));
    }
    if (head.size() < kHeadSize) return Match::kUnfinished;
    if (isUnchecked(head)) return Match::kFrame;
    if (bytes.size() < kHeadSize + length) return Match::kUnfinished;
    return isRight(bytes.first(kHeadSize + length)) ? Match::kFrame : Match::kNone;
}

using namespace std::string_view_literals;

constexpr std::array kFalseHeads{
    "PV02E\x96"sv,  // promises 46 bytes
    "1r0FF\x00"sv, "PO01E\x00\x00\x00\x00"sv, "GT0"sv, "~"sv, "\r\n"sv,
};

}  // namespace

void addReceiverTime(std::uint32_t millisecondsOfDay, Piece& piece) {
    addMessage("~~", piece, millisecondsOfDay);
}

void addEpochTime(std::uint32_t millisecondsOfDay, Piece& piece) {
    addMessage("::", piece, millisecondsOfDay);
}

void addDate(const JavadDate& date, Piece& piece) {
    addMessage("RD", piece, date.year, date.month, date.day, date.base);
}

void addGpsTime(std::uint32_t millisecondsOfWeek, std::uint16_t week, Piece& piece) {
    addMessage("GT", piece, millisecondsOfWeek, week);
}

void addPosition(const JavadPosition& p, Piece& piece) {
    addMessage("PO", piece, p.position.x, p.position.y, p.position.z, p.sigma, p.solution);
}

void addPositionVelocity(const JavadPosition& p, const JavadVelocity& v, Piece& piece) {
    addMessage("PV", piece, p.position.x, p.position.y, p.position.z, p.sigma, v.x, v.y, v.z, v.sigma,
               p.solution);
}

void addDops(float hdop, float vdop, float tdop, JavadSolution solution, Piece& piece) {
    addMessage("DP", piece, hdop, vdop, tdop, solution);
}

void addSigmas(const JavadSigmas& s, Piece& piece) {
    addMessage("SG", piece, s.horizontal, s.vertical, s.horizontalVelocity, s.verticalVelocity, s.solution);
}

void addStatistics(const JavadStatistics& s, Piece& piece) {
    addMessage("PS", piece, s.solution, s.gpsLocked, s.glonassLocked, s.gpsAvailable, s.glonassAvailable,
               s.gpsUsed, s.glonassUsed, s.fixProgress);
}

void addPerSatellite(std::string_view id, ByteSpan values, Piece& piece) {
    ByteWriter message = headOf(id, values.size() + 1);
    message.append(values);
    message.le(checkOf(message.bytes()));
    piece.addFrame(message.bytes());
}

void addMessageForm(std::string_view text, Piece& piece) {
    ByteWriter message = headOf("MF", text.size() + 2);
    message.text(text, text.size());
    appendHex(checkOf(message.bytes()), 2, message);
    piece.addFrame(message.bytes());
}

void addReply(std::string_view text, Piece& piece) {
    ByteWriter message = headOf("RE", text.size());
    message.text(text, text.size());
    piece.addFrame(message.bytes());
}

const Framing kJavadFraming{matchMessage, 0, kFalseHeads};

}  // namespace vkcomm::sim
