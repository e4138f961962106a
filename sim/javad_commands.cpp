#include "sim/javad_commands.h"

#include <algorithm>
#include <array>
#include <initializer_list>

#include "sim/javad_messages.h"
#include "vkcomm/util/checksums.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm::sim {

namespace {

// ---- parameters

enum class Takes { kChoice, kWhole, kNumber, kText, kPosition };

// "*" in a name is a port, a to d.
struct Parameter {
    std::string_view name;
    Takes takes;
    std::string_view choices = {};  // separated by blanks
    double low = 0, high = 0;
};

constexpr std::string_view kOnOff = "on off";

constexpr Parameter kParameters[] = {
    {"/par/rover/mode", Takes::kChoice, kOnOff},
    {"/par/base/mode", Takes::kChoice, kOnOff},
    {"/par/pos/mode/cur", Takes::kChoice, "sp cd wd pf pd"},
    {"/par/pos/elm", Takes::kWhole, {}, -90, 90},
    {"/par/pos/pdop", Takes::kNumber, {}, 1, 255},
    {"/par/pos/pd/vrs", Takes::kChoice, kOnOff},
    {"/par/pos/pd/fkp", Takes::kChoice, kOnOff},
    {"/par/pos/pd/port", Takes::kChoice, "/dev/ser/a /dev/ser/b /dev/ser/c /dev/ser/d"},
    {"/par/out/elm/cur/term", Takes::kWhole, {}, -90, 90},
    {"/par/ref/pos/gps/xyz", Takes::kPosition},
    {"/par/ref/pos/glo/xyz", Takes::kPosition},
    {"/par/rtcm/base/stid", Takes::kWhole, {}, 0, 1023},
    {"/par/rtcm/base/svm", Takes::kWhole, {}, 0, 31},
    {"/par/rtcm/base/health", Takes::kChoice, "good bad unknown"},
    {"/par/rtcm/base/meas/ca", Takes::kChoice, kOnOff},
    {"/par/rtcm/base/meas/p1", Takes::kChoice, kOnOff},
    {"/par/rtcm/base/meas/p2", Takes::kChoice, kOnOff},
    {"/par/rtcm/base/sys", Takes::kChoice, "{on,on} {on,off} {off,on} {off,off}"},
    {"/par/rtcm/base/smooth", Takes::kChoice, kOnOff},
    {"/par/rtcm3/base/stid", Takes::kWhole, {}, 0, 4095},
    {"/par/cmr/base/stid", Takes::kWhole, {}, 0, 31},
    {"/par/cmr/base/motion", Takes::kChoice, "static kinematic"},
    {"/par/cmr/base/pcode", Takes::kChoice, kOnOff},
    {"/par/cmr/base/meas/p2", Takes::kChoice, kOnOff},
    {"/par/cmr/base/glo/type", Takes::kWhole, {}, 0, 15},
    {"/par/cmr/base/desc", Takes::kText},
    {"/par/dev/ser/*/imode", Takes::kChoice, "none cmd rtcm rtcm3 cmr jps"},
    {"/par/dev/ser/*/rtscts", Takes::kChoice, kOnOff},
    {"/par/dev/ser/*/rate", Takes::kChoice, "300 600 1200 2400 4800 9600 19200 38400 57600 115200 230400"},
};

struct Constant {
    std::string_view name;
    std::string_view value;
};

constexpr Constant kConstants[] = {
    {"/par/rcv/id", "\"SIM00000001\""},
    {"/par/rcv/model", "\"SIMULATED\""},
    {"/par/rcv/ver/main", "\"3.1.0 Feb,28,2024 p1\""},
    {"/par/rcv/ver/board", "\"SIM_1\""},
};

bool isPortLetter(char c) { return c >= 'a' && c <= 'd'; }

bool matches(std::string_view pattern, std::string_view name) {
    const auto fits = [](char p, char n) { return p == n || (p == '*' && isPortLetter(n)); };
    return std::ranges::equal(pattern, name, fits);
}

const Parameter* findParameter(std::string_view name) {
    const auto* found =
        std::ranges::find_if(kParameters, [name](const Parameter& each) { return matches(each.name, name); });
    return found == std::end(kParameters) ? nullptr : found;
}

// Names and values of parameters must be written as they are.
bool isIn(std::string_view choices, const std::string& value) {
    return !value.empty() && choiceOf(choices, value) == value;
}

// {W84,x,y,z}, in metres, near the earth.
bool isPosition(std::string_view value) {
    constexpr double kFarthest = 3e7;
    if (!value.starts_with("{W84,") || !value.ends_with('}')) return false;
    const Words numbers = splitWords(value.substr(5, value.size() - 6), ',');
    return numbers.size() == 3 && std::ranges::all_of(numbers, [](const std::string& each) {
               const std::optional<double> number = decimalNumber(each);
               return number && *number >= -kFarthest && *number <= kFarthest;
           });
}

bool isNumberIn(const std::optional<double>& number, const Parameter& parameter) {
    return number && *number >= parameter.low && *number <= parameter.high;
}

bool takes(const Parameter& parameter, const std::string& value) {
    switch (parameter.takes) {
    case Takes::kChoice: return isIn(parameter.choices, value);
    case Takes::kWhole: return wholeNumber(value) && isNumberIn(decimalNumber(value), parameter);
    case Takes::kNumber: return isNumberIn(decimalNumber(value), parameter);
    case Takes::kPosition: return isPosition(value);
    case Takes::kText: return value.starts_with('{') && value.ends_with('}');
    }
    return false;
}

// Of a parameter that nobody has set.
std::string usualValue(const Parameter& parameter) {
    switch (parameter.takes) {
    case Takes::kChoice: return splitWords(parameter.choices, ' ').front();
    case Takes::kWhole: return "0";
    case Takes::kNumber: return "1.0";
    case Takes::kPosition: return "{W84,0,0,0}";
    case Takes::kText: return "{}";
    }
    return {};
}

// Lists are set as a whole: the '/' behind their name says no more.
std::string fullName(std::string_view name) {
    if (name.ends_with('/') && name.size() > 1) name.remove_suffix(1);
    return name.starts_with('/') ? std::string(name) : "/par/" + std::string(name);
}

// ---- messages

struct MessageSet {
    std::string_view name;
    std::string_view messages;  // separated by blanks
};

constexpr MessageSet kMessageSets[] = {
    {"/msg/rtcm", "/1 /2 /3 /9 /18 /19 /20 /21 /22 /23 /24 /31 /32 /34"},
    {"/msg/rtcm3", "/1001 /1002 /1003 /1004 /1005 /1006 /1007 /1008 /1009 /1010 /1011 /1012 /1033"},
    {"/msg/cmr", "/0 /1 /2 /3 /9 /10"},
    {"/msg/rtk/jps", "/min /max"},
};

struct Message {
    std::string name;
    std::string period;
};

// "/msg/rtk/jps/min:1.00" or "/msg/cmr{/10:1.00,/0:1.00}", cut into its messages with their full names.
std::vector<Message> messagesOf(std::string_view list) {
    std::vector<Message> messages;
    const std::size_t brace = list.find('{');
    const std::string set(list.substr(0, brace == list.npos ? 0 : brace));
    if (brace != list.npos) list = list.ends_with('}') ? list.substr(brace + 1, list.size() - brace - 2) : "";
    for (const std::string& each : splitWords(list, ',')) {
        const std::size_t colon = each.find(':');
        if (colon == each.npos) return {};
        messages.push_back({set + each.substr(0, colon), each.substr(colon + 1)});
    }
    return messages;
}

bool isRight(const Message& message) {
    constexpr double kShortest = 0.01, kLongest = 86400;
    const std::optional<double> period = decimalNumber(message.period);
    if (!period || *period < kShortest || *period > kLongest) return false;
    return std::ranges::any_of(kMessageSets, [&](const MessageSet& set) {
        return message.name.starts_with(set.name) && isIn(set.messages, message.name.substr(set.name.size()));
    });
}

bool isPort(std::string_view name) { return matches("/dev/ser/*", name); }

// ---- lines

struct Line {
    std::string_view id;       // with its percent signs
    std::string_view command;  // without check
    bool isRight = true;
};

Line lineOf(std::string_view text) {
    constexpr std::size_t kCheck = 3;  // "@hh"
    Line line;
    if (text.size() >= kCheck && text[text.size() - kCheck] == '@') {
        const auto checked = text.substr(0, text.size() - 2);
        const auto check = bytesOfDigits(text.substr(text.size() - 2));
        const ByteSpan bytes(reinterpret_cast<const unsigned char*>(checked.data()), checked.size());
        line.isRight = check.size() == 1 && check[0] == xorOf(bytes);
        text.remove_suffix(kCheck);
    }
    const std::size_t end = text.starts_with('%') ? text.find('%', 1) : text.npos;
    if (end != text.npos) line.id = text.substr(0, end + 1);
    line.command = text.substr(line.id.size());
    return line;
}

// A RE or ER message: its length is that of the text, in three digits. Line ends stand between messages.
void addMessage(std::string_view kind, std::string_view text, Reaction& reaction) {
    std::string message(kind);
    appendFormat(message, "%03X", static_cast<unsigned>(text.size()));
    message.append(text).append("\r\n");
    reaction.say(message);
}

}  // namespace

