// Known Bluetooth receivers: archive and list file.
#include "vkcomm/settings/bluetooth_list.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include "tests/platform/scratch_folder.h"

namespace vkcomm::test {
namespace {

using namespace std::string_literals;
using base::CArchive;
using base::CMyObArray;

std::string told(const std::vector<unsigned char>& bytes) { return {bytes.begin(), bytes.end()}; }

std::vector<unsigned char> archived(CBTInformation& device) {
    std::vector<unsigned char> bytes;
    CArchive archive = CArchive::StoreTo(bytes);
    device.Serialize(archive);
    return bytes;
}

void makeReceiver(CBTInformation& device) {
    device.uAddress = {0x00, 0x11, 0x22, 0xAA, 0xBB, 0xFF};
    device.strName = L"接收机";
    device.bPreferred = 1;
}

TEST(BluetoothArchive, ComesBackWholeOrNotAtAll) {
    CBTInformation device;
    makeReceiver(device);
    const std::vector<unsigned char> bytes = archived(device);
    EXPECT_EQ(told(bytes), "\0\x11\x22\xAA\xBB\xFF\xFF\xFE\xFF\x03\xA5\x63\x36\x65\x3A\x67\x01\0\0\0"s);
    for (std::size_t size = 0; size <= bytes.size(); ++size) {
        CBTInformation loaded;
        CArchive archive = CArchive::LoadFrom(ByteSpan(bytes).first(size));
        loaded.Serialize(archive);
        CBTInformation untouched;
        EXPECT_EQ(archived(loaded), size < bytes.size() ? archived(untouched) : bytes) << size;
    }
}

TEST(BluetoothArchive, IsLoadedByPointer) {
    CBTInformation device;
    makeReceiver(device);
    std::vector<unsigned char> bytes;
    CArchive storing = CArchive::StoreTo(bytes);
    storing << &device;
    EXPECT_EQ(told(bytes).substr(0, 20), "\xFF\xFF\x01\0\x0E\0CBTInformation"s);
    CArchive loading = CArchive::LoadFrom(bytes);
    CBTInformation* loaded = nullptr;
    loading >> loaded;
    const std::unique_ptr<CBTInformation> owned(loaded);
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(archived(*loaded), archived(device));
}

TEST(BluetoothList, HasTheseBytes) {
    const ScratchFolder folder;
    CMyObArray array;
    auto device = std::make_unique<CBTInformation>();
    makeReceiver(*device);
    array.Add(std::move(device));
    device = std::make_unique<CBTInformation>();
    device->strName = std::wstring(47, L'x') + L"基";
    array.Add(std::move(device));
    EXPECT_TRUE(CBTInformation::vWriteBTArray2File(folder.path(), &array));
    EXPECT_EQ(folder.read("VKBTPort.ini"), "[BTINFO]\n接收机\n00.11.22.aa.bb.ff\n1\n[BTINFO]\n" +
                                               std::string(47, 'x') + "\n00.00.00.00.00.00\n0\n[END]\n");
}

TEST(BluetoothList, ReadsWhatIsThere) {
    struct Case {
        const char* name;
        std::string bytes;
        std::string same;  // the list it is read as
    };

    const std::string a = "[BTINFO]\nA\n01.02.03.04.05.06\n1\n";
    const std::string b = "[BTINFO]\nB\n07.08.09.0a.0b.0c\n0\n";
    const std::string none = "[BTINFO]\nC\n00.00.00.00.00.00\n0\n";
    const Case cases[] = {
        {"empty file", "", ""},
        {"text before", "text\n[END]\n" + a + b + "[END]\n", a + b},
        {"ends at the first other line", a + "text\n" + b, a},
        {"CR LF", "[BTINFO]\r\nA\r\n01.02.03.04.05.06\r\n1\r\n[END]\r\n", a},
        {"no line end behind the last", "[BTINFO]\nA\n01.02.03.04.05.06\n1", a},
        {"an address of 16", "[BTINFO]\nC\n01.02.03.04.05.0\n0\n", none},
        {"an address of 18", "[BTINFO]\nA\n01.02.03.04.05.067\n1\n", a},
        {"other separators and case", "[BTINFO]\nB\n07:08-09 0Ax0B.0C\n0\n", b},
        {"no hexadecimal", "[BTINFO]\nC\n01.02.03.04.05.0g\n0\n", none},
        {"a sign for a digit", "[BTINFO]\nC\n01.02.03.-4.05.06\n0\n", none},
        {"a flag that is none", "[BTINFO]\nC\n\nyes\n", none},
        {"another flag", "[BTINFO]\nC\n\n-2 \n", "[BTINFO]\nC\n00.00.00.00.00.00\n-2\n"},
        {"cut behind the address", a + "[BTINFO]\nB\n07.08.09.0a.0b.0c\n", a},
        {"cut behind the name", a + "[BTINFO]\nB\n", a},
        {"cut behind the mark", a + "[BTINFO]\n", a},
        {"a name of 50", "[BTINFO]\n" + std::string(50, 'x') + "\n07.08.09.0a.0b.0c\n0\n",
         "[BTINFO]\n" + std::string(48, 'x') + "\n07.08.09.0a.0b.0c\n0\n"},
    };
    for (const Case& each : cases) {
        CMyObArray array;
        CBTInformation::readList(each.bytes, array);
        EXPECT_EQ(CBTInformation::listText(array), each.same + "[END]\n") << each.name;
    }
}

TEST(BluetoothList, AppendsAndTellsWhyNot) {
    const ScratchFolder folder;
    CMyObArray array;
    SystemError error;
    array.Add(new CBTInformation);
    EXPECT_EQ(CBTInformation::bGetBTArray(folder.path(), &array, &error), 0);
    EXPECT_EQ(error.code, ENOENT);
    EXPECT_EQ(array.GetSize(), 1);
    folder.write("VKBTPort.ini", "[BTINFO]\nA\n01.02.03.04.05.06\n1\n");
    EXPECT_EQ(CBTInformation::bGetBTArray(folder.path(), &array), 1);
    EXPECT_EQ(array.GetSize(), 2);
    EXPECT_EQ(CBTInformation::vWriteBTArray2File(folder.path("none"), &array).error.code, kNoFolder);
}

TEST(BluetoothList, AnOpenFileIsReadEntryByEntry) {
    const ScratchFolder folder;
    folder.write("file", "A\nshort\n1\nB\n01.02.03.04.05.06\n");
    SystemError error;
    const FileHandle file = openFile(folder.path("file"), FileUse::kRead, error);
    CBTInformation device;
    makeReceiver(device);
    EXPECT_EQ(device.bGetFromFile(file.get()), 1);
    EXPECT_EQ(device.strName, L"A");
    EXPECT_EQ(device.uAddress[5], 0xFF) << "a short address leaves the one there was";
    EXPECT_EQ(device.bGetFromFile(file.get()), 0);
    EXPECT_EQ(device.strName, L"A");
}

TEST(BluetoothRecord, IsTakenFromTheDriversBytes) {
    const std::string whole = "\x01\x02\x03\x04\x05\x06" + std::string(20, 'n') + "more";
    const std::string zero = "\x01\x02\x03\x04\x05\x06name\0garbage here...."s;
    CBTInformation device;
    const auto bytesOf = [](const std::string& text) {
        return std::vector<unsigned char>(text.begin(), text.end());
    };
    device.vSetBTInfo(bytesOf(whole).data());
    EXPECT_EQ(device.strName, std::wstring(20, L'n'));
    EXPECT_EQ(bluetoothAddressText(device.uAddress, ':'), "01:02:03:04:05:06");
    device.vSetBTInfo(bytesOf(zero));
    EXPECT_EQ(device.strName, L"name");
    device.vSetBTInfo(bytesOf(whole.substr(0, 25)));
    EXPECT_EQ(device.strName, L"name");
}

}  // namespace
}  // namespace vkcomm::test
