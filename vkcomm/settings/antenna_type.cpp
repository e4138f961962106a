#include "vkcomm/settings/antenna_type.h"

#include <cmath>
#include <memory>
#include <utility>

#include "vkcomm/settings/list_file.h"
#include "vkcomm/settings/text_block.h"
#include "vkcomm/util/nearest_float.h"
#include "vkcomm/util/numbers.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

VKCOMM_IMPLEMENT_SERIAL(CAntType, base::CObject::classCObject, 1)

namespace {

constexpr int kBlockVersion = 1;
constexpr int kDecimals = 3;
constexpr float kSameLength = 0.005f;
constexpr std::string_view kMark = "[ANTENNA]";
constexpr std::size_t kLongestStoredName = 50;

constexpr Label kVersionLabel = {L"Antenna parameter version:", L"天线参数版本:", L"天綫參數版本:"};
constexpr Label kNameLabel = {L"Antenna type", L"天线类型", L"天綫類型"};
constexpr std::array<Label, 3> kOffsetLabels = {{
    {L"Distance from bottom to phase center:", L"天线底部到相位中心的距离:", L"天綫底部到相位中心的距離:"},
    {L"Distance from top to phase center:", L"天线顶部到相位中心的距离:", L"天綫頂部到相位中心的距離:"},
    {L"Distance from center to phase center:", L"天线中部到相位中心的距离:", L"天綫中部到相位中心的距離:"},
}};
constexpr Label kMeasureToLabel = {L"Measure to:", L"测量到天线的部位:", L"測量到天綫的部位:"};
// Deliberate: both Chinese sets have the same text here, as existing files do.
constexpr Label kHeightLabel = {L"Measure height:", L"测量到的天线高:", L"测量到的天线高:"};

// Deliberate: no "-0.000". A height that rounds to zero reads back as the distance to the phase centre, whose
// height is zero without a sign.
float withoutSignOfZero(double height) {
    return std::fabs(height) < 0.0005 ? 0.0f : static_cast<float>(height);
}

bool differ(float left, float right) { return !(std::fabs(left - right) < kSameLength); }

}  // namespace

CAntType::CAntType() { vInit(); }

CAntType::CAntType(const CAntType& other) : CAntType() { *this = other; }

CAntType& CAntType::operator=(const CAntType& other) {
    strName = other.strName;
    uMeasureTo = other.uMeasureTo;
    fPhaseHeight = other.fPhaseHeight;
    fOffset = other.fOffset;
    return *this;
}

void CAntType::vInit() {
    strName = L"UNKNOWN";
    uMeasureTo = kMiddle;
    fPhaseHeight = 0.0f;
    fOffset = {};
}

float CAntType::offset() const { return uMeasureTo < fOffset.size() ? fOffset[uMeasureTo] : 0.0f; }

double CAntType::dGetAntHeight() const {
    const float height = fPhaseHeight - offset();
    return height;
}

void CAntType::vSetAntHeight(double dHeight, int nMeasureTo) {
    uMeasureTo = static_cast<unsigned char>(nMeasureTo);
    fPhaseHeight = nearestFloat(dHeight) + offset();
}

int CAntType::operator!=(const CAntType& other) const {
    if (strName != other.strName || uMeasureTo != other.uMeasureTo) return 1;
    if (differ(fPhaseHeight, other.fPhaseHeight)) return 1;
    for (std::size_t i = 0; i < fOffset.size(); ++i)
        if (differ(fOffset[i], other.fOffset[i])) return 1;
    return 0;
}

void CAntType::Serialize(base::CArchive& archive) {
    CAntType exchanged(*this);
    archive.Exchange(exchanged.strName);
    archive.Exchange(exchanged.uMeasureTo);
    archive.Exchange(exchanged.fPhaseHeight);
    for (float& distance : exchanged.fOffset)
        archive.Exchange(distance);
    if (!archive.Error()) *this = exchanged;
}

void CAntType::vWriteFile(base::CStdioFileCe& file) const {
    BlockWriter block(file);
    block.label(kVersionLabel);
    block.value(kBlockVersion);
    block.label(kNameLabel);
    block.value(strName);
    for (std::size_t i = 0; i < fOffset.size(); ++i) {
        block.label(kOffsetLabels[i]);
        block.value(fOffset[i], kDecimals);
    }
    block.label(kMeasureToLabel);
    block.value(uMeasureTo);
    block.label(kHeightLabel);
    block.value(withoutSignOfZero(dGetAntHeight()), kDecimals);
}

