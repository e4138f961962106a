#include "vkcomm/platform/serial_ports.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/platform/scratch_folder.h"
#include "vkcomm/platform/port_map.h"
#include "vkcomm/platform/registry.h"

namespace vkcomm {

void PrintTo(const SerialPortInfo& port, std::ostream* out) {
    *out << port.path << " '" << port.description << "' " << port.isBluetooth;
}

namespace {

namespace fs = std::filesystem;

// A tree as the kernel shows its terminals: links into the tree of devices.
class SystemTree : public testing::Test {
protected:
    // device is the folder under /sys/devices that the terminal belongs to; empty for none.
    void addTerminal(const std::string& name, const std::string& device, const std::string& type = {}) {
        const std::string owner = device.empty() ? "sys/devices/virtual" : "sys/devices/" + device;
        const fs::path terminal = root.path(owner + "/tty/" + name);
        fs::create_directories(terminal);
        if (!device.empty()) fs::create_directory_symlink(root.path(owner), terminal / "device");
        if (!type.empty()) root.write(owner + "/tty/" + name + "/type", type + "\n");
        fs::create_directories(root.path("sys/class/tty"));
        fs::create_directory_symlink(terminal, root.path("sys/class/tty/" + name));
    }

    void addFile(const std::string& device, const std::string& name, const std::string& line) {
        root.write("sys/devices/" + device + "/" + name, line + "\n");
    }

    std::vector<std::string> list() {
        std::vector<std::string> lines;
        for (const SerialPortInfo& port : listSerialPorts(root.path("").substr(0, root.path("").size() - 1)))
            lines.push_back(port.path.substr(root.path("").size() - 1) + "|" + port.description +
                            (port.isBluetooth ? "|bluetooth" : ""));
        return lines;
    }

    test::ScratchFolder root;
};

TEST_F(SystemTree, ShowsPortsWithHardwareBehindThem) {
    addTerminal("ttyUSB10", "usb1/1-1/1-1:1.0/ttyUSB10");
    addTerminal("ttyUSB9", "usb1/1-2/1-2:1.0/ttyUSB9");
    addFile("usb1/1-1", "product", "GNSS Receiver");
    addFile("usb1/1-1", "manufacturer", "Example");
    addFile("usb1/1-2", "product", "UART");
    addTerminal("ttyACM0", "usb1/1-3/1-3:1.0");
    addTerminal("ttyS1", "platform/serial8250", "0");
    addTerminal("ttyS2", "pnp/00:02", "4");
    fs::create_directories(root.path("sys/bus/drivers/serial"));
    fs::create_directory_symlink(root.path("sys/bus/drivers/serial"),
                                 root.path("sys/devices/pnp/00:02/driver"));
    addTerminal("rfcomm0", "");
    addTerminal("tty1", "");
    addTerminal("ptmx", "");
    EXPECT_EQ(list(),
              (std::vector<std::string>{"/dev/ttyS2|serial", "/dev/rfcomm0||bluetooth", "/dev/ttyACM0|",
                                        "/dev/ttyUSB9|UART", "/dev/ttyUSB10|Example GNSS Receiver"}));
}

TEST_F(SystemTree, IsEmptyWithoutTheFolder) { EXPECT_TRUE(list().empty()); }

TEST(PortMap, GivesEveryPlaceOneNumberAndEveryNumberOnePlace) {
    PortMap map([] { return std::vector<SerialPortInfo>{}; });
    EXPECT_EQ(map.placeOf(1), "/dev/ttyS0");
    EXPECT_EQ(map.placeOf(0), "");
    EXPECT_EQ(map.numberOf("/dev/ttyS0"), 1u);
    EXPECT_EQ(map.numberOf("/dev/ttyUSB0"), 5u) << "the first that is not a usual standard port";
    EXPECT_EQ(map.numberOf("tcp://[::1]:5000"), 6u);
    EXPECT_EQ(map.numberOf("/dev/ttyUSB0"), 5u) << "and it stays";
    EXPECT_EQ(map.placeOf(5), "/dev/ttyUSB0");
    EXPECT_EQ(map.numberOf("/dev/ttyS4"), 7u) << "its own number is taken";

    map.map(1, "/dev/ttyUSB0");
    EXPECT_EQ(map.numberOf("/dev/ttyUSB0"), 1u);
    EXPECT_EQ(map.placeOf(5), "/dev/ttyS4") << "free again";
    EXPECT_EQ(map.numberOf("/dev/ttyS0"), 5u);
    EXPECT_EQ(map.places(),
              (std::vector<std::string>{"/dev/ttyUSB0", "/dev/ttyS0", "tcp://[::1]:5000", "/dev/ttyS4"}));
}

TEST(PortMap, NeverGivesTheNumberOfTheBluetoothDriver) {
    PortMap map([] { return std::vector<SerialPortInfo>{}; });
    EXPECT_NE(map.numberOf("/dev/ttyS127"), 128u);
    for (int i = 0; i < 200; ++i)
        EXPECT_NE(map.numberOf("tcp://receiver:" + std::to_string(i)), 128u);
}

TEST(PortRegistry, ShowsDriversAndBluetoothPortsByNumber) {
    PortMap map;
    map.map(9, "/dev/rfcomm1");
    MemoryRegistry registry = registryOf({{"/dev/ttyS1", {}, false},
                                          {"/dev/ttyUSB0", {}, false},
                                          {"/dev/rfcomm0", {}, true},
                                          {"/dev/rfcomm1", {}, true}},
                                         map);
    std::unique_ptr<RegistryKey> key;
    std::wstring name;
    RegistryValue value;
    ASSERT_EQ(registry.open(RegistryRoot::kLocalMachine, L"Drivers\\Active", RegistryAccess::kRead, key),
              kRegistryOk);
    EXPECT_EQ(key->subKey(0, name), kRegistryOk);
    EXPECT_EQ(name, L"COM2");
    EXPECT_EQ(key->subKey(2, name), kRegistryNoMoreItems);
    ASSERT_EQ(
        registry.open(RegistryRoot::kLocalMachine, L"Drivers\\Active\\COM5", RegistryAccess::kRead, key),
        kRegistryOk);
    EXPECT_EQ(key->value(L"Name", value), kRegistryOk);
    EXPECT_EQ(value.text, L"COM5:");
    ASSERT_EQ(registry.open(RegistryRoot::kLocalMachine, L"Software\\Microsoft\\Bluetooth\\Serial\\Ports",
                            RegistryAccess::kAll, key),
              kRegistryOk);
    EXPECT_EQ(key->value(L"SupportedPorts", value), kRegistryOk);
    EXPECT_EQ(value.text, std::wstring(L"COM6:\0COM9:\0\0", 13));
}

}  // namespace
}  // namespace vkcomm
