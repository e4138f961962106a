#include "host/port_url.h"

#include <filesystem>

#include "vkcomm/settings/bluetooth_list.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

constexpr std::string_view kHelp =
    "serial:/dev/ttyUSB0?baud=115200, com:3, bt:00:11:22:33:44:55, tcp://host:port, file:log.bin?speed=2000, "
    "sim:oem4, or a path";

constexpr long kLargestSpeed = 100'000'000;

using Reader = bool (*)(std::string_view value, PortUrl& url);

bool readPath(std::string_view value, PortUrl& url) {
    url.target = value;
    return !value.empty();
}

bool readComNumber(std::string_view value, PortUrl& url) {
    const auto number = wholeNumber(value, 1, 255);
    url.number = static_cast<unsigned int>(number.value_or(0));
    return number.has_value();
}

// Six pairs of hexadecimal digits with ':', '-' or '.' between them.
bool readBluetoothAddress(std::string_view value, PortUrl& url) {
    constexpr std::size_t kLength = 17;
    for (std::size_t i = 2; i < value.size(); i += 3)
        if (std::string_view(":-.").find(value[i]) == value.npos) return false;
    return value.size() == kLength && parseBluetoothAddress(value, url.address);
}

// "//host:port"
bool readHostAndPort(std::string_view value, PortUrl& url) {
    const auto place = value.starts_with("//") ? hostAndPort(value.substr(2)) : std::nullopt;
    if (!place || place->host.empty()) return false;
    url.target = place->host;
    url.number = place->port;
    return true;
}

bool readBaud(std::string_view value, PortUrl& url) {
    const auto baud = wholeNumber(value, 50, 4'000'000);
    if (baud) url.baud = static_cast<unsigned int>(*baud);
    return baud.has_value();
}

bool readSpeed(std::string_view value, PortUrl& url) {
    const auto speed = value == "max" ? kLargestSpeed : wholeNumber(value, 1, kLargestSpeed);
    if (speed) url.speed = static_cast<int>(*speed);
    return speed.has_value();
}

bool readRate(std::string_view value, PortUrl& url) {
    if (value.find_first_not_of("0123456789.") != value.npos) return false;
    url.rateHz = parseDouble(value);
    return url.rateHz >= 1.0 && url.rateHz <= 20.0;
}

bool readSeed(std::string_view value, PortUrl& url) {
    const auto seed = wholeNumber(value, 0, 1'000'000'000);
    url.seed = static_cast<std::uint64_t>(seed.value_or(0));
    return seed.has_value();
}

struct Scheme {
    std::string_view name;
    UrlKind kind;
    Reader readTarget;
    std::string_view example;
};

constexpr Scheme kSchemes[] = {
    {"serial", UrlKind::kSerial, readPath, "serial:/dev/ttyUSB0?baud=115200"},
    {"com", UrlKind::kCom, readComNumber, "com:3?baud=115200"},
    {"bt", UrlKind::kBluetooth, readBluetoothAddress, "bt:00:11:22:33:44:55"},
    {"tcp", UrlKind::kTcp, readHostAndPort, "tcp://192.168.1.20:5017"},
    {"file", UrlKind::kFile, readPath, "file:log.bin?speed=2000"},
    {"sim", UrlKind::kSimulated, readPath, "sim:oem4?rate=5"},
};

struct Option {
    UrlKind kind;
    std::string_view name;
    Reader read;
    std::string_view range;
};

constexpr Option kOptions[] = {
    {UrlKind::kSerial, "baud", readBaud, "50 to 4000000 bit/s"},
    {UrlKind::kCom, "baud", readBaud, "50 to 4000000 bit/s"},
    {UrlKind::kFile, "speed", readSpeed, "1 to 100000000 bytes a second, or max"},
    {UrlKind::kSimulated, "rate", readRate, "1 to 20 epochs a second"},
    {UrlKind::kSimulated, "seed", readSeed, "0 to 1000000000"},
};

// False, with error set, for an option this kind of port does not have or a value it cannot take.
bool readOption(std::string_view text, PortUrl& url, std::string& error) {
    const std::size_t equals = std::min(text.find('='), text.size());
    const std::string_view name = text.substr(0, equals);
    for (const Option& option : kOptions) {
        if (option.kind != url.kind || option.name != name) continue;
        if (equals < text.size() && option.read(text.substr(equals + 1), url)) return true;
        error = url.text + ": " + std::string(name) + " must be " + std::string(option.range);
        return false;
    }
    error = url.text + ": no option \"" + std::string(name) + "\" here";
    return false;
}

bool readOptions(std::string_view text, PortUrl& url, std::string& error) {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('&'), text.size());
        if (!readOption(text.substr(0, end), url, error)) return false;
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return true;
}

PortUrl barePath(std::string_view text) {
    PortUrl url;
    std::error_code ignored;
    const auto path = std::filesystem::path(std::u8string(text.begin(), text.end()));
    url.kind = std::filesystem::is_character_file(path, ignored) ? UrlKind::kSerial : UrlKind::kFile;
    url.target = text;
    url.text = text;
    return url;
}

}  // namespace

std::optional<PortUrl> parsePortUrl(std::string_view text, std::string& error) {
    for (const Scheme& scheme : kSchemes) {
        if (!text.starts_with(scheme.name) || text.substr(scheme.name.size(), 1) != ":") continue;
        PortUrl url;
        url.kind = scheme.kind;
        url.text = text;
        const std::string_view rest = text.substr(scheme.name.size() + 1);
        const std::size_t question = std::min(rest.rfind('?'), rest.size());
        if (!scheme.readTarget(rest.substr(0, question), url)) {
            error = url.text + " is not like " + std::string(scheme.example);
            return std::nullopt;
        }
        if (!readOptions(rest.substr(std::min(question + 1, rest.size())), url, error)) return std::nullopt;
        return url;
    }
    if (text.empty() || text.find("://") != text.npos) {
        error = std::string(text) + " is no port: give " + std::string(kHelp);
        return std::nullopt;
    }
    return barePath(text);
}

std::string_view portUrlHelp() { return kHelp; }

std::optional<HostAndPort> hostAndPort(std::string_view text, long least) {
    constexpr long kHighest = 65535;
    const std::size_t colon = text.rfind(':');
    const auto port =
        colon == text.npos ? std::nullopt : wholeNumber(text.substr(colon + 1), least, kHighest);
    if (!port) return std::nullopt;
    return HostAndPort{text.substr(0, colon), static_cast<std::uint16_t>(*port)};
}

std::optional<long> wholeNumber(std::string_view text, long least, long most) {
    if (text.empty() || text.size() > 10 || text.find_first_not_of("0123456789") != text.npos)
        return std::nullopt;
    const long value = parseInteger(text);
    return value < least || value > most ? std::nullopt : std::optional(value);
}

}  // namespace vkcomm
