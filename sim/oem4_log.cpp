#include "sim/oem4_log.h"

#include <array>
#include <cstddef>
#include <string_view>

#include "sim/byte_writer.h"
#include "vkcomm/util/checksums.h"

namespace vkcomm::sim {

namespace {

constexpr std::size_t kHeaderSize = 28;
constexpr std::size_t kCrcSize = 4;

Match matchLog(ByteSpan bytes) {
    if (bytes.size() < kHeaderSize + kCrcSize) return Match::kNone;
    if (bytes[0] != 0xAA || bytes[1] != 0x44 || bytes[2] != 0x12 || bytes[3] != kHeaderSize)
        return Match::kNone;
    const std::size_t checked = kHeaderSize + loadLe<std::uint16_t>(bytes.data() + 8);
    if (bytes.size() < checked + kCrcSize) return Match::kNone;
    const bool right = crc32Of(bytes.first(checked)) == loadLe<std::uint32_t>(bytes.data() + checked);
    return right ? Match::kFrame : Match::kNone;
}

using namespace std::string_view_literals;

constexpr std::array kFalseHeads{
    // A whole BESTPOS header that promises 8,000 bytes.
    "\xAA\x44\x12\x1C\x2A\x00\x02\x20\x40\x1F\x00\x00\x78\xB4\xFF\x08\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\xC7\x12"sv,
    // The longest log that fits a record, then the shortest that does not, then the longest there is.
    "\xAA\x44\x12\x1C\x8C\x00\x02\x20\xE0\x1F"sv,
    "\xAA\x44\x12\x1C\x8C\x00\x02\x20\xE1\x1F"sv,
    "\xAA\x44\x12\x1C\x2B\x00\x02\x20\xFF\xFF"sv,
    "\xAA\x44\x12"sv,
    "\xAA"sv,
    "\x02\x00\x40\xF0"sv,
};

}  // namespace

void addOem4Log(std::uint16_t id, const Epoch& epoch, ByteSpan body, Piece& piece) {
    constexpr std::uint8_t kCom1 = 0x20;
    constexpr std::uint8_t kFineSteering = 180;
    ByteWriter log;
    log.text("\xAA\x44\x12\x1C", 4);
    log.le(id);
    log.le<std::uint8_t>(0);  // binary, not a response
    log.le(kCom1);
    log.le(static_cast<std::uint16_t>(body.size()));
    log.le<std::uint16_t>(0);   // last log of its message
    log.le<std::uint8_t>(120);  // idle time in half percent
    log.le(kFineSteering);
    log.le(static_cast<std::uint16_t>(epoch.week));
    log.le(static_cast<std::uint32_t>(epoch.millisecondsOfWeek));
    log.le<std::uint32_t>(0);  // receiver status: no error
    log.le<std::uint16_t>(0);
    log.le<std::uint16_t>(4807);  // software build
    log.append(body);
    log.le(crc32Of(log.bytes()));
    piece.addFrame(log.bytes());
}

const Framing kOem4Framing{matchLog, 0, kFalseHeads};

}  // namespace vkcomm::sim
