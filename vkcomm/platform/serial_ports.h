// The serial ports that this machine has.
#pragma once

#include <string>
#include <vector>

#include "vkcomm/export.h"

namespace vkcomm {

struct SerialPortInfo {
    std::string path;         // what opens it: "/dev/ttyUSB0"
    std::string description;  // maker and product of a USB device, else the driver; may be empty
    bool isBluetooth = false;
};

// Every port with hardware behind it: built-in ones first, then by name with numbers in numeric order. root
// stands before every system path that is read ("/sys/class/tty"); tests have a tree of their own.
VKCOMM_API std::vector<SerialPortInfo> listSerialPorts(const std::string& root = {});

// The path of the system's own serial port with that number, from 1; empty for 0.
VKCOMM_API std::string standardPortPath(unsigned int number);

}  // namespace vkcomm
