// Addresses of ports, files and simulated receivers, as users write them:
//
//   serial:/dev/ttyUSB0?baud=115200   com:3?baud=9600   bt:00:11:22:33:44:55   tcp://host:port
//   file:log.bin?speed=2000           sim:oem4?rate=5&seed=7
//
// A bare path that is a device is a serial port, any other bare path a file.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vkcomm {

enum class UrlKind { kSerial, kCom, kBluetooth, kTcp, kFile, kSimulated };

struct PortUrl {
    UrlKind kind = UrlKind::kFile;
    std::string target;                      // path, host or family
    unsigned int number = 0;                 // of a com port, or the TCP port
    std::array<unsigned char, 6> address{};  // Bluetooth, as written from left to right
    std::optional<unsigned int> baud;        // bit/s; absent: to be found out
    std::optional<int> speed;                // bytes per second of a replay; absent: the usual
    double rateHz = 1.0;                     // epochs a second of a simulated receiver
    std::uint64_t seed = 1;

    std::string text;  // as the user wrote it
};

// The address in text, or nothing, and then error says what is wrong with it and what would be right.
std::optional<PortUrl> parsePortUrl(std::string_view text, std::string& error);

// The forms above, for help texts.
std::string_view portUrlHelp();

// A whole decimal number within bounds; nothing for any other text.
std::optional<long> wholeNumber(std::string_view text, long least, long most);

struct HostAndPort {
    std::string_view host;  // of the text, and empty when nothing stands before the colon
    std::uint16_t port;
};

// What stands before and behind the last colon; nothing when that is no port from least on.
std::optional<HostAndPort> hostAndPort(std::string_view text, long least = 1);

}  // namespace vkcomm
