#include "sim/novatel_commands.h"

#include <algorithm>
#include <array>

#include "sim/answers.h"
#include "sim/maker_commands.h"
#include "sim/oem4_encoder.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm::sim {

namespace {

constexpr std::string_view kPorts = "com1 com2 com3 gprs thisport";
constexpr std::string_view kModes = "none novatel rtcm rtca cmr rtcmv3 generic";
constexpr std::string_view kCorrectionTypes = "rtcm rtca cmr rtcmv3";
constexpr std::string_view kTriggers = "ontime once onnew onchanged";
constexpr std::array kRates{300, 600, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200};

// Without the letter that says how they are written.
constexpr std::string_view kMessages =
    "bestpos bestvel psrdop rangecmp satvis rawephem version psrpos range time comconfig loglist ionutc "
    "cmrobs cmrref cmrplus cmrdesc cmrdataref cmrdataobs rtcm1 rtcm3 rtcm22 rtcm1819 rtcm31 rtcm32 rtcmdata3 "
    "rtcmdata1819 rtcmdata1004 rtcmdata1005 rtcaobs rtcaobs2 rtcaref rtca1 rtcm1003 rtcm1004 rtcm1005 "
    "rtcm1006 rtcm1008 rtcm1012 rtcm1033 gpgga gpgst gpgsa gpgsv gprmc gpvtg gpzda";

// What the receiver can send at once, with the number of its binary form.
struct OwnLog {
    std::string_view name;
    std::uint16_t id;
};

constexpr OwnLog kOwnLogs[] = {{"versionb", 37}, {"rawephemb", 41},  {"bestposb", 42}, {"satvisb", 48},
                               {"bestvelb", 99}, {"rangecmpb", 140}, {"psrdopb", 174}};

struct StationRange {
    std::string_view type;
    int highest;
};

constexpr StationRange kStations[] = {{"rtcm", 1023}, {"cmr", 31}, {"rtcmv3", 4095}};

bool isMessage(std::string_view name) {
    if (!choiceOf(kMessages, name).empty()) return true;
    const bool hasForm = name.ends_with('a') || name.ends_with('b');
    return hasForm && !choiceOf(kMessages, name.substr(0, name.size() - 1)).empty();
}

std::string messageOf(Arguments& arguments) {
    std::string name = lowerCase(arguments.word());
    if (!isMessage(name)) arguments.fail(Fault::kUnknownWord);
    return name;
}

// The port of a command may be left out: it is then the one that the command came from.
std::string optionalPort(Arguments& arguments) {
    const std::string next = lowerCase(arguments.peek());
    const bool isPort = next == "gprs" || next == "thisport" || (next.starts_with("com") && !isMessage(next));
    const std::string port = isPort ? arguments.oneOf(kPorts) : "thisport";
    return port == "thisport" ? "com1" : port;
}

// Text in double quotes or of digits, four characters at most; RTCA takes any, the others numbers in their range.
std::string stationOf(std::string_view type, Arguments& arguments) {
    if (type == "rtca") {
        std::string id = arguments.word();
        const bool isQuoted = id.size() >= 2 && id.starts_with('"') && id.ends_with('"');
        if (isQuoted) id = id.substr(1, id.size() - 2);
        if (id.empty() || id.size() > 4) arguments.fail(Fault::kOutOfRange);
        return id;
    }
    const auto* range = std::ranges::find(kStations, type, &StationRange::type);
    const long long id = arguments.whole(0, range == std::end(kStations) ? 0 : range->highest);
    return wholeText(id);
}

// Errors in the words of the board.
std::string errorText(const Arguments& arguments) {
    std::string text;
    switch (arguments.fault()) {
    case Fault::kNone: return {};
    case Fault::kMissing: return "Message missing field";
    case Fault::kUnknownWord:
    case Fault::kTooMany: appendFormat(text, "Invalid Message. Field = %zu", arguments.faultyWord()); break;
    case Fault::kOutOfRange:
        appendFormat(text, "Parameter %zu is out of range", arguments.faultyWord());
        break;
    }
    return text;
}

Words wordsOf(std::string_view line) {
    Words words = splitWords(line, ' ');
    std::erase(words, "");
    return words;
}

}  // namespace

struct NovatelCommands::Row {
    std::string_view name;
    void (NovatelCommands::*obey)(Arguments& arguments);
};

