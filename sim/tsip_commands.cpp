#include "sim/tsip_commands.h"

#include <vector>

#include "sim/answers.h"
#include "sim/byte_writer.h"
#include "sim/command_text.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm::sim {

namespace {

constexpr unsigned char kDle = 0x10, kEtx = 0x03;

void addPacket(unsigned char id, ByteSpan data, Reaction& reaction) {
    auto& answer = reaction.answer;
    answer.insert(answer.end(), {kDle, id});
    for (const unsigned char byte : data) {
        answer.push_back(byte);
        if (byte == kDle) answer.push_back(kDle);
    }
    answer.insert(answer.end(), {kDle, kEtx});
}

std::vector<unsigned char> dataOf(ByteSpan packet) {
    std::vector<unsigned char> data;
    for (std::size_t i = 2; i + 2 < packet.size(); i += packet[i] == kDle ? 2u : 1u)
        data.push_back(packet[i]);
    return data;
}

std::vector<Satellite> usedSatellites() {
    std::vector<Satellite> used;
    for (const Satellite& satellite : momentOfAnswers().satellites)
        if (satellite.used && satellite.system == SatelliteSystem::kGps) used.push_back(satellite);
    return used;
}

// Major, minor, month, day, year less 1900 of the navigation and of the signal processor.
void addVersions(Reaction& reaction) {
    constexpr unsigned char kVersions[] = {1, 0, 2, 28, 124, 1, 0, 2, 28, 124};
    addPacket(0x45, kVersions, reaction);
}

void addTime(Reaction& reaction) {
    const Epoch& epoch = momentOfAnswers();
    ByteWriter data;
    data.be(static_cast<float>(epoch.millisecondsOfWeek) / 1000.0f);
    data.be(static_cast<std::int16_t>(epoch.week));
    data.be(static_cast<float>(kLeapSeconds));
    addPacket(0x41, data.bytes(), reaction);
}

// 3-D, chosen by the receiver; PDOP, HDOP, VDOP, TDOP, satellites.
void addSelection(Reaction& reaction) {
    constexpr std::size_t kThreeD = 4;
    const Dops& dops = momentOfAnswers().dops;
    const std::vector<Satellite> used = usedSatellites();
    ByteWriter data;
    data.be(static_cast<unsigned char>(kThreeD | used.size() << 4));
    for (const double dop : {dops.pdop, dops.hdop, dops.vdop, dops.tdop})
        data.be(static_cast<float>(dop));
    for (const Satellite& satellite : used)
        data.be(static_cast<unsigned char>(satellite.number));
    addPacket(0x6D, data.bytes(), reaction);
}

// Doing fixes, without errors; the machine's number and no trouble.
void addHealth(Reaction& reaction) {
    constexpr unsigned char kHealth[] = {0, 0}, kMachine[] = {1, 0, 0};
    addPacket(0x46, kHealth, reaction);
    addPacket(0x4B, kMachine, reaction);
}

void addLevels(Reaction& reaction) {
    const std::vector<Satellite> used = usedSatellites();
    ByteWriter data;
    data.be(static_cast<unsigned char>(used.size()));
    for (const Satellite& satellite : used) {
        data.be(static_cast<unsigned char>(satellite.number));
        data.be(static_cast<float>(satellite.l1.cn0));
    }
    addPacket(0x47, data.bytes(), reaction);
}

struct Question {
    unsigned char id;
    void (*answer)(Reaction& reaction);
};

constexpr Question kQuestions[] = {
    {0x1F, addVersions}, {0x21, addTime}, {0x24, addSelection}, {0x26, addHealth}, {0x27, addLevels}};

constexpr unsigned char kOptions = 0x35;

}  // namespace

// The end is the first DLE behind the id that neither is doubled nor begins another packet.
Front TsipCommands::frontOf(ByteSpan bytes) const {
    if (bytes[0] != kDle) return otherFront();
    if (bytes.size() >= 2 && (bytes[1] == kDle || bytes[1] == kEtx)) return otherFront(2);
    for (std::size_t i = 2; i + 1 < bytes.size(); ++i) {
        if (bytes[i] != kDle) continue;
        if (bytes[i + 1] == kEtx) return {FrontKind::kCommand, i + 2};
        if (bytes[i + 1] != kDle) return otherFront(i);
        ++i;
    }
    return {};
}

void TsipCommands::obey(ByteSpan command, Reaction& reaction) {
    std::string name = "packet ";
    appendFormat(name, "%02Xh", unsigned{command[1]});
    note(name, obeyPacket(command[1], dataOf(command), reaction));
}

std::string TsipCommands::obeyPacket(unsigned char id, ByteSpan data, Reaction& reaction) {
    if (id == kOptions) {
        if (!data.empty() && data.size() != m_options.size()) return "wrong length";
        if (!data.empty()) m_options.assign(data.begin(), data.end());
        m_settings.set("options", hexText(m_options));
        addPacket(0x55, m_options, reaction);
        return {};
    }
    const auto* question = std::ranges::find(kQuestions, id, &Question::id);
    if (question == std::end(kQuestions)) return "unknown packet";
    if (!data.empty()) return "wrong length";
    question->answer(reaction);
    return {};
}

}  // namespace vkcomm::sim
