// What the places of the port map say.
#pragma once

#include <array>
#include <optional>
#include <string>

namespace vkcomm {

// The place that the name of a device means: "COM5:" is the fifth of the port map, any other name stands for itself.
std::string placeOfDevice(const std::string& name);

struct HostPort {
    std::string host;
    std::string port;
};

// Of "tcp://host:port"; an IPv6 address stands in brackets. Nothing for other text.
std::optional<HostPort> parseHostPort(const std::string& place);

// The byte that people write first is the first.
using BluetoothAddress = std::array<unsigned char, 6>;

// Of "bt:00:11:22:33:44:55"; nothing for other text.
std::optional<BluetoothAddress> parseBluetoothPlace(const std::string& place);

}  // namespace vkcomm