constexpr NovatelCommands::Row NovatelCommands::kRows[] = {
    {"fix", &NovatelCommands::fix},
    {"ecutoff", &NovatelCommands::elevationMask},
    {"rtkelevmask", &NovatelCommands::rtkElevationMask},
    {"gloecutoff", &NovatelCommands::glonassElevationMask},
    {"log", &NovatelCommands::log},
    {"unlog", &NovatelCommands::unlog},
    {"unlogall", &NovatelCommands::unlogAll},
    {"interfacemode", &NovatelCommands::interfaceMode},
    {"dgpstxid", &NovatelCommands::station},
    {"com", &NovatelCommands::port},
    {"ionocondition", &NovatelCommands::ionosphere},
    {"rtksource", &NovatelCommands::rtkSource},
    {"psrdiffsource", &NovatelCommands::codeSource},
    {"sendhex", &NovatelCommands::sendHex},
    {"saveconfig", &NovatelCommands::saveConfig},
    {"freset", &NovatelCommands::factoryReset},
};

// A port that was made an input for corrections hears no commands any more.
bool NovatelCommands::takesCommands() const {
    constexpr std::string_view kHeard = "takes novatel";
    const std::string interface = m_settings.get("interface com1");
    return interface.empty() || interface.starts_with(kHeard);
}

Front NovatelCommands::frontOf(ByteSpan bytes) const {
    if (bytes[0] != '$') return takesCommands() ? lineFront(bytes) : otherFront();
    if (bytes.size() < 2) return {};
    return bytes[1] == '$' ? MakerCommands::frontOfFrame(bytes) : lineFront(bytes);
}

void NovatelCommands::obey(ByteSpan command, Reaction& reaction) {
    std::string_view line = asText(command);
    if (line.starts_with("$$")) return obeyFrame(command, reaction);
    if (!takeLineEnd(line)) return note(shownText(command), "the line breaks off");
    Reaction logs;
    const std::string problem = obeyLine(line, logs);
    reaction.say("\r\n<");
    reaction.say(problem.empty() ? "OK" : "ERROR:" + problem);
    reaction.say("\r\n[COM1]");
    reaction.say(logs.answer);
    note(std::string(line), problem);
}

void NovatelCommands::obeyFrame(ByteSpan frame, Reaction& reaction) {
    if (frame.size() == 2) return note("$$", "the frame does not end where its length says");
    const Reaction modem = toModem(frame);
    reaction.say(modem.answer);
    reaction.leave(modem.rest);
}

std::string NovatelCommands::obeyLine(std::string_view line, Reaction& reaction) {
    Words words = wordsOf(line);
    if (words.empty()) return "Invalid Message ID";
    const auto* row = std::ranges::find(kRows, lowerCase(words[0]), &Row::name);
    if (row == std::end(kRows)) return "Invalid Message ID";
    words.erase(words.begin());
    Arguments arguments(std::move(words));
    m_reaction = &reaction;
    (this->*row->obey)(arguments);
    m_reaction = nullptr;
    return errorText(arguments);
}

void NovatelCommands::fix(Arguments& arguments) {
    constexpr std::string_view kKinds = "none position";
    if (arguments.oneOf(kKinds) != "position") {
        if (!arguments.done()) return;
        m_settings.erase("position");
        return m_settings.set("mode", "rover");
    }
    const std::string latitude = arguments.number(-90, 90);
    const std::string longitude = arguments.number(-360, 360);
    const std::string height = arguments.number(-1000, 20e6);
    if (!arguments.done()) return;
    m_settings.set("mode", "base");
    m_settings.set("position", latitude + ' ' + longitude + ' ' + height);
}

void NovatelCommands::elevationMask(Arguments& arguments) {
    const std::string angle = arguments.number(-90, 90);
    if (arguments.done()) m_settings.set("elevation mask", angle);
}

void NovatelCommands::rtkElevationMask(Arguments& arguments) {
    constexpr std::string_view kKinds = "auto user";
    std::string mask = arguments.oneOf(kKinds);
    if (mask == "user") mask = arguments.number(0, 90);
    if (arguments.done()) m_settings.set("elevation mask rtk", mask);
}

void NovatelCommands::glonassElevationMask(Arguments& arguments) {
    const std::string angle = arguments.number(-90, 90);
    if (arguments.done()) m_settings.set("elevation mask glonass", angle);
}

// LOG [port] message [trigger [period [offset]]]
void NovatelCommands::log(Arguments& arguments) {
    constexpr double kLongest = 86400;
    const std::string to = optionalPort(arguments);
    const std::string message = messageOf(arguments);
    const std::string trigger = arguments.isOver() ? "once" : arguments.oneOf(kTriggers);
    std::string when = trigger;
    if (trigger == "ontime") {
        when = "every " + arguments.number(0.01, kLongest) + " s";
        if (!arguments.isOver()) when += ", " + arguments.number(0, kLongest) + " s late";
    }
    if (!arguments.done()) return;
    if (trigger == "once" && to == "com1") sendLog(message);
    if (trigger == "once") return;
    m_settings.set("log " + to + ' ' + message, when);
}

void NovatelCommands::unlog(Arguments& arguments) {
    const std::string from = optionalPort(arguments);
    const std::string message = messageOf(arguments);
    if (arguments.done()) m_settings.erase("log " + from + ' ' + message);
}

