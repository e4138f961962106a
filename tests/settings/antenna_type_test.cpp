// Antennas: heights, comparison, archive, text block and list file.
#include "vkcomm/settings/antenna_type.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "tests/platform/scratch_folder.h"
#include "vkcomm/datum/process_settings.h"

namespace vkcomm::test {
namespace {

using namespace std::string_literals;
using base::CArchive;
using base::CMyObArray;
using base::CStdioFileCe;

CAntType antenna(const std::wstring& name, std::array<float, 3> offsets, unsigned char measureTo = 2,
                 float phaseHeight = 0.0f) {
    CAntType made;
    made.strName = name;
    made.fOffset = offsets;
    made.uMeasureTo = measureTo;
    made.fPhaseHeight = phaseHeight;
    return made;
}

const CAntType kZephyr = antenna(L"Zephyr 2", {0.053f, 0.02f, 0.0371f}, 0, 1.6f);

const CAntType& at(const CMyObArray& array, int i) { return dynamic_cast<const CAntType&>(*array.GetAt(i)); }

// Everything of a record in one text, exact.
std::string told(const CAntType& record) {
    std::vector<unsigned char> bytes;
    CArchive archive = CArchive::StoreTo(bytes);
    CAntType(record).Serialize(archive);
    return {bytes.begin(), bytes.end()};
}

std::string blockOf(const CAntType& record) {
    CStdioFileCe file;
    file.OpenMemory();
    record.vWriteFile(file);
    return file.Bytes();
}

int readBlock(CAntType& record, const std::string& bytes) {
    CStdioFileCe file;
    file.OpenBytes(bytes);
    return record.bReadFile(file);
}

TEST(AntennaHeight, GoesFromThePointMeasuredTo) {
    struct Case {
        const char* name;
        double height;
        int measureTo;
        float phaseHeight;
        double back;
    };

    constexpr Case kCases[] = {
        {"bottom", 1.5, 0, 1.75f, 1.5},
        {"top", 1.5, 1, 1.0f, 1.5},
        {"middle", 1.5, 2, 1.625f, 1.5},
        {"single precision", 0.1, 3, 0.1f, double{0.1f}},
        {"no such point", 1.5, 3, 1.5f, 1.5},
        {"low eight bits", 1.5, 0x101, 1.0f, 1.5},
        {"beyond float", 1e300, 3, 3.40282347e38f, double{3.40282347e38f}},
    };
    for (const Case& each : kCases) {
        CAntType record = antenna(L"A", {0.25f, -0.5f, 0.125f});
        record.vSetAntHeight(each.height, each.measureTo);
        EXPECT_EQ(record.fPhaseHeight, each.phaseHeight) << each.name;
        EXPECT_EQ(record.dGetAntHeight(), each.back) << each.name;
    }
}

TEST(AntennaComparison, SeesHalfCentimetres) {
    struct Case {
        const char* name;
        CAntType other;
        int differs;
    };

    const CAntType first = antenna(L"A", {0, 0, 0});
    const Case cases[] = {
        {"itself", first, 0},
        {"name", antenna(L"B", {0, 0, 0}), 1},
        {"case of the name", antenna(L"a", {0, 0, 0}), 1},
        {"point", antenna(L"A", {0, 0, 0}, 1), 1},
        {"height by 4 mm", antenna(L"A", {0, 0, 0}, 2, -0.004f), 0},
        {"height by 5 mm", antenna(L"A", {0, 0, 0}, 2, -0.005f), 1},
        {"bottom by 5 mm", antenna(L"A", {0.005f, 0, 0}), 1},
        {"top by 5 mm", antenna(L"A", {0, 0.005f, 0}), 1},
        {"middle by 5 mm", antenna(L"A", {0, 0, 0.005f}), 1},
        {"no number", antenna(L"A", {0, 0, std::nanf("")}), 1},
    };
    for (const Case& each : cases)
        EXPECT_EQ(first != each.other, each.differs) << each.name;
}

TEST(AntennaArchive, HasTheseBytes) {
    EXPECT_EQ(told(CAntType()), "\xFF\xFE\xFF\x07U\0N\0K\0N\0O\0W\0N\0\x02\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"s);
    EXPECT_EQ(told(antenna(L"Z", {1, 2, 3}, 1, 4)),
              "\xFF\xFE\xFF\x01Z\0\x01\0\0\x80\x40\0\0\x80\x3F\0\0\0\x40\0\0\x40\x40"s);
}

TEST(AntennaArchive, ComesBackWholeOrNotAtAll) {
    const CAntType stored =
        antenna(L"基\U0001F600", {-0.0f, std::numeric_limits<float>::infinity(), 1e-40f}, 7, -1);
    const std::string bytes = told(stored);
    const std::vector<unsigned char> archived(bytes.begin(), bytes.end());
    for (std::size_t size = 0; size <= archived.size(); ++size) {
        CAntType loaded = kZephyr;
        CArchive archive = CArchive::LoadFrom(ByteSpan(archived).first(size));
        loaded.Serialize(archive);
        EXPECT_EQ(archive.Error() ? 1 : 0, size < archived.size() ? 1 : 0);
        EXPECT_EQ(told(loaded), told(size < archived.size() ? kZephyr : stored)) << size;
    }
}

TEST(AntennaArchive, IsMadeByName) {
    const base::CRuntimeClass* const type = base::CRuntimeClass::FromName("CAntType");
    ASSERT_EQ(type, &CAntType::classCAntType);
    EXPECT_EQ(type->m_wSchema, 1);
    const std::unique_ptr<base::CObject> made(type->CreateObject());
    EXPECT_EQ(told(dynamic_cast<CAntType&>(*made)), told(CAntType()));
}

TEST(AntennaBlock, IsWrittenInThreeLanguages) {
    struct Case {
        int language;
        const char* block;
    };

    constexpr Case kCases[] = {
        {1, "Antenna parameter version:\n1\nAntenna type\nZephyr 2\nDistance from bottom to phase "
            "center:\n0.053\n"
            "Distance from top to phase center:\n0.020\nDistance from center to phase center:\n0.037\n"
            "Measure to:\n0\nMeasure height:\n1.547\n"},
        {0, "天线参数版本:\n1\n天线类型\nZephyr 2\n天线底部到相位中心的距离:\n0.053\n"
            "天线顶部到相位中心的距离:\n0.020\n天线中部到相位中心的距离:\n0.037\n"
            "测量到天线的部位:\n0\n测量到的天线高:\n1.547\n"},
        {2, "天綫參數版本:\n1\n天綫類型\nZephyr 2\n天綫底部到相位中心的距離:\n0.053\n"
            "天綫頂部到相位中心的距離:\n0.020\n天綫中部到相位中心的距離:\n0.037\n"
            "測量到天綫的部位:\n0\n测量到的天线高:\n1.547\n"},
    };
    for (const Case& each : kCases) {
        vSetLang(each.language);
        const std::string block = blockOf(kZephyr);
        vSetLang(1);
        EXPECT_EQ(block, each.block) << each.language;
        CAntType read;
        EXPECT_EQ(readBlock(read, block), 1) << each.language;
        EXPECT_EQ(blockOf(read), blockOf(kZephyr)) << each.language;
    }
}

TEST(AntennaBlock, OfAnotherVersionIsRefused) {
    const std::string rest = "Antenna type\nX\n\n1\n\n2\n\n3\n\n1\n\n4\n";
    for (const char* version : {"0", "2", "3", "4", "5", "-1", "text", "", "257", "4294967297"}) {
        CAntType record = kZephyr;
        EXPECT_EQ(readBlock(record, "version\n"s + version + "\n" + rest), 0) << version;
        EXPECT_EQ(told(record), told(kZephyr)) << version;
    }
    CAntType record = kZephyr;
    EXPECT_EQ(readBlock(record, ""), 0);
    EXPECT_EQ(told(record), told(kZephyr));
    EXPECT_EQ(readBlock(record, "version\r\n 1 \r\n" + rest), 1);
    EXPECT_EQ(told(record), told(antenna(L"X", {1, 2, 3}, 1, 6)));
}

TEST(AntennaBlock, StoreLoadStoreGivesTheSameBytes) {
    std::mt19937 random(20);
    std::uniform_real_distribution<float> metres(-100, 100);
    for (int i = 0; i < 2000; ++i) {
        CAntType record = antenna(L"a\nb", {metres(random), metres(random), metres(random)},
                                  static_cast<unsigned char>(random() % 5), metres(random));
        const std::string block = blockOf(record);
        EXPECT_EQ(readBlock(record, block), 1);
        ASSERT_EQ(blockOf(record), block);
    }
    for (CAntType record :
         {antenna(L"", {std::nanf(""), 1e38f, -std::numeric_limits<float>::infinity()}, 0, 1),
          antenna(L"a height that rounds to zero", {0, 0.015f, 0}, 1, 0.0147f),
          antenna(L"a distance that does", {-0.0004f, 0, 0}, 1, 1)}) {
        const std::string block = blockOf(record);
        readBlock(record, block);
        EXPECT_EQ(blockOf(record), block);
    }
}

TEST(AntennaList, HasTheseBytes) {
    CMyObArray array;
    EXPECT_EQ(CAntType::listText(array), "[END]\n");
    CAntType::bAddOneAntType(kZephyr, &array);
    CAntType::bAddOneAntType(antenna(L"天线" + std::wstring(60, L'x'), {-1, 2.0004f, 2.0006f}), &array);
    CAntType::bAddOneAntType(antenna(std::wstring(16, L'天') + L"x天", {0, 0, 0}), &array);
    EXPECT_EQ(CAntType::listText(array),
              "[ANTENNA]\nZephyr 2\n0.053\n0.020\n0.037\n"
              "[ANTENNA]\n天线" +
                  std::string(44, 'x') +
                  "\n-1.000\n2.000\n2.001\n"
                  "[ANTENNA]\n天天天天天天天天天天天天天天天天x\n0.000\n0.000\n0.000\n"
                  "[END]\n");
}

TEST(AntennaList, ReadsWhatIsThere) {
    struct Case {
        const char* name;
        std::string bytes;
        std::string same;  // the list it is read as
    };

    const std::string a = "[ANTENNA]\nA\n1.000\n2.000\n3.000\n";
    const std::string b = "[ANTENNA]\nB\n4.000\n5.000\n6.000\n";
    const std::string x48(48, 'x');
    const Case cases[] = {
        {"empty file", "", ""},
        {"no entry", "text\n[END]\n", ""},
        {"text before", "text\n\n[END]\n" + a + b + "[END]\n", a + b},
        {"a mark behind other text", "\xEF\xBB\xBF [ANTENNA] 1\nA\n1\n2\n3\n", a},
        {"CR LF", "[ANTENNA]\r\nA\r\n1.000\r\n2.000\r\n3.000\r\n[END]\r\n", a},
        {"ends at the first other line", a + "\n" + b, a},
        {"no end line", a + b, a + b},
        {"no line end behind the last", "[ANTENNA]\nA\n1\n2\n3", a},
        {"a name that is a mark", "[ANTENNA]\n[ANTENNA]\n1\n2\n3\n",
         "[ANTENNA]\n[ANTENNA]\n1.000\n2.000\n3.000\n"},
        {"numbers with more behind", "[ANTENNA]\nA\n 1.0004 m\n2,9\n3e0x\n", a},
        {"numbers that are none", "[ANTENNA]\nA\nnan\n0x10\n1e999\n",
         "[ANTENNA]\nA\n0.000\n0.000\n340282346638528859811704183484516925440.000\n"},
        {"cut behind the name", a + "[ANTENNA]\nC", a + "[ANTENNA]\nC\n0.000\n0.000\n0.000\n"},
        {"cut behind the mark", a + "[ANTENNA]\n", a + "[ANTENNA]\n\n0.000\n0.000\n0.000\n"},
        {"a name of 48", "[ANTENNA]\n" + x48 + "\r\n1\n2\n3\n",
         "[ANTENNA]\n" + x48 + "\n1.000\n2.000\n3.000\n"},
        {"a name of 49", "[ANTENNA]\n" + x48 + "x\n1\n2\n3\n",
         "[ANTENNA]\n" + x48 + "\n1.000\n2.000\n3.000\n"},
        {"a name of a megabyte", "[ANTENNA]\n" + std::string(1'000'000, 'x') + "\n1\n2\n3\n",
         "[ANTENNA]\n" + x48 + "\n1.000\n2.000\n3.000\n"},
        {"a name cut inside a character", "[ANTENNA]\n" + x48.substr(1) + "\xE5\x9F\xBA\n1\n2\n3\n",
         "[ANTENNA]\n" + x48.substr(1) + "\n1.000\n2.000\n3.000\n"},
        {"a name in another encoding", "[ANTENNA]\n\xCC\xEC\n1\n2\n3\n",
         "[ANTENNA]\n\uFFFD\uFFFD\n1.000\n2.000\n3.000\n"},
        {"a name that grows when it is replaced", "[ANTENNA]\nab" + std::string(46, '\xFF') + "\n1\n2\n3\n",
         "[ANTENNA]"
         "\nab\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"
         "\n1.000\n2.000\n3.000\n"},
        {"a zero in a name", "[ANTENNA]\nA\0B\n1\n2\n3\n"s, "[ANTENNA]\nAB\n1.000\n2.000\n3.000\n"},
    };
    for (const Case& each : cases) {
        CMyObArray array;
        array.Add(new CAntType);
        CAntType::readList(each.bytes, array);
        EXPECT_EQ(CAntType::listText(array), each.same + "[END]\n") << each.name;
        CAntType::readList(each.same + "[END]\n", array);
        EXPECT_EQ(CAntType::listText(array), each.same + "[END]\n") << each.name << ", again";
    }
}

TEST(AntennaList, AnEntryKeepsPointAndHeight) {
    const ScratchFolder folder;
    folder.write("list", "text\n[ANTENNA]\nA\n1\n2\n3\nrest\n");
    CAntType record = kZephyr;
    EXPECT_EQ(record.bGetFromFileOcx(folder.path("list")), 1);
    EXPECT_EQ(told(record), told(antenna(L"A", {1, 2, 3}, 0, 1.6f)));
    folder.write("list", "text\n");
    EXPECT_EQ(record.bGetFromFileOcx(folder.path("list")), 1);
    EXPECT_EQ(record.strName, L"A");
    SystemError error;
    EXPECT_EQ(record.bGetFromFileOcx(folder.path("none"), &error), 0);
    EXPECT_EQ(error.code, ENOENT);
    EXPECT_TRUE(record.vWrite2FileOcx(folder.path("list")));
    EXPECT_EQ(folder.read("list"), "[ANTENNA]\nA\n1.000\n2.000\n3.000\n[END]\n");
}

TEST(AntennaList, AnOpenFileIsReadNoFurtherThanTheEntry) {
    const ScratchFolder folder;
    folder.write("file", "A\n1\n2\n3\nrest");
    SystemError error;
    CAntType record;
    FileHandle file = openFile(folder.path("file"), FileUse::kRead, error);
    EXPECT_EQ(record.bGetFromFile(file.get()), 1);
    EXPECT_EQ(told(record), told(antenna(L"A", {1, 2, 3})));
    EXPECT_EQ(std::getc(file.get()), 'r');

    file = openFile(folder.path("file"), FileUse::kWrite, error);
    EXPECT_EQ(record.WriteToFile(file.get()), 1);
    file.reset();
    EXPECT_EQ(folder.read("file"), "[ANTENNA]\nA\n1.000\n2.000\n3.000\n");
    EXPECT_EQ(record.WriteToFile(nullptr), 0);
}

TEST(AntennaList, AFileThatCannotBeWrittenStays) {
    const ScratchFolder folder;
    CMyObArray array;
    array.Add(new CAntType);
    EXPECT_TRUE(CAntType::vWriteAntArray2File(folder.path("list"), &array));
    EXPECT_EQ(CAntType::vWriteAntArray2File(folder.path(), &array).error.code, test::kIsFolder);
    EXPECT_EQ(CAntType::vWriteAntArray2File("/dev/full"s, &array).error.code, test::kNoRoom);
    EXPECT_EQ(CAntType::vWriteAntArray2File(folder.path("none/list"), &array).error.code, test::kNoFolder);

    SystemError error;
    EXPECT_EQ(CAntType::bGetAntArray(folder.path("list"), &array, &error), 1);
    EXPECT_EQ(array.GetSize(), 1);
    EXPECT_EQ(CAntType::bGetAntArray(folder.path("none"), &array, &error), 0);
    EXPECT_EQ(error.code, ENOENT);
    EXPECT_EQ(array.GetSize(), 0);
}

TEST(AntennaList, AddingTellsNewFromKnown) {
    CMyObArray array;
    EXPECT_EQ(CAntType::bAddOneAntType(antenna(L"A", {1, 2, 3}), &array), 1);
    EXPECT_EQ(CAntType::bAddOneAntType(antenna(L"a", {1, 2, 3}), &array), 1);
    EXPECT_EQ(CAntType::bAddOneAntType(antenna(L"A", {4, 5, 6}, 1, 7), &array), 0);
    ASSERT_EQ(array.GetSize(), 2);
    EXPECT_EQ(told(at(array, 0)), told(antenna(L"A", {4, 5, 6}, 1, 7)));
    EXPECT_EQ(at(array, 1).strName, L"a");
}

}  // namespace
}  // namespace vkcomm::test
