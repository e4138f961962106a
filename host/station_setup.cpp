#include "host/station_setup.h"

#include <algorithm>

#include "host/settings_kinds.h"
#include "vkcomm/control/base_sequences.h"
#include "vkcomm/control/rover_sequences.h"
#include "vkcomm/frames/baud_rates.h"
#include "vkcomm/util/numbers.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

namespace {

using Steps = std::optional<CommandSteps>;

constexpr int kRtcm3Format = 7;
constexpr std::size_t kLongestName = 8;
constexpr int kUnknownIonosphere = -1;
constexpr int kNovatelPorts = 3;

bool hasModem(GPSOEMTYPE type) { return type == OEM_NOVATEL_18 || type == OEM_NOVATEL_19; }

const CBaseConfig& baseOf(const BaseSetup& setup) { return static_cast<const CBaseConfig&>(*setup.record); }

const CBaseConfigJavad& javadOf(const BaseSetup& setup) {
    return static_cast<const CBaseConfigJavad&>(*setup.record);
}

// How a format identifies its station: a number from 0 on, or as many characters.
enum class Identifier { kNone, kCmr, kRtcm2, kRtcm3, kRtca };

struct IdentifierRow {
    Identifier kind;
    const char* name;
    int most;
};

constexpr IdentifierRow kIdentifiers[] = {{Identifier::kCmr, "CMR", 31},
                                          {Identifier::kRtcm2, "RTCM 2", 1023},
                                          {Identifier::kRtcm3, "RTCM 3", 4095}};
constexpr std::size_t kRtcaLength = 4;

Identifier novatelIdentifier(const CommandTarget& target, int format) {
    constexpr Identifier kByFormat[] = {Identifier::kCmr, Identifier::kRtcm2, Identifier::kRtca,
                                        Identifier::kCmr, Identifier::kRtcm2, Identifier::kRtca,
                                        Identifier::kCmr, Identifier::kRtcm3, Identifier::kRtcm2};
    if (format < 0 || format >= static_cast<int>(std::size(kByFormat))) return Identifier::kNone;
    const Identifier kind = kByFormat[format];
    // Boards with a modem of their own are told no numbers.
    const bool isTold = !hasModem(target.type) || kind == Identifier::kRtca || format == 8;
    return isTold ? kind : Identifier::kNone;
}

Identifier trimbleIdentifier(int format) {
    return format >= 0 && format <= 2 ? Identifier::kRtcm2 : Identifier::kCmr;
}

Identifier javadIdentifier(int format) {
    if (format <= 5) return Identifier::kRtcm2;
    if (format <= 9) return Identifier::kRtcm3;
    return format <= 11 ? Identifier::kCmr : Identifier::kNone;
}

bool isPlain(const std::string& text) {
    return std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~'; });
}

std::string problemWithIdentifier(Identifier kind, const std::wstring& identifier) {
    const std::string text = toUtf8(identifier);
    if (kind == Identifier::kNone) return {};
    if (kind == Identifier::kRtca)
        return text.size() <= kRtcaLength && isPlain(text)
                   ? ""
                   : "an RTCA station identifier has at most 4 ASCII characters: " + quotedText(text);
    const auto* row = std::ranges::find(kIdentifiers, kind, &IdentifierRow::kind);
    const bool isNumber =
        !text.empty() && text.size() <= 6 && text.find_first_not_of("0123456789") == std::string::npos;
    if (isNumber && parseInteger(text) <= row->most) return {};
    return std::string("a ") + row->name + " station identifier is a number 0 to " +
           std::to_string(row->most) + ": " + quotedText(text);
}

std::string problemWithName(const std::string& name) {
    if (name.size() > kLongestName) return "a station name has at most 8 characters: " + quotedText(name);
    return isPlain(name) ? std::string() : "a station name has ASCII characters only: " + quotedText(name);
}

std::string problemWithBase(const CommandTarget& target, const BaseSetup& setup) {
    if (std::string problem = basePositionProblem(setup.phaseCentre); !problem.empty()) return problem;
    if (!setup.name.empty() && target.dialect != Dialect::kTrimble)
        return "only Trimble receivers are told a station name";
    if (std::string problem = problemWithName(setup.name); !problem.empty()) return problem;
    switch (target.dialect) {
    case Dialect::kNovatel:
        if (target.type == OEM_NOVATEL && baseOf(setup).uVarekPort >= kNovatelPorts)
            return "NovAtel boards have com1 to com3, uVarekPort 0 to 2";
        if (baseNeedsCommandSet(target, setup) && setup.commandSet != 1 && setup.commandSet != 2)
            return "RTCM 3 needs to know the board's command set, 1 or 2";
        return problemWithIdentifier(novatelIdentifier(target, baseOf(setup).uVarekFormat),
                                     baseOf(setup).strStationID);
    case Dialect::kTrimble:
        return problemWithIdentifier(trimbleIdentifier(baseOf(setup).uTrimbleFormat),
                                     baseOf(setup).strStationID);
    case Dialect::kJavad:
        return problemWithIdentifier(javadIdentifier(javadOf(setup).uDifFormat), javadOf(setup).strStationID);
    default: return {};
    }
}

Steps refuse(std::string& error, std::string why) {
    error = std::move(why);
    return std::nullopt;
}

CommandSteps novatelBase(const CommandTarget& target, const BaseSetup& setup) {
    CommandSteps steps = novatelBasePosition(target.type, baseOf(setup), setup.phaseCentre);
    append(steps, novatelBaseOutput(target.type, baseOf(setup), setup.commandSet));
    return steps;
}

// Files name ports as the receiver does, some from 0 on.
CommandSteps withPortRate(const CommandTarget& target, CommandSteps steps, int port, int baudIndex) {
    const int baud = baudOfIndex(baudIndex, 0);
    if (!target.isInMakersReceiver() && !steps.empty() && baud != 0)
        steps.back().newRate = PortRate{port + 1, baud};
    return steps;
}

CommandSteps trimbleBaseOf(const CommandTarget& target, const BaseSetup& setup) {
    const CBaseConfig& config = baseOf(setup);
    return withPortRate(target,
                        trimbleBase(target.type, target.type, config, setup.phaseCentre, toWide(setup.name)),
                        config.uTrimblePort, config.nBaud);
}

}  // namespace

