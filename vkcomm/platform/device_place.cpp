#include "vkcomm/platform/device_place.h"

#include <string_view>

#include "vkcomm/platform/port_map.h"
#include "vkcomm/util/hex_digit.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

constexpr std::string_view kDigits = "0123456789";

std::optional<BluetoothAddress> parseAddress(std::string_view text) {
    BluetoothAddress address{};
    if (text.size() != 3 * address.size() - 1) return std::nullopt;
    for (std::size_t i = 0; i < address.size(); ++i) {
        const int high = hexDigit(text[3 * i]);
        const int low = hexDigit(text[3 * i + 1]);
        if (high < 0 || low < 0 || (i > 0 && text[3 * i - 1] != ':')) return std::nullopt;
        address[i] = static_cast<unsigned char>(16 * high + low);
    }
    return address;
}

}  // namespace

std::string placeOfDevice(const std::string& name) {
    constexpr std::string_view kPrefix = "COM";
    constexpr std::size_t kMostDigits = 6;
    const std::size_t end = name.size() - (name.ends_with(':') ? 1 : 0);
    if (!name.starts_with(kPrefix) || end == kPrefix.size()) return name;
    const std::string digits = name.substr(kPrefix.size(), end - kPrefix.size());
    if (digits.find_first_not_of(kDigits) != std::string::npos || digits.size() > kMostDigits) return name;
    return portMap().placeOf(static_cast<unsigned int>(parseInteger(digits)));
}

std::optional<HostPort> parseHostPort(const std::string& place) {
    constexpr std::string_view kScheme = "tcp://";
    if (!place.starts_with(kScheme)) return std::nullopt;
    const std::size_t colon = place.rfind(':');
    HostPort parts{place.substr(kScheme.size(), colon - kScheme.size()), place.substr(colon + 1)};
    if (parts.host.starts_with('[') && parts.host.ends_with(']'))
        parts.host = parts.host.substr(1, parts.host.size() - 2);
    const bool isNumber = parts.port.find_first_not_of(kDigits) == std::string::npos;
    if (parts.host.empty() || parts.port.empty() || !isNumber) return std::nullopt;
    return parts;
}

std::optional<BluetoothAddress> parseBluetoothPlace(const std::string& place) {
    constexpr std::string_view kScheme = "bt:";
    if (!place.starts_with(kScheme)) return std::nullopt;
    return parseAddress(std::string_view(place).substr(kScheme.size()));
}

}  // namespace vkcomm
