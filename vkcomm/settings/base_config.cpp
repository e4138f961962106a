#include "vkcomm/settings/base_config.h"

#include <tuple>

#include "vkcomm/settings/text_block.h"

namespace vkcomm {

namespace {

using Row = TextRow<CBaseConfig>;

// The fields of archives before and behind the antenna, in their order there.
auto front(auto& c) {
    return std::tie(c.nAddRTCM, c.strStationID, c.uVarekFormat, c.uElevMask, c.uPDOPMask, c.uInterval, c.nCTS,
                    c.nBaud, c.nParity, c.uVarekPort, c.uTrimblePort, c.uTrimbleFormat);
}

// Deliberate: the fourth option stands before the third, as in the archives that hosts have.
auto back(auto& c) {
    return std::tie(c.uOption[0], c.uOption[1], c.uOption[3], c.uOption[2], c.nStationType);
}

// Everything but the antenna, which stands last.
auto javadFront(auto& c) {
    return std::tie(c.strStationID, c.uDifFormat, c.uElevMask, c.uExtra, c.nBaud, c.uPort);
}

void exchangeAll(base::CArchive& archive, CBaseConfig& record) {
    archive.Exchange(front(record));
    record.antenna.Serialize(archive);
    archive.Exchange(back(record));
}

void exchangeAll(base::CArchive& archive, CBaseConfigJavad& record) {
    archive.Exchange(javadFront(record));
    record.antenna.Serialize(archive);
}

// By way of a second record, so that a load that fails changes nothing.
template <typename Record>
void serialize(base::CArchive& archive, Record& record) {
    if (archive.IsStoring()) return exchangeAll(archive, record);
    Record loaded;
    exchangeAll(archive, loaded);
    if (archive.Error()) return;
    record = loaded;
    record.antenna = loaded.antenna;
}

constexpr Label kTitle = {L"Base options:", L"基准站选项:", L"基準站選項:"};
constexpr Label kVersion = {L"Base option version:", L"基准站选项版本:", L"基準站選項版本:"};

// The version that is written, and the first ones that have the antenna, and identifier and type.
constexpr int kWrittenVersion = 4;
constexpr int kAntennaVersion = 2;
constexpr int kStationVersion = 3;

// clang-format off
// Deliberate: the lower-case maker's name, and the traditional character in the last simplified label. Existing
// files have these labels.
constexpr Row kRows[] = {
    {{L"Output additional code RTCM:", L"是否输出附加的RTCM代码:", L"是否輸出附加的RTCM代碼:"}, &CBaseConfig::nAddRTCM},
    {{L"Elevation mask:", L"高度角限制(度):", L"高度角(度):"}, &CBaseConfig::uElevMask},
    {{L"PDOP mask:", L"PDOP限制:", L"PDOP限制:"}, &CBaseConfig::uPDOPMask},
    {{L"Varek GPS broadcast format:", L"Pelta GPS差分格式:", L"Pelta GPS差分格式:"}, &CBaseConfig::uVarekFormat},
    {{L"Trimble GPS broadcast format:", L"Trimble GPS差分格式:", L"Trimble GPS差分格式:"}, &CBaseConfig::uTrimbleFormat},
    {{L"Interval:", L"发射间隔:", L"發射間隔:"}, &CBaseConfig::uInterval},
    {{L"CTS enabled:", L"是否使用CTS:", L"是否使用CTS:"}, &CBaseConfig::nCTS},
    {{L"Baud rate:", L"波特率:", L"波特率:"}, &CBaseConfig::nBaud},
    {{L"Parity:", L"奇偶校验:", L"同位檢查:"}, &CBaseConfig::nParity},
    {{L"varek GPS port:", L"varek GPS端口:", L"varek GPS埠:"}, &CBaseConfig::uVarekPort},
    {{L"Trimble GPS port:", L"Trimble GPS端口:", L"Trimble GPS埠:"}, &CBaseConfig::uTrimblePort},
};
constexpr Row kStationRows[] = {
    {{L"Base station ID:", L"基准站的测站索引:", L"基準站的測站索引:"}, &CBaseConfig::strStationID},
    {{L"Base station Type:", L"基準站的类型:", L"基準站的类型:"}, &CBaseConfig::nStationType},
};
// clang-format on

}  // namespace

VKCOMM_IMPLEMENT_SERIAL(CBaseConfig, base::CObject::classCObject, 1)
VKCOMM_IMPLEMENT_SERIAL(CBaseConfigJavad, base::CObject::classCObject, 1)

void CBaseConfig::vInit() { *this = CBaseConfig(); }

// NOLINTNEXTLINE(misc-unconventional-assign-operator)
void CBaseConfig::operator=(const CBaseConfig& other) {
    front(*this) = front(other);
    back(*this) = back(other);
}

void CBaseConfig::Serialize(base::CArchive& archive) { serialize(archive, *this); }

void CBaseConfig::vWriteFile(base::CStdioFileCe& file) const {
    BlockWriter writer(file);
    writer.label(kTitle);
    writer.label(kVersion);
    writer.value(kWrittenVersion);
    writeRows<CBaseConfig>(writer, *this, kRows);
    writeRows<CBaseConfig>(writer, *this, kStationRows);
    antenna.vWriteFile(file);
}

int CBaseConfig::bReadFile(base::CStdioFileCe& file) {
    BlockReader reader(file);
    reader.skipLine();
    std::int32_t version = 0;
    reader.pair(version);
    if (version < 1) return 0;
    readRows<CBaseConfig>(reader, *this, kRows);
    if (version >= kStationVersion) readRows<CBaseConfig>(reader, *this, kStationRows);
    if (version >= kAntennaVersion) antenna.bReadFile(file);
    return 1;
}

void CBaseConfigJavad::vInit() { *this = CBaseConfigJavad(); }

// NOLINTNEXTLINE(misc-unconventional-assign-operator)
void CBaseConfigJavad::operator=(const CBaseConfigJavad& other) { javadFront(*this) = javadFront(other); }

void CBaseConfigJavad::Serialize(base::CArchive& archive) { serialize(archive, *this); }

}  // namespace vkcomm
