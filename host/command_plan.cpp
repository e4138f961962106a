#include "host/command_plan.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "host/receiver_configuration.h"
#include "host/record_router.h"
#include "vkcomm/frames/trimble_commands.h"

namespace vkcomm {

namespace {

constexpr std::string_view kMakerLead = "$$";
constexpr std::string_view kBoardLetters = "RZ";

bool isMakerFrame(ByteSpan bytes) { return textOf(bytes).starts_with(kMakerLead); }

// The words of a line, in lower case, without the frame's "RZ,S" and Javad's "%id%" in front.
std::vector<std::string> wordsOf(std::string_view what) {
    if (what.starts_with("RZ,S")) what.remove_prefix(4);
    what.remove_prefix(javadLabel(what).size());
    std::vector<std::string> words(1);
    for (const char c : what) {
        if (c == ' ' || c == ',') {
            if (!words.back().empty()) words.emplace_back();
        } else {
            words.back() += static_cast<char>(c >= 'A' && c <= 'Z' ? c + 'a' - 'A' : c);
        }
    }
    return words;
}

constexpr std::size_t kTrimbleTypeAt = 2;

// Every frame of the maker's in the bytes gives what it carries; all else stays.
Bytes unwrapped(ByteSpan bytes) {
    constexpr std::size_t kBehindPayload = 9;  // letters, selector, length in front; XOR, CR, LF behind
    Bytes board;
    while (!bytes.empty()) {
        const ByteSpan payload = isMakerFrame(bytes) ? makerPayload(bytes) : ByteSpan();
        const bool isFrame = !payload.empty() && bytes.size() >= payload.size() + kBehindPayload;
        const ByteSpan piece = isFrame ? payload : bytes.first(1);
        board.insert(board.end(), piece.begin(), piece.end());
        bytes = bytes.subspan(isFrame ? payload.size() + kBehindPayload : 1);
    }
    return board;
}

// Lower case, no blank beside a comma.
std::string plainForm(ByteSpan bytes) {
    std::string text;
    for (const char c : textOf(bytes)) {
        if (c == ' ' && text.ends_with(',')) continue;
        while (c == ',' && text.ends_with(' '))
            text.pop_back();
        text += static_cast<char>(c >= 'A' && c <= 'Z' ? c + 'a' - 'A' : c);
    }
    return text;
}

bool isWordCharacter(char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '/'; }

// A command may begin behind anything but another word of its line: "log freset" is none.
bool beginsCommand(std::string_view text, std::string_view name) {
    for (std::size_t at = text.find(name); at != text.npos; at = text.find(name, at + 1)) {
        const std::size_t before = text.substr(0, at).find_last_not_of(' ');
        if (before == text.npos || !isWordCharacter(text[before])) return true;
    }
    return false;
}

// Whether the packet's check is right does not matter here.
bool hasResetPacket(ByteSpan bytes) {
    constexpr unsigned char kStart = 0x02, kEnd = 0x03, kReset = 0x58;
    constexpr std::size_t kLengthAt = 3, kFrame = 6, kFactoryFlagAt = 10;
    for (; bytes.size() >= kFrame; bytes = bytes.subspan(1)) {
        const std::size_t size = bytes[kLengthAt] + kFrame;
        if (bytes[0] != kStart || bytes.size() < size || bytes[size - 1] != kEnd) continue;
        const unsigned char type = bytes[kTrimbleTypeAt];
        if (type == kReset) return true;
        if (type == kApplicationFile && size > kFactoryFlagAt + 2 && bytes[kFactoryFlagAt] != 0) return true;
    }
    return false;
}

// FRESET in binary: message 20.
bool hasBinaryReset(ByteSpan bytes) {
    constexpr std::string_view kSync = "\xAA\x44\x12";
    constexpr std::size_t kIdAt = 4;
    const std::string_view text = textOf(bytes);
    for (std::size_t at = text.find(kSync); at != text.npos; at = text.find(kSync, at + 1))
        if (text.substr(at + kIdAt, 2) == std::string_view("\x14\0", 2)) return true;
    return false;
}

struct ResetRow {
    Dialect dialect;
    std::string_view begin = {};
    bool (*isIn)(ByteSpan bytes) = nullptr;  // where it is no text
};

constexpr ResetRow kResets[] = {
    {Dialect::kNovatel, "freset"},
    {Dialect::kNovatel, {}, hasBinaryReset},
    {Dialect::kJavad, "init"},
    {Dialect::kThales, "$pashs,ini"},
    {Dialect::kThales, "$pashs,rst"},
    {Dialect::kCsi, "$jreset"},
    {Dialect::kTrimble, {}, hasResetPacket},
    {Dialect::kTsip, "\x10\x1e"
                     "f"},
};

// Behind NMEA and in a maker's receiver there may be any board.
bool mayHear(Dialect target, Dialect dialect) {
    return target == dialect || target == Dialect::kMaker || target == Dialect::kNmea;
}

bool resetsBoard(const CommandTarget& target, ByteSpan bytes) {
    const std::string text = plainForm(bytes);
    return std::ranges::any_of(kResets, [&](const ResetRow& row) {
        const bool isHere = row.isIn ? row.isIn(bytes) : beginsCommand(text, row.begin);
        return isHere && mayHear(target.dialect, row.dialect);
    });
}

// Wherever in the bytes it stands: no road may lead round the question.
bool isReset(const CommandTarget& target, const CommandSteps& steps) {
    Bytes all;
    for (const CommandStep& step : steps)
        all.insert(all.end(), step.bytes.begin(), step.bytes.end());
    return std::ranges::any_of(steps, &CommandStep::factoryReset) || resetsBoard(target, all) ||
           resetsBoard(target, unwrapped(all));
}

// Questions in packets of Trimble's and the packets that answer them.
struct TrimbleReply {
    unsigned char question;
    unsigned char answer;
};

constexpr TrimbleReply kTrimbleReplies[] = {{0x06, 0x07}, {0x08, 0x09}, {0x4A, 0x4B}, {0x54, 0x55},
                                            {0x56, 0x57}, {0x49, 0x6E}, {0x65, 0x64}, {0x66, 0x67}};

std::optional<MessageKind> trimbleRecord(const Bytes& packet) {
    if (packet.size() <= kTrimbleTypeAt) return std::nullopt;
    for (const TrimbleReply& row : kTrimbleReplies)
        if (row.question == packet[kTrimbleTypeAt]) return MessageKind{LOG_TRIMBLE_PACKET, row.answer};
    return std::nullopt;
}

// A message without data asks for the message of its number.
std::optional<MessageKind> cmcRecord(const Bytes& message) {
    constexpr std::size_t kLengthAt = 3;
    if (message.size() <= kLengthAt || message[kLengthAt] != 0) return std::nullopt;
    return MessageKind{LOG_CMC_BINARY, message[1] & 0x7FU};
}

// "log com1 versionb once"
std::optional<MessageKind> novatelRecord(const std::string& what) {
    const auto words = wordsOf(what);
    if (words.size() < 3 || words.front() != "log" || words.back() != "once") return std::nullopt;
    std::string name = words[words.size() - 2];
    std::ranges::transform(name, name.begin(), [](char c) {
        return static_cast<char>(c >= 'a' && c <= 'z' ? c + 'A' - 'a' : c);
    });
    if (!name.ends_with('A') && !name.ends_with('B')) return std::nullopt;
    name.back() = 'A';
    const unsigned id = oem4AsciiId("#" + name + ",");
    return id == 0 ? std::nullopt : std::optional(MessageKind{LOG_OEM4_BINARY, id});
}

// "$PASHQ,RID" is answered by "$PASHR,RID".
std::optional<MessageKind> thalesRecord(std::string what) {
    constexpr std::string_view kQuestion = "$PASHQ,";
    if (!what.starts_with(kQuestion)) return std::nullopt;
    what[kQuestion.size() - 2] = 'R';
    const RecordKind kind = dollarKind(what);
    return kind.type == LOG_NONE ? std::nullopt : std::optional(MessageKind{kind.type, kind.id});
}

std::optional<MessageKind> recordAsked(const CommandTarget& target, const Command& command) {
    switch (target.dialect) {
    case Dialect::kTrimble: return trimbleRecord(command.boardBytes());
    case Dialect::kCmc: return cmcRecord(command.boardBytes());
    case Dialect::kNovatel: return novatelRecord(command.what);
    case Dialect::kThales: return thalesRecord(command.what);
    default: return std::nullopt;
    }
}

// The packets that answer questions in TSIP.
constexpr TrimbleReply kTsipReplies[] = {{0x1F, 0x45}, {0x21, 0x41}, {0x24, 0x6D},
                                         {0x26, 0x46}, {0x27, 0x47}, {0x35, 0x55}};

std::string labelOf(const CommandTarget& target, const Command& command) {
    constexpr unsigned char kCmcNumber = 0x7F;
    const Bytes bytes = command.boardBytes();
    const unsigned char second = bytes.size() < 2 ? 0 : bytes[1];
    if (target.dialect == Dialect::kJavad) return std::string(javadLabel(textOf(bytes)));
    if (target.dialect == Dialect::kCmc) return std::string(1, static_cast<char>(second & kCmcNumber));
    if (target.dialect != Dialect::kTsip) return {};
    const auto* row = std::ranges::find(kTsipReplies, second, &TrimbleReply::question);
    return row == std::end(kTsipReplies) ? std::string() : std::string(1, static_cast<char>(row->answer));
}

bool mayStaySilent(const CommandTarget& target, const Command& command) {
    switch (target.dialect) {
    case Dialect::kMaker:
    case Dialect::kNmea: return true;
    case Dialect::kThales: return command.what.starts_with("$PASHQ") && !command.record;
    case Dialect::kJavad: return !command.what.starts_with('%');  // then only errors are answered
    default: return !command.letters().empty() && command.letters() != kBoardLetters;
    }
}

Expectation expectationOf(const CommandTarget& target, const Command& command) {
    if (target.dialect == Dialect::kTsip)
        return command.label.empty() ? Expectation::kNothing : Expectation::kPerhaps;
    if (mayStaySilent(target, command)) return Expectation::kPerhaps;
    return command.record ? Expectation::kRecord : Expectation::kVerdict;
}

Command commandOf(const CommandTarget& target, CommandSteps steps) {
    Command command{steps.front().what, std::move(steps)};
    command.record = recordAsked(target, command);
    command.label = labelOf(target, command);
    command.expects = expectationOf(target, command);
    command.moreAnswers = command.letters() == "SI" || wordsOf(command.what).front() == "$jshow";
    if (const auto rate = command.newRate()) command.portName = portName(target, rate->port);
    command.resets = isReset(target, command.steps);
    return command;
}

}  // namespace

std::size_t Command::size() const {
    std::size_t size = 0;
    for (const CommandStep& step : steps)
        size += step.bytes.size();
    return size;
}

Bytes Command::boardBytes() const {
    Bytes bytes;
    for (const CommandStep& step : steps) {
        const ByteSpan board = isMakerFrame(step.bytes) ? makerPayload(step.bytes) : ByteSpan(step.bytes);
        bytes.insert(bytes.end(), board.begin(), board.end());
    }
    return bytes;
}

std::string Command::letters() const {
    const Bytes& frame = steps.front().bytes;
    return isMakerFrame(frame) ? std::string(textOf(frame).substr(2, 2)) : std::string();
}

std::optional<PortRate> Command::newRate() const {
    for (const CommandStep& step : steps)
        if (step.newRate) return step.newRate;
    return std::nullopt;
}

std::string Command::portText() const { return portName.empty() ? "this port" : "port " + portName; }

CommandPlan planOf(const CommandTarget& target, CommandSteps steps) {
    CommandPlan plan;
    CommandSteps together;
    for (CommandStep& step : steps) {
        together.push_back(std::move(step));
        if (together.back().drain) continue;  // the next frame is of the same packet
        plan.push_back(commandOf(target, std::move(together)));
        together.clear();
    }
    std::stable_partition(plan.begin(), plan.end(), [](const Command& each) { return each.resets; });
    return plan;
}

bool resetsReceiver(const CommandPlan& plan) { return std::ranges::any_of(plan, &Command::resets); }

}  // namespace vkcomm
