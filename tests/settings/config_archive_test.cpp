// Base and rover records in archives, byte by byte, and copied.
#include <gtest/gtest.h>

#include <memory>

#include "tests/base/archive_bytes.h"
#include "tests/settings/config_records.h"

namespace vkcomm::test {
namespace {

using base::ArchiveFault;
using base::CArchive;

template <typename Record>
Bytes bodyOf(Record& record) {
    return stored([&](CArchive& archive) { record.Serialize(archive); });
}

// A record in which no two fields are alike has these bytes, comes back from them whole, embedded and by
// pointer, and keeps what it had when they are cut off anywhere.
template <typename Record>
void expectArchive(const char* className, const Bytes& body) {
    Record record;
    fill(record);
    EXPECT_EQ(bodyOf(record), body);

    Record loaded;
    CArchive archive = CArchive::LoadFrom(body);
    loaded.Serialize(archive);
    EXPECT_EQ(archive.Remaining(), 0u);
    EXPECT_TRUE(fieldsOf(loaded) == fieldsOf(record));

    const Bytes tagged =
        bytesOf("FFFF 0100") +
        stored([&](CArchive& a) { a << static_cast<std::uint16_t>(std::string_view(className).size()); }) +
        bytesOf('\'' + std::string(className) + '\'') + body;
    EXPECT_EQ(stored([&](CArchive& a) { a << &record; }), tagged);
    Record* created = nullptr;
    CArchive source = CArchive::LoadFrom(tagged);
    source >> created;
    const std::unique_ptr<Record> owned(created);
    ASSERT_NE(created, nullptr) << source.Error().message();
    EXPECT_TRUE(fieldsOf(*created) == fieldsOf(record));

    for (std::size_t size = 0; size < body.size(); ++size) {
        Record target, untouched;
        CArchive cut = CArchive::LoadFrom(ByteSpan(body).first(size));
        target.Serialize(cut);
        ASSERT_EQ(cut.Error().fault, ArchiveFault::kCutOff) << size;
        ASSERT_TRUE(fieldsOf(target) == fieldsOf(untouched)) << size;
    }
}

const Bytes kAntennaBody =
    bytesOf("FFFEFF06 5A00650070006800 79007200 01 0000E03F 0000003E 0000803E 0000003F");

TEST(ConfigArchive, Base) {
    expectArchive<CBaseConfig>("CBaseConfig", bytesOf("FFFFFFFF FFFEFF03 FA57D97A3100 0D0B0CFF"
                                                      "10000000 11000000 12000000 13140E") +
                                                  kAntennaBody + bytesOf("01020403 16000000"));
}

TEST(ConfigArchive, BaseJavad) {
    expectArchive<CBaseConfigJavad>("CBaseConfigJavad",
                                    bytesOf("FFFEFF01 3700 0D051F 04000000 03") + kAntennaBody);
}

TEST(ConfigArchive, Rover) {
    expectArchive<CRoverConfig>(
        "CRoverConfig", bytesOf("FFFEFF03 D97A20003200 06000000 01FF 00004841 00009040 FEFFFFFF 08000000"
                                "04E303 07 0B0C0D0E0F101112 09 0A"));
}

TEST(ConfigArchive, RoverJavad) {
    expectArchive<CRoverConfigJavad>("CRoverConfigJavad",
                                     bytesOf("0000F040 000080BF 03 04000000 05 02000000 FDFFFFFF 01000000"));
}

TEST(ConfigArchive, Defaults) {
    CBaseConfig baseStation;
    CBaseConfigJavad baseJavad;
    CRoverConfig rover;
    CRoverConfigJavad roverJavad;
    const Bytes antenna = bytesOf("FFFEFF07 55004E004B004E004F0057004E00 02") + Bytes(16, 0);
    EXPECT_EQ(bodyOf(baseStation),
              bytesOf("00000000 FFFEFF013100 030A0601 00000000 05000000 00000000 000204") + antenna +
                  bytesOf("44060001 00000000"));
    EXPECT_EQ(bodyOf(baseJavad), bytesOf("FFFEFF013100 0B0A1E 03000000 00") + antenna);
    EXPECT_EQ(bodyOf(rover), bytesOf("FFFEFF03 41004E005900 00000000 0302 00005041 0000C040 01000000 05000000"
                                     "000102 04 4406010202000000 00 00"));
    EXPECT_EQ(bodyOf(roverJavad), bytesOf("00005041 0000F041 02 05000000 01 00000000 01000000 00000000"));
}

TEST(ConfigArchive, AnotherClassIsRefused) {
    CRoverConfig rover;
    const Bytes bytes = stored([&](CArchive& archive) { archive << &rover; });
    CBaseConfig own;
    CBaseConfig* target = &own;
    CArchive archive = CArchive::LoadFrom(bytes);
    archive >> target;
    EXPECT_EQ(archive.Error().fault, ArchiveFault::kBadClass);
    EXPECT_EQ(target, &own);
}

// Assignment and vInit leave the target what the two functions take from it.
template <typename Record, typename Keep, typename KeepAtInit>
void expectCopyRules(Keep keep, KeepAtInit keepAtInit) {
    Record full, assigned, expected, defaults;
    fill(full);
    fill(expected);
    keep(expected, defaults);
    assigned = full;
    EXPECT_TRUE(fieldsOf(assigned) == fieldsOf(expected));

    keepAtInit(defaults, full);
    full.vInit();
    EXPECT_TRUE(fieldsOf(full) == fieldsOf(defaults));
}

TEST(ConfigCopy, KeepsWhatIsTheTargets) {
    const auto antenna = [](auto& to, auto& from) { to.antenna = from.antenna; };
    const auto reserved = [](auto& to, auto& from) { to.uReserved = from.uReserved; };
    const auto nothing = [](auto&, auto&) {};
    expectCopyRules<CBaseConfig>(antenna, antenna);
    expectCopyRules<CBaseConfigJavad>(antenna, antenna);
    expectCopyRules<CRoverConfig>(reserved, nothing);
    expectCopyRules<CRoverConfigJavad>(nothing, nothing);
}

}  // namespace
}  // namespace vkcomm::test
