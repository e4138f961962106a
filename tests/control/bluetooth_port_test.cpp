#include "vkcomm/control/bluetooth_port.h"

#include <filesystem>
#include <fstream>

#include "tests/platform/scratch_folder.h"
#include "tests/ports/port_fixture.h"
#include "vkcomm/platform/program_folder.h"

namespace vkcomm {
namespace {

struct Known {
    const char* name;
    int preferred;
};

std::string listOf(std::initializer_list<Known> devices) {
    std::string list;
    for (const Known& device : devices)
        list += std::string("[BTINFO]\n") + device.name + "\n00.11.22.33.44.55\n" +
                std::to_string(device.preferred) + '\n';
    return list + "[END]\n";
}

std::filesystem::path programsOwnFolder() {
#ifdef _WIN32
    return programFolder();
#else
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
#endif
}

class BluetoothPort : public testing::Test {
protected:
    // A port whose list file lies in folder.
    std::unique_ptr<CMyBTPort> portOf(const std::string& list, bool programsFolder = false) {
        const std::filesystem::path folder =
            programsFolder ? programsOwnFolder() : test::pathOf(scratch.path());
        const std::filesystem::path file = folder / "VKBTPort.ini";
        std::ofstream(file) << list;
        auto port =
            programsFolder ? std::make_unique<CMyBTPort>() : std::make_unique<CMyBTPort>(folder.wstring());
        std::filesystem::remove(file);
        port->vSetDevices(devices);
        return port;
    }

    FakeDevices devices;
    test::ScratchFolder scratch;
};

TEST_F(BluetoothPort, ChoosesTheFirstPreferredElseTheFirst) {
    const std::pair<std::string, const wchar_t*> cases[] = {
        {listOf({{"one", 0}, {"two", 1}, {"three", 1}}), L"two"},
        {listOf({{"one", 0}, {"two", 0}}), L"one"},
    };
    for (const auto& [list, name] : cases) {
        const auto port = portOf(list);
        ASSERT_NE(port->Chosen(), nullptr);
        EXPECT_EQ(port->Chosen()->strName, name);
    }
    EXPECT_EQ(portOf(listOf({{"beside the program", 0}}), true)->Chosen()->strName, L"beside the program");
}

TEST_F(BluetoothPort, OpensNothingWithoutADevice) {
    for (const std::string& list : {std::string(), listOf({})}) {
        const auto port = portOf(list);
        const auto device = devices.add();
        EXPECT_EQ(port->bOpenPort(nullptr), 0);
        EXPECT_TRUE(device->calls().empty());
        devices.next.clear();
    }
}

TEST_F(BluetoothPort, ConnectsAndMonitors) {
    const auto port = portOf(listOf({{"one", 0}}));
    const auto refusing = devices.add(), taking = devices.add();
    refusing->outcomes[kControlConnect] = {1, 1};
    taking->passes.push_back(block());
    EXPECT_EQ(port->bOpenPort(nullptr), 0);
    EXPECT_EQ(port->bWriterRunning(), 0);
    EXPECT_EQ(port->bOpenPort(nullptr), 1);
    EXPECT_EQ(port->bWriterRunning(), 1);
    EXPECT_THAT(taking->calls(), testing::IsSupersetOf({"open STR1: 0", "control 3 address 6"}));
}

}  // namespace
}  // namespace vkcomm
