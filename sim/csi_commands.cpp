#include "sim/csi_commands.h"

#include <algorithm>
#include <array>

#include "sim/answers.h"
#include "sim/csi_encoder.h"

namespace vkcomm::sim {

namespace {

constexpr std::string_view kTaken = "$>\r\n";

// "this" or, when the command says so, the other port.
std::string portOf(Arguments& arguments) {
    constexpr std::string_view kOther = "OTHER";
    return arguments.isOver() ? "this port" : arguments.oneOf(kOther) + " port";
}

}  // namespace

struct CsiCommands::Row {
    std::string_view name;
    void (CsiCommands::*obey)(Arguments& arguments);
};

constexpr CsiCommands::Row CsiCommands::kRows[] = {
    {"$JSHOW", &CsiCommands::show},    {"$JT", &CsiCommands::application}, {"$JI", &CsiCommands::identity},
    {"$JASC", &CsiCommands::sentence}, {"$JBIN", &CsiCommands::message},   {"$JBAUD", &CsiCommands::baud},
    {"$JMASK", &CsiCommands::mask},    {"$JDIFF", &CsiCommands::source},   {"$JAGE", &CsiCommands::age},
    {"$JOFF", &CsiCommands::off},      {"$JSAVE", &CsiCommands::save},
};

void CsiCommands::obey(ByteSpan command, Reaction& reaction) {
    std::string_view line = asText(command);
    if (!takeLineEnd(line)) return note(shownText(command), "the line breaks off");
    Words words = splitWords(line, ',');
    const auto* row = std::ranges::find(kRows, words[0], &Row::name);
    if (row == std::end(kRows)) return note(std::string(line), "unknown command");
    words.erase(words.begin());
    Arguments arguments(std::move(words));
    m_answer = kTaken;
    (this->*row->obey)(arguments);
    if (arguments.fault() != Fault::kNone) return note(std::string(line), "wrong argument");
    reaction.say(m_answer);
    note(std::string(line));
}

void CsiCommands::show(Arguments& arguments) {
    Piece lines;
    encodeCsiStart(momentOfAnswers(), lines);
    if (arguments.done()) m_answer = asText(lines.bytes);
}

void CsiCommands::application(Arguments& arguments) {
    if (arguments.done()) m_answer = "$>JT,SIM\r\n";
}

// Serial number, fleet, hardware, production date, begin and end of subscription, software version, option.
void CsiCommands::identity(Arguments& arguments) {
    if (arguments.done()) m_answer = "$>JI,10001,1,5,28022024,01/01/1900,01/01/3003,6.3,46\r\n";
}

// JASC,sentence,rate[,OTHER]
void CsiCommands::sentence(Arguments& arguments) {
    constexpr std::string_view kSentences = "GPGGA GPGLL GPGSA GPGST GPGSV GPRMC GPRRE GPVTG GPZDA";
    setOutput(arguments.oneOf(kSentences), arguments);
}

// JBIN,message,rate[,OTHER]
void CsiCommands::message(Arguments& arguments) {
    constexpr std::string_view kMessages = "1 2 80 93 94 95 96 97 98 99";
    setOutput("BIN " + arguments.oneOf(kMessages), arguments);
}

void CsiCommands::setOutput(const std::string& name, Arguments& arguments) {
    constexpr double kFastest = 20;
    const std::string rate = arguments.number(0, kFastest);
    const std::string output = "output " + portOf(arguments) + ' ' + name;
    if (!arguments.done()) return;
    if (decimalNumber(rate) == 0.0)
        m_settings.erase(output);
    else
        m_settings.set(output, rate + " Hz");
}

// JBAUD,rate[,OTHER]
void CsiCommands::baud(Arguments& arguments) {
    constexpr std::string_view kRates = "4800 9600 19200 38400 57600 115200";
    const std::string rate = arguments.oneOf(kRates);
    const std::string of = portOf(arguments);
    if (arguments.done()) m_settings.set(of, rate + " baud");
}

void CsiCommands::mask(Arguments& arguments) {
    const long long degrees = arguments.whole(0, 60);
    if (arguments.done()) m_settings.set("elevation mask", wholeText(degrees));
}

void CsiCommands::source(Arguments& arguments) {
    constexpr std::string_view kSources = "WAAS BEACON RTCM OTHER NONE THIS";
    const std::string source = arguments.oneOf(kSources);
    if (arguments.done()) m_settings.set("corrections", source);
}

void CsiCommands::age(Arguments& arguments) {
    const long long seconds = arguments.whole(6, 8100);
    if (arguments.done()) m_settings.set("correction age", wholeText(seconds) + " s");
}

void CsiCommands::off(Arguments& arguments) {
    const std::string of = portOf(arguments);
    if (arguments.done()) m_settings.eraseAll("output " + of + ' ');
}

void CsiCommands::save(Arguments& arguments) { arguments.done(); }

}  // namespace vkcomm::sim
