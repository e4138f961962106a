#include "vkcomm/ports/enumerate_serial.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/ports/fake_device.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {
namespace {

using Numbers = std::vector<unsigned int>;

constexpr auto kMachine = RegistryRoot::kLocalMachine;
const std::wstring kDrivers = L"Drivers\\Active";
const std::wstring kBluetooth = L"Software\\Microsoft\\Bluetooth\\Serial\\Ports";

struct Registered {
    const char* name;
    std::vector<std::wstring> drivers;  // their "Name" values
    RegistryValue bluetooth;            // type 0: there is none
    Numbers listed;
};

const RegistryValue kNone{};

MemoryRegistry registryWith(const Registered& row) {
    MemoryRegistry registry;
    registry.set(kMachine, kDrivers + L"\\nameless", L"Hnd", {kRegistryText, L"COM9:"});
    for (std::size_t i = 0; i < row.drivers.size(); ++i)
        registry.set(kMachine, kDrivers + L"\\" + std::to_wstring(i), L"Name",
                     {kRegistryText, row.drivers[i]});
    if (row.bluetooth.type != 0) registry.set(kMachine, kBluetooth, L"SupportedPorts", row.bluetooth);
    return registry;
}

RegistryValue texts(std::wstring names) { return {kRegistryTexts, std::move(names)}; }

template <std::size_t N>
RegistryValue list(const wchar_t (&names)[N]) {
    return texts(std::wstring(names, N));
}

TEST(EnumerateCOMs, ListsEachPortOnceInOrder) {
    const Registered cases[] = {
        {"drivers that are ports", {L"COM7:", L"WAV1:", L"COM2"}, kNone, {2, 7}},
        {"a port of both kinds", {L"COM3:"}, list(L"COM3:\0"), {3}},
        {"several Bluetooth ports", {L"COM5:"}, list(L"COM8\0COM1:\0COM8:\0"), {1, 5, 8}},
        {"a list without its end", {}, texts(L"COM4:"), {4}},
        {"an empty name ends the list", {}, list(L"COM4:\0\0COM6:"), {4}},
        {"a single text", {}, {kRegistryText, L"COM6:"}, {6}},
        {"a value of another type", {}, {4, L"COM6:"}, {}},
        {"numbers that are none",
         {L"COM15:", L"COM0:", L"COM 3:", L"com3:", L"COM3::", L"XCOM3:", L"COM03:"},
         kNone,
         {}},
    };
    for (const Registered& each : cases) {
        MemoryRegistry registry = registryWith(each);
        Numbers listed{99};
        EXPECT_EQ(CEnumerateSerial::EnumerateCOMs(listed, registry), 1) << each.name;
        EXPECT_EQ(listed, each.listed) << each.name;
    }
}

TEST(EnumerateCOMs, WithoutDriversStillListsBluetooth) {
    MemoryRegistry registry;
    Numbers listed;
    EXPECT_EQ(CEnumerateSerial::EnumerateCOMs(listed, registry), 0);
    registry.set(kMachine, kBluetooth, L"SupportedPorts", list(L"COM8:\0"));
    EXPECT_EQ(CEnumerateSerial::EnumerateCOMs(listed, registry), 0);
    EXPECT_EQ(listed, Numbers{8});
}

TEST(EnumerateSerial, NumbersFrom1To14AreRecognised) {
    for (int number = 0; number <= 20; ++number)
        for (const wchar_t* end : {L"", L":"}) {
            const std::wstring name = L"COM" + std::to_wstring(number) + end;
            EXPECT_EQ(CEnumerateSerial::ExtractPortIndex(name), number <= 14 ? number : 0) << number;
        }
}

TEST(EnumerateSerial, KeysAndValuesGiveTheRegistrysResults) {
    MemoryRegistry registry = registryWith({"", {L"COM1:"}, {4, L"12"}, {}});
    std::unique_ptr<RegistryKey> key;
    EXPECT_EQ(CEnumerateSerial::OpenActiveDriverKey(L"1", key, registry), kRegistryNotFound);
    EXPECT_EQ(key, nullptr);
    ASSERT_EQ(CEnumerateSerial::OpenActiveDriverKey(L"0", key, registry), kRegistryOk);
    std::wstring value = L"before";
    EXPECT_EQ(CEnumerateSerial::GetKeyValue(*key, L"Handle", value), kRegistryNotFound);
    EXPECT_EQ(value, L"before");
    EXPECT_EQ(CEnumerateSerial::GetKeyValue(*key, L"Name", value), kRegistryOk);
    EXPECT_EQ(value, L"COM1:");

    long result = -1;
    const auto read = [&](const std::wstring& path, const wchar_t* name) {
        return CEnumerateSerial::ReggyReadString(kMachine, path, name, result, registry);
    };
    EXPECT_EQ(read(kDrivers + L"\\0", L"Name"), L"COM1:");
    EXPECT_EQ(read(kBluetooth, L"SupportedPorts"), L"") << "a number is no text";
    EXPECT_EQ(result, kRegistryOk);
    EXPECT_EQ(read(L"Software\\Other", L"Name"), L"");
    EXPECT_EQ(result, kRegistryNotFound);
}

TEST(EnumerateSerial, ProbingCountsPortsThatAreThereButRefused) {
    constexpr int kResults[] = {
        kErrorNotFound, 0, kErrorAccessDenied, kErrorNotFunctioning, kErrorBusy, 87, 0};
    FakeDevices devices;
    std::vector<std::shared_ptr<FakeDevice>> made;
    for (const int result : kResults) {
        made.push_back(devices.add());
        made.back()->openNumber = result;
        if (result != 0) made.back()->failing = {"open"};
    }
    Numbers listed{99};
    EXPECT_EQ(CEnumerateSerial::UsingCreateFile(listed, devices), 1);
    EXPECT_EQ(listed, (Numbers{2, 3, 4, 5, 7}));
    EXPECT_EQ(made[1]->calls(), (std::vector<std::string>{"open COM2: 0", "close"}));
    EXPECT_EQ(made[4]->calls(), std::vector<std::string>{"open COM5: 0"});
}

TEST(EnumerateSerial, NumericTexts) {
    struct Row {
        const wchar_t* text;
        int plain;
        int withColon;
    };

    for (const Row& each : {Row{L"0123", 1, 1},
                            {L"12:", 0, 1},
                            {L"12a", 0, 0},
                            {L"-1", 0, 0},
                            {L"", 1, 1},
                            {L"\x0661", 0, 0}}) {
        EXPECT_EQ(CEnumerateSerial::IsNumeric(each.text, 0), each.plain) << toUtf8(each.text);
        EXPECT_EQ(CEnumerateSerial::IsNumeric(each.text, 1), each.withColon) << toUtf8(each.text);
    }
}

}  // namespace
}  // namespace vkcomm