int CAntType::bReadFile(base::CStdioFileCe& file) {
    BlockReader block(file);
    std::int32_t version = 0;
    block.pair(version);
    if (version != kBlockVersion) return 0;
    block.pair(strName);
    for (float& distance : fOffset)
        block.pair(distance);
    block.pair(uMeasureTo);
    float height = 0.0f;
    block.pair(height);
    fPhaseHeight = height + offset();
    return 1;
}

void CAntType::readEntry(ListLines& lines) {
    std::string line;
    lines.next(line);
    strName = nameFromList(line);
    for (float& distance : fOffset) {
        lines.next(line);
        distance = nearestFloat(parseDouble(line));
    }
}

int CAntType::bGetFromFile(std::FILE* pFile) {
    ListLines lines(pFile);
    readEntry(lines);
    return 1;
}

void CAntType::appendEntry(std::string& out) const {
    out.append(kMark) += '\n';
    out.append(listName(strName, kLongestStoredName)) += '\n';
    for (const float distance : fOffset) {
        appendFixed(out, std::isfinite(distance) ? double{distance} : 0.0, kDecimals);
        out += '\n';
    }
}

int CAntType::WriteToFile(std::FILE* pFile) const {
    std::string entry;
    appendEntry(entry);
    return writeThrough(pFile, entry) ? 1 : 0;
}

void CAntType::readList(std::string_view bytes, base::CMyObArray& array) {
    array.RemoveAll();
    ListLines lines(bytes);
    for (bool more = lines.skipTo(kMark); more; more = lines.goesOn(kMark)) {
        auto antenna = std::make_unique<CAntType>();
        antenna->readEntry(lines);
        array.Add(std::move(antenna));
    }
}

std::string CAntType::listText(const base::CMyObArray& array) {
    std::string text;
    forEachOf<CAntType>(array, [&](const CAntType& antenna) { antenna.appendEntry(text); });
    return text += "[END]\n";
}

int CAntType::bGetAntArray(const std::string& strPath, base::CMyObArray* pArray, SystemError* pError) {
    std::string bytes;
    pArray->RemoveAll();
    if (!readListFile(strPath, bytes, pError)) return 0;
    readList(bytes, *pArray);
    return 1;
}

int CAntType::bGetAntArray(const std::wstring& strPath, base::CMyObArray* pArray, SystemError* pError) {
    return bGetAntArray(toUtf8(strPath), pArray, pError);
}

ReplaceResult CAntType::vWriteAntArray2File(const std::string& strPath, const base::CMyObArray* pArray) {
    return replaceFile(strPath, listText(*pArray));
}

ReplaceResult CAntType::vWriteAntArray2File(const std::wstring& strPath, const base::CMyObArray* pArray) {
    return vWriteAntArray2File(toUtf8(strPath), pArray);
}

int CAntType::bAddOneAntType(const CAntType& antenna, base::CMyObArray* pArray) {
    CAntType* known = nullptr;
    forEachOf<CAntType>(*pArray, [&](CAntType& entry) {
        if (known == nullptr && entry.strName == antenna.strName) known = &entry;
    });
    if (known == nullptr) {
        pArray->Add(std::make_unique<CAntType>(antenna));
        return 1;
    }
    *known = antenna;
    return 0;
}

int CAntType::bGetFromFileOcx(const std::string& strPath, SystemError* pError) {
    std::string bytes;
    if (!readListFile(strPath, bytes, pError)) return 0;
    ListLines lines(bytes);
    if (lines.skipTo(kMark)) readEntry(lines);
    return 1;
}

int CAntType::bGetFromFileOcx(const std::wstring& strPath, SystemError* pError) {
    return bGetFromFileOcx(toUtf8(strPath), pError);
}

ReplaceResult CAntType::vWrite2FileOcx(const std::string& strPath) const {
    std::string text;
    appendEntry(text);
    return replaceFile(strPath, text += "[END]\n");
}

ReplaceResult CAntType::vWrite2FileOcx(const std::wstring& strPath) const {
    return vWrite2FileOcx(toUtf8(strPath));
}

}  // namespace vkcomm
