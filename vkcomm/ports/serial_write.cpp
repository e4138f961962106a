#include "vkcomm/ports/serial_write.h"

#include "vkcomm/frames/text_compiler.h"
#include "vkcomm/util/checksums.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

VKCOMM_IMPLEMENT_SERIAL(CSerialWrite, base::CObject::classCObject, 1)

CSerialWrite::CSerialWrite(unsigned char uType, int bWithCheck, unsigned int uLength,
                           const unsigned char* pData) {
    constexpr unsigned int kLongest = 0xFFFF;
    if (uLength > kLongest || (!pData && uLength > 0)) return;
    const auto low = static_cast<unsigned char>(uLength & 0xFF);
    const auto high = static_cast<unsigned char>(uLength >> 8);
    for (const unsigned char each :
         {static_cast<unsigned char>('@'), uType, static_cast<unsigned char>(~uType), low, high})
        m_data.push_back(each);
    m_data.insert(m_data.end(), pData, pData + uLength);
    if (bWithCheck) m_data.push_back(xorOf(m_data));
}

int CSerialWrite::bSetData(const unsigned char* pData, unsigned int uLength, int nDelay,
                           unsigned long ulGroup) {
    Bytes bytes;
    if (pData) bytes.assign(pData, pData + uLength);
    m_data = std::move(bytes);
    m_delay = nDelay;
    m_group = ulGroup;
    return 1;
}

int CSerialWrite::bSetData(const std::wstring& strText, int nDelay, unsigned long ulGroup) {
    const std::string text = lowBytes(strText);
    return bSetData(bytesOf(text).data(), static_cast<unsigned int>(text.size()), nDelay, ulGroup);
}

int CSerialWrite::bAdjust2Link320(int bEnable, GPSOEMTYPE eDialect) {
    return adjust(bEnable, "VS,", eDialect);
}

int CSerialWrite::bAdjust2Link320VF(int bEnable, GPSOEMTYPE eDialect) {
    return adjust(bEnable, "VF,", eDialect);
}

int CSerialWrite::adjust(int bEnable, const char* command, GPSOEMTYPE dialect) {
    if (!bEnable) return 0;
    std::string text = command;
    for (const unsigned char byte : m_data) {
        text += 'B';
        appendInteger(text, byte);
        text += ' ';
    }
    m_data = compileMakerText(text, dialect);
    return 1;
}

void CSerialWrite::Serialize(base::CArchive& archive) {
    if (archive.IsLoading()) return load(archive);
    archive << static_cast<std::uint32_t>(m_data.size());
    archive.Write(m_data);
    archive << static_cast<std::int32_t>(m_delay) << static_cast<std::uint32_t>(m_group);
}

void CSerialWrite::load(base::CArchive& archive) {
    std::uint32_t length = 0;
    archive >> length;
    Bytes bytes(length <= archive.Remaining() ? length : archive.Remaining() + 1);  // one too many fails
    std::int32_t delay = 0;
    std::uint32_t group = 0;
    archive.Read(bytes);
    archive >> delay >> group;
    if (!archive.Error()) bSetData(bytes.data(), length, delay, group);
}

}  // namespace vkcomm
