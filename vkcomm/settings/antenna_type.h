// CAntType: one GNSS antenna, and the list file that keeps antennas.
//
// Lengths are metres. Three points of an antenna (bottom, top, middle) have their distance to the phase centre;
// the record keeps the height of the phase centre above the mark, and the height that a user measures to one
// of the points follows from it. All arithmetic of heights is in single precision.
//
// The list file is 8-bit text: for each antenna a line "[ANTENNA]", the name (UTF-8, at most 50 bytes) and the
// three distances with three decimals; behind the last a line "[END]". It keeps neither the point measured to
// nor the height. Reading ignores what stands before the first "[ANTENNA]" and stops at any other line behind
// an entry; of each line 48 bytes are read and the rest discarded, cuts never split a character, and a missing
// or senseless number is 0. The archive layout is name, point, phase-centre height, three distances.
//
// Nothing throws but what growing text and containers throw. One thread at a time for each record, array and
// path. Records own their name. Arrays given must not be null.
#pragma once

#include <array>
#include <cstdio>
#include <string>
#include <string_view>

#include "vkcomm/base/object.h"
#include "vkcomm/base/object_array.h"
#include "vkcomm/base/serial_class.h"
#include "vkcomm/base/text_file.h"
#include "vkcomm/export.h"
#include "vkcomm/platform/files.h"

namespace vkcomm {

class VKCOMM_API CAntType : public base::CObject {
public:
    // The points an antenna height is measured to. Other numbers stand for a point at the phase centre.
    enum MeasureTo : unsigned char { kBottom, kTop, kMiddle };

    std::wstring strName;
    unsigned char uMeasureTo;
    float fPhaseHeight;            // of the phase centre above the mark
    std::array<float, 3> fOffset;  // from the points to the phase centre, by MeasureTo

    CAntType();
    CAntType(const CAntType& other);
    CAntType& operator=(const CAntType& other);

    // An antenna "UNKNOWN", measured to its middle, all lengths 0.
    void vInit();

    // The measured height: from the mark to the point measured to.
    double dGetAntHeight() const;
    // Takes a measured height and the point (its low 8 bits) it was measured to.
    void vSetAntHeight(double dHeight, int nMeasureTo);

    // 1 when names or points differ, or lengths by 0.005 m or more. Names are compared exactly.
    int operator!=(const CAntType& other) const;

    // Name, point, phase-centre height, distances by point. A load that fails changes nothing.
    void Serialize(base::CArchive& archive) override;

    // The text block, its labels in the language of nGetLang(). Lengths have three decimals; one that is not
    // finite is written as 0. Lengths below 4 km come back from a block to the same bytes; above, single
    // precision moves the height. Failure is told by the file.
    void vWriteFile(base::CStdioFileCe& file) const;
    // Reads a text block with labels in any language. 0, and nothing changes, when its version is not 1; lines
    // that are missing count as empty ones.
    int bReadFile(base::CStdioFileCe& file);

    // One entry of the list file, written straight through. 0 when it could not be written.
    int WriteToFile(std::FILE* pFile) const;
    // One entry of the list file from behind its "[ANTENNA]". Point and height stay. Always 1.
    int bGetFromFile(std::FILE* pFile);

    // Replaces the records of the array by those of a list file. 0 when it cannot be read, and why in pError;
    // the array is empty then.
    static int bGetAntArray(const std::wstring& strPath, base::CMyObArray* pArray,
                            SystemError* pError = nullptr);
    static int bGetAntArray(const std::string& strPath, base::CMyObArray* pArray,
                            SystemError* pError = nullptr);
    // Replaces a list file in one step. Other objects than antennas are passed over.
    static ReplaceResult vWriteAntArray2File(const std::wstring& strPath, const base::CMyObArray* pArray);
    static ReplaceResult vWriteAntArray2File(const std::string& strPath, const base::CMyObArray* pArray);
    // Gives the entry of that exact name all values of the antenna: 0. Without one, appends a copy: 1.
    static int bAddOneAntType(const CAntType& antenna, base::CMyObArray* pArray);

    // The first entry of a list file, as bGetFromFile; without any, the record stays. 0 when the file cannot be
    // read, and why in pError.
    int bGetFromFileOcx(const std::wstring& strPath, SystemError* pError = nullptr);
    int bGetFromFileOcx(const std::string& strPath, SystemError* pError = nullptr);
    // Replaces a list file, in one step, by one of this entry only.
    ReplaceResult vWrite2FileOcx(const std::wstring& strPath) const;
    ReplaceResult vWrite2FileOcx(const std::string& strPath) const;

    // The bytes of a list file to records and back, for callers that keep files their own way.
    static void readList(std::string_view bytes, base::CMyObArray& array);
    static std::string listText(const base::CMyObArray& array);

    VKCOMM_DECLARE_SERIAL(CAntType)

private:
    float offset() const;
    void appendEntry(std::string& out) const;
    void readEntry(class ListLines& lines);
};

}  // namespace vkcomm
