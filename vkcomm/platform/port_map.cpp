#include "vkcomm/platform/port_map.h"

#include <algorithm>
#include <utility>

#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

constexpr unsigned int kStandardPorts = 256;
constexpr unsigned int kFirstFree = 5;
constexpr unsigned int kBluetoothDriver = 128;  // the number of "STR1:" in messages

}  // namespace

PortMap::PortMap() : PortMap([] { return listSerialPorts(); }) {}

PortMap::PortMap(std::function<std::vector<SerialPortInfo>()> portsOfSystem)
    : m_portsOfSystem(std::move(portsOfSystem)) {}

void PortMap::map(unsigned int number, const std::string& place) {
    const std::scoped_lock lock(m_lock);
    std::erase_if(m_places, [&](const auto& each) { return each.second == place; });
    m_places[number] = place;
}

std::string PortMap::placeOf(unsigned int number) const {
    const std::scoped_lock lock(m_lock);
    const auto found = m_places.find(number);
    return found == m_places.end() ? standardPortPath(number) : found->second;
}

unsigned int PortMap::numberOf(const std::string& place) {
    {
        const std::scoped_lock lock(m_lock);
        if (const auto number = knownNumber(place)) return *number;
    }
    const std::vector<SerialPortInfo> ports = m_portsOfSystem();  // which may take its time, and call back
    const std::scoped_lock lock(m_lock);
    if (const auto number = knownNumber(place)) return *number;
    const unsigned int number = freeNumber(ports);
    m_places[number] = place;
    return number;
}

std::optional<unsigned int> PortMap::knownNumber(const std::string& place) const {
    const auto found = std::ranges::find(m_places, place,
                                         [](const auto& each) -> const std::string& { return each.second; });
    if (found != m_places.end()) return found->first;
    for (unsigned int number = 1; number <= kStandardPorts; ++number)
        if (!m_places.contains(number) && number != kBluetoothDriver && standardPortPath(number) == place)
            return number;
    return std::nullopt;
}

std::vector<std::string> PortMap::places() const {
    const std::scoped_lock lock(m_lock);
    std::vector<std::string> places;
    for (const auto& [number, place] : m_places)
        places.push_back(place);
    return places;
}

unsigned int PortMap::freeNumber(const std::vector<SerialPortInfo>& ports) const {
    const auto isTaken = [&](unsigned int number) {
        return m_places.contains(number) || number == kBluetoothDriver ||
               std::ranges::find(ports, standardPortPath(number), &SerialPortInfo::path) != ports.end();
    };
    unsigned int number = kFirstFree;
    while (isTaken(number))
        ++number;
    return number;
}

std::wstring comName(unsigned int number) {
    std::string name = "COM";
    appendInteger(name, number);
    name += ':';
    return {name.begin(), name.end()};
}

PortMap& portMap() {
    static PortMap map;
    return map;
}

}  // namespace vkcomm
