// CBTInformation: one known Bluetooth receiver, and the list file "VKBTPort.ini" that keeps them.
//
// The list file is 8-bit text: for each device a line "[BTINFO]", the name (UTF-8), the address as six
// lower-case hexadecimal bytes separated by dots, and the preferred flag; behind the last a line "[END]".
// Reading ignores what stands before the first "[BTINFO]" and stops at any other line behind an entry; of each
// line 48 bytes are read and the rest discarded, and cuts never split a character. Names are cut to that when
// they are written too, since programs that share the file would take the rest of a longer one for the address.
// The archive layout is the six address bytes, the name, the flag in 32 bits.
//
// Nothing throws but what growing text and containers throw. One thread at a time for each record, array and
// folder. Records own their name. Arrays given must not be null.
#pragma once

#include <array>
#include <cstdio>
#include <string>
#include <string_view>

#include "vkcomm/base/object.h"
#include "vkcomm/base/object_array.h"
#include "vkcomm/base/serial_class.h"
#include "vkcomm/export.h"
#include "vkcomm/platform/files.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm {

class VKCOMM_API CBTInformation : public base::CObject {
public:
    // Bytes of the record that vSetBTInfo takes: the address, then the name.
    static constexpr std::size_t m_nRecordSize = 6 + 20;

    std::array<unsigned char, 6> uAddress{};
    std::wstring strName;
    int bPreferred = 0;  // 0 or 1; other numbers of a file are kept

    // Address, name, flag. A load that fails changes nothing.
    void Serialize(base::CArchive& archive) override;

    // Takes address and name (UTF-8, up to 20 bytes or its zero) from a record of m_nRecordSize bytes; a shorter
    // span changes nothing. Of a pointer alone that many bytes must be readable.
    void vSetBTInfo(ByteSpan record);
    void vSetBTInfo(const unsigned char* pRecord);

    // One entry from behind its "[BTINFO]". An address line of fewer than 17 characters, or with anything but
    // hexadecimal bytes where they belong, leaves the address as it was. 0, and nothing changes, when the file
    // ends before the entry does.
    int bGetFromFile(std::FILE* pFile);
    // One entry, written straight through. 0 when it could not be written.
    int WriteToFile(std::FILE* pFile) const;

    // Appends a record for each entry of the list file in a folder; an empty name stands for the current
    // folder. 0 when the file cannot be read, and why in pError.
    static int bGetBTArray(const std::wstring& strFolder, base::CMyObArray* pArray,
                           SystemError* pError = nullptr);
    static int bGetBTArray(const std::string& strFolder, base::CMyObArray* pArray,
                           SystemError* pError = nullptr);
    // Replaces the list file in a folder in one step. Other objects than devices are passed over.
    static ReplaceResult vWriteBTArray2File(const std::wstring& strFolder, const base::CMyObArray* pArray);
    static ReplaceResult vWriteBTArray2File(const std::string& strFolder, const base::CMyObArray* pArray);

    // The list file in a folder.
    static std::string listPath(const std::string& folder);
    // The bytes of a list file to records and back, for callers that keep files their own way. Reading appends.
    static void readList(std::string_view bytes, base::CMyObArray& array);
    static std::string listText(const base::CMyObArray& array);

    VKCOMM_DECLARE_SERIAL(CBTInformation)

private:
    void appendEntry(std::string& out) const;
    bool readEntry(class ListLines& lines);
};

// "00:11:22:aa:bb:cc", with the separator given.
VKCOMM_API std::string bluetoothAddressText(const std::array<unsigned char, 6>& address, char separator);

// Takes an address of six two-digit hexadecimal bytes in either case, one character of any kind between two;
// what follows is ignored. False, and address unchanged, for anything else.
VKCOMM_API bool parseBluetoothAddress(std::string_view text, std::array<unsigned char, 6>& address);

}  // namespace vkcomm
