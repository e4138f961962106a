#include "sim/csi_messages.h"

#include <algorithm>
#include <string>

#include "sim/byte_writer.h"
#include "vkcomm/util/checksums.h"

namespace vkcomm::sim {

namespace {

constexpr std::string_view kBin = "$BIN";
constexpr std::string_view kJshow = "$>JSHOW";
constexpr std::string_view kLineEnd = "\r\n";
constexpr std::size_t kHeadSize = 8;
constexpr std::size_t kTailSize = 4;

bool equal(ByteSpan bytes, std::string_view text) {
    return std::ranges::equal(bytes, text,
                              [](unsigned char a, char b) { return a == static_cast<unsigned char>(b); });
}

bool startsWith(ByteSpan bytes, std::string_view text) {
    return bytes.size() >= text.size() && equal(bytes.first(text.size()), text);
}

// The sum and the end of the line together do not pass by chance.
Match matchBin(ByteSpan bytes) {
    if (!startsWith(bytes, kBin) || bytes.size() < kHeadSize) return Match::kNone;
    const std::size_t checked = kHeadSize + loadLe<std::uint16_t>(bytes.data() + 6);
    if (bytes.size() < checked + kTailSize) return Match::kNone;
    const bool right =
        sum16(bytes.subspan(kHeadSize, checked - kHeadSize)) == loadLe<std::uint16_t>(bytes.data() + checked);
    return right && equal(bytes.subspan(checked + 2, 2), kLineEnd) ? Match::kFrame : Match::kNone;
}

// A reply has no check, and its line ends somewhere: once begun it is one.
Match match(ByteSpan bytes) { return startsWith(bytes, kJshow) ? Match::kFrame : matchBin(bytes); }

using namespace std::string_view_literals;

constexpr std::array kFalseHeads{
    "$BIN\x60\x00\x2C\x01"sv,  // the head of message 96
    "$BIN\x01\x00\xF3\x1F"sv,  // the longest message that fits a record, the shortest that does not
    "$BIN\x01\x00\xF4\x1F"sv, "$BIN\x01\x00\xFF\xFF"sv, "$BIN"sv, "$>JSHO"sv, "$"sv,
};

void addBin(std::uint16_t number, ByteSpan data, Piece& piece) {
    ByteWriter message;
    message.text(kBin, kBin.size());
    message.le(number);
    message.le(static_cast<std::uint16_t>(data.size()));
    message.append(data);
    message.le(sum16(data));
    message.text(kLineEnd, kLineEnd.size());
    piece.addFrame(message.bytes());
}

void addRange(const BinRange& range, ByteWriter& data) {
    data.le(range.prn);
    data.le(range.level);
    data.le(range.trackTime);
    data.le(range.slips);
    data.le(static_cast<std::uint32_t>(range.rangeRate) << 4 | range.flags);
    data.le(range.pseudorange);
    data.le(range.phase);
}

// The twelve bytes behind the accuracy describe the tracking loops, which the simulation lacks.
void addChannel(const BinChannel& channel, ByteWriter& data) {
    for (const std::uint8_t value :
         {channel.channel, channel.prn, channel.status, channel.subframe, channel.ephemeris,
          channel.ephemerisHealth, channel.almanac, channel.almanacHealth})
        data.le(value);
    data.le(channel.elevation);
    data.le(channel.azimuth);
    data.le(channel.accuracyIndex);
    data.zeros(13);
}

}  // namespace

void addBinPosition(const BinPosition& p, Piece& piece) {
    ByteWriter data;
    data.le(p.correctionAge);
    data.le(p.satellites);
    data.le(p.week);
    data.le(p.secondsOfWeek);
    data.le(p.latitude);
    data.le(p.longitude);
    for (const float value : {p.height, p.north, p.east, p.up, p.residualDeviation})
        data.le(value);
    data.le(p.mode);
    data.le(p.extendedAge);
    addBin(1, data.bytes(), piece);
}

void addBinDops(const BinDops& dops, Piece& piece) {
    ByteWriter data;
    data.le(dops.tracked);
    data.le(dops.used);
    for (const std::uint16_t value : {dops.leapSeconds, dops.hdop, dops.vdop, dops.sbas})
        data.le(value);
    addBin(2, data.bytes(), piece);
}

void addBinRanges(const BinRanges& ranges, Piece& piece) {
    ByteWriter data;
    data.zeros(2);
    data.le(ranges.week);
    data.le(ranges.secondsOfWeek);
    for (const BinRange& range : ranges.channels)
        addRange(range, data);
    addBin(96, data.bytes(), piece);
}

void addBinTracking(const BinTracking& tracking, Piece& piece) {
    ByteWriter data;
    data.le(tracking.mode);
    data.le(tracking.leapSeconds);
    data.le(tracking.week);
    data.le(tracking.secondsOfWeek);
    for (const BinChannel& channel : tracking.channels)
        addChannel(channel, data);
    data.zeros(4);  // clock error, spare
    addBin(99, data.bytes(), piece);
}

void addJshow(std::string_view setting, Piece& piece) {
    std::string line(kJshow);
    line += ',';
    line += setting;
    line += kLineEnd;
    ByteWriter reply;
    reply.text(line, line.size());
    piece.addFrame(reply.bytes());
}

const Framing kCsiFraming{match, 0, kFalseHeads};

}  // namespace vkcomm::sim
