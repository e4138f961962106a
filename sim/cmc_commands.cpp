#include "sim/cmc_commands.h"

#include <algorithm>
#include <array>

#include "sim/answers.h"
#include "sim/cmc_encoder.h"
#include "sim/cmc_messages.h"
#include "sim/command_text.h"
#include "sim/reference_position.h"
#include "vkcomm/util/checksums.h"

namespace vkcomm::sim {

namespace {

constexpr unsigned char kSoh = 0x01, kRepeated = 0x80, kAcknowledge = 126;
constexpr std::size_t kHead = 4, kFraming = 6;

constexpr std::array<unsigned char, 6> kTold{20, 30, 33, 45, 49, 75};

std::string messageName(unsigned char number) { return "message " + wholeText(number); }

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

// A password, two bytes that choose the position, height, latitude, longitude.
std::string CmcCommands::setPosition(ByteSpan data) {
    ByteReader reader(data);
    const std::string_view password = asText(reader.bytes(6));
    const auto choice = reader.le<std::uint16_t>();
    ReferencePosition position;
    for (double* const value : {&position.height, &position.latitude, &position.longitude})
        *value = reader.le<double>();
    if (!reader.ok() || reader.remaining() != 0) return "wrong length";
    if (password != "UGPS-B" || choice != 0x17EB) return "wrong password";
    if (std::string problem = problemOf(position); !problem.empty()) return problem;
    m_settings.set("mode", "base");
    m_settings.set("position", textOf(position));
    return {};
}

std::string CmcCommands::setBytes(unsigned char number, ByteSpan data, std::size_t size) {
    if (data.size() != size) return "wrong length";
    m_settings.set(messageName(number), hexText(data));
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
