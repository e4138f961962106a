#include "sim/thales_commands.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "sim/answers.h"
#include "sim/geodesy.h"
#include "vkcomm/util/checksums.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm::sim {

using namespace std::string_view_literals;

namespace {

constexpr std::string_view kPorts = "A B C D";
constexpr std::string_view kSwitch = "ON OFF";
constexpr std::array kSpeeds{"300"sv,  "600"sv,   "1200"sv,  "2400"sv,  "4800"sv,
                             "9600"sv, "19200"sv, "38400"sv, "57600"sv, "115200"sv};
constexpr std::string_view kMessages =
    "ALL TAG PER GGA GLL GRS GSA GSN GST GSV MSG POS RMC RRE SAT VTG ZDA CRT DCR DPO";

// The sentence with its dollar, without check and line end; nothing when the check is wrong.
bool takeCheck(std::string_view& sentence) {
    if (sentence.size() < 3 || sentence[sentence.size() - 3] != '*') return true;
    const bool isRight = testSentence(sentence) == TESTXOR_OK;
    sentence.remove_suffix(3);
    return isRight;
}

void addSentence(std::string text, Reaction& reaction) {
    const std::string_view checked = std::string_view(text).substr(1);
    const unsigned char check =
        xorOf({reinterpret_cast<const unsigned char*>(checked.data()), checked.size()});
    appendFormat(text, "*%02X\r\n", unsigned{check});
    reaction.say(text);
}

void appendAngle(std::string& text, double degrees, int degreeDigits, std::string_view halves) {
    constexpr long long kParts = 100'000, kDegree = 60 * kParts;  // of a minute
    const long long parts = std::llround(std::abs(degrees) * static_cast<double>(kDegree));
    appendInteger(text, parts / kDegree, degreeDigits);
    appendInteger(text, parts % kDegree / kParts, 2);
    appendInteger(text += '.', parts % kParts, 5);
    text += ',';
    text += halves[degrees < 0 ? 1 : 0];
    text += ',';
}

std::string positionSentence() {
    const Epoch& epoch = momentOfAnswers();
    const CalendarTime utc = utcOf(epoch);
    std::string text;
    appendFormat(text, "$PASHR,POS,1,%02d,%02d%02d%02d.%02d,", epoch.satellitesUsed(), utc.hour, utc.minute,
                 utc.second, utc.millisecond / 10);
    appendAngle(text, epoch.latitude, 2, "NS");
    appendAngle(text, epoch.longitude, 3, "EW");
    appendFormat(text, "%.2f,,%.1f,%.1f,%+.1f,%.1f,%.1f,%.1f,%.1f,SIM0", ellipsoidalHeight(epoch),
                 epoch.course, epoch.speed * 3.6, epoch.verticalSpeed, epoch.dops.pdop, epoch.dops.hdop,
                 epoch.dops.vdop, epoch.dops.tdop);
    return text;
}

std::string satelliteSentence() {
    std::string groups;
    int count = 0;
    for (const Satellite& satellite : momentOfAnswers().satellites) {
        if (satellite.system != SatelliteSystem::kGps) continue;
        appendFormat(groups, ",%02d,%03ld,%02ld,%02ld,%c", satellite.number,
                     std::lround(satellite.azimuth) % 360, std::lround(satellite.elevation),
                     std::lround(satellite.l1.cn0), satellite.used ? 'U' : '-');
        ++count;
    }
    std::string text = "$PASHR,SAT,";
    appendInteger(text, count, 2);
    return text + groups;
}

}  // namespace

struct ThalesCommands::Row {
    std::string_view name;
    void (ThalesCommands::*obey)(Arguments& arguments);
};

constexpr ThalesCommands::Row ThalesCommands::kRows[] = {
    {"ANR", &ThalesCommands::ambiguityReset}, {"SEM", &ThalesCommands::sessionMode},
    {"HGT", &ThalesCommands::height},         {"SPD", &ThalesCommands::speed},
    {"NME", &ThalesCommands::output},         {"RST", &ThalesCommands::reset},
};

