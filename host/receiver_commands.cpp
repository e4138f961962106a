#include "host/receiver_commands.h"

#include <algorithm>
#include <array>

#include "host/byte_text.h"
#include "host/port_url.h"
#include "vkcomm/control/command_carriers.h"
#include "vkcomm/control/thales_sequences.h"
#include "vkcomm/frames/baud_rates.h"
#include "vkcomm/frames/board_frames.h"
#include "vkcomm/frames/maker_frame.h"

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

std::string familyText(const CommandTarget& target) { return std::string(target.family) + " receivers"; }

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
    if (std::ranges::any_of(text, [](char c) { return static_cast<unsigned char>(c) < ' '; }))
        return "a command is one line without control characters; --hex sends any bytes";
    if (target.dialect == Dialect::kMaker && lettersIn(text) < 2)
        return "a maker's command begins with two letters";
    return {};
}

CommandSteps textSteps(const CommandTarget& target, std::string_view text) {
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

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

std::optional<Bytes> bytesOfHex(std::string_view digits) {
    Bytes bytes;
    while (!digits.empty()) {
        if (std::string_view(" :,").find(digits.front()) != std::string_view::npos) {
            digits.remove_prefix(1);
            continue;
        }
        if (digits.size() < 2 || hexValue(digits[0]) < 0 || hexValue(digits[1]) < 0) return std::nullopt;
        bytes.push_back(static_cast<unsigned char>(hexValue(digits[0]) * 16 + hexValue(digits[1])));
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
    CommandSteps steps = textSteps(target, text);
    if (steps.empty() && target.dialect != Dialect::kMaker)
        return refuse(error, familyText(target) + " have no text commands; --hex sends bytes");
    const bool isCut =
        steps.empty() || (steps.front().wrapped && steps.front().bytes.size() >= kLargestMakerFrame &&
                          steps.front().bytes.front() == '$');
    if (isCut) return refuse(error, "the text is too long for one of the maker's frames");
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

}  // namespace

Steps questionSteps(const CommandTarget& target, std::string_view question, std::string& error) {
    for (const TextQuestion& row : kTextQuestions)
        if (row.dialect == target.dialect && row.question == question) return textSteps(target, row.text);
    for (const TrimbleQuestion& row : kTrimbleQuestions)
        if (target.dialect == Dialect::kTrimble && row.question == question)
            return trimbleSteps(target.type, row.command(), 0);
    for (const CmcQuestion& row : kCmcQuestions)
        if (target.dialect == Dialect::kCmc && row.question == question)
            return cmcSteps(target.type, row.id, false, {}, 0);
    return refuse(error, familyText(target) + " have no known question for " + std::string(question));
}

namespace {

// How the receivers of a dialect name their ports.
struct PortNames {
    Dialect dialect;
    std::string_view prefix;  // that may stand before the name
    int least;                // numbers, or letters from 'a' as 0
    int most;
    bool areLetters;
    std::string_view range;
};

constexpr PortNames kPortNames[] = {
    {Dialect::kTrimble, "", 0, 31, false, "a number 0 to 31"},
    {Dialect::kNovatel, "com", 1, 3, false, "com1, com2 or com3"},
    {Dialect::kJavad, "/dev/ser/", 0, 3, true, "a, b, c or d"},
    {Dialect::kThales, "", 0, 3, true, "A, B, C or D"},
};

std::optional<int> portIn(const PortNames& names, std::string text) {
    std::ranges::transform(text, text.begin(), [](char c) {
        return static_cast<char>(c >= 'A' && c <= 'Z' ? c + 'a' - 'A' : c);
    });
    if (text.starts_with(names.prefix)) text.erase(0, names.prefix.size());
    if (names.areLetters) {
        const int index = text.size() == 1 ? text[0] - 'a' : -1;
        return index >= names.least && index <= names.most ? std::optional(index) : std::nullopt;
    }
    const auto number = wholeNumber(text, names.least, names.most);
    return number ? std::optional(static_cast<int>(*number)) : std::nullopt;
}

struct Values {
    int port = 0;
    int baudIndex = 0;
    const Configuration& choice;

    std::string lower() const { return std::string(1, static_cast<char>('a' + port)); }

    char upper() const { return static_cast<char>('A' + port); }

    std::string number() const { return integerText(port); }
};

enum Uses : int { kNoValue = 0, kUsesPort = 1, kUsesBaud = 2, kUsesMasks = 4, kUsesRate = 8 };

struct ActionRow {
    std::string_view action;
    Dialect dialect;
    int uses;
    CommandSteps (*steps)(const CommandTarget& target, const Values& values);
};

CommandSteps trimble(const CommandTarget& target, const TrimbleCommand& command) {
    return trimbleSteps(target.type, command, 0);
}

CommandSteps lines(const CommandTarget& target, std::initializer_list<std::string> texts) {
    CommandSteps steps;
    for (const std::string& text : texts)
        append(steps, textSteps(target, text));
    return steps;
}

using T = const CommandTarget&;
using V = const Values&;

constexpr ActionRow kActions[] = {
    {"gsof", Dialect::kTrimble, kUsesPort | kUsesRate,
     [](T t, V v) {
         return trimble(t, gsofOutput(v.port, t.type, v.choice.rateCode).value_or(TrimbleCommand{}));
     }},
    {"baud", Dialect::kTrimble, kUsesPort | kUsesBaud,
     [](T t, V v) { return trimble(t, portBaud(v.port, v.choice.baud, t.type)); }},
    {"baud", Dialect::kNovatel, kUsesPort | kUsesBaud,
     [](T t, V v) { return lines(t, {"com com" + v.number() + " " + integerText(v.choice.baud)}); }},
    {"baud", Dialect::kJavad, kUsesPort | kUsesBaud,
     [](T t, V v) {
         return lines(t, {"%%set,/par/dev/ser/" + v.lower() + "/rate," + integerText(v.choice.baud)});
     }},
    {"baud", Dialect::kThales, kUsesPort | kUsesBaud,
     [](T, V v) { return thalesBaud(v.upper(), v.baudIndex); }},
    {"baud", Dialect::kCsi, kUsesBaud,
     [](T t, V v) { return lines(t, {"$JBAUD," + integerText(v.choice.baud)}); }},
    {"mask", Dialect::kTrimble, kUsesMasks,
     [](T t, V v) {
         return trimble(t, positionMasks(static_cast<unsigned char>(v.choice.elevation),
                                         static_cast<unsigned char>(v.choice.pdop), t.type));
     }},
    {"mask", Dialect::kNovatel, kUsesMasks,
     [](T t, V v) {
         const std::string mask = integerText(v.choice.elevation);
         return lines(t, {"ecutoff " + mask, "rtkelevmask user " + mask});
     }},
    {"mask", Dialect::kJavad, kUsesMasks,
     [](T t, V v) {
         const std::string mask = integerText(v.choice.elevation);
         return lines(t, {"%%set,/par/pos/elm," + mask, "%%set,/par/out/elm/cur/term," + mask,
                          "%%set,/par/pos/pdop," + integerText(v.choice.pdop)});
     }},
    {"mask", Dialect::kCsi, kUsesMasks,
     [](T t, V v) { return lines(t, {"$JMASK," + integerText(v.choice.elevation)}); }},
    {"unlog", Dialect::kTrimble, kUsesPort, [](T t, V v) { return trimble(t, portSilence(v.port, t.type)); }},
    {"unlog", Dialect::kNovatel, kUsesPort, [](T t, V v) { return lines(t, {"unlogall com" + v.number()}); }},
    {"unlog", Dialect::kJavad, kUsesPort, [](T t, V v) { return lines(t, {"%%dm,/dev/ser/" + v.lower()}); }},
    {"unlog", Dialect::kThales, kUsesPort,
     [](T t, V v) { return lines(t, {std::string("$PASHS,NME,ALL,") + v.upper() + ",OFF"}); }},
    {"unlog", Dialect::kCsi, kNoValue, [](T t, V) { return lines(t, {"$JOFF"}); }},
    {"raw", Dialect::kTrimble, kUsesPort | kUsesRate,
     [](T t, V v) {
         return trimble(t, rawOutput(t.type, v.port, static_cast<unsigned char>(v.choice.rateCode)));
     }},
    {"thales-init", Dialect::kThales, kUsesPort, [](T, V v) { return thalesInit(v.upper()); }},
    {"reset", Dialect::kTrimble, kNoValue, [](T t, V) { return trimble(t, receiverReset()); }},
    {"reset", Dialect::kNovatel, kNoValue, [](T t, V) { return lines(t, {"freset"}); }},
};

std::string ratesText() {
    std::string text;
    for (const int rate : kBaudRates)
        text += (text.empty() ? "" : ", ") + integerText(rate);
    return text;
}

// Empty, with the values filled in, or what is wrong with them.
std::string readValues(const ActionRow& row, Values& values) {
    const Configuration& choice = values.choice;
    if ((row.uses & kUsesPort) != 0) {
        const auto* names = std::ranges::find(kPortNames, row.dialect, &PortNames::dialect);
        const auto port = portIn(*names, choice.port);
        if (!port)
            return (choice.port.empty() ? "a port is needed: --port "
                                        : choice.port + " is no port here; give ") +
                   std::string(names->range);
        values.port = *port;
    }
    if ((row.uses & kUsesBaud) != 0) {
        const auto* rate = std::ranges::find(kBaudRates, choice.baud);
        if (rate == kBaudRates.end()) return "the rate must be one of " + ratesText();
        values.baudIndex = static_cast<int>(rate - kBaudRates.begin());
    }
    if ((row.uses & kUsesMasks) != 0) {
        if (choice.elevation < 0 || choice.elevation > 90)
            return "the elevation mask is outside 0 to 90 degrees";
        if (choice.pdop < 0 || choice.pdop > 255) return "the PDOP mask is outside 0 to 255";
    }
    const int leastCode = choice.action == "raw" ? 0 : 1;
    if ((row.uses & kUsesRate) != 0 && (choice.rateCode < leastCode || choice.rateCode > 13))
        return "the rate code is outside " + integerText(leastCode) + " to 13";
    return {};
}

}  // namespace

Steps configurationSteps(const CommandTarget& target, const Configuration& choice, std::string& error) {
    const auto* row = std::ranges::find_if(kActions, [&](const ActionRow& each) {
        return each.action == choice.action && each.dialect == target.dialect;
    });
    if (row == std::end(kActions))
        return refuse(error, familyText(target) + " have no known command for " + choice.action);
    Values values{.choice = choice};
    error = readValues(*row, values);
    if (!error.empty()) return std::nullopt;
    return row->steps(target, values);
}

std::string_view familyOfAction(std::string_view action) {
    if (action == "thales-init") return "thales";
    return action == "gsof" || action == "raw" ? "trimble" : "";
}

}  // namespace vkcomm
