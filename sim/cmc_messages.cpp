#include "sim/cmc_messages.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "sim/byte_writer.h"
#include "vkcomm/util/checksums.h"

namespace vkcomm::sim {

namespace {

constexpr std::uint8_t kSoh = 0x01;

Match matchMessage(ByteSpan bytes) {
    if (bytes.empty() || bytes[0] != kSoh) return Match::kNone;
    if (bytes.size() < 4) return Match::kUnfinished;
    if (bytes[1] + bytes[2] != 255) return Match::kNone;
    const std::size_t checked = bytes[3] + std::size_t{4};
    if (bytes.size() < checked + 2) return Match::kUnfinished;
    const bool right = sum16(bytes.first(checked)) == loadLe<std::uint16_t>(bytes.data() + checked);
    return right ? Match::kFrame : Match::kNone;
}

using namespace std::string_view_literals;

constexpr std::array kFalseHeads{
    "\x01\x14\xEB\x47"sv,  // the head of message 20
    "\x01\x17\xE8\xFC"sv,  // the most that a message holds, and then more
    "\x01\x17\xE8\xFD"sv, "\x01\x17\xE8\xFF"sv, "\x01\x14\xEB"sv, "\x01"sv,
};

constexpr std::size_t kChannels = 12;

// Five bytes. SBAS satellites have number 0 and one of their own, counted from 87, behind the azimuth; PRN 32
// does not fit its five bits and has number 0 alone.
void addVisible(const CmcSatellite& satellite, ByteWriter& data) {
    constexpr unsigned kUsed = 0x60;
    const bool sbas = satellite.number > 32;
    const unsigned number = sbas ? 0 : satellite.number & 0x1Fu;
    const unsigned sbasNumber = sbas ? satellite.number - 87u : 0;
    data.le(static_cast<std::uint8_t>(number | (satellite.used ? kUsed : 0)));
    data.le(satellite.elevation);
    data.le(static_cast<std::uint8_t>(satellite.azimuth));
    data.le(static_cast<std::uint8_t>(satellite.azimuth >> 8 | sbasNumber << 1));
    data.le(satellite.level);
}

}  // namespace

void addCmcMessage(std::uint8_t number, ByteSpan data, Piece& piece) {
    ByteWriter message;
    message.le(kSoh);
    message.le(number);
    message.le(static_cast<std::uint8_t>(255 - number));
    message.le(static_cast<std::uint8_t>(data.size()));
    message.append(data);
    message.le(sum16(message.bytes()));
    piece.addFrame(message.bytes());
}

void addCmcNavigation(const CmcNavigation& n, Piece& piece) {
    ByteWriter data;
    data.le(n.hours);
    data.le(n.minutes);
    data.le(n.seconds);
    data.le(n.day);
    data.le(n.month);
    data.le(n.year);
    data.le(n.latitude);
    data.le(n.longitude);
    for (const float value :
         {n.height, n.groundSpeed, n.track, n.north, n.east, n.up, n.horizontalMerit, n.verticalMerit})
        data.le(value);
    data.le(n.hdop);
    data.le(n.vdop);
    data.le(n.mode);
    data.le(n.satellites);
    data.le(n.systemMode);
    data.le(n.coordinates);
    data.zeros(1);
    addCmcMessage(20, data.bytes(), piece);
}

void addCmcVisibility(std::span<const CmcSatellite> satellites, Piece& piece) {
    const auto shown = satellites.first(std::min(satellites.size(), kChannels));
    ByteWriter data;
    data.le(static_cast<std::uint8_t>(shown.size()));
    for (const CmcSatellite& satellite : shown)
        addVisible(satellite, data);
    data.zeros(5 * (kChannels - shown.size()));
    addCmcMessage(33, data.bytes(), piece);
}

const Framing kCmcFraming{matchMessage, 0, kFalseHeads};

}  // namespace vkcomm::sim
