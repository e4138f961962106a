// Any bytes as an application file: its fields follow each other, none is empty, and put together they are the
// file again.
#include "fuzz/parser_laws.h"
#include "vkcomm/frames/application_file_fields.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vkcomm;
    Bytes joined;
    for (const FileField& field : applicationFileFields(ByteSpan(data, size))) {
        fuzz::require(field.offset == joined.size() && !field.bytes.empty() && !field.name.empty());
        joined.insert(joined.end(), field.bytes.begin(), field.bytes.end());
    }
    fuzz::require(joined == Bytes(data, data + size));
    return 0;
}
