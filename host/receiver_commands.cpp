#include "host/receiver_commands.h"

#include <algorithm>

#include "host/byte_text.h"
#include "host/record_router.h"
#include "vkcomm/control/command_carriers.h"
#include "vkcomm/frames/board_frames.h"
#include "vkcomm/frames/maker_frame.h"
#include "vkcomm/util/hex_digit.h"

namespace vkcomm {

namespace {

using Steps = std::optional<CommandSteps>;

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::size_t kLongestText = 1023;
constexpr std::size_t kLongestBytes = 65536;
constexpr std::size_t kLargestMakerFrame = 256;

Steps refuse(std::string& error, std::string why) {
    error = std::move(why);
    return std::nullopt;
}

std::string withLineEnd(std::string_view text) { return std::string(text).append(kLineEnd); }

// Sentences whose checksum the user has written are left alone.
CommandSteps sentence(std::string_view text) {
    return text.find('*') == text.npos ? starText(text, 0) : plainText(withLineEnd(text), 0);
}

int lettersIn(std::string_view text) {
    return static_cast<int>(
        std::ranges::count_if(text, [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }));
}

std::string problemWithText(const CommandTarget& target, std::string_view text) {
    if (text.empty()) return "an empty text is no command";
    if (text.size() > kLongestText)
        return "a command has at most 1023 characters, not " + std::to_string(text.size());
    if (std::ranges::any_of(text, [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 0x7F; }))
        return "a command is one line without control characters; --hex sends any bytes";
    const bool isSentence = target.dialect == Dialect::kThales || target.dialect == Dialect::kNmea;
    if (isSentence && !text.starts_with('$'))
        return "a sentence begins with $; a receiver of another family needs --family";
    if (target.dialect == Dialect::kMaker && lettersIn(text) < 2)
        return "a maker's command begins with two letters";
    return {};
}

// The board would take what comes next for its rest.
bool isLineWithoutEnd(const Bytes& frame) {
    const std::string_view payload = textOf(makerPayload(frame));
    return textOf(frame).starts_with("$$RZ") && !payload.empty() &&
           std::ranges::all_of(payload, [](char c) { return c >= ' ' && c <= '~'; });
}

}  // namespace

CommandSteps lineSteps(const CommandTarget& target, std::string_view text) {
    switch (target.dialect) {
    case Dialect::kNovatel: return novatelText(target.type, withLineEnd(text), 0);
    case Dialect::kJavad: return javadText(text, 0);
    case Dialect::kThales:
    case Dialect::kNmea: return sentence(text);
    case Dialect::kCsi: return plainText(withLineEnd(text), 0);
    case Dialect::kMaker: return makerText(target.type, text, 0);
    default: return {};
    }
}

namespace {

std::optional<Bytes> bytesOfHex(std::string_view digits) {
    Bytes bytes;
    while (!digits.empty()) {
        if (std::string_view(" :,").find(digits.front()) != std::string_view::npos) {
            digits.remove_prefix(1);
            continue;
        }
        const int high = hexDigit(digits[0]), low = digits.size() < 2 ? -1 : hexDigit(digits[1]);
        if (high < 0 || low < 0) return std::nullopt;
        bytes.push_back(static_cast<unsigned char>(high << 4 | low));
        digits.remove_prefix(2);
    }
    return bytes;
}

CommandStep stepOf(std::string what, const Bytes& bytes) {
    CommandStep step;
    step.what = std::move(what);
    step.bytes = bytes;
    return step;
}

// Bytes for a board inside a maker's receiver, in as many frames as they need.
CommandSteps framedBytes(const CommandTarget& target, const std::string& what, const Bytes& bytes) {
    CommandSteps steps;
    for (const Bytes& frame : makerFrames("RZ", target.type, bytes)) {
        steps.push_back(stepOf(what, frame));
        steps.back().wrapped = steps.back().drain = true;
    }
    steps.back().drain = false;
    return steps;
}

// Of a whole packet its type, and the fields of an application file.
std::string describeBytes(const CommandTarget& target, const Bytes& bytes, std::vector<FileField>& fields) {
    constexpr std::size_t kDataAt = 4, kFrame = 6;
    const bool isPacket = target.dialect == Dialect::kTrimble && bytes.size() >= kFrame &&
                          bytes.front() == 0x02 && trimblePacketChecks(bytes);
    if (!isPacket) return std::to_string(bytes.size()) + (bytes.size() == 1 ? " byte" : " bytes");
    if (bytes[2] == kApplicationFile)
        fields = applicationFileFields(ByteSpan(bytes).subspan(kDataAt, bytes.size() - kFrame));
    std::string what = "packet ";
    appendUpperHex(what, ByteSpan(bytes).subspan(2, 1));
    return what + "h";
}

}  // namespace

Steps textCommand(const CommandTarget& target, std::string_view text, std::string& error) {
    if (std::string problem = problemWithText(target, text); !problem.empty())
        return refuse(error, std::move(problem));
    CommandSteps steps = lineSteps(target, text);
    if (steps.empty() && target.dialect != Dialect::kMaker)
        return refuse(error, receiversText(target) + " have no text commands; --hex sends bytes");
    const bool isCut =
        steps.empty() || (steps.front().wrapped && steps.front().bytes.size() >= kLargestMakerFrame &&
                          steps.front().bytes.front() == '$');
    if (isCut) return refuse(error, "the text is too long for one of the maker's frames");
    if (target.dialect == Dialect::kMaker && isLineWithoutEnd(steps.front().bytes))
        return refuse(
            error, "a line for the board needs an end, which no text can give it: --type 5 or 6 sends lines");
    return steps;
}

Steps hexCommand(const CommandTarget& target, std::string_view digits, std::string& error) {
    const auto bytes = bytesOfHex(digits);
    if (!bytes) return refuse(error, "bytes are pairs of hexadecimal digits, such as \"02 00 06 00 06 03\"");
    if (bytes->empty()) return refuse(error, "there are no bytes to send");
    if (bytes->size() > kLongestBytes) return refuse(error, "at most 65536 bytes can be sent at a time");
    std::vector<FileField> fields;
    const std::string what = describeBytes(target, *bytes, fields);
    const bool isFramed = textOf(*bytes).starts_with("$$");
    CommandSteps steps = target.isInMakersReceiver() && !isFramed ? framedBytes(target, what, *bytes)
                                                                  : CommandSteps{stepOf(what, *bytes)};
    steps.front().fields = std::move(fields);
    return steps;
}

namespace {

constexpr std::string_view kSerial = "serial", kOptions = "options", kStatus = "status", kVersion = "version",
                           kSatellites = "satellites";

struct TextQuestion {
    Dialect dialect;
    std::string_view question;
    std::string_view text;
};

constexpr TextQuestion kTextQuestions[] = {
    {Dialect::kNovatel, kSerial, "log versionb once"},
    {Dialect::kNovatel, kOptions, "log versionb once"},  // the model is the list of options
    {Dialect::kNovatel, kStatus, "log bestposb once"},
    {Dialect::kNovatel, kVersion, "log versionb once"},
    {Dialect::kNovatel, kSatellites, "log satvisb once"},
    {Dialect::kJavad, kSerial, "%%print,/par/rcv/id"},
    {Dialect::kJavad, kStatus, "%%print,/par/pos/mode/cur"},
    {Dialect::kJavad, kVersion, "%%print,/par/rcv/ver/main"},
    {Dialect::kThales, kSerial, "$PASHQ,RID"},
    {Dialect::kThales, kOptions, "$PASHQ,RID"},
    {Dialect::kThales, kStatus, "$PASHQ,POS"},
    {Dialect::kThales, kVersion, "$PASHQ,RID"},
    {Dialect::kThales, kSatellites, "$PASHQ,SAT"},
    {Dialect::kCsi, kSerial, "$JI"},
    {Dialect::kCsi, kOptions, "$JI"},
    {Dialect::kCsi, kStatus, "$JSHOW"},
    {Dialect::kCsi, kVersion, "$JT"},
};

struct CmcQuestion {
    std::string_view question;
    unsigned char id;
};

constexpr CmcQuestion kCmcQuestions[] = {{kSerial, 45}, {kStatus, 49}, {kVersion, 45}, {kSatellites, 33}};

constexpr unsigned char kSatelliteFlags = 0, kAllSatellites = 0;

struct TrimbleQuestion {
    std::string_view question;
    TrimbleCommand (*command)();
};

constexpr TrimbleQuestion kTrimbleQuestions[] = {
    {kSerial, serialQuery},
    {kOptions, optionQuery},
    {kStatus, statusQuery},
    {kVersion, serialQuery},
    {kSatellites, [] { return satelliteQuery(kSatelliteFlags, kAllSatellites); }},
};

std::string questionsFor(Dialect dialect) {
    std::string text;
    const auto add = [&](std::string_view question) {
        text.append(text.empty() ? "" : ", ").append(question);
    };
    for (const TextQuestion& row : kTextQuestions)
        if (row.dialect == dialect) add(row.question);
    for (const TrimbleQuestion& row : kTrimbleQuestions)
        if (dialect == Dialect::kTrimble) add(row.question);
    for (const CmcQuestion& row : kCmcQuestions)
        if (dialect == Dialect::kCmc) add(row.question);
    return text;
}

}  // namespace

Steps questionSteps(const CommandTarget& target, std::string_view question, std::string& error) {
    for (const TextQuestion& row : kTextQuestions)
        if (row.dialect == target.dialect && row.question == question) return lineSteps(target, row.text);
    for (const TrimbleQuestion& row : kTrimbleQuestions)
        if (target.dialect == Dialect::kTrimble && row.question == question)
            return trimbleSteps(target.type, row.command(), 0);
    for (const CmcQuestion& row : kCmcQuestions)
        if (target.dialect == Dialect::kCmc && row.question == question)
            return cmcSteps(target.type, row.id, false, {}, 0);
    const std::string known = questionsFor(target.dialect);
    return refuse(error, receiversText(target) + " have no known question for " + std::string(question) +
                             (target.dialect == Dialect::kMaker
                                  ? "; --type 5, 6, 11, 12, 15 or 16 asks the board inside"
                              : known.empty() ? ""
                                              : "; known are " + known));
}

std::string questionsHelp() {
    constexpr std::pair<std::string_view, Dialect> kFamilies[] = {
        {"novatel", Dialect::kNovatel}, {"trimble", Dialect::kTrimble}, {"javad", Dialect::kJavad},
        {"cmc", Dialect::kCmc},         {"thales", Dialect::kThales},   {"hemisphere", Dialect::kCsi}};
    std::string text;
    for (const auto& [family, dialect] : kFamilies)
        text.append("  ").append(family).append(": ").append(questionsFor(dialect)).append("\n");
    return text;
}

}  // namespace vkcomm
