#include "sim/cmc_commands.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "sim/answers.h"
#include "sim/arguments.h"
#include "sim/cmc_encoder.h"
#include "sim/cmc_messages.h"
#include "vkcomm/util/checksums.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm::sim {

namespace {

constexpr unsigned char kSoh = 0x01, kRepeated = 0x80, kAcknowledge = 126;
constexpr std::size_t kHead = 4, kFraming = 6;

constexpr std::array<unsigned char, 6> kTold{20, 30, 33, 45, 49, 75};

std::string messageName(unsigned char number) {
    std::string name = "message ";
    appendInteger(name, number);
    return name;
}

void addDegrees(std::string& text, double radians) {
    appendFixed(text, radians * (180.0 / std::numbers::pi), 9);
    text += ' ';
}

}  // namespace

Front CmcCommands::frontOf(ByteSpan bytes) const {
    if (bytes[0] != kSoh) return otherFront();
    if (bytes.size() < 3) return {};
    if (bytes[1] + bytes[2] != 255) return otherFront();
    return bytes.size() < kHead ? Front{} : frameFront(bytes, bytes[3] + kFraming);
}

void CmcCommands::obey(ByteSpan command, Reaction& reaction) {
    const auto number = static_cast<unsigned char>(command[1] & ~kRepeated);
    const ByteSpan data = command.subspan(kHead, command.size() - kFraming);
    const std::size_t checked = command.size() - 2;
    std::string problem = "wrong checksum";
    if (sum16(command.first(checked)) == loadLe<std::uint16_t>(command.data() + checked))
        problem = obeyMessage(number, (command[1] & kRepeated) != 0, data, reaction);
    note(messageName(number), problem);
}

std::string CmcCommands::obeyMessage(unsigned char number, bool isRepeated, ByteSpan data,
                                     Reaction& reaction) {
    if (std::ranges::find(kTold, number) != kTold.end()) return tell(number, isRepeated, data, reaction);
    if (isRepeated) return "it cannot be repeated";
    std::string problem;
    switch (number) {
    case 80: problem = setPosition(data); break;
    case 83: problem = setBytes(number, data, 21); break;
    case 91: problem = setBytes(number, data, 2); break;
    default: return "unknown message";
    }
    if (!problem.empty()) return problem;
    Piece acknowledge;
    const std::array<unsigned char, 2> content{number, 1};
    addCmcMessage(kAcknowledge, content, acknowledge);
    reaction.say(acknowledge.bytes);
    return {};
}

// A password, two bytes that choose the position, height, latitude and longitude in doubles, radians.
std::string CmcCommands::setPosition(ByteSpan data) {
    ByteReader reader(data);
    const std::string_view password = asText(reader.bytes(6));
    const auto kind = reader.le<std::uint16_t>();
    const auto height = reader.le<double>(), latitude = reader.le<double>(), longitude = reader.le<double>();
    if (!reader.ok() || reader.remaining() != 0) return "wrong length";
    if (password != "UGPS-B" || kind != 0x17EB) return "wrong password";
    // written so that NaN is outside
    if (!(std::abs(latitude) <= std::numbers::pi / 2)) return "the latitude is beyond 90 degrees";
    if (!(std::abs(longitude) <= std::numbers::pi * 2)) return "the longitude is beyond 360 degrees";
    if (!(height >= -1000.0 && height <= 20e6)) return "the height is out of range";
    std::string position;
    addDegrees(position, latitude);
    addDegrees(position, longitude);
    appendFixed(position, height, 3);
    m_settings.set("mode", "base");
    m_settings.set("position", position);
    return {};
}

std::string CmcCommands::setBytes(unsigned char number, ByteSpan data, std::size_t size) {
    if (data.size() != size) return "wrong length";
    std::string text;
    for (const unsigned char byte : data)
        appendFormat(text, text.empty() ? "%02X" : " %02X", unsigned{byte});
    m_settings.set(messageName(number), text);
    return {};
}

std::string CmcCommands::tell(unsigned char number, bool isRepeated, ByteSpan data, Reaction& reaction) {
    if (!data.empty()) return "wrong length";
    if (isRepeated) m_settings.set("output " + messageName(number), "repeated");
    Piece messages;
    encodeCmcStart(momentOfAnswers(), messages);
    encodeCmc(momentOfAnswers(), messages);
    addFrames(
        messages, [number](ByteSpan message) { return message[1] == number; }, reaction.answer);
    return {};
}

}  // namespace vkcomm::sim
