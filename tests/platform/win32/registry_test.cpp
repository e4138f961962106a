// The registry of the machine, and what its lists of ports become.
#include "vkcomm/platform/registry.h"

#include <gtest/gtest.h>

#include "vkcomm/platform/win32/windows_api.h"

namespace vkcomm {
namespace {

// A key of this test's own, gone at the end.
class OwnKey : public testing::Test {
protected:
    const std::wstring path = L"Software\\VkcommTest" + std::to_wstring(::GetCurrentProcessId());
    HKEY own = nullptr;
    std::unique_ptr<RegistryKey> key;

    void SetUp() override {
        ASSERT_EQ(::RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                    &own, nullptr),
                  ERROR_SUCCESS);
    }

    void TearDown() override {
        ::RegCloseKey(own);
        ::RegDeleteTreeW(HKEY_CURRENT_USER, path.c_str());
    }

    void set(const wchar_t* name, DWORD type, const std::wstring& text) const {
        const void* bytes = text.data();
        ::RegSetValueExW(own, name, 0, type, static_cast<const BYTE*>(bytes),
                         static_cast<DWORD>(text.size() * sizeof(wchar_t)));
    }
};

TEST_F(OwnKey, GivesTextsAndKeys) {
    const std::wstring ports(L"COM3:\0COM7:\0\0", 13);
    set(L"Name", REG_SZ, std::wstring(L"COM5:\0", 6));
    set(L"Unended", REG_SZ, L"COM6:");
    set(L"Ports", REG_MULTI_SZ, ports);
    set(L"Number", REG_DWORD, L"12");
    HKEY below = nullptr;
    ::RegCreateKeyExW(own, L"größer", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &below, nullptr);
    ::RegCloseKey(below);

    ASSERT_EQ(systemRegistry().open(RegistryRoot::kCurrentUser, path, RegistryAccess::kAll, key),
              kRegistryOk);

    const struct {
        const wchar_t* name;
        std::uint32_t type;
        std::wstring text;
    } rows[] = {{L"Name", kRegistryText, L"COM5:"},
                {L"Unended", kRegistryText, L"COM6:"},
                {L"Ports", kRegistryTexts, ports},
                {L"Number", REG_DWORD, L""}};

    for (const auto& row : rows) {
        RegistryValue value;
        EXPECT_EQ(key->value(row.name, value), kRegistryOk);
        EXPECT_EQ(value.type, row.type);
        EXPECT_EQ(value.text, row.text);
    }
    RegistryValue value;
    std::wstring name;
    EXPECT_EQ(key->value(L"None", value), kRegistryNotFound);
    EXPECT_EQ(key->subKey(0, name), kRegistryOk);
    EXPECT_EQ(name, L"größer");
    EXPECT_EQ(key->subKey(1, name), kRegistryNoMoreItems);
}

TEST_F(OwnKey, IsNotThereWithoutItsName) {
    EXPECT_EQ(systemRegistry().open(RegistryRoot::kCurrentUser, path + L"X", RegistryAccess::kRead, key),
              kRegistryNotFound);
    EXPECT_FALSE(key);
}

TEST(SystemRegistry, ShowsADesktopsPortsAsActiveDrivers) {
    portMap().map(11, "COM77");
    std::unique_ptr<RegistryKey> key;
    ASSERT_EQ(systemRegistry().open(RegistryRoot::kLocalMachine, L"Drivers\\Active\\COM11",
                                    RegistryAccess::kRead, key),
              kRegistryOk);
    RegistryValue value;
    EXPECT_EQ(key->value(L"Name", value), kRegistryOk);
    EXPECT_EQ(value.text, L"COM11:");
}

TEST(PortMap, LeavesTheSystemsOwnNumbersToItsPorts) {
    PortMap map([] { return std::vector<SerialPortInfo>{{"COM5", {}, false}, {"COM40", {}, false}}; });
    EXPECT_EQ(map.placeOf(12), "COM12");
    EXPECT_EQ(map.placeOf(0), "");
    EXPECT_EQ(map.numberOf("COM12"), 12u);
    EXPECT_EQ(map.numberOf("COM40"), 40u);
    EXPECT_EQ(map.numberOf("tcp://receiver:5000"), 6u);
    EXPECT_EQ(map.numberOf("\\\\.\\CNCA0"), 7u);
    EXPECT_EQ(map.numberOf("COM300"), 8u);
    EXPECT_EQ(map.numberOf("COM6"), 9u) << "its own number is taken";
}

TEST(ListSerialPorts, PassesOverWhatNoDriverTells) {
    HKEY key = nullptr;
    if (::RegCreateKeyExW(HKEY_LOCAL_MACHINE, L"HARDWARE\\DEVICEMAP\\SERIALCOMM", 0, nullptr,
                          REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr, &key, nullptr) != ERROR_SUCCESS)
        GTEST_SKIP() << "only drivers and administrators may write there";

    const struct {
        std::wstring name, text;
        DWORD type;
    } rows[] = {{L"\\Device\\Test" + std::wstring(300, L'x'), L"COM251", REG_SZ},
                {L"\\Device\\TestLong", std::wstring(100, L'y'), REG_SZ},
                {L"\\Device\\TestNumber", L"12", REG_DWORD},
                {L"\\Device\\TestPort", L"COM250", REG_SZ}};

    for (const auto& row : rows) {
        const void* bytes = row.text.data();
        ::RegSetValueExW(key, row.name.c_str(), 0, row.type, static_cast<const BYTE*>(bytes),
                         static_cast<DWORD>(row.text.size() * sizeof(wchar_t)));
    }
    std::vector<std::string> paths;
    for (const SerialPortInfo& port : listSerialPorts())
        paths.push_back(port.path);
    for (const auto& row : rows)
        ::RegDeleteValueW(key, row.name.c_str());
    ::RegCloseKey(key);
    ASSERT_GE(paths.size(), 2u);
    EXPECT_EQ((std::vector<std::string>(paths.end() - 2, paths.end())),
              (std::vector<std::string>{"COM250", "COM251"}));
}

}  // namespace
}  // namespace vkcomm