std::string_view baseSettingsKind(const CommandTarget& target) {
    switch (target.dialect) {
    case Dialect::kJavad: return "base-javad";
    case Dialect::kNovatel:
    case Dialect::kTrimble: return "base";
    case Dialect::kCmc: return target.type == OEM_CMC ? "base" : "";
    default: return "";
    }
}

std::string_view roverSettingsKind(const CommandTarget& target) {
    switch (target.dialect) {
    case Dialect::kJavad: return "rover-javad";
    case Dialect::kNovatel:
    case Dialect::kTrimble: return "rover";
    default: return "";
    }
}

CAntType& antennaOfBase(const CommandTarget& target, base::CObject& record) {
    return target.dialect == Dialect::kJavad ? static_cast<CBaseConfigJavad&>(record).antenna
                                             : static_cast<CBaseConfig&>(record).antenna;
}

Steps baseSteps(const CommandTarget& target, const BaseSetup& setup, std::string& error) {
    error = problemWithBase(target, setup);
    if (!error.empty()) return std::nullopt;
    switch (target.dialect) {
    case Dialect::kNovatel: return novatelBase(target, setup);
    case Dialect::kTrimble: return trimbleBaseOf(target, setup);
    case Dialect::kJavad: return javadBase(javadOf(setup), setup.phaseCentre);
    case Dialect::kCmc: return cmcBase(setup.phaseCentre);
    default: return refuse(error, receiversText(target) + " have no known base setup");
    }
}

Steps roverSteps(const CommandTarget& target, const RoverSetup& setup, std::string& error) {
    if (setup.ionosphere && target.dialect != Dialect::kNovatel)
        return refuse(error, "only NovAtel receivers are told of the ionosphere");
    CommandSteps steps;
    if (target.dialect == Dialect::kJavad) {
        const auto& config = static_cast<const CRoverConfigJavad&>(*setup.record);
        error = roverMaskProblem(config.fElevMask, config.fPDOPMask);
        steps = javadRover(config);
    } else {
        const auto& config = static_cast<const CRoverConfig&>(*setup.record);
        error = roverMaskProblem(config.fElevMask, config.fPDOPMask);
        steps = target.dialect == Dialect::kNovatel
                    ? novatelRover(target.type, config, setup.commandSet,
                                   setup.ionosphere.value_or(kUnknownIonosphere))
                    : withPortRate(target, trimbleRover(target.type, target.type, config),
                                   config.uTrimblePort, config.nBaud);
    }
    return error.empty() ? Steps(std::move(steps)) : std::nullopt;
}

bool baseNeedsCommandSet(const CommandTarget& target, const BaseSetup& setup) {
    return target.dialect == Dialect::kNovatel && !hasModem(target.type) &&
           baseOf(setup).uVarekFormat == kRtcm3Format;
}

bool roverNeedsCommandSet(const CommandTarget& target, const RoverSetup& setup) {
    return target.dialect == Dialect::kNovatel && setup.ionosphere.has_value();
}

}  // namespace vkcomm
