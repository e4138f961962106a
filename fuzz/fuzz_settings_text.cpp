// Any text, read as settings text blocks.
//
// Laws: a block that is refused changes nothing; what was read is stored, read and stored to the same bytes,
// whatever the languages.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>

#include "fuzz/parser_laws.h"
#include "tests/settings/config_records.h"
#include "vkcomm/datum/process_settings.h"

namespace vkcomm::fuzz {
namespace {

using base::CStdioFileCe;

template <typename Record>
std::string blockOf(const Record& record, int language) {
    vSetLang(language);
    CStdioFileCe file;
    file.OpenMemory();
    record.vWriteFile(file);
    require(file.Close() == 1);
    return file.Bytes();
}

template <typename Record>
int readBlock(Record& record, std::string_view block) {
    CStdioFileCe file;
    file.OpenBytes(block);
    return record.bReadFile(file);
}

// Each language's labels over the values of the same record, and back to the first.
template <typename Record>
void requireStable(const Record& record) {
    const std::string first = blockOf(record, 0);
    Record once, twice, last;
    require(readBlock(once, first) == 1);
    require(readBlock(twice, blockOf(once, 1)) == 1);
    require(readBlock(last, blockOf(twice, 2)) == 1);
    require(blockOf(last, 0) == first);
}

// Single precision moves an antenna height beyond 4 km by a millimetre each time, and one that rounds to zero loses
// its sign: the law leaves these out.
void makeStable(CBaseConfig& record) {
    const auto stable = [](double metres) { return std::fabs(metres) < 4096; };
    const CAntType& antenna = record.antenna;
    const double height = antenna.dGetAntHeight();
    if (!std::all_of(antenna.fOffset.begin(), antenna.fOffset.end(), stable) || !stable(height) ||
        std::fabs(height) < 0.0006)
        record.antenna.vInit();
}

void makeStable(CRoverConfig&) {}

template <typename Record>
void requireLaws(std::string_view text) {
    Record record, untouched;
    test::fill(record);
    test::fill(untouched);
    if (readBlock(record, text) == 0) {
        require(test::fieldsOf(record) == test::fieldsOf(untouched));
    } else {
        makeStable(record);
        requireStable(record);
    }
}

}  // namespace
}  // namespace vkcomm::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vkcomm;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    fuzz::requireLaws<CBaseConfig>(text);
    fuzz::requireLaws<CRoverConfig>(text);
    return 0;
}
