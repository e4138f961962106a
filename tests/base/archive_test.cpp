// Archives: the bytes of values, texts and objects, and what a damaged one does.
#include "vkcomm/base/archive.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/base/archive_bytes.h"
#include "vkcomm/base/object_array.h"
#include "vkcomm/base/serial_class.h"

namespace vkcomm::base {
namespace {

using test::Bytes;
using test::bytesOf;
using test::stored;
using test::operator+;

class CLeaf : public CObject {
public:
    unsigned char value = 0;

    explicit CLeaf(int n = 0) : value(static_cast<unsigned char>(n)) { ++alive; }

    ~CLeaf() override { --alive; }

    void Serialize(CArchive& archive) override { archive.Exchange(value); }

    static inline int alive = 0;

    VKCOMM_DECLARE_SERIAL(CLeaf)
};

class CSpecialLeaf : public CLeaf {
    VKCOMM_DECLARE_SERIAL(CSpecialLeaf)
};

class CLink : public CObject {
public:
    std::unique_ptr<CObject> next;

    void Serialize(CArchive& archive) override {
        if (archive.IsStoring()) return archive.WriteObject(next.get());
        next = archive.ReadOwned(nullptr);
    }

    VKCOMM_DECLARE_SERIAL(CLink)
};

VKCOMM_IMPLEMENT_SERIAL(CLeaf, CObject::classCObject, 1)
VKCOMM_IMPLEMENT_SERIAL(CSpecialLeaf, CLeaf::classCLeaf, 3)
VKCOMM_IMPLEMENT_SERIAL(CLink, CObject::classCObject, 1)

TEST(Archive, ValuesAreLittleEndianWithoutPadding) {
    struct Values {
        unsigned char byte = 0x12;
        std::int16_t negative = -2;
        std::uint16_t word = 0xABCD;
        std::int32_t number = -3;
        std::uint32_t large = 0x89ABCDEF;
        float single = -1.5f;
        double precise = 0.1;
        std::array<unsigned char, 3> raw = {1, 2, 3};

        void exchange(CArchive& archive) {
            archive.Exchange(std::tie(byte, negative, word, number, large, single, precise, raw));
        }
    };

    Values values;
    const Bytes bytes = stored([&](CArchive& archive) { values.exchange(archive); });
    EXPECT_EQ(bytes, bytesOf("12 FEFF CDAB FDFFFFFF EFCDAB89 0000C0BF 9A9999999999B93F 010203"));

    Values loaded = {0, 0, 0, 0, 0, 0, 0, {}};
    CArchive archive = CArchive::LoadFrom(bytes);
    loaded.exchange(archive);
    EXPECT_FALSE(archive.Error());
    EXPECT_EQ(archive.Remaining(), 0u);
    EXPECT_EQ(stored([&](CArchive& again) { loaded.exchange(again); }), bytes);
}

Bytes repeated(std::size_t count, std::string_view bytes) {
    Bytes all;
    for (std::size_t i = 0; i < count; ++i)
        all = std::move(all) + bytesOf(bytes);
    return all;
}

TEST(Archive, TextsAreStoredWide) {
    struct Case {
        const char* name;
        std::wstring text;
        Bytes bytes;
    };

    const Case cases[] = {
        {"empty", L"", bytesOf("FF FEFF 00")},
        {"one", L"1", bytesOf("FF FEFF 01 3100")},
        {"UNKNOWN", L"UNKNOWN", bytesOf("FFFEFF07 55004E004B004E004F0057004E00")},
        {"beyond ASCII", L"基", bytesOf("FFFEFF01 FA57")},
        {"two units", L"\U0001F6F0", bytesOf("FFFEFF02 3DD8F0DE")},
        {"a zero inside", std::wstring(L"a\0b", 3), bytesOf("FFFEFF03 610000006200")},
        {"longest with 8 bits", std::wstring(0xFE, L'x'), bytesOf("FFFEFF FE") + repeated(0xFE, "7800")},
        {"shortest with 16", std::wstring(0xFF, L'x'), bytesOf("FFFEFF FF FF00") + repeated(0xFF, "7800")},
        {"longest with 16", std::wstring(0xFFFD, L'x'), bytesOf("FFFEFF FF FDFF") + repeated(0xFFFD, "7800")},
        {"shortest with 32", std::wstring(0xFFFE, L'x'),
         bytesOf("FFFEFF FF FFFF FEFF0000") + repeated(0xFFFE, "7800")},
    };
    for (const Case& c : cases) {
        EXPECT_TRUE(stored([&](CArchive& archive) { archive << c.text; }) == c.bytes) << c.name;
        CArchive archive = CArchive::LoadFrom(c.bytes);
        std::wstring text = L"before";
        archive >> text;
        EXPECT_TRUE(text == c.text) << c.name;
        EXPECT_EQ(archive.Remaining(), 0u) << c.name;
    }
}

TEST(Archive, TextsOfOtherWritersLoad) {
    struct Case {
        const char* name;
        Bytes bytes;
        std::wstring text;
    };

    const Case cases[] = {
        {"narrow", bytesOf("03 'ANY'"), L"ANY"},
        {"narrow, empty", bytesOf("00"), L""},
        {"narrow, UTF-8", bytesOf("03 E59FBA"), L"基"},
        {"narrow, no UTF-8", bytesOf("03 'a' E9 FF"), L"a\u00E9\u00FF"},
        {"narrow, 16-bit length", bytesOf("FF FF00") + repeated(0xFF, "78"), std::wstring(0xFF, L'x')},
        {"narrow, 32-bit length", bytesOf("FF FFFF 02000000 'ab'"), L"ab"},
        {"narrow, 64-bit length", bytesOf("FF FFFF FFFFFFFF 0200000000000000 'ab'"), L"ab"},
        {"wide, 32-bit length", bytesOf("FFFEFF FF FFFF 01000000 6100"), L"a"},
        {"wide, half a pair", bytesOf("FFFEFF 02 3DD8 6100"), L"\uFFFDa"},
    };
    for (const Case& c : cases) {
        CArchive archive = CArchive::LoadFrom(c.bytes);
        std::wstring text;
        archive >> text;
        EXPECT_EQ(text, c.text) << c.name;
        EXPECT_EQ(archive.Remaining(), 0u) << c.name;
    }
}

const char* const kNewLeaf = "FFFF 0100 0500 'CLeaf'";

TEST(Archive, ObjectsByPointer) {
    CLeaf first(1), second(2);
    CLink link;
    link.next = std::make_unique<CLeaf>(3);
    const Bytes bytes = stored([&](CArchive& archive) {
        archive << &first << &second << static_cast<CObject*>(nullptr) << &first << &link << link.next.get();
    });
    // numbers: 1 CLeaf, 2 first, 3 second, 4 CLink, 5 link, 6 its leaf
    EXPECT_EQ(bytes, bytesOf(kNewLeaf) + bytesOf("01 0180 02 0000 0200 FFFF 0100 0500 'CLink' 0180 03 0600"));

    CArchive archive = CArchive::LoadFrom(bytes);
    CLeaf *a = nullptr, *b = nullptr, *none = &first, *again = nullptr, *inner = nullptr;
    CLink* chain = nullptr;
    archive >> a >> b >> none >> again >> chain >> inner;
    ASSERT_FALSE(archive.Error()) << archive.Error().message();
    const std::unique_ptr<CObject> owned[] = {std::unique_ptr<CObject>(a), std::unique_ptr<CObject>(b),
                                              std::unique_ptr<CObject>(chain)};
    EXPECT_EQ(a->value, 1);
    EXPECT_EQ(b->value, 2);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(again, a);
    EXPECT_EQ(chain->next.get(), inner);
    EXPECT_EQ(inner->value, 3);
}

TEST(Archive, NumbersOf15BitsAndMore) {
    constexpr int kLeaves = 0x7FFF;  // with their class, number 1, they have 2 to 8000h
    CMyObArray leaves;
    for (int i = 0; i < kLeaves; ++i)
        leaves.Add(new CLeaf(i));
    CSpecialLeaf late, later;  // the class has 8001h
    Bytes bytes;
    CArchive archive = CArchive::StoreTo(bytes);
    leaves.Serialize(archive);
    const std::size_t size = bytes.size();
    archive << leaves.GetAt(0x7FFC) << leaves.GetAt(0x7FFD) << &late << &later;
    EXPECT_EQ(Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(size), bytes.end()),
              bytesOf("FE7F FF7F FF7F0000 FFFF 0300 0C00 'CSpecialLeaf' 00 FF7F 01800080 00"));

