// Bytes seen as characters, and back. Both are views: valid as long as what they look at.
#pragma once

#include <string_view>

#include "vkcomm/util/bytes.h"

namespace vkcomm {

inline std::string_view textOf(ByteSpan bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

inline ByteSpan spanOf(std::string_view text) {
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

}  // namespace vkcomm