void NovatelCommands::unlogAll(Arguments& arguments) {
    const std::string from = arguments.isOver() ? std::string() : optionalPort(arguments) + ' ';
    if (arguments.done()) m_settings.eraseAll("log " + from);
}

// INTERFACEMODE [port] input output
void NovatelCommands::interfaceMode(Arguments& arguments) {
    const std::string of = optionalPort(arguments);
    const std::string input = arguments.oneOf(kModes), output = arguments.oneOf(kModes);
    if (arguments.done()) m_settings.set("interface " + of, "takes " + input + ", gives " + output);
}

void NovatelCommands::station(Arguments& arguments) {
    const std::string type = arguments.oneOf(kCorrectionTypes);
    const std::string id = stationOf(type, arguments);
    if (arguments.done()) m_settings.set("station " + type, id);
}

// COM [port] bps
void NovatelCommands::port(Arguments& arguments) {
    const std::string of = optionalPort(arguments);
    const long long rate = arguments.whole(kRates.front(), kRates.back());
    if (std::ranges::find(kRates, rate) == kRates.end()) arguments.fail(Fault::kOutOfRange);
    if (of == "gprs") arguments.fail(Fault::kUnknownWord);
    if (!arguments.done()) return;
    m_settings.set("port " + of, wholeText(rate) + " baud");
}

void NovatelCommands::ionosphere(Arguments& arguments) {
    constexpr std::string_view kConditions = "quiet normal disturbed auto";
    const std::string condition = arguments.oneOf(kConditions);
    if (arguments.done()) m_settings.set("ionosphere", condition);
}

void NovatelCommands::rtkSource(Arguments& arguments) {
    source("corrections rtk", kCorrectionTypes, arguments);
}

void NovatelCommands::codeSource(Arguments& arguments) { source("corrections code", "rtcm rtca", arguments); }

void NovatelCommands::source(const char* name, std::string_view types, Arguments& arguments) {
    const std::string type = arguments.oneOf(types);
    const bool isAny = lowerCase(arguments.peek()) == "any";
    const std::string id = isAny ? lowerCase(arguments.word()) : stationOf(type, arguments);
    if (arguments.done()) m_settings.set(name, type + " from " + id);
}

void NovatelCommands::saveConfig(Arguments& arguments) { arguments.done(); }

void NovatelCommands::factoryReset(Arguments& arguments) {
    constexpr std::string_view kTargets = "standard command";
    if (!arguments.isOver()) arguments.oneOf(kTargets);
    if (arguments.done()) m_settings = {};
}

void NovatelCommands::sendLog(std::string_view message) {
    const auto* own = std::ranges::find(kOwnLogs, message, &OwnLog::name);
    if (own == std::end(kOwnLogs)) return;
    const Epoch& epoch = momentOfAnswers();
    Piece logs;
    encodeOem4Start(epoch, logs);
    encodeOem4(epoch, logs);
    addFrames(
        logs, [own](ByteSpan log) { return loadLe<std::uint16_t>(log.data() + 4) == own->id; },
        m_reaction->answer);
}

// SENDHEX port count digits
void NovatelCommands::sendHex(Arguments& arguments) {
    constexpr int kMostBytes = 700;
    const std::string to = arguments.oneOf(kPorts);
    const auto count = static_cast<std::size_t>(arguments.whole(1, kMostBytes));
    const std::vector<unsigned char> bytes = bytesOfDigits(arguments.word());
    if (bytes.size() != count) arguments.fail(Fault::kOutOfRange);
    if (arguments.done() && to == "com2") sendThrough(bytes);
}

// Bytes for another receiver travel as a log: AAh 44h 12h 0Ah, four zeros, their number, a zero; the bytes; four zeros.
void NovatelCommands::sendThrough(ByteSpan bytes) {
    constexpr std::size_t kHead = 10, kTail = 4;
    constexpr std::array<unsigned char, 8> kBegin{0xAA, 0x44, 0x12, 0x0A};
    const bool isLog = bytes.size() >= kHead + kTail &&
                       std::ranges::equal(bytes.first(kBegin.size()), kBegin) &&
                       bytes[kBegin.size()] == bytes.size() - kHead - kTail;
    if (!isLog) return;
    toModem(bytes.subspan(kHead, bytes.size() - kHead - kTail));
}

Reaction NovatelCommands::toModem(ByteSpan frame) {
    if (!m_modem) m_modem = std::make_unique<MakerCommands>();
    return passOn(*m_modem, frame);
}

std::string NovatelCommands::state() const {
    std::string text = CommandedReceiver::state();
    if (m_modem) text += m_modem->settings().text("modem: ");
    return text;
}

}  // namespace vkcomm::sim
