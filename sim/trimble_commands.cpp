#include "sim/trimble_commands.h"

#include <algorithm>
#include <string_view>

#include "sim/answers.h"
#include "sim/command_text.h"
#include "sim/trimble_encoder.h"
#include "sim/trimble_files.h"
#include "sim/trimble_packets.h"
#include "vkcomm/util/checksums.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm::sim {

namespace {

constexpr unsigned char kStx = 0x02, kEtx = 0x03, kEnq = 0x05, kAck = 0x06, kNak = 0x15;
constexpr std::size_t kHead = 4, kFraming = 6;
constexpr std::size_t kMostPages = 16;

// Packets of CMR, CMR+ and CMR type 2 hold corrections.
constexpr bool isCmr(unsigned char type) { return type == 0x93 || type == 0x94 || type == 0x98; }

// What the receiver sends by itself has the answers too.
Piece everything() {
    Piece piece;
    encodeTrimbleStart(momentOfAnswers(), piece);
    encodeTrimble(momentOfAnswers(), piece);
    return piece;
}

ByteSpan dataOf(ByteSpan packet) { return packet.subspan(kHead, packet.size() - kFraming); }

void addPacket(TrimblePacket type, ByteSpan data, Reaction& reaction) {
    Piece packet;
    addTrimblePacket(type, data, packet);
    reaction.say(packet.bytes);
}

void addPacketsOf(TrimblePacket type, Reaction& reaction) {
    addFrames(
        everything(), [type](ByteSpan packet) { return packet[2] == type; }, reaction.answer);
}

}  // namespace

struct TrimbleCommands::Row {
    unsigned char type;
    std::string_view name;
    std::size_t least, most;  // data bytes
    std::string (TrimbleCommands::*obey)(ByteSpan data, Reaction& reaction);
};

constexpr TrimbleCommands::Row TrimbleCommands::kRows[] = {
    {0x06, "get serial numbers", 0, 0, &TrimbleCommands::tellSerial},
    {0x08, "get status", 0, 0, &TrimbleCommands::tellStatus},
    {0x49, "get break information", 6, 6, &TrimbleCommands::tellBreak},
    {0x4A, "get options", 0, 1, &TrimbleCommands::tellOptions},
    {0x54, "get satellite data", 3, 3, &TrimbleCommands::tellSatellites},
    {0x56, "get raw data", 3, 3, &TrimbleCommands::tellPosition},
    {0x58, "reset", 7, 7, &TrimbleCommands::reset},
    {0x64, "application file", 3, 255, &TrimbleCommands::takePage},
    {0x65, "get application file", 2, 2, &TrimbleCommands::tellFile},
    {0x66, "get list of application files", 0, 0, &TrimbleCommands::tellFiles},
};

// A packet that does not end where its length says is no more than its first byte.
Front TrimbleCommands::frontOf(ByteSpan bytes) const {
    if (bytes[0] == kEnq) return {FrontKind::kCommand, 1};
    if (bytes[0] != kStx || (bytes.size() >= 2 && bytes[1] != 0)) return otherFront();
    if (bytes.size() < kHead) return {};
    if (isCmr(bytes[2])) return otherFront();
    const Front front = frameFront(bytes, bytes[3] + kFraming);
    const bool isEnded = front.kind == FrontKind::kUnfinished || bytes[front.size - 1] == kEtx;
    return isEnded ? front : Front{FrontKind::kCommand, 1};
}

void TrimbleCommands::obey(ByteSpan command, Reaction& reaction) {
    if (command[0] == kEnq) {
        reaction.answer.push_back(kAck);
        return note("are you there");
    }
    if (command.size() < kFraming) return note("packet", "it does not end where its length says");
    const auto* row = std::ranges::find(kRows, command[2], &Row::type);
    std::string name(row == std::end(kRows) ? "packet " : row->name);
    if (row == std::end(kRows)) appendFormat(name, "%02Xh", unsigned{command[2]});
    const std::string problem = obeyPacket(command, reaction);
    if (!problem.empty()) reaction.answer.push_back(kNak);
    note(std::move(name), problem);
}

std::string TrimbleCommands::obeyPacket(ByteSpan packet, Reaction& reaction) {
    if (sum8(packet.subspan(1, packet.size() - 3)) != packet[packet.size() - 2]) return "wrong checksum";
    const ByteSpan data = dataOf(packet);
    const auto* row = std::ranges::find(kRows, packet[2], &Row::type);
    if (row == std::end(kRows)) return "unknown type";
    if (data.size() < row->least || data.size() > row->most) return "wrong length";
    return (this->*row->obey)(data, reaction);
}

std::string TrimbleCommands::tellSerial(ByteSpan, Reaction& reaction) {
    addPacketsOf(kRetserial, reaction);
    return {};
}

std::string TrimbleCommands::tellStatus(ByteSpan, Reaction& reaction) {
    addPacketsOf(kRecstat1, reaction);
    return {};
}

