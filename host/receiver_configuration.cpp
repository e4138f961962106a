#include "host/receiver_configuration.h"

#include <algorithm>

#include "host/port_url.h"
#include "host/receiver_commands.h"
#include "vkcomm/control/command_carriers.h"
#include "vkcomm/control/thales_sequences.h"
#include "vkcomm/frames/baud_rates.h"

namespace vkcomm {

namespace {

// How the receivers of a dialect name their ports.
struct PortNames {
    Dialect dialect;
    bool areLetters;  // 'a' is 0
    int least;
    int most;
    std::string_view prefix;  // that may stand before the name
    std::string_view range;

    int first() const { return std::min(least, 1); }
};

constexpr PortNames kPortNames[] = {
    {Dialect::kTrimble, false, 0, 31, "", "a number 0 to 31"},
    {Dialect::kNovatel, false, 1, 3, "com", "com1, com2 or com3"},
    {Dialect::kJavad, true, 0, 3, "/dev/ser/", "a, b, c or d"},
    {Dialect::kThales, true, 0, 3, "", "A, B, C or D"},
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

    int pdop() const {
        constexpr int kUsualPdop = 6;
        return choice.pdop.value_or(kUsualPdop);
    }
};

enum Uses : int {
    kNoValue = 0,
    kUsesPort = 1,
    kUsesBaud = 2,
    kUsesElevation = 4,
    kUsesRate = 8,
    kUsesPdop = 16
};

constexpr int kUsesMasks = kUsesElevation | kUsesPdop;

// Where a command is always about the port that it comes by.
constexpr int kPortOfCommand = 1;

// Of a board that is connected directly: in a maker's receiver the line keeps its rate.
CommandSteps withRate(const CommandTarget& target, CommandSteps steps, int port, int baud) {
    if (!target.isInMakersReceiver() && !steps.empty()) steps.back().newRate = PortRate{port, baud};
    return steps;
}

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
        append(steps, lineSteps(target, text));
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
     [](T t, V v) {
         return withRate(t, trimble(t, portBaud(v.port, v.choice.baud, t.type)), v.port + 1, v.choice.baud);
     }},
    {"baud", Dialect::kNovatel, kUsesPort | kUsesBaud,
     [](T t, V v) {
         return withRate(t, lines(t, {"com com" + v.number() + " " + integerText(v.choice.baud)}), v.port,
                         v.choice.baud);
     }},
    {"baud", Dialect::kJavad, kUsesPort | kUsesBaud,
     [](T t, V v) {
         return withRate(
             t, lines(t, {"%%set,/par/dev/ser/" + v.lower() + "/rate," + integerText(v.choice.baud)}),
             v.port + 1, v.choice.baud);
     }},
    {"baud", Dialect::kThales, kUsesPort | kUsesBaud,
     [](T, V v) { return thalesBaud(v.upper(), v.baudIndex); }},
    {"baud", Dialect::kCsi, kUsesBaud,
     [](T t, V v) {
         return withRate(t, lines(t, {"$JBAUD," + integerText(v.choice.baud)}), kPortOfCommand,
                         v.choice.baud);
     }},
    {"mask", Dialect::kTrimble, kUsesMasks,
     [](T t, V v) {
         return trimble(t, positionMasks(static_cast<unsigned char>(v.choice.elevation),
                                         static_cast<unsigned char>(v.pdop()), t.type));
     }},
    {"mask", Dialect::kNovatel, kUsesElevation,
     [](T t, V v) {
         const std::string mask = integerText(v.choice.elevation);
         return lines(t, {"ecutoff " + mask, "rtkelevmask user " + mask});
     }},
    {"mask", Dialect::kJavad, kUsesMasks,
     [](T t, V v) {
         const std::string mask = integerText(v.choice.elevation);
         return lines(t, {"%%set,/par/pos/elm," + mask, "%%set,/par/out/elm/cur/term," + mask,
                          "%%set,/par/pos/pdop," + integerText(v.pdop())});
     }},
    {"mask", Dialect::kCsi, kUsesElevation,
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

constexpr int kLeastCsiRate = 4800;

std::string ratesText(int least) {
    std::string text;
    for (const int rate : kBaudRates)
        if (rate >= least) text += (text.empty() ? "" : ", ") + integerText(rate);
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
        const int least = row.dialect == Dialect::kCsi ? kLeastCsiRate : kBaudRates.front();
        if (rate == kBaudRates.end() || *rate < least) return "the rate must be one of " + ratesText(least);
        values.baudIndex = static_cast<int>(rate - kBaudRates.begin());
    }
    if ((row.uses & kUsesElevation) != 0 && (choice.elevation < 0 || choice.elevation > 90))
        return "the elevation mask is outside 0 to 90 degrees";
    if (values.pdop() < 0 || values.pdop() > 255) return "the PDOP mask is outside 0 to 255";
    if (choice.pdop && (row.uses & kUsesPdop) == 0) return "these receivers have no PDOP mask";
    const int leastCode = choice.action == "raw" ? 0 : 1;
    if ((row.uses & kUsesRate) != 0 && (choice.rateCode < leastCode || choice.rateCode > 13))
        return "the rate code is outside " + integerText(leastCode) + " to 13";
    return {};
}

}  // namespace

std::optional<CommandSteps> configurationSteps(const CommandTarget& target, const Configuration& choice,
                                               std::string& error) {
    const auto* row = std::ranges::find_if(kActions, [&](const ActionRow& each) {
        return each.action == choice.action && each.dialect == target.dialect;
    });
    if (row == std::end(kActions)) {
        error = receiversText(target) + " have no known command for " + choice.action;
        return std::nullopt;
    }
    Values values{.choice = choice};
    error = readValues(*row, values);
    if (!error.empty()) return std::nullopt;
    return row->steps(target, values);
}

std::optional<int> receiverPort(const CommandTarget& target, const std::string& text, std::string& error) {
    const auto* names = std::ranges::find(kPortNames, target.dialect, &PortNames::dialect);
    const bool areNamed = names != std::end(kPortNames);
    const auto port = areNamed ? portIn(*names, text) : std::nullopt;
    if (port) return *port + 1 - names->first();
    error = areNamed ? text + " is no port here; give " + std::string(names->range)
                     : "ports of " + receiversText(target) + " have no names";
    return std::nullopt;
}

std::string portName(const CommandTarget& target, int port) {
    const auto* names = std::ranges::find(kPortNames, target.dialect, &PortNames::dialect);
    if (names == std::end(kPortNames)) return {};
    const int number = port - 1 + names->first();
    if (names->areLetters) return std::string(1, static_cast<char>('a' + number));
    return std::string(names->prefix) + integerText(number);
}

std::string_view familyOfAction(std::string_view action) {
    if (action == "thales-init") return "thales";
    return action == "gsof" || action == "raw" ? "trimble" : "";
}

}  // namespace vkcomm
