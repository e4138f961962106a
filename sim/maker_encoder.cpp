#include "sim/maker_encoder.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "sim/byte_writer.h"
#include "sim/trimble_encoder.h"
#include "vkcomm/util/checksums.h"

namespace vkcomm::sim {

namespace {

constexpr std::size_t kMaxPayload = 55;
constexpr std::size_t kHeadSize = 6;
constexpr std::string_view kBoard = "RZ";
// More than one frame holds.
constexpr std::string_view kIdentity =
    "SIM-V300 SIM0000001 1.00 2024-02-28 BOARD SIM5800 SIM00001 GPS L1 L2 RTK";

void addFrame(std::string_view letters, ByteSpan payload, Piece& piece) {
    constexpr std::uint8_t kSelector = 0x18;
    ByteWriter frame;
    frame.text("$$", 2);
    frame.text(letters, 2);
    frame.le(kSelector);
    frame.le(static_cast<std::uint8_t>(payload.size()));
    frame.append(payload);
    frame.le(xorOf(frame.bytes().subspan(2)));
    frame.text("\r\n", 2);
    piece.addFrame(frame.bytes());
}

// The two dollars cancel out in the XOR.
Match matchFrame(ByteSpan bytes) {
    if (bytes.empty() || bytes[0] != '$') return Match::kNone;
    if (bytes.size() == 1) return Match::kUnfinished;
    if (bytes[1] != '$') return Match::kNone;
    if (bytes.size() < kHeadSize) return Match::kUnfinished;
    const std::size_t checked = kHeadSize + bytes[5] + 1;
    if (bytes.size() < checked + 2) return Match::kUnfinished;
    return xorOf(bytes.first(checked)) == 0 ? Match::kFrame : Match::kNone;
}

using namespace std::string_view_literals;

constexpr std::array kFalseHeads{
    "$$SI\x18\x37"sv,  // promises 55 bytes
    "$$RZ\x18\xFF"sv,  // the most that a length byte can
    "$$RZ\x18\x37\x02\x00\x40\xF0"sv,
    "$$R"sv,
    "$"sv,
};

void wrap(const Piece& packets, Piece& piece) {
    for (std::size_t i = 0; i < packets.frames.size(); ++i)
        addMakerFrames(kBoard, packets.frameBytes(i), piece);
}

}  // namespace

void addMakerFrames(std::string_view letters, ByteSpan payload, Piece& piece) {
    for (std::size_t at = 0; at < payload.size(); at += kMaxPayload)
        addFrame(letters, payload.subspan(at, std::min(kMaxPayload, payload.size() - at)), piece);
}

void addSiReply(std::string_view text, Piece& piece) {
    ByteWriter payload;
    payload.text(text, text.size());
    addMakerFrames("SI", payload.bytes(), piece);
    if (text.size() % kMaxPayload == 0) addFrame("SI", {}, piece);
}

void encodeMakerStart(const Epoch& epoch, Piece& piece) {
    addSiReply(kIdentity, piece);
    Piece packets;
    encodeTrimbleStart(epoch, packets);
    wrap(packets, piece);
}

void encodeMaker(const Epoch& epoch, Piece& piece) {
    Piece packets;
    encodeTrimble(epoch, packets);
    wrap(packets, piece);
    if (isDue(epoch, 60'000)) addSiReply(kIdentity, piece);
}

const Framing kMakerFraming{matchFrame, 2, kFalseHeads};

}  // namespace vkcomm::sim