struct JavadCommands::Row {
    std::string_view name;
    Outcome (JavadCommands::*obey)(const Words& words);
};

constexpr JavadCommands::Row JavadCommands::kRows[] = {
    {"set", &JavadCommands::set},    {"print", &JavadCommands::print}, {"em", &JavadCommands::enable},
    {"out", &JavadCommands::enable}, {"dm", &JavadCommands::disable},  {"init", &JavadCommands::initialize},
};

void JavadCommands::obey(ByteSpan command, Reaction& reaction) {
    std::string_view text = asText(command);
    if (!takeLineEnd(text)) return note(shownText(command), "the line breaks off");
    const Line line = lineOf(text);
    Outcome outcome;
    if (line.isRight)
        outcome = obeyLine(line.command);
    else
        outcome.problem = "wrong checksum";
    std::string answer(line.id);
    if (!outcome.problem.empty())
        addMessage("ER", answer.append("{4,\"").append(outcome.problem).append("\"}"), reaction);
    else if (!line.id.empty() || !outcome.text.empty())
        addMessage("RE", answer.append(outcome.text), reaction);
    note(std::string(text), outcome.problem);
}

JavadCommands::Outcome JavadCommands::obeyLine(std::string_view command) {
    Words words = splitWords(command, ',');
    const auto* row = std::ranges::find(kRows, words[0], &Row::name);
    if (row == std::end(kRows)) return {"", "unknown command"};
    words.erase(words.begin());
    return (this->*row->obey)(words);
}

