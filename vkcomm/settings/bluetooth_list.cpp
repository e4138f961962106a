#include "vkcomm/settings/bluetooth_list.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <utility>

#include "vkcomm/settings/list_file.h"
#include "vkcomm/util/hex_digit.h"
#include "vkcomm/util/numbers.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

VKCOMM_IMPLEMENT_SERIAL(CBTInformation, base::CObject::classCObject, 1)

namespace {

constexpr std::string_view kMark = "[BTINFO]";
constexpr const char* kFileName = "VKBTPort.ini";
constexpr std::size_t kDigits = 2;                 // of a byte
constexpr std::size_t kAddressStep = kDigits + 1;  // from byte to byte
constexpr std::size_t kAddressLength = 6 * kAddressStep - 1;

}  // namespace

std::string bluetoothAddressText(const std::array<unsigned char, 6>& address, char separator) {
    std::string text;
    for (const unsigned char byte : address) {
        if (!text.empty()) text += separator;
        appendFormat(text, "%02x", byte);
    }
    return text;
}

bool parseBluetoothAddress(std::string_view text, std::array<unsigned char, 6>& address) {
    if (text.size() < kAddressLength) return false;
    std::array<unsigned char, 6> parsed{};
    for (std::size_t i = 0; i < parsed.size(); ++i) {
        const int high = hexDigit(text[i * kAddressStep]);
        const int low = hexDigit(text[i * kAddressStep + 1]);
        if (high < 0 || low < 0) return false;
        parsed[i] = static_cast<unsigned char>(high << 4 | low);
    }
    address = parsed;
    return true;
}

void CBTInformation::Serialize(base::CArchive& archive) {
    auto address = uAddress;
    std::wstring name = strName;
    auto preferred = static_cast<std::int32_t>(bPreferred);
    archive.Exchange(address);
    archive.Exchange(name);
    archive.Exchange(preferred);
    if (archive.Error()) return;
    uAddress = address;
    strName = std::move(name);
    bPreferred = preferred;
}

void CBTInformation::vSetBTInfo(ByteSpan record) {
    if (record.size() < m_nRecordSize) return;
    std::copy_n(record.begin(), uAddress.size(), uAddress.begin());
    const ByteSpan rest = record.subspan(uAddress.size(), m_nRecordSize - uAddress.size());
    strName = toWide(std::string(rest.begin(), std::ranges::find(rest, 0)));
}

void CBTInformation::vSetBTInfo(const unsigned char* pRecord) { vSetBTInfo({pRecord, m_nRecordSize}); }

bool CBTInformation::readEntry(ListLines& lines) {
    std::string name, address, flag;
    if (!lines.next(name) || !lines.next(address) || !lines.next(flag)) return false;
    strName = nameFromList(name);
    parseBluetoothAddress(address, uAddress);
    using Range = std::numeric_limits<int>;
    bPreferred = static_cast<int>(std::clamp<long>(parseInteger(flag), Range::min(), Range::max()));
    return true;
}

int CBTInformation::bGetFromFile(std::FILE* pFile) {
    ListLines lines(pFile);
    return readEntry(lines) ? 1 : 0;
}

void CBTInformation::appendEntry(std::string& out) const {
    out.append(kMark) += '\n';
    out.append(listName(strName, ListLines::kLongestLine)) += '\n';
    out.append(bluetoothAddressText(uAddress, '.')) += '\n';
    appendInteger(out, bPreferred);
    out += '\n';
}

int CBTInformation::WriteToFile(std::FILE* pFile) const {
    std::string entry;
    appendEntry(entry);
    return writeThrough(pFile, entry) ? 1 : 0;
}

void CBTInformation::readList(std::string_view bytes, base::CMyObArray& array) {
    ListLines lines(bytes);
    for (bool more = lines.skipTo(kMark); more; more = lines.goesOn(kMark)) {
        auto device = std::make_unique<CBTInformation>();
        if (device->readEntry(lines)) array.Add(std::move(device));
    }
}

std::string CBTInformation::listText(const base::CMyObArray& array) {
    std::string text;
    forEachOf<CBTInformation>(array, [&](const CBTInformation& device) { device.appendEntry(text); });
    return text += "[END]\n";
}

std::string CBTInformation::listPath(const std::string& folder) { return joinPath(folder, kFileName); }

int CBTInformation::bGetBTArray(const std::string& strFolder, base::CMyObArray* pArray, SystemError* pError) {
    std::string bytes;
    if (!readListFile(listPath(strFolder), bytes, pError)) return 0;
    readList(bytes, *pArray);
    return 1;
}

int CBTInformation::bGetBTArray(const std::wstring& strFolder, base::CMyObArray* pArray,
                                SystemError* pError) {
    return bGetBTArray(toUtf8(strFolder), pArray, pError);
}

ReplaceResult CBTInformation::vWriteBTArray2File(const std::string& strFolder,
                                                 const base::CMyObArray* pArray) {
    return replaceFile(listPath(strFolder), listText(*pArray));
}

ReplaceResult CBTInformation::vWriteBTArray2File(const std::wstring& strFolder,
                                                 const base::CMyObArray* pArray) {
    return vWriteBTArray2File(toUtf8(strFolder), pArray);
}

}  // namespace vkcomm
