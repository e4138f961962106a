// Which device a port number means.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "vkcomm/export.h"
#include "vkcomm/platform/serial_ports.h"

namespace vkcomm {

// Places are UTF-8: the path of a serial device ("/dev/ttyUSB0"), "tcp://host:port" for a receiver on the
// network, "bt:00:11:22:33:44:55" for one behind Bluetooth. No two numbers have the same place. Any thread may
// call any operation.
class VKCOMM_API PortMap {
public:
    PortMap();
    // portsOfSystem is asked in the system's place, from any thread, which ports there are.
    explicit PortMap(std::function<std::vector<SerialPortInfo>()> portsOfSystem);

    // Makes number, from 1, mean place; what either meant before is forgotten.
    void map(unsigned int number, const std::string& place);

    // The place of a number: as mapped, else the standard port with that number (COM1 is /dev/ttyS0).
    std::string placeOf(unsigned int number) const;

    // The number of a place: as mapped, else that of the standard port which it is, up to 256. A place that has none
    // gets a free one, which no port of the system has: 5 to 14 first, which hosts that ask for COM ports can list and
    // which leave the usual standard ports alone.
    unsigned int numberOf(const std::string& place);

    // Every place that was mapped or given a number.
    std::vector<std::string> places() const;

private:
    // Under the lock.
    std::optional<unsigned int> knownNumber(const std::string& place) const;
    unsigned int freeNumber(const std::vector<SerialPortInfo>& ports) const;

    const std::function<std::vector<SerialPortInfo>()> m_portsOfSystem;
    mutable std::mutex m_lock;
    std::map<unsigned int, std::string> m_places;
};

// "COM5:", the name a port is opened by.
VKCOMM_API std::wstring comName(unsigned int number);

// The map of the process.
VKCOMM_API PortMap& portMap();

}  // namespace vkcomm