// set,name,value
JavadCommands::Outcome JavadCommands::set(const Words& words) {
    if (words.size() != 2) return {"", "wrong number of arguments"};
    const std::string name = fullName(words[0]);
    const Parameter* parameter = findParameter(name);
    if (!parameter) return {"", "unknown parameter"};
    if (!takes(*parameter, words[1])) return {"", "wrong value"};
    m_settings.set(name, words[1]);
    changeMode(name, words[1]);
    return {};
}

// A receiver with a reference position is a base, one that computes with a base's phases a rover.
void JavadCommands::changeMode(std::string_view name, std::string_view value) {
    if (name == "/par/ref/pos/gps/xyz") m_settings.set("mode", "base");
    if (name == "/par/pos/mode/cur" && value == "pd") m_settings.set("mode", "rover");
}

JavadCommands::Outcome JavadCommands::print(const Words& words) {
    if (words.size() != 1) return {"", "wrong number of arguments"};
    const std::string name = fullName(words[0]);
    const auto* constant = std::ranges::find(kConstants, name, &Constant::name);
    if (constant != std::end(kConstants)) return {std::string(constant->value), ""};
    const Parameter* parameter = findParameter(name);
    if (!parameter) return {"", "unknown parameter"};
    const std::string value = m_settings.get(name);
    return {value.empty() ? usualValue(*parameter) : value, ""};
}

// em,port,messages
JavadCommands::Outcome JavadCommands::enable(const Words& words) {
    if (words.size() != 2) return {"", "wrong number of arguments"};
    if (!isPort(words[0])) return {"", "unknown port"};
    const std::vector<Message> messages = messagesOf(words[1]);
    if (messages.empty() || !std::ranges::all_of(messages, isRight)) return {"", "wrong message"};
    for (const Message& message : messages)
        m_settings.set("output " + words[0] + ' ' + message.name, "every " + message.period + " s");
    return {};
}

// dm[,port]
JavadCommands::Outcome JavadCommands::disable(const Words& words) {
    if (words.size() > 1) return {"", "wrong number of arguments"};
    if (words.size() == 1 && !isPort(words[0])) return {"", "unknown port"};
    m_settings.eraseAll(words.empty() ? "output " : "output " + words[0] + ' ');
    return {};
}

// init,/par/
JavadCommands::Outcome JavadCommands::initialize(const Words& words) {
    if (words.size() != 1 || fullName(words[0]) != "/par") return {"", "unknown object"};
    m_settings = {};
    return {};
}

}  // namespace vkcomm::sim
