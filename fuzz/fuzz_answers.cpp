// Any bytes as what a receiver sends while commands are given to it, and as a command that a user types: no crash, no
// answer that was not asked for, nothing for people that holds control characters, and JSON that can be read.
#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>

#include "fuzz/parser_laws.h"
#include "host/answer_reader.h"
#include "host/command_report.h"
#include "host/receiver_commands.h"

namespace {

using namespace vkcomm;
using vkcomm::fuzz::require;

constexpr int kTypes[] = {0, 1, 2, 3, 5, 11, 15, 18};
constexpr const char* kFamilies[] = {"javad", "thales", "csi", "nmea", "maker", "tsip"};
constexpr MessageKind kWanted[] = {{LOG_OEM4_BINARY, kOem4Version}, {LOG_OEM4_BINARY, kOem4Bestpos},
                                   {LOG_TRIMBLE_PACKET, 7},         {LOG_TRIMBLE_PACKET, 0x40},
                                   {LOG_NMEA, kPashrRid},           {LOG_CMC_BINARY, 20}};

CommandTarget targetOf(unsigned choice) {
    constexpr unsigned kCount = std::size(kTypes) + std::size(kFamilies);
    choice %= kCount;
    std::string error;
    const auto target = choice < std::size(kTypes)
                            ? commandTarget("", kTypes[choice], error)
                            : commandTarget(kFamilies[choice - std::size(kTypes)], {}, error);
    return target.value_or(CommandTarget{Dialect::kNmea, OEM_NONE, "nmea"});
}

void requirePlain(std::string_view text) {
    require(
        std::ranges::none_of(text, [](char c) { return static_cast<unsigned char>(c) < ' ' && c != '\n'; }));
}

void readAnswers(const CommandTarget& target, std::optional<MessageKind> wanted, ByteSpan bytes,
                 std::size_t piece) {
    AnswerReader reader(target);
    reader.want(wanted);
    for (; !bytes.empty(); bytes = bytes.subspan(std::min(piece, bytes.size())))
        reader.feed(bytes.first(std::min(piece, bytes.size())));
    reader.pause();
    while (const auto answer = reader.next()) {
        require(wanted || answer->kind != AnswerKind::kRecord);
        require(answer->kind != AnswerKind::kRecord || nlohmann::json::accept(answer->json));
        require(std::ranges::all_of(answer->text, [](char c) { return c >= ' ' && c <= '~'; }));
    }
}

void show(const CommandTarget& target, const std::optional<CommandSteps>& steps, const std::string& error) {
    require(steps || !error.empty());
    if (!steps) return;
    for (const Command& command : planOf(target, *steps)) {
        require(command.size() > 0);
        require(command.size() >= command.boardBytes().size());
        requirePlain(CommandReport().begin(command));
        require(nlohmann::json::accept(CommandReport().json(command, nullptr)));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteSpan input(data, size);
    const CommandTarget target = targetOf(fuzz::takeByte(input));
    const unsigned choice = fuzz::takeByte(input);
    const auto wanted = choice < std::size(kWanted) ? std::optional(kWanted[choice]) : std::nullopt;
    readAnswers(target, wanted, input, std::max<std::size_t>(input.size(), 1));
    readAnswers(target, wanted, input, choice % 16 + 1);
    std::string error;
    show(target, textCommand(target, textOf(input), error), error);
    error.clear();
    show(target, hexCommand(target, textOf(input), error), error);
    return 0;
}
