// Reads the body of a Trimble application file back, field by field, for people who want to see what a command
// will do before it is sent. Takes any bytes: what is cut short or not known is shown as it stands.
#pragma once

#include <string>
#include <vector>

#include "vkcomm/frames/frame_bytes.h"

namespace vkcomm {

struct FileField {
    std::size_t offset = 0;  // in the body
    Bytes bytes;             // never empty
    std::string name;
    std::string value;  // decimal, with unit or meaning; empty where the bytes say it all
};

// The fields in order; put together their bytes are the body. Angles are shown in radians and degrees, heights in
// metres; of texts the characters that cannot be shown are dots.
VKCOMM_API std::vector<FileField> applicationFileFields(ByteSpan body);

}  // namespace vkcomm