void ThalesCommands::obey(ByteSpan command, Reaction& reaction) {
    std::string_view sentence = asText(command);
    if (!takeLineEnd(sentence)) return note(shownText(command), "the line breaks off");
    const std::string shown(sentence);
    const bool isRight = takeCheck(sentence);
    Words words = splitWords(sentence, ',');
    const bool sets = words[0] == "$PASHS", asks = words[0] == "$PASHQ";
    if (!sets && !asks) return note(shown, "not a command of this receiver");
    words.erase(words.begin());
    const std::string problem = !isRight ? "wrong checksum"
                                : sets   ? set(std::move(words))
                                         : ask(words, reaction);
    if (sets || !problem.empty()) addSentence(problem.empty() ? "$PASHR,ACK" : "$PASHR,NAK", reaction);
    note(shown, problem);
}

std::string ThalesCommands::set(Words words) {
    constexpr std::array kProblems{""sv, "an argument is missing"sv, "an argument is not known"sv,
                                   "an argument is out of range"sv, "there are too many arguments"sv};
    const auto* row = words.empty() ? std::end(kRows) : std::ranges::find(kRows, words[0], &Row::name);
    if (row == std::end(kRows)) return "unknown command";
    words.erase(words.begin());
    Arguments arguments(std::move(words));
    (this->*row->obey)(arguments);
    return std::string(kProblems[static_cast<std::size_t>(arguments.fault())]);
}

std::string ThalesCommands::ask(const Words& words, Reaction& reaction) {
    if (words.size() != 1) return "wrong number of arguments";
    if (words[0] == "RID")
        addSentence("$PASHR,RID,UZ,30,SIM0,BUEXMFT3LYGHDMPKJ---,SIM00001", reaction);
    else if (words[0] == "POS")
        addSentence(positionSentence(), reaction);
    else if (words[0] == "SAT")
        addSentence(satelliteSentence(), reaction);
    else
        return "unknown question";
    return {};
}

void ThalesCommands::onOff(std::string_view name, Arguments& arguments) {
    const std::string value = arguments.oneOf(kSwitch);
    if (arguments.done()) m_settings.set(std::string(name), value);
}

void ThalesCommands::ambiguityReset(Arguments& arguments) { onOff("ANR", arguments); }

void ThalesCommands::sessionMode(Arguments& arguments) { onOff("SEM", arguments); }

void ThalesCommands::height(Arguments& arguments) {
    constexpr std::string_view kKinds = "ELG GEO";
    const std::string kind = arguments.oneOf(kKinds);
    if (arguments.done()) m_settings.set("height", kind);
}

// SPD,port,code
void ThalesCommands::speed(Arguments& arguments) {
    const std::string of = arguments.oneOf(kPorts);
    const auto code = static_cast<std::size_t>(arguments.whole(0, kSpeeds.size() - 1));
    if (arguments.done()) m_settings.set("port " + of, std::string(kSpeeds[code]) + " baud");
}

// NME,TAG,version; NME,PER,seconds; NME,ALL,port,OFF; NME,message,port,ON[,seconds] or OFF
void ThalesCommands::output(Arguments& arguments) {
    constexpr std::string_view kVersions = "ASH V20 V30";
    constexpr double kShortest = 0.1, kLongest = 999;
    const std::string message = arguments.oneOf(kMessages);
    if (message == "TAG" || message == "PER") {
        const std::string value =
            message == "TAG" ? arguments.oneOf(kVersions) : arguments.number(kShortest, kLongest);
        if (arguments.done()) m_settings.set("NME " + message, value);
        return;
    }
    const std::string to = arguments.oneOf(kPorts), state = arguments.oneOf(kSwitch);
    const bool hasPeriod = state == "ON" && !arguments.isOver();
    const std::string period = hasPeriod ? arguments.number(kShortest, kLongest) : "1";
    if (message == "ALL" && state == "ON") arguments.fail(Fault::kUnknownWord);
    if (!arguments.done()) return;
    const std::string outputs = "output " + to + ' ';
    if (message == "ALL")
        m_settings.eraseAll(outputs);
    else if (state == "OFF")
        m_settings.erase(outputs + message);
    else
        m_settings.set(outputs + message, "every " + period + " s");
}

void ThalesCommands::reset(Arguments& arguments) {
    if (arguments.done()) m_settings = {};
}

}  // namespace vkcomm::sim
