#include "vkcomm/settings/rover_config.h"

#include <tuple>

#include "vkcomm/settings/text_block.h"

namespace vkcomm {

namespace {

using Row = TextRow<CRoverConfig>;

// All fields, in the order of archives.
auto archived(auto& c) {
    return std::tie(c.strStationIndex, c.nLimitBase, c.uVarekFormat, c.uTrimbleFormat, c.fElevMask,
                    c.fPDOPMask, c.nOption, c.nBaud, c.uParity, c.uCom, c.uTrimblePort, c.uThales, c.uOption,
                    c.uReserved, c.uFlag);
}

auto javadArchived(auto& c) {
    return std::tie(c.fElevMask, c.fPDOPMask, c.uDifFormat, c.nBaud, c.uPort, c.nNetwork, c.nAmbiguityLevel,
                    c.nEnvironment);
}

constexpr unsigned char kPortBits = 0x1F;

enum ComBit : unsigned char { kGprs = 0x20, kVrs = 0x40, kDataModule = 0x80 };

enum ThalesBit : unsigned char { kThalesVrs = 0x01, kThalesBeepOff = 0x02, kThalesFastCpd = 0x04 };

int bit(unsigned char bits, unsigned char mask) { return (bits & mask) == 0 ? 0 : 1; }

void setBit(unsigned char& bits, unsigned char mask, int bOn) {
    bits = static_cast<unsigned char>(bOn == 0 ? bits & ~mask : bits | mask);
}

// Trims blanks and folds letters; those of other alphabets stay, in every locale.
void normalise(std::wstring& text) {
    constexpr std::wstring_view kBlanks = L" \t\r\n\v\f";
    text.erase(0, text.find_first_not_of(kBlanks));
    text.erase(text.find_last_not_of(kBlanks) + 1);
    for (wchar_t& c : text)
        if (c >= L'a' && c <= L'z') c = static_cast<wchar_t>(c - L'a' + L'A');
}

constexpr Label kTitle = {L"Rover option", L"流动站选项", L"流動站選項"};
constexpr Label kVersion = {L"Rover option version:", L"流动站选项版本:", L"流動站選項版本:"};
constexpr int kOnlyVersion = 1;

// clang-format off
// Deliberate: the lower-case maker's name and the English label without a colon. Existing files have these.
constexpr Row kRows[] = {
    {{L"Is limit base station:", L"是否限定基准站:", L"是否限定基準站:"}, &CRoverConfig::nLimitBase},
    {{L"Elevation mask:", L"高度角限制(度):", L"高度角限制(度):"}, &CRoverConfig::fElevMask},
    {{L"PDOP mask:", L"PDOP限制:", L"PDOP限制:"}, &CRoverConfig::fPDOPMask},
    {{L"Use station index:", L"使用测站索引:", L"使用測站索引:"}, &CRoverConfig::strStationIndex},
    {{L"Varek GPS broadcast type:", L"Pelta GPS差分格式:", L"Pelta GPS差分格式:"}, &CRoverConfig::uVarekFormat},
    {{L"Trimble GPS broadcast type", L"Trimble GPS差分格式:", L"Trimble GPS差分格式:"}, &CRoverConfig::uTrimbleFormat},
    {{L"Baud rate:", L"波特率:", L"速率:"}, &CRoverConfig::nBaud},
    {{L"Parity:", L"奇偶校验:", L"同位檢查:"}, &CRoverConfig::uParity},
    {{L"varek GPS port:", L"varek GPS端口:", L"varek GPS埠:"}, &CRoverConfig::uCom},
    {{L"Trimble GPS port:", L"Trimble GPS端口:", L"Trimble GPS埠:"}, &CRoverConfig::uTrimblePort},
};
// clang-format on

}  // namespace

VKCOMM_IMPLEMENT_SERIAL(CRoverConfig, base::CObject::classCObject, 1)
VKCOMM_IMPLEMENT_SERIAL(CRoverConfigJavad, base::CObject::classCObject, 1)

void CRoverConfig::vInit() {
    const CRoverConfig defaults;
    archived(*this) = archived(defaults);
}

// NOLINTNEXTLINE(misc-unconventional-assign-operator)
void CRoverConfig::operator=(const CRoverConfig& other) {
    const unsigned char kept = uReserved;
    archived(*this) = archived(other);
    uReserved = kept;
}

void CRoverConfig::Serialize(base::CArchive& archive) {
    if (archive.IsStoring()) return archive.Exchange(archived(*this));
    CRoverConfig loaded;
    archive.Exchange(archived(loaded));
    if (!archive.Error()) archived(*this) = archived(loaded);
}

void CRoverConfig::vWriteFile(base::CStdioFileCe& file) const {
    BlockWriter writer(file);
    writer.label(kTitle);
    writer.label(kVersion);
    writer.value(kOnlyVersion);
    writeRows<CRoverConfig>(writer, *this, kRows);
}

int CRoverConfig::bReadFile(base::CStdioFileCe& file) {
    BlockReader reader(file);
    reader.skipLine();
    std::int32_t version = 0;
    reader.pair(version);
    if (version != kOnlyVersion) return 0;
    readRows<CRoverConfig>(reader, *this, kRows);
    return 1;
}

void CRoverConfig::vSetNCom(unsigned char nCom) {
    uCom = static_cast<unsigned char>((uCom & ~kPortBits) + nCom);
}

unsigned char CRoverConfig::uGetCom() const { return uCom & kPortBits; }

void CRoverConfig::vSetDifSource(int bOn) { setBit(uCom, kDataModule, bOn); }

void CRoverConfig::vSetVRS(int bOn) { setBit(uCom, kVrs, bOn); }

void CRoverConfig::vSetPDAGPRS(int bOn) { setBit(uCom, kGprs, bOn); }

int CRoverConfig::bGetDifSource() const { return bit(uCom, kDataModule); }

int CRoverConfig::bViaVRS() const { return bit(uCom, kVrs); }

int CRoverConfig::bPDAGPRS() const { return bit(uCom, kGprs); }

void CRoverConfig::vSetRadioType(int nType, int bVRS) {
    uCom = uGetCom();
    if (nType == 0) vSetNCom(1);
    if (nType == 1) vSetDifSource(1);
    if (nType == 2) vSetPDAGPRS(1);
    if (bVRS != 0) vSetVRS(1);
}

void CRoverConfig::vGetRadioType(int& nType, int& bVRS) const {
    bVRS = bViaVRS();
    if (bGetDifSource() == 1 && bPDAGPRS() == 1) return;
    nType = bGetDifSource() == 1 ? 1 : bPDAGPRS() == 1 ? 2 : 0;
}

bool CRoverConfig::bCheckIndex() const { return nLimitBase != 0; }

void CRoverConfig::vSetCheckIndex(std::wstring strCheck) {
    normalise(strCheck);
    nLimitBase = strCheck == L"TRUE" ? 1 : 0;
}

void CRoverConfig::vSetThalesVRS(int bOn) { setBit(uThales, kThalesVrs, bOn); }

void CRoverConfig::vSetThalesBeepOff(int bOn) { setBit(uThales, kThalesBeepOff, bOn); }

void CRoverConfig::vSetThalesFastCPD(int bOn) { setBit(uThales, kThalesFastCpd, bOn); }

int CRoverConfig::bThalesVRS() const { return bit(uThales, kThalesVrs); }

int CRoverConfig::bThalesBeepOff() const { return bit(uThales, kThalesBeepOff); }

int CRoverConfig::bThalesFastCPD() const { return bit(uThales, kThalesFastCpd); }

void CRoverConfigJavad::vInit() { *this = CRoverConfigJavad(); }

// NOLINTNEXTLINE(misc-unconventional-assign-operator)
void CRoverConfigJavad::operator=(const CRoverConfigJavad& other) {
    javadArchived(*this) = javadArchived(other);
}

void CRoverConfigJavad::Serialize(base::CArchive& archive) {
    if (archive.IsStoring()) return archive.Exchange(javadArchived(*this));
    CRoverConfigJavad loaded;
    archive.Exchange(javadArchived(loaded));
    if (!archive.Error()) *this = loaded;
}

}  // namespace vkcomm
