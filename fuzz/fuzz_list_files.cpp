// Any bytes as a list file of antennas, one of Bluetooth devices, and a text file: no crash, no read outside;
// what was loaded stores, loads and stores again as the same bytes; nothing grows beyond a small multiple of
// the input.
#include <string>
#include <string_view>

#include "fuzz/parser_laws.h"
#include "vkcomm/base/text_file.h"
#include "vkcomm/settings/antenna_type.h"
#include "vkcomm/settings/bluetooth_list.h"

namespace {

using namespace vkcomm;
using vkcomm::fuzz::require;

// An empty list has an end line; a line with a number in five characters can become one of 44.
constexpr std::size_t kGrowth = 9;

template <typename Record>
void requireStableList(std::string_view input) {
    base::CMyObArray array;
    Record::readList(input, array);
    require(array.GetSize() <= static_cast<int>(input.size() / 8));  // an entry begins with eight characters
    const std::string stored = Record::listText(array);
    require(stored.size() <= kGrowth * (input.size() + 1));
    base::CMyObArray again;
    Record::readList(stored, again);
    require(again.GetSize() == array.GetSize());
    require(Record::listText(again) == stored);
}

std::string stored(base::CStdioFileCe& from) {
    base::CStdioFileCe to;
    to.OpenMemory();
    for (std::wstring line; from.ReadString(line) != 0;)
        to.WriteString(base::oneLine(line) + L"\n");
    return to.Bytes();
}

void requireStableText(std::string_view input) {
    base::CStdioFileCe file;
    file.OpenBytes(input);
    const std::string text = stored(file);
    require(text.size() <= 3 * input.size() + 1);
    file.OpenBytes(text);
    require(text.starts_with("\xEF\xBB\xBF") || stored(file) == text);  // a mark at the front is dropped
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    requireStableList<CAntType>(input);
    requireStableList<CBTInformation>(input);
    requireStableText(input);
    return 0;
}