    CMyObArray loaded;
    CArchive source = CArchive::LoadFrom(bytes);
    loaded.Serialize(source);
    CLeaf *shortTag = nullptr, *longTag = nullptr, *lateBack = nullptr;
    CSpecialLeaf* laterBack = nullptr;
    source >> shortTag >> longTag >> lateBack >> laterBack;
    ASSERT_FALSE(source.Error()) << source.Error().message();
    EXPECT_EQ(shortTag, loaded.GetAt(0x7FFC));
    EXPECT_EQ(longTag, loaded.GetAt(0x7FFD));
    const std::unique_ptr<CLeaf> owned[] = {std::unique_ptr<CLeaf>(lateBack),
                                            std::unique_ptr<CLeaf>(laterBack)};
    EXPECT_EQ(lateBack->GetRuntimeClass(), &CSpecialLeaf::classCSpecialLeaf);
}

TEST(Archive, FaultsSayWhatAndWhere) {
    struct Case {
        const char* name;
        Bytes bytes;  // two leaves by pointer
        ArchiveFault fault;
        std::size_t offset;
    };

    const Bytes leaf = bytesOf(kNewLeaf) + bytesOf("07");  // 12 bytes
    const Case cases[] = {
        {"nothing", {}, ArchiveFault::kCutOff, 0},
        {"half a tag", bytesOf("FF"), ArchiveFault::kCutOff, 0},
        {"name cut off", bytesOf("FFFF 0100 0500 'CLea'"), ArchiveFault::kCutOff, 6},
        {"no data", bytesOf(kNewLeaf), ArchiveFault::kCutOff, 11},
        {"second without data", leaf + bytesOf("0180"), ArchiveFault::kCutOff, 14},
        {"long number cut off", leaf + bytesOf("FF7F 0200"), ArchiveFault::kCutOff, 14},
        {"unknown class", bytesOf("FFFF 0100 0400 'CFo' 01 07"), ArchiveFault::kBadClass, 0},
        {"part of a name", bytesOf("FFFF 0100 0400 'CLea' 07"), ArchiveFault::kBadClass, 0},
        {"more than a name", bytesOf("FFFF 0100 0600 'CLeafs' 07"), ArchiveFault::kBadClass, 0},
        {"no name", bytesOf("FFFF 0100 0000"), ArchiveFault::kBadClass, 0},
        {"absurd name", bytesOf("FFFF 0100 4000"), ArchiveFault::kBadClass, 0},
        {"other schema", leaf + bytesOf("FFFF 0200 0500 'CLeaf' 07"), ArchiveFault::kBadSchema, 12},
        {"other class", leaf + bytesOf("FFFF 0100 0500 'CLink' 0000"), ArchiveFault::kBadClass, 12},
        {"class of the number 0", bytesOf("0080"), ArchiveFault::kBadIndex, 0},
        {"class not met", leaf + bytesOf("0380 07"), ArchiveFault::kBadIndex, 12},
        {"class of an object's number", leaf + bytesOf("0280 07"), ArchiveFault::kBadIndex, 12},
        {"object not met", leaf + bytesOf("0300"), ArchiveFault::kBadIndex, 12},
        {"object of a class's number", leaf + bytesOf("0100"), ArchiveFault::kBadIndex, 12},
        {"largest number", leaf + bytesOf("FF7F FFFFFF7F"), ArchiveFault::kBadIndex, 12},
    };
    for (const Case& c : cases) {
        CArchive archive = CArchive::LoadFrom(c.bytes);
        CLeaf own;
        CLeaf* first = &own;
        CLeaf* second = &own;
        archive >> first >> second;
        const std::unique_ptr<CLeaf> loaded(first == &own ? nullptr : first);
        EXPECT_EQ(archive.Error().fault, c.fault) << c.name << ": " << archive.Error().message();
        EXPECT_EQ(archive.Error().offset, c.offset) << c.name;
        EXPECT_EQ(second, &own) << c.name;
        EXPECT_EQ(loaded == nullptr, c.offset < leaf.size()) << c.name;
    }
    EXPECT_EQ(CLeaf::alive, 0);
}

TEST(Archive, MessagesAreForPeople) {
    CLeaf* leaf = nullptr;
    const auto messageOf = [&](const Bytes& bytes) {
        CArchive archive = CArchive::LoadFrom(bytes);
        archive >> leaf;
        return archive.Error().message();
    };
    EXPECT_EQ(messageOf(bytesOf("FFFF 0100 0400 'C' 0A '\"' 80")), "unknown class \"C?\"?\" (at byte 0)");
    EXPECT_EQ(messageOf(bytesOf("FFFF 0900 0500 'CLeaf'")), "class CLeaf in schema 9, not 1 (at byte 0)");
    EXPECT_EQ(messageOf(bytesOf("FFFF 01")), "2 bytes wanted, 1 left (at byte 2)");
}

TEST(Archive, AbsurdLengthsAreCutOff) {
    for (const char* bytes : {"05 'abcd'", "FF FF00 'x'", "FF FFFF FEFFFFFF 'x'",
                              "FF FFFF FFFFFFFF FFFFFFFFFFFFFFFF 'x'", "FFFEFF 03 'abcde'",
                              "FFFEFF FF FFFF FEFFFFFF 'xx'", "FFFEFF FF FFFF FFFFFFFF 0000000000000080 'xx'",
                              "FFFEFF FF FFFF FFFFFFFF 0100000000000080 'xx'", "FFFEFF", "FF FFFF 0000"}) {
        const Bytes input = bytesOf(bytes);
        CArchive archive = CArchive::LoadFrom(input);
        std::wstring text = L"before";
        unsigned char behind = 9;
        archive >> text >> behind;
        EXPECT_EQ(archive.Error().fault, ArchiveFault::kCutOff) << bytes;
        EXPECT_EQ(text, L"before") << bytes;
        EXPECT_EQ(behind, 9) << bytes;
    }
}

TEST(Archive, NestingHasABound) {
    const auto chain = [](int length) {
        std::unique_ptr<CLink> first;
        for (int i = 0; i < length; ++i) {
            auto link = std::make_unique<CLink>();
            link->next = std::move(first);
            first = std::move(link);
        }
        return first;
    };
    const auto deepest = chain(CArchive::m_nDeepest);
    const Bytes bytes = stored([&](CArchive& archive) { archive << deepest.get(); });
    CArchive archive = CArchive::LoadFrom(bytes);
    EXPECT_NE(archive.ReadOwned(&CLink::classCLink), nullptr) << archive.Error().message();

    const auto deeper = chain(CArchive::m_nDeepest + 1);
    Bytes refused;
    CArchive store = CArchive::StoreTo(refused);
    store << deeper.get();
    EXPECT_EQ(store.Error().fault, ArchiveFault::kNestedTooDeep);

    Bytes hostile = bytesOf("FFFF 0100 0500 'CLink'") + repeated(100000, "0180");
    CArchive load = CArchive::LoadFrom(hostile);
    EXPECT_EQ(load.ReadOwned(nullptr), nullptr);
    EXPECT_EQ(load.Error().fault, ArchiveFault::kNestedTooDeep);
}

TEST(Archive, OneDirectionEach) {
    Bytes bytes;
    CArchive store = CArchive::StoreTo(bytes);
    std::int32_t value = 4;
    store >> value;
    EXPECT_EQ(store.Error().fault, ArchiveFault::kWrongDirection);
    EXPECT_EQ(value, 4);

    CLeaf leaf;
    CArchive load = CArchive::LoadFrom(bytes);
    load << &leaf;
    EXPECT_EQ(load.Error().fault, ArchiveFault::kWrongDirection);
}

TEST(ObjectArray, LoadsWholeOrNotAtAll) {
    struct Case {
        const char* name;
        Bytes bytes;
        ArchiveFault fault;
        int size;
    };

    const Case cases[] = {
        {"empty", bytesOf("0000"), ArchiveFault::kNone, 0},
        {"null among them", bytesOf("0300") + bytesOf(kNewLeaf) + bytesOf("05 0000 0180 06"),
         ArchiveFault::kNone, 3},
        {"cut off", bytesOf("0300") + bytesOf(kNewLeaf) + bytesOf("05 0000 0180"), ArchiveFault::kCutOff, 1},
        {"one twice", bytesOf("0200") + bytesOf(kNewLeaf) + bytesOf("05 0200"), ArchiveFault::kRepeated, 1},
        {"longest with 16 bits", bytesOf("FEFF") + Bytes(2 * 0xFFFE, 0), ArchiveFault::kNone, 0xFFFE},
        {"shortest with 32", bytesOf("FFFF FFFF0000") + Bytes(2 * 0xFFFF, 0), ArchiveFault::kNone, 0xFFFF},
        {"absurd count", bytesOf("FFFF FFFFFFFF 0000"), ArchiveFault::kCutOff, 1},
    };
    for (const Case& c : cases) {
        CMyObArray array;
        array.Add(new CLeaf(9));
        CArchive archive = CArchive::LoadFrom(c.bytes);
        array.Serialize(archive);
        EXPECT_EQ(archive.Error().fault, c.fault) << c.name << ": " << archive.Error().message();
        EXPECT_EQ(array.GetSize(), c.size) << c.name;
        if (c.fault != ArchiveFault::kNone) continue;
        EXPECT_TRUE(stored([&](CArchive& again) { array.Serialize(again); }) == c.bytes) << c.name;
    }
    EXPECT_EQ(CLeaf::alive, 0);
}

TEST(ObjectArray, OwnsItsObjects) {
    CMyObArray array;
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(array.Add(new CLeaf(i)), i);
    array.RemoveAt(1);
    array.RemoveAt(3);
    array.RemoveAt(-1);
    EXPECT_EQ(CLeaf::alive, 3);
    EXPECT_EQ(dynamic_cast<CLeaf&>(*array.GetAt(1)).value, 2);
    EXPECT_EQ(array.GetAt(3), nullptr);
    EXPECT_EQ(array.GetAt(-1), nullptr);
    array.RemoveAll();
    EXPECT_EQ(CLeaf::alive, 0);
}

}  // namespace
}  // namespace vkcomm::base