std::string TrimbleCommands::tellBreak(ByteSpan data, Reaction& reaction) {
    constexpr std::array<unsigned char, 6> kAll{0x02, 0x02, 0x05, 0x00, 0x01, 0x00};
    if (!std::ranges::equal(data, kAll)) return "unknown question";
    addPacketsOf(kBreakret, reaction);
    return {};
}

unsigned char TrimbleCommands::maskOr(const char* name, unsigned char usual) const {
    const std::string mask = m_settings.get(name);
    return mask.empty() ? usual : static_cast<unsigned char>(parseInteger(mask));
}

std::string TrimbleCommands::tellOptions(ByteSpan data, Reaction& reaction) {
    if (!data.empty() && data[0] != 0) return "there is no such page";
    const Piece packets = everything();
    for (std::size_t i = 0; i < packets.frames.size(); ++i) {
        if (packets.frameBytes(i)[2] != kRetopt) continue;
        const ByteSpan usual = dataOf(packets.frameBytes(i));
        std::vector<unsigned char> options(usual.begin(), usual.end());
        options[0] = maskOr("elevation mask", options[0]);
        options[1] = maskOr("pdop mask", options[1]);
        addPacket(kRetopt, options, reaction);
    }
    return {};
}

// Which data, the satellite, flags.
std::string TrimbleCommands::tellSatellites(ByteSpan data, Reaction& reaction) {
    const unsigned char subtype = data[0], satellite = subtype == 0 ? 0 : data[1];
    const std::size_t before = reaction.answer.size();
    addFrames(
        everything(),
        [&](ByteSpan packet) {
            return packet[2] == kRetsvdata && packet[kHead] == subtype && packet[kHead + 1] == satellite;
        },
        reaction.answer);
    return reaction.answer.size() != before ? "" : "there are no such data";
}

// Position records have a head of four bytes, then latitude and longitude in radians and the height, in doubles.
std::string TrimbleCommands::tellPosition(ByteSpan data, Reaction& reaction) {
    constexpr unsigned char kPosition = 1, kOnlyPage = 0x11;
    if (data[0] != kPosition) return "there are no such data";
    const Epoch& epoch = momentOfAnswers();
    ByteWriter record;
    record.be(kPosition);
    record.be(kOnlyPage);
    record.zeros(2);
    record.be(radiansOf(epoch.latitude));
    record.be(radiansOf(epoch.longitude));
    record.be(ellipsoidalHeight(epoch));
    addPacket(kRawdata, record.bytes(), reaction);
    return {};
}

// File 0, what the receiver is set to now: its control block and the general controls of the newer receivers.
std::string TrimbleCommands::tellFile(ByteSpan data, Reaction& reaction) {
    if (data[0] != 0 || data[1] != 0) return "there is no such file";
    const std::array<unsigned char, 15> file{
        0, 0, 0, 3, 8, 1, 0, 1, 6, maskOr("elevation mask", 10), 1, maskOr("pdop mask", 7)};
    addPacket(kAppfile, file, reaction);
    return {};
}

// One file, as its file storage record says: a name, year less 1900, month, day, hour, minute.
std::string TrimbleCommands::tellFiles(ByteSpan, Reaction& reaction) {
    ByteWriter files;
    files.text("CURRENT ", 8);
    constexpr unsigned char kDate[] = {124, 2, 29, 0, 0};
    for (const unsigned char part : kDate)
        files.be(part);
    addPacket(kRetafdir, files.bytes(), reaction);
    return {};
}

std::string TrimbleCommands::reset(ByteSpan data, Reaction& reaction) {
    constexpr unsigned char kHighest = 3;
    if (data[0] != 0xFF || data[1] > kHighest || asText(data.subspan(2)) != "RESET") return "not a reset";
    if (data[1] == 1 || data[1] == 3) m_settings = {};
    reaction.answer.push_back(kAck);
    return {};
}

// Transmission, page, last page; then a part of the file.
std::string TrimbleCommands::takePage(ByteSpan data, Reaction& reaction) {
    const std::uint8_t transmission = data[0], page = data[1], last = data[2];
    const bool isExpected = page == 0 || (page == m_nextPage && transmission == m_transmission);
    const ByteSpan part = data.subspan(3);
    if (page == 0) m_file.clear();
    m_transmission = transmission;
    m_nextPage = 0;
    if (!isExpected || page > last || last >= kMostPages) return "a page is missing";
    m_file.insert(m_file.end(), part.begin(), part.end());
    const bool isWhole = page == last;
    if (!isWhole) m_nextPage = static_cast<std::uint8_t>(page + 1);
    std::string problem = isWhole ? applyFile(m_file, m_settings) : std::string();
    if (problem.empty()) reaction.answer.push_back(kAck);
    return problem;
}

}  // namespace vkcomm::sim
